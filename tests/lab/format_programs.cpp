// A layout changes no program and is its own layout: for the files that are named, and for as many
// generated programs as the first argument says.
//
// The programs are compared by the pieces that the front end makes of them, without the formatter.
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>

#include "front/brackets.h"
#include "front/stages.h"
#include "lab/lab.h"

namespace {

using namespace marl;

Module module_of(const std::string& text) {
    Module module;
    module.text = String(std::string_view(text));
    module.all_faults = true;
    cut_text(module);
    return module;
}

bool same(const Module& a, const Module& b) {
    return a.unmemoised == b.unmemoised &&
           std::equal(a.definitions.begin(), a.definitions.end(), b.definitions.begin(),
                      b.definitions.end(), [](const auto& x, const auto& y) {
                          return x.symbol == y.symbol && compare(x.expression, y.expression) == 0;
                      });
}

bool holds(const std::string& text) {
    const lab::Formatted formatted = lab::format_source(text);
    if (find_bracket_fault(text)) return !formatted.messages.empty();
    if (!formatted.text) return false;
    const std::string& layout = *formatted.text;
    return same(module_of(text), module_of(layout)) && lab::format_source(layout).text == layout;
}

/// Programs of all that the grammar has, and of more: operands are missing, white space stands
/// everywhere.
struct Generator {
    std::mt19937 random;

    size_t below(size_t n) { return random() % n; }

    std::string one_of(const std::vector<std::string>& texts) { return texts[below(texts.size())]; }

    std::string white() { return one_of({"", "", "", " ", "\n", "  ", " \n "}); }

    std::string name() {
        return one_of({"x", "y", "n", "word", "long_name", "a_rather_long_name_of_a_function"});
    }

    std::string atom(int depth) {
        if (depth > 0 && below(3) == 0)
            return "(" + white() + expression(depth - 1) + white() + ")";
        return one_of({name(), name(), "12", "0", "K", "J", "Z", "[text, (]", "[two\nlines ]", "\t",
                       "[" + std::string(below(90), 'x') + "]"});
    }

    std::string run(int depth) {
        std::string text = below(12) == 0 ? one_of({"~", "!", "$", "`"}) : "";
        if (below(30) > 0) text += atom(depth);
        while (below(3) == 0) {
            if (depth > 0 && below(2) == 0) {
                text += "(" + expression(depth - 1) + white() + "," + white() +
                        expression(depth - 1) + ")";
            } else {
                text += one_of({"[]", "(x)", "~n", "2", " (n)", " [q]"});
            }
        }
        return text + (below(20) == 0 ? "!" : "");
    }

    std::string expression(int depth) {
        std::string text = run(depth);
        while (below(5) < 3) {
            const size_t kind = below(10);
            if (kind == 0) {
                text += white() + "{" + white() + expression(depth > 0 ? depth - 1 : 0) + "}";
            } else if (kind < 3) {
                text += white() + one_of({";", "\\", ";"}) + white();
            } else if (kind < 5) {
                text += one_of({" ", "\n", "  "});
            } else {
                const std::string operators = "?&|=<>#@+-:.*/%'^";
                text += white() + operators[below(operators.size())] + white();
            }
            text += run(depth);
        }
        return text;
    }

    std::string program() {
        std::string text = white() + "a\\" + expression(4);
        for (size_t i = below(4); i > 0; --i) {
            text += white() + "," + white();
            switch (below(5)) {
                case 0: text += "[a note\n of lines]"; break;
                case 1: text += one_of({"a note - of  words", "", "1+1"}); break;
                case 2: text += "constant()\\" + expression(4); break;
                default: text += name() + "\\x\\" + white() + "y\\" + expression(4); break;
            }
        }
        return text + white();
    }
};

}  // namespace

int main(int argument_count, char** arguments) {
    const int programs = argument_count > 1 ? std::atoi(arguments[1]) : 0;
    int failures = 0;
    Generator generator{std::mt19937(20231)};
    for (int i = 0; i < programs; ++i) {
        const std::string text = generator.program();
        if (holds(text)) continue;
        ++failures;
        std::cout << "--- not kept:\n" << text << '\n';
    }
    for (int i = 2; i < argument_count; ++i) {
        std::ifstream file(arguments[i], std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        if (holds(text)) continue;
        ++failures;
        std::cout << "--- not kept: " << arguments[i] << '\n';
    }
    std::cout << programs << " programs, " << argument_count - 2 << " files, " << failures
              << " failures\n";
    return failures > 0 ? 1 : 0;
}
