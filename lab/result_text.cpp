// The prompt and the tests must agree on it, so it stands once, for both cores.
#include "lab/result_text.h"

namespace marl::lab {

std::string result_text(const Report& report) {
    return std::string(report.kind.view()) + ": " + std::string(report.say.view());
}

std::string result_text(Node* result) {
    if (is_leaf_of(result, ')')) {
        const std::string name(leaf_bytes(result).substr(1));
        return "cycle: `" + name + "` needs its own value.";
    }
    if (!is_leaf(result) && is_leaf_of(left(result), ']')) {
        return result_text(report_parse(text(right(result))));
    }
    return std::string(print_value(result).view());
}

}  // namespace marl::lab
