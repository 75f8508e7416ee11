// What a shortened line leaves out stands beside the line in full: put in the places of the marks,
// it gives the line in full. What isn't known stands in no answer. What a run costs is counted by
// name.
#include <cstdio>
#include <regex>
#include <string>
#include <vector>

#include "lab/json.h"
#include "lab/lab.h"

namespace {

using marl::lab::Step;

std::vector<Step> states(const std::string& text, bool full) {
    std::vector<Step> told;
    marl::lab::StepsOptions options;
    options.full = full;
    options.from = 2;  // behind the address of the arguments, which is another one in each run
    marl::lab::run_steps(text, {}, options, [&](const Step& step) { told.push_back(step); });
    return told;
}

std::string filled(const std::string& line, const std::vector<std::string>& left_out) {
    static const std::regex mark("(cray|cape|\\.\\.)?<(over )?[0-9]+ [a-z]+>");
    std::string whole;
    size_t next = 0;
    size_t from = 0;
    for (std::sregex_iterator at(line.begin(), line.end(), mark), end; at != end; ++at) {
        whole += line.substr(from, static_cast<size_t>(at->position()) - from);
        whole += next < left_out.size() ? left_out[next++] : "?";
        from = static_cast<size_t>(at->position() + at->length());
    }
    return whole + line.substr(from) + (next < left_out.size() ? "?" : "");
}

std::string bare(std::string line) {
    std::erase_if(line, [](char c) { return c == ' ' || c == '(' || c == ')'; });
    return line;
}

/// Whether an answer has the place of an effect just when there is one.
bool has_place_of_effect() {
    const auto with = marl::lab::json_of(marl::lab::why_z("a\\putchar(1/0);0", {}));
    const auto without = marl::lab::json_of(marl::lab::why_z("a\\1/0", {}));
    return with.at("effect_place").at("line") == 1 && !without.contains("effect_place");
}

/// Whether each name's calls are counted, and the steps of a loop are as many as its turns.
bool has_costs() {
    const auto cost = [](const char* text) {
        marl::lab::ProfileRow loop;
        marl::lab::profile(text, {}, [&](const marl::lab::Profiled& told) {
            for (const auto& row : told.rows) {
                if (row.name == "loop") loop = row;
            }
        });
        return loop;
    };
    const auto few = cost(R"(a\loop 3,loop\n\(n=0)1(loop(n-1)))");
    const auto many = cost(R"(a\loop 6,loop\n\(n=0)1(loop(n-1)))");
    const auto most = cost(R"(a\loop 9,loop\n\(n=0)1(loop(n-1)))");
    return few.calls == 4 && most.calls == 10 && many.steps > few.steps + 3 &&
           most.steps - many.steps == many.steps - few.steps;
}

}  // namespace

int main() {
    int wrong = !has_place_of_effect() + !has_costs();
    int shortened = 0;
    for (const std::string text :
         {R"(a\size(range(1,40)),range\i\n\(n<i)K(J(i,range(i+1,n))),size\l\l(0,h\t\1+size(t)))",
          R"(a\deep 20,deep\n\(n=0)0(1+deep(n-1)))", R"(a\rank(3^200)+rank(cray 70),bb\1)",
          R"(a\rank[[a[b]][cd[efghijklmnopqrstuvwxyz]abcdefghijklmnopqrstuvwxyz]])",
          R"(a\rank(init[abcdefghijklmnopqrstuvwxyzabcdefghijklmnopqrstuvwxyz]))"}) {
        const std::vector<Step> brief = states(text, false);
        const std::vector<Step> full = states(text, true);
        if (brief.size() != full.size()) return 1;
        for (size_t i = 0; i < full.size(); ++i) {
            shortened += brief[i].line != full[i].line;
            const std::string whole = filled(brief[i].line, full[i].left_out);
            if (bare(whole) == bare(full[i].line) && brief[i].left_out.empty()) continue;
            if (++wrong < 4)
                printf("%s\n%s\n%s\n", text.c_str(), full[i].line.c_str(), whole.c_str());
        }
    }
    printf("%d lines shortened, %d wrong\n", shortened, wrong);
    return wrong > 0 || shortened < 100;
}
