// Expressions of the language as test inputs: parsed, reduced with the prelude and all built-ins at
// hand, and printed.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

#include "front/grammar.h"
#include "front/prelude.h"
#include "front/scan.h"
#include "reduce/machine.h"
#include "reduce/tables.h"
#include "value/value.h"

namespace marl {

/// Fills the tables with the prelude and the built-ins alone.
inline void set_up_tables() {
    build_prelude();
    define_builtins();
}

/// The Value that an expression reduces to.
inline Value evaluated(std::string_view expression) {
    // Another test of the process may have left a program without built-ins.
    if (!find_definition("plus")) set_up_tables();
    return reduce(parse_expression(normalise(expression).view()));
}

inline std::string printed(Node* value) { return std::string(print_value(value).view()); }

inline std::string evaluate(std::string_view expression) { return printed(evaluated(expression)); }

/// The expression of an array of any elements; the operators refuse to append what is no data.
inline std::string array(std::initializer_list<std::string_view> elements) {
    std::string text = "(cray " + std::to_string(elements.size()) + ")";
    int i = 0;
    for (const std::string_view element : elements) {
        text = "(cork" + text + std::to_string(i++) + "(" + std::string(element) + "))";
    }
    return text;
}

struct Evaluation {
    const char* expression;
    const char* result;
};

}  // namespace marl
