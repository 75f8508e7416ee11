// Generated closed programs of the pure built-ins, reduced by the machine's main loop and by its
// plain steps: both must come to the same result, unless one ran into the step limit.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "front/check.h"
#include "front/definitions.h"
#include "front/grammar.h"
#include "front/intern.h"
#include "front/prelude.h"
#include "front/scan.h"
#include "reduce/exactness.h"
#include "reduce/machine.h"
#include "reduce/tables.h"

namespace {

using namespace marl;

/// Turns bytes into the text of a term: each byte chooses a form, and what follows it its parts.
class Generator {
  public:
    Generator(const uint8_t* data, size_t size) : data_(data), end_(data + size) {}

    std::string term(int depth, int variables) {
        const int choice = next();
        if (depth > 12 || data_ == end_) return atom(choice, variables);
        const std::string variable(1, static_cast<char>('a' + variables % 26));
        switch (choice % 8) {
            case 0:
            case 1:
            case 2: {
                const std::string function = term(depth + 1, variables);
                return "(" + function + ")(" + term(depth + 1, variables) + ")";
            }
            case 3: return "(" + variable + "\\" + term(depth + 1, variables + 1) + ")";
            case 4: {
                const std::string value = term(depth + 1, variables);
                return "(" + variable + "{" + value + "}" + term(depth + 1, variables + 1) + ")";
            }
            case 5: {
                const char op = "+-*/%^<>=#&|"[next() % 12];
                const std::string x = term(depth + 1, variables);
                return "((" + x + ")" + op + "(" + term(depth + 1, variables) + "))";
            }
            default: return atom(choice / 8, variables);
        }
    }

  private:
    int next() { return data_ == end_ ? 0 : *data_++; }

    std::string atom(int choice, int variables) {
        if (variables > 0 && choice % 3 == 0) {
            return std::string(1, static_cast<char>('a' + next() % variables % 26));
        }
        if (choice % 3 == 1) {
            static const char* const data[] = {"0",       "1",    "7",  "01",       "00",
                                               "004",     "0000", "[]", "[ab[c]d]", "(init[abcde])",
                                               "(real 1)"};
            return data[static_cast<size_t>(next()) % std::size(data)];
        }
        const auto& rows = builtin_table();
        const auto index = static_cast<size_t>(next());
        if (index % 2 == 0) return std::string(1, static_cast<char>('A' + index / 2 % 26));
        return rows[index / 2 % rows.size()].name;
    }

    const uint8_t* data_;
    const uint8_t* end_;
};

/// The program that all terms run in: the prelude and the built-ins, checked once.
void open_program() {
    build_prelude();
    if (!passed(parse_program("a\\0")) || !passed(check_program())) abort();
}

/// The result of a term, whose names are all letters or defined; null when the step limit ended it.
Value result_of(const Value& term, bool literally) {
    exactness_due = literally;
    steps_left = step_limit;
    Value result = reduce(term);
    exactness_due = false;
    return steps_left > 0 ? result : Value();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    open_program();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text = Generator(data, size).term(0, 0);
    const Value term = parse_expression(normalise(text).view());
    const Value direct = result_of(term, false);
    const Value literal = result_of(term, true);
    if (direct && literal && compare(direct, literal) != 0) abort();
    clear_intern_set();
    return 0;
}
