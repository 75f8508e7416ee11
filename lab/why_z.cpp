// Where a Z comes from.
//
// Each Z that a step gives gets a node of its own, and a Failure is kept for that node: from then
// on a Z is known by its node, wherever the program carries it. A call that answers Z on an
// argument which is a known Z, or holds one, answers so because of it: its Failure names that one's
// as its cause. `Z a` hands its Failure on.
//
// A node that has a Failure is held, so that its address stays its own; those that nobody else
// holds are given up from time to time.
#include <algorithm>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "lab/lab.h"
#include "lab/observe.h"
#include "lab/shown.h"
#include "reduce/analysis.h"
#include "value/walk.h"

namespace marl::lab {

namespace {

/// What answered a Z: the call, at which state, and the calls around it.
struct Failure {
    int64_t number;
    const char* kind;
    std::string call;
    std::vector<std::string> within;
    std::shared_ptr<const Failure> cause;  // null for a first one
};
using FailureRef = std::shared_ptr<const Failure>;

bool is_Z(Node* node) { return is_leaf_text(node, "Z"); }

class Failures {
  public:
    FailureRef of(Node* node) const {
        const auto found = known_.find(node);
        return found == known_.end() ? nullptr : found->second.failure;
    }

    /// A new Z that stands for that failure.
    Value make(FailureRef failure) {
        if (known_.size() >= limit_) forget();
        Value z = leaf("Z");
        analyse(z);
        known_[z.get()] = {z, std::move(failure)};
        return z;
    }

    /// The failure of the first known Z in an expression, in reading order.
    FailureRef inside(Node* expression, size_t most_nodes) const {
        std::unordered_set<Node*> seen;
        FailureRef found;
        walk<ChildrenAndElements>(expression, [&](Node* node) {
            if (seen.size() == most_nodes) return Go::out;
            if (!seen.insert(node).second) return Go::past;
            found = of(node);
            return found ? Go::out : Go::in;
        });
        return found;
    }

  private:
    void forget() {
        std::erase_if(known_, [](const auto& entry) { return count_of(entry.first) == 1; });
        limit_ = std::max<size_t>(1000, known_.size() * 2);
    }

    struct Known {
        Value node;
        FailureRef failure;
    };
    std::unordered_map<Node*, Known> known_;
    size_t limit_ = 1000;
};

/// What a step did that may turn out to have answered Z.
struct Fired {
    enum class What { nothing, call, z_applied, other };
    What what = What::nothing;
    const char* kind = "";
    std::string call;
    int64_t number = 0;
    FailureRef cause;
};

class Tracing : public Watcher {
  public:
    const FailureRef& failure_of_result() const { return result_failure_; }
    const std::string& result() const { return result_; }

  private:
    bool at(State& state, Value& focus) override {
        fired_.resize(static_cast<size_t>(state.nesting) + 1);
        if (is_Z(focus) && !failures_.of(focus)) note_new_Z(state, focus);
        leave_calls(state);
        if (state.last) {
            fired_.pop_back();
            if (state.nesting == 0 && result_.empty()) note_result(focus);
            return true;
        }
        fired_.back() = {};
        if (state.head) note_fired(state);
        if (state.symbol && !state.symbol->builtin && !is_plumbing(*state.symbol)) {
            enter_call(state);
        }
        return true;
    }

    void on_entered(const State& state) override { texts_.push_back(call_text(state, Room{})); }
    void on_left(const State&, const Call&, Node*) override { texts_.pop_back(); }

    /// The calls that are going on, the innermost first.
    std::vector<std::string> within() const {
        constexpr size_t most = 5;
        const auto count = static_cast<ptrdiff_t>(std::min(most, texts_.size()));
        return {texts_.rbegin(), texts_.rbegin() + count};
    }

    void note_fired(const State& state) {
        Fired& fired = fired_.back();
        fired.number = state.number;
        fired.what = Fired::What::other;
        const bool is_data = !state.symbol && !is_leaf_of(state.head, '\\') &&
                             !is_leaf_of(state.head, '{') && !is_leaf_of(state.head, ')');
        if (is_Z(state.head) && is_plumbing(*state.symbol)) {
            fired.what = Fired::What::z_applied;
            fired.cause = failures_.of(state.head);
        } else if (is_data || (state.symbol && !is_plumbing(*state.symbol))) {
            fired.what = Fired::What::call;
            fired.kind = is_data ? "data" : state.symbol->builtin ? "built-in" : "definition";
            fired.call = call_text(state, Room{});
            // A definition's answer follows from what it does with its arguments, not from them.
            if (is_data || state.symbol->builtin) fired.cause = cause_in(state.arguments);
        }
    }

    FailureRef cause_in(const std::vector<Node*>& arguments) const {
        constexpr size_t most_nodes = 1000;
        for (Node* argument : arguments) {
            if (FailureRef failure = failures_.of(argument)) return failure;
        }
        for (Node* argument : arguments) {
            if (FailureRef failure = failures_.inside(argument, most_nodes)) return failure;
        }
        return nullptr;
    }

    /// The focus is a Z that no one knows: a step has answered it, or the program writes it.
    void note_new_Z(State& state, Value& focus) {
        Fired& fired = fired_.back();
        if (fired.what == Fired::What::nothing) return;
        FailureRef failure = fired.cause;
        if (fired.what == Fired::What::call) {
            failure = std::make_shared<Failure>(
                Failure{fired.number, fired.kind, std::move(fired.call), within(), fired.cause});
            if (std::string_view(fired.kind) == "definition") drop_own_call(failure);
        } else if (!failure) {
            failure = written_Z(state);
        }
        focus = failures_.make(std::move(failure));
        state.focus = focus;
    }

    /// A definition's own call is the innermost of those that are going on.
    static void drop_own_call(FailureRef& failure) {
        Failure own = *failure;
        if (!own.within.empty()) own.within.erase(own.within.begin());
        failure = std::make_shared<Failure>(std::move(own));
    }

    /// A Z that stands in a definition has been chosen: it is that call's answer, or a part of its
    /// work.
    FailureRef written_Z(const State& state) const {
        std::vector<std::string> around = within();
        const bool answers = !calls.empty() && calls.back().nesting == state.nesting &&
                             calls.back().frames == state.frames;
        std::string call = around.empty() ? "the entry" : around.front();
        if (!around.empty()) around.erase(around.begin());
        return std::make_shared<Failure>(Failure{state.number, answers ? "definition" : "literal",
                                                 std::move(call), std::move(around), nullptr});
    }

    void note_result(Node* result) {
        result_ = shown(result);
        result_failure_ = failures_.inside(result, SIZE_MAX);
    }

    Failures failures_;
    std::vector<Fired> fired_;
    std::vector<std::string> texts_;  // of `calls`
    FailureRef result_failure_;
    std::string result_;
};

std::vector<Link> chain_of(FailureRef failure) {
    std::vector<Link> chain;
    for (; failure; failure = failure->cause) {
        chain.push_back({failure->number, failure->kind, failure->call, failure->within});
    }
    std::reverse(chain.begin(), chain.end());
    return chain;
}

}  // namespace

Why why_z(std::string_view text, const std::vector<std::string>& arguments) {
    Tracing tracing;
    const Outcome outcome = run_watched(text, arguments, tracing);
    return {ending_of(outcome, tracing), tracing.result(), chain_of(tracing.failure_of_result())};
}

}  // namespace marl::lab
