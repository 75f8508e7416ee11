// The built-ins on the language's own data: its elements (library/elements.h), the trees of texts
// and bytes, printed forms, and the identity and life of nodes.
#include <cstring>
#include <span>
#include <vector>

#include "front/intern.h"
#include "library/elements.h"
#include "library/leaked.h"
#include "number/convert.h"
#include "number/cray.h"
#include "number/digits.h"
#include "number/kind.h"
#include "number/post.h"
#include "number/word_results.h"
#include "number/zits.h"
#include "reduce/tables.h"
#include "value/allocate.h"

namespace marl {

namespace {

Value type(Value* arguments) {
    switch (kind_of(arguments[0])) {
        case 'a': return intern(leaf("[post]"));
        case 'c': return intern(leaf("[cray]"));
        case 'i': return intern(leaf("[hint]"));
        case 'o': return intern(leaf("[numb]"));
        case 'r': return intern(leaf("[real]"));
        case 'u': return intern(leaf("[zits]"));
        default: return intern(leaf("[void]"));
    }
}

Value bytes_of_tree(Node* x) {
    const std::optional<String> bytes = post_of_tree(x);
    return bytes ? post_make(bytes->view()) : leaf_Z();
}

Value init(Value* arguments) {
    Node* x = arguments[0];
    switch (kind_of(x)) {
        case 'a': return std::move(arguments[0]);
        case 'r': return post_make(leaf_bytes(x).substr(1));
        case 'u': return post_make(zits_body(zits_flatten(Value::share(x))));
        case 'i': {
            if (!is_list(x)) return leaf_Z();
            const auto byte = static_cast<char>(to_i64(x));
            return post_make({&byte, 1});
        }
        case 'e': return bytes_of_tree(x);
        default: return leaf_Z();
    }
}

/// Of a text Leaf, or of a number that has no node.
bool init_on_words(Word* arguments, Word& result) {
    if (is_short(arguments[0])) {
        const auto byte = static_cast<char>(short_of(arguments[0]));
        result = word_of_new(post_make({&byte, 1}));
        return true;
    }
    if (!is_node(arguments[0])) return false;
    Node* x = node_of(arguments[0]);
    if (is_leaf_of(x, '(')) {
        result = arguments[0];
        return true;
    }
    if (!is_leaf_of(x, '[')) return false;
    result = word_of_new(post_make(zits_body(x)));
    release(x);
    return true;
}

/// The bytes at an address that the program answers for.
Value post_of_memory(int64_t address, int64_t n) {
    if (n < 0) return leaf_Z();
    Value made = post_with_size(n);
    if (n > 0) {
        memcpy(post_data(made), reinterpret_cast<const char*>(address), static_cast<size_t>(n));
    }
    return made;
}

Value read_memory(Value* arguments) {
    if (!is_integer(arguments[0]) || !is_integer(arguments[1])) return leaf_Z();
    return post_of_memory(to_i64(arguments[0]), to_i64(arguments[1]));
}

bool read_memory_on_words(Word* arguments, Word& result) {
    if (!is_short(arguments[0]) || !is_short(arguments[1])) return false;
    result = word_of_new(post_of_memory(short_of(arguments[0]), short_of(arguments[1])));
    return true;
}

/// The one empty cray of the process, from which a program makes all others.
Value empty_cray(Value*) {
    static Node* const empty = [] {
        keep_for_good();
        return cray_with_size(0).take();
    }();
    return Value::share(empty);
}

/// The two subtrees of a tree form that is not empty, borrowed; null for anything else.
struct Subtrees {
    Node* left = nullptr;
    Node* right = nullptr;
};
Subtrees subtrees_of(Node* x) {
    Node* tree = tree_in_form(x);
    if (!tree || is_leaf(tree)) return {};
    Node* cell = left(tree);
    if (is_leaf(cell) || !is_leaf_of(left(cell), 'J')) return {};
    return {right(cell), right(tree)};
}

Value tree_form(Node* tree) {
    if (!tree) return leaf_Z();
    return apply(leaf("V"), pair(leaf("X"), leaf("J")), Value::share(tree));
}

Value left_part(Value* arguments) {
    Node* x = arguments[0];
    if (kind_of(x) != 'u') return tree_form(subtrees_of(x).left);
    return zits_is_empty(x) ? leaf_Z() : zits_left(std::move(arguments[0]));
}

Value right_part(Value* arguments) {
    Node* x = arguments[0];
    if (kind_of(x) != 'u') return tree_form(subtrees_of(x).right);
    return zits_is_empty(x) ? leaf_Z() : zits_right(x);
}

Value is_empty_tree(Value* arguments) {
    Node* x = arguments[0];
    if (kind_of(x) == 'u') return truth(zits_is_empty(x));
    Node* tree = tree_in_form(x);
    return tree ? truth(is_leaf_of(tree, 'K')) : leaf_Z();
}

Value lisp(Value* arguments) { return zits_make(print_value(arguments[0]).view()); }

Value raws(Value* arguments) { return truth(arguments[0].get() == arguments[1].get()); }

Value cmpr(Value* arguments) { return from_i64(compare(arguments[0], arguments[1])); }

Value tern(Value* arguments) { return intern(std::move(arguments[0])); }

#if MARL_COUNT_NODES
std::vector<Node*>& leaked() {
    static std::vector<Node*> nodes;
    return nodes;
}
#endif

/// The reference that the argument was is never given back, so the address stays good.
Value leak(Value* arguments) {
    Node* node = arguments[0].take();
#if MARL_COUNT_NODES
    leaked().push_back(node);
#endif
    return from_i64(reinterpret_cast<int64_t>(node));
}

Value bond(Value* arguments) {
    if (!is_integer(arguments[0])) return leaf_Z();
    // An address that is 0 stops here; any other is the program's to answer for.
    return Value::share(reinterpret_cast<Node*>(to_i64(arguments[0])));
}

/// A pair like any other for a selector c. The one selector for which it is not, the node of the
/// name `todo` that heads the application, gives the pair's own node back; the machine sees to it
/// before it comes here.
Value todo(Value* arguments) {
    return apply(std::move(arguments[2]), std::move(arguments[0]), std::move(arguments[1]));
}

Value assert_builtin(Value* arguments) {
    constexpr int line = 244;
    if (is_leaf_of(arguments[0], 'K')) return leaf_I();
    if (is_leaf_of(arguments[0], 'H')) fatal_stop("l", line);
    return leaf_Z();
}

constexpr Builtin rows[] = {
    {"look", 2, look, look_on_words},
    {"cork", 3, cork, cork_on_words},
    {"trim", 3, trim, trim_on_words},
    {"copy", 2, copy_bytes},
    {"rank", 1, count_elements, count_on_words},
    {"init", 1, init, init_on_words},
    {"post", 2, read_memory, read_memory_on_words},
    {"cray", 0, empty_cray},
    {"left", 1, left_part},
    {"rght", 1, right_part},
    {"leaf", 1, is_empty_tree},
    {"lisp", 1, lisp},
    {"raws", 2, raws},
    {"cmpr", 2, cmpr},
    {"tern", 1, tern},
    {"leak", 1, leak},
    {"bond", 1, bond},
    {"todo", 3, todo},
    {"assert", 1, assert_builtin},
    {"type", 1, type},
};

}  // namespace

std::span<const Builtin> structure_rows() { return rows; }

#if MARL_COUNT_NODES
void release_leaked() {
    for (Node* node : leaked()) release(node);
    leaked().clear();
}
#endif

}  // namespace marl
