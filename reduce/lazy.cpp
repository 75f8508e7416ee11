// One table by the first byte of a head says what is lazy. What the code takes for granted of
// combinators is asked of their definitions, by comparing them with the prelude's.
#include "reduce/lazy.h"

#include <array>

#include "reduce/tables.h"

namespace marl {

namespace {

constexpr auto lazy_heads = [] {
    std::array<bool, 256> table{};
    for (char c : std::string_view("&|ABCDEFHIJKLNQRTUVXZ")) table[static_cast<uint8_t>(c)] = true;
    return table;
}();

Value lambda(const char* key, Value body) { return apply(leaf("\\"), leaf(key), std::move(body)); }

bool is_defined_as(std::string_view name, const Value& meaning) {
    Node* definition = find_definition(name);
    return definition && compare(definition, meaning) == 0;
}

}  // namespace

bool is_lazy_head(const Node* head) { return lazy_heads[first_byte(head)]; }

bool is_lazy_name(std::string_view name) {
    return !name.empty() && lazy_heads[static_cast<uint8_t>(name[0])];
}

bool truth_is_plain() {
    return is_defined_as("K", lambda("a", lambda("b", leaf("a")))) &&
           is_defined_as("H", lambda("a", leaf("I"))) && is_defined_as("I", lambda("a", leaf("a")));
}

bool pairs_are_plain() {
    return is_defined_as(
               "J",
               lambda("a", lambda("b", lambda("c", apply(leaf("V"), leaf("a"), leaf("b")))))) &&
           is_defined_as(
               "V", lambda("a", lambda("b", lambda("c", apply(leaf("c"), leaf("a"), leaf("b"))))));
}

}  // namespace marl
