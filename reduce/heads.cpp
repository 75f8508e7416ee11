// Heads that are asked about by their text, and what aborts look like.
#include "reduce/heads.h"

#include "text/fatal.h"

namespace marl {

bool is_lazy_name(std::string_view name) {
    return !name.empty() && is_lazy_byte(static_cast<uint8_t>(name[0]));
}

bool is_abort(Node* r) {
    if (is_leaf(r)) return false;
    const uint8_t kind = first_byte(left(r));
    return kind == ')' || kind == ']';
}

Application take_apart(Node* expression) {
    analyse(expression);
    Application application;
    application.head = head_of(expression, application.count);
    MARL_REQUIRE(application.count <= most_arguments);
    for (int i = application.count; i-- > 0; expression = left(expression)) {
        application.arguments[static_cast<size_t>(i)] = right(expression);
    }
    return application;
}

}  // namespace marl
