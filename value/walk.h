// Walks over expressions, with a list of what is left in place of recursion: depth costs no stack.
//
// What counts as the parts of a node is a type with one function, which names them last first.
#pragma once

#include <cstdint>

#include "value/value.h"
#include "value/worklist.h"

namespace marl {

/// The children of a Pair.
struct Children {
    template <class See>
    static void from_the_back(Node* node, See see) {
        if (is_leaf(node)) return;
        see(right(node));
        see(left(node));
    }
};

/// The same, and what stands in the slots of an array.
struct ChildrenAndElements {
    template <class See>
    static void from_the_back(Node* node, See see) {
        if (!is_leaf_of(node, '\n')) return Children::from_the_back(node, see);
        for (int64_t i = span_of(node); i-- > 0;) {
            if (Node* element = cray_slot(node, i)) see(element);
        }
    }
};

/// Where a walk goes on: to the parts of the node, behind it, or nowhere.
enum class Go { in, past, out };

/// Shows `see(Node*)`, which says where to go, the nodes of an expression: parents before their
/// parts, these from left to right. Whether it got to the end.
template <class Parts = Children, class See>
bool walk(Node* root, See see) {
    Worklist<Node*> rest;
    for (Node* node = root;;) {
        const Go go = see(node);
        if (go == Go::out) return false;
        Node* next = nullptr;
        if (go == Go::in) {
            Parts::from_the_back(node, [&](Node* part) {
                if (next) rest.push(next);
                next = part;
            });
        }
        if (!next && rest.empty()) return true;
        node = next ? next : rest.pop();
    }
}

/// Calls `see(Node*)` for every node of an expression.
template <class See>
void for_each_node(Node* root, See see) {
    walk(root, [&](Node* node) {
        see(node);
        return Go::in;
    });
}

/// Whether some node of an expression passes the test.
template <class Test>
bool any_node(Node* root, Test test) {
    return !walk(root, [&](Node* node) { return test(node) ? Go::out : Go::in; });
}

/// Calls `begin(Node*)` for the nodes of an expression, which says whether the walk goes to their
/// parts, and then `end(Node*)` behind these.
template <class Parts = Children, class Begin, class End>
void walk_both_ways(Node* root, Begin begin, End end) {
    struct Task {
        Node* node;
        bool parts_done;
    };
    Worklist<Task> tasks;
    for (Node* node = root; node;) {
        Node* next = nullptr;
        if (begin(node)) {
            tasks.push({node, true});
            Parts::from_the_back(node, [&](Node* part) {
                if (next) tasks.push({next, false});
                next = part;
            });
        }
        while (!next && !tasks.empty()) {
            const auto [waiting, parts_done] = tasks.pop();
            if (parts_done) {
                end(waiting);
            } else {
                next = waiting;
            }
        }
        node = next;
    }
}

}  // namespace marl
