// What marl's check and marl-lab's say of the same programs, thousands of them: those of the files
// that are named, changed here and there. Where marl has nothing to refuse marl-lab finds no fault;
// else one of its faults is marl's, with the place or name of its Report, and none is of a stage
// that comes before.
//
// Backquotes become other operators: what their evaluation does, marl-lab can't know.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "driver/report.h"
#include "driver/session.h"
#include "lab/lab.h"
#include "lab/message.h"
#include "lab/program.h"
#include "random/batch.h"

namespace {

using namespace marl;

/// What can get into a program: names, brackets, whole definitions; "~" stands between them.
constexpr std::string_view fragments =
    "x~K~missing~plus~load~12~ ~+~!~\\~x\\~(~)~[~]~{~}~,~()~{1}~x{1}~x y{V 1 2}~x 1{2}~x\\(y\\x)y~"
    "(plus\\1)plus~[+]\\~[text]~(a,b)~ (a,b)~name\\~\t~\xC3\xA4~,name\\~,name()\\~K\\~K y{V 1 2}~"
    ",K\\missing~,Z\\missing~,I()\\name~,[+]\\name~,[{]\\1~,x\\1~,rank\\1~,_\\1~,note,~"
    "a\\b\\c\\d\\e\\f\\g\\h\\i\\j\\k\\~"
    "a{1}b{1}c{1}d{1}e{1}f{1}g{1}h{1}i{1}j{1}k{1}l{1}m{1}n{1}o{1}p{1}q{1}r{1}s{1}t{1}u{1}v{1}w{1}x{"
    "1}y{1}z{1}aa{1}";

struct Mutation {
    const Choose& choose;
    std::string text;

    size_t below(size_t n) { return choose(static_cast<unsigned>(n)); }
    size_t place() { return below(text.size() + 1); }

    std::string fragment() {
        const auto count = std::count(fragments.begin(), fragments.end(), '~') + 1;
        std::string_view rest = fragments;
        for (size_t i = below(static_cast<size_t>(count)); i > 0; --i) {
            rest.remove_prefix(rest.find('~') + 1);
        }
        return std::string(rest.substr(0, rest.find('~')));
    }

    /// The word that begins at a place or behind it.
    std::pair<size_t, size_t> word_at(size_t from) const {
        constexpr std::string_view letters = "_abcdefghijklmnopqrstuvwxyz";
        const size_t begin = std::min(text.find_first_of(letters, from), text.size());
        const size_t end = std::min(text.find_first_not_of(letters, begin), text.size());
        return {begin, end - begin};
    }

    void change() {
        const size_t kind = below(8);
        const auto [begin, size] = word_at(place());
        const auto [other, other_size] = word_at(place());
        const std::string copy = text.substr(other, other_size);
        if (kind < 3) {
            text.insert(kind == 0 ? place() : begin, fragment());
        } else if (kind < 5) {
            text.replace(begin, size, copy);
        } else if (kind == 5) {
            text.erase(place(), 1 + below(3));
        } else if (kind == 6) {
            text.replace(begin, size, fragment());
        } else {
            const size_t from = place();
            text.insert(place(), text.substr(from, below(30)));
        }
    }
};

/// The Report of marl's check.
Report checked(const std::string& source) {
    Session session;
    open_session(session, String(std::string_view(source)));
    Report report = session.report;
    end_session(session);
    return report;
}

/// Whether a message is about a note for tools, which marl doesn't look into.
bool is_of_tools(const lab::Message& message) {
    return message.kind == "note" || message.kind == "use" || message.kind == "test";
}

/// The place of a kind in the order of the stages.
int stage_of(const std::string& kind) {
    const std::array<std::string_view, 9> kinds{"match", "comma", "lower", "built", "funky",
                                                "alive", "place", "arity", "local"};
    const auto found = std::find(kinds.begin(), kinds.end(), kind);
    if (found == kinds.end()) abort();
    const auto stage = static_cast<int>(found - kinds.begin());
    return kind == "built" ? stage - 1 : stage;
}

/// A name of a Report, as the program has it.
std::string name_in(const String& line) {
    std::string name(line.view());
    return name.size() == 7 && name.ends_with(" \"") ? name.substr(0, 5) : name;
}

/// Whether a fault is the one of a Report of its kind.
bool is_that_of(const Report& report, const lab::Message& fault, const std::string& source) {
    const auto [begin, end] = fault.range;
    const std::string& kind = fault.kind;
    const std::string text = source.substr(begin, end - begin);
    if (kind == "comma") return base64_name(static_cast<int64_t>(begin)) == report.vip;
    if (kind == "lower" || kind == "built" || kind == "alive") {
        const std::string name = name_in(report.tip);
        const bool is_seen = name != "}" && name[0] > ' ';
        return !is_seen || text == name || text == "[" + name + "]";
    }
    if (kind == "place" || kind == "arity") {
        const std::string name = name_in(report.vip);
        const bool is_key = text != "\\" && text != "{";
        return is_key && fault.say.find(lab::ticked(name.empty() ? "TOP" : name)) != fault.say.npos;
    }
    return true;
}

std::string difference(const std::string& source) {
    // A file of definitions alone is no program to marl.
    if (!lab::read_program(source).has_entry) return {};
    const Report report = checked(source);
    const std::string kind(report.kind.view());
    bool found = passed(report);
    const std::vector<lab::Message> messages = lab::check_source(source).messages;
    // Such a note hides what stands beside it in its piece.
    if (std::any_of(messages.begin(), messages.end(), is_of_tools)) return {};
    for (const lab::Message& message : messages) {
        if (message.severity != lab::Severity::fault) continue;
        const std::string said = message.kind + ": " + message.say;
        if (passed(report)) return "marl passes what is " + said;
        if (stage_of(message.kind) < stage_of(kind)) return kind + " comes behind " + said;
        found |= message.kind == kind && is_that_of(report, message, source);
    }
    return found ? "" : "not found: " + std::string(report.say.view());
}

}  // namespace

int main(int argument_count, char** arguments) {
    std::vector<std::string> sources{"a\\f 1,f\\x\\x"};
    for (int i = 2; i < argument_count; ++i) {
        std::ifstream file(arguments[i], std::ios::binary);
        std::string text{std::istreambuf_iterator<char>(file), {}};
        std::replace(text.begin(), text.end(), '`', '$');
        sources.push_back(std::move(text));
    }
    const auto generate = [&](const Choose& choose) {
        Mutation mutation{choose, sources[choose(static_cast<unsigned>(sources.size()))]};
        for (unsigned i = choose(4) + 1; i > 0; --i) mutation.change();
        return mutation.text;
    };
    const std::string fault =
        first_fault(generate, difference, static_cast<unsigned>(std::atoi(arguments[1])));
    std::printf("%s\n", fault.c_str());
    return fault.empty() ? 0 : 1;
}
