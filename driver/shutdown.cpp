// The end in three phases: the intern set lets go, so that definitions are the only holders; each
// definition in key order is rebuilt without its todo Values, which are released by that and act
// while all others still stand; and when a whole round has found none, the tables are emptied.
#include "driver/shutdown.h"

#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "front/intern.h"
#include "number/convert.h"
#include "number/cray.h"
#include "reduce/analysis.h"
#include "reduce/definitions.h"
#include "reduce/machine.h"
#include "reduce/needs.h"
#include "reduce/tables.h"
#include "value/todo.h"
#include "value/walk.h"

namespace marl {

namespace {

/// Whether the header alone shows free variables; a node that is not analysed shows none.
bool shows_free_variables(Node* node) {
    const uint8_t byte = first_byte(node);
    const bool has_length = is_leaf(node)
                                ? byte == '[' || byte == '(' || byte == '\n' || is_digit_byte(byte)
                                : top_byte(node) == zits_code;
    return !has_length && span_of(node) != 0;
}

/// Whether a todo Value can stand in it: in a Pair that is no text, and in an array.
bool has_parts(Node* node) {
    return is_leaf(node) ? is_leaf_of(node, '\n') : top_byte(node) != zits_code;
}

/// Whether a todo Value stands anywhere in the expression. Most definitions hold none, and then
/// nothing needs to be taken apart and put together again.
bool holds_todo(Node* expression) {
    std::unordered_set<Node*> seen;
    return !walk<ChildrenAndElements>(expression, [&](Node* node) {
        const bool again = count_of(node) > 1 && !seen.insert(node).second;
        if (!has_parts(node) || again) return Go::past;
        return !is_leaf(node) && is_todo(node) ? Go::out : Go::in;
    });
}

// Disarming goes through an expression from the bottom up, without recursion. A node that several
// Pairs share is done once: memory that a program built in n steps may spell out to 2^n parts.
class Disarming {
  public:
    Value run(Node* expression) {
        walk_both_ways<ChildrenAndElements>(
            expression, [&](Node* node) { return begin(node); }, [&](Node* node) { join(node); });
        return pop_result();
    }

  private:
    /// Whether the parts are due.
    bool begin(Node* node) {
        const auto known = shared_.find(node);
        if (known != shared_.end()) {
            results_.push_back(known->second);
        } else if (!has_parts(node)) {
            results_.push_back(Value::share(node));
        } else if (!is_leaf(node) && is_todo(node)) {
            finish(node, leaf_Z());
        } else {
            return true;
        }
        return false;
    }

    void join(Node* node) {
        if (is_leaf(node)) {
            join_cray(node);
        } else {
            join_pair(node);
        }
    }

    void join_cray(Node* node) {
        Value made = Value::share(node);
        for (int64_t i = cray_length(node); i-- > 0;) {
            if (!cray_slot(node, i)) continue;
            Value result = pop_result();
            if (result.get() == cray_slot(node, i)) continue;
            if (made.get() == node) made = cray_slice(node, 0, cray_length(node));
            release_word(cray_store(made, i, word_of(result.take())));
        }
        finish(node, std::move(made));
    }

    void join_pair(Node* node) {
        Value right_result = pop_result();
        Value left_result = pop_result();
        const bool same = left_result.get() == left(node) && right_result.get() == right(node);
        finish(node,
               same ? Value::share(node) : pair(std::move(left_result), std::move(right_result)));
    }

    void finish(Node* node, Value result) {
        // The expression itself holds each node; more than one count means more than one way to it.
        if (count_of(node) > (result.get() == node ? 2u : 1u)) shared_.emplace(node, result);
        results_.push_back(std::move(result));
    }

    Value pop_result() {
        Value result = std::move(results_.back());
        results_.pop_back();
        return result;
    }

    std::vector<Value> results_;
    std::unordered_map<Node*, Value> shared_;
};

/// Disarms each definition in key order; whether there was anything to disarm. An action may load
/// a definition ahead of the walk, which is then met in its place. Those of the built-ins are
/// lambdas around Z.
bool disarm_definitions() {
    bool found = false;
    for (Symbol* symbol = next_defined_symbol(nullptr); symbol;
         symbol = next_defined_symbol(symbol)) {
        if (symbol->builtin || !holds_todo(symbol->definition)) continue;
        found = true;
        set_definition(*symbol, disarm(symbol->definition));
    }
    return found;
}

}  // namespace

void run_todo_action(Node* pair_node) {
    Node* x = right(left(pair_node));
    Node* y = right(pair_node);
    if (shows_free_variables(x) || shows_free_variables(y)) return;
    if (!settled(x) || !settled(y)) return;
    // A body that a call was still making can die before anyone has analysed it.
    if (!is_closed(x) || !is_closed(y)) return;
    reduce(pair(Value::share(x), Value::share(y)));
}

Value disarm(Node* expression) { return Disarming().run(expression); }

void shutdown() {
    const TodoArming armed(true);
    // The intern set goes first, so that what a definition holds is held by nothing else. An action
    // may add to either, behind the walk as well: both must be found quiet. Without `todo` nothing
    // acts, and nothing needs to be taken apart.
    do {
        clear_intern_set();
    } while (needs_plain_machine && (disarm_definitions() || intern_set_size() > 0));
    clear_definitions();
}

}  // namespace marl
