// A Fault becomes the Report that marl shows: its kind, its sentence, and the names that stand in
// the picture's lines.
#include "front/fault.h"

#include <initializer_list>
#include <string_view>

#include "text/fatal.h"
#include "text/rope.h"

namespace marl {

namespace {

std::string_view bracket_name(char bracket) {
    if (bracket == '(' || bracket == ')') return "parenthesis";
    return bracket == '[' || bracket == ']' ? "bracket" : "wing";
}

Report report(const char* kind, std::initializer_list<std::string_view> say, String vip = {},
              String tip = {}) {
    return {joined(say), kind, std::move(vip), std::move(tip), {}};
}

/// The Report of what is wrong with the brackets or commas of a text.
Report report_of_text(const Fault& fault) {
    const std::string_view name = fault.name.view();
    const String at = base64_name(fault.position);
    if (fault.kind == Fault::comma) {
        return report("comma", {"Comma at [", at.view(), "] is not part of a valid call list."},
                      at);
    }
    if (fault.kind == Fault::misfit) {
        const String closing = base64_name(fault.closing);
        return report("match",
                      {"'", name.substr(0, 1), "' at [", at.view(), "] doesn't fit '",
                       name.substr(1), "' at [", closing.view(), "]."},
                      at, closing);
    }
    const char* side = fault.kind == Fault::dangling_left ? "left-" : "right-";
    return report("match", {"Dangling ", side, bracket_name(name[0]), " at [", at.view(), "]."},
                  at);
}

}  // namespace

Report report_of(const Fault& fault, bool is_loaded) {
    const std::string_view name = fault.name.view();
    const std::string_view definition = fault.definition.view();
    const std::string_view in_function = definition.empty() ? "" : " in function ";
    const String at = base64_name(fault.position);
    switch (fault.kind) {
        case Fault::dangling_right:
        case Fault::dangling_left:
        case Fault::misfit:
        case Fault::comma: return report_of_text(fault);
        case Fault::lower:
            return report("lower",
                          {"Single lowercase letters (", definition,
                           ") cannot be defined as global variables."},
                          at, fit_line(definition));
        case Fault::built:
            return report("built",
                          {"Built in function ", is_loaded ? "" : "[", definition,
                           is_loaded ? "" : "]", " cannot be re-defined."},
                          at, fit_line(definition));
        case Fault::known:
            return report(
                "roads", {"Attempt to redefine function ", definition, " using the road function."},
                fit_line(definition));
        case Fault::funky: {
            const String shown = print_value(fault.node);
            return report("funky",
                          {"Funky key in expression ", shown.view(), in_function, definition, "."},
                          fit_line(definition), clip_text(shown.view(), false));
        }
        case Fault::undefined: {
            const std::string_view from = definition.empty() ? "TOP" : definition;
            return report("alive",
                          {"Alive function ", from, " references undefined ",
                           is_loaded ? "function " : "", name, "."},
                          fit_line(from), fit_line(name));
        }
        case Fault::doomed: return report("alive", {});
        case Fault::place:
            return report("place", {"Place error", in_function, definition, "."},
                          fit_line(definition));
        case Fault::arity:
            return report("arity", {"Arity of function ", definition, " may not exceed ten."},
                          fit_line(definition));
        case Fault::local:
            return report(
                "local", {"Local variable ", name, " unbound", in_function, definition, "."},
                is_loaded ? fit_line(definition) : clip_text(definition, true), fault.name);
    }
    fatal_stop(__FILE__, __LINE__);
}

}  // namespace marl
