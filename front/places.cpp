// In steps: collect the keys, choose letters, rebuild the definition with the names replaced. A
// name that is bound in one place and free in another becomes the letter in both; the check for
// unbound letters, later, is what finds the free one.
#include "front/places.h"

#include <bit>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "front/definitions.h"
#include "front/scan.h"
#include "value/rebuild.h"

namespace marl {

namespace {

constexpr size_t most_places = 26;

bool is_binder_mark(Node* node) { return is_mark(node, '\\') || is_mark(node, '{'); }

/// From the key of each long name to the Leaf of its letter.
using Places = std::map<std::string, Value, std::less<>>;

Places choose_letters(LocalNames names) {
    Places places;
    for (const std::string_view name : names.long_names) {
        const int i = std::countr_one(names.letters);
        names.letters |= uint32_t{1} << i;
        const char letter = static_cast<char>('a' + i);
        places[std::string(definition_key(name).view())] = leaf(std::string_view(&letter, 1));
    }
    return places;
}

}  // namespace

bool LocalNames::contains(std::string_view key) const {
    if (is_letter(key)) return (letters >> (key[0] - 'a') & 1) != 0;
    return long_names.contains(key) || long_names.contains("[" + std::string(key) + "]");
}

LocalNames local_names(Node* definition) {
    LocalNames names;
    walk(definition, [&](Node* node) {
        if (is_leaf(node) || !is_binder_mark(left(node)) || !is_leaf(right(node))) return Go::in;
        const std::string_view name = leaf_bytes(right(node));
        if (is_letter(name)) {
            names.letters |= uint32_t{1} << (name[0] - 'a');
        } else {
            names.long_names.insert(name);
        }
        const size_t count = std::popcount(names.letters) + names.long_names.size();
        if (count <= most_places) return Go::in;
        names.excess = right(node);
        return Go::out;
    });
    return names;
}

void assign_places(Value& definition, LocalNames names) {
    if (names.long_names.empty()) return;
    const Places places = choose_letters(std::move(names));

    const auto rename = [&](Node* name) {
        if (!is_leaf(name)) return Value();
        const auto place = places.find(leaf_bytes(name));
        const bool stays = place == places.end() || is_binder_mark(name);
        return stays ? Value::share(name) : place->second;
    };
    definition = rebuild(definition, rename, [&](Value function, Value argument) {
        // As a key, [+] stands for the operator in the brackets; anywhere else it is text.
        if (is_binder_mark(function) && is_leaf_of(argument, '[')) {
            argument = places.find(definition_key(leaf_bytes(argument)).view())->second;
        }
        return pair(std::move(function), std::move(argument));
    });
}

}  // namespace marl
