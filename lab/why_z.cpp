// Where a Z comes from.
//
// Each Z that a step gives gets a node of its own, and a Failure is kept for that node: from then
// on a Z is known by its node, wherever the program carries it. A call that answers Z on an
// argument which is a known Z, or holds one, answers so because of it: its Failure follows from
// that one's. `Z a` hands the Failure on. The Z in the bodies of `Q` and `R` gets one as they fire:
// it is what they give of an empty list.
//
// What a backquote leaves in a definition has lost its nodes when the program begins. So the
// Failure of a Z in it is kept by the expression, and found again by the definition's text.
//
// A node that has a Failure is held, so that its address stays its own; those that nobody else
// holds are given up from time to time.
#include <algorithm>
#include <memory>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "lab/call_stack.h"
#include "lab/effects.h"
#include "lab/lab.h"
#include "lab/shown.h"
#include "lab/stopped.h"
#include "lab/written.h"
#include "reduce/analysis.h"
#include "value/walk.h"

namespace marl::lab {

namespace {

struct Failure {
    int64_t number;
    const char* kind;
    std::string call;
    std::vector<std::string> within;
    std::shared_ptr<const Failure> cause;  // null for a first one
    Site site = {};
};
using FailureRef = std::shared_ptr<const Failure>;

bool is_Z(Node* node) { return is_leaf_text(node, "Z"); }

class Failures {
  public:
    FailureRef of(Node* node) const {
        const auto found = known_.find(node);
        return found == known_.end() ? nullptr : found->second.failure;
    }

    /// A new Z with that failure.
    Value make(FailureRef failure) {
        if (known_.size() >= limit_) forget();
        Value z = leaf("Z");
        analyse(z);
        known_[z.get()] = {z, std::move(failure)};
        return z;
    }

    /// The failure of the first Z with one in an expression, in reading order.
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
    enum class What { nothing, call, z_applied, list_part, other };
    What what = What::nothing;
    const char* kind = "";
    std::string call;
    int64_t number = 0;
    FailureRef cause;
    Site site;
    const Symbol* symbol = nullptr;
};

constexpr const char* empty_list = "empty list";

/// The failure of what comes of a Z that is applied. Was it a list's part, then of no list.
FailureRef applied_failure(const FailureRef& failure) {
    if (!failure || failure->kind != std::string_view(empty_list)) return failure;
    Failure other = *failure;
    other.kind = "no list";
    return std::make_shared<Failure>(std::move(other));
}

/// What a backquote has left with a Z in it.
struct Backquoted {
    std::string expression;
    FailureRef failure;
};

/// Whether an expression has a Leaf Z outside of backquotes, and the backquotes in it.
struct WrittenParts {
    bool has_Z = false;
    std::vector<Node*> backquotes;

    explicit WrittenParts(Node* expression) {
        walk(expression, [&](Node* node) {
            if (is_Z(node)) has_Z = true;
            if (is_leaf(node) || !is_leaf_of(left(node), '`')) return Go::in;
            backquotes.push_back(node);
            return Go::past;
        });
    }
};

class Tracing : public CallKeeper {
  public:
    explicit Tracing(Written& written) : CallKeeper(&written), sources_(written.sources()) {}

    Why why(Ending ending) const {
        const FailureRef& last = effect_.empty() ? result_failure_ : effect_failure_;
        Why why{std::move(ending), result_, effect_, spot_of(sources_, effect_site_), {}, 0};
        for (FailureRef failure = last; failure; failure = failure->cause) {
            why.chain.push_back({failure->number, failure->kind, failure->call, failure->within,
                                 spot_of(sources_, failure->site)});
        }
        std::reverse(why.chain.begin(), why.chain.end());
        constexpr size_t most = 20;
        why.more = why.chain.size() - std::min(most, why.chain.size());
        why.chain.resize(why.chain.size() - why.more);
        return why;
    }

  private:
    bool at(State& state, Value& focus) override {
        track(state, focus);
        if (state.last && state.nesting == 0 && result_.empty()) {
            result_ = shown(focus);
            result_failure_ = failures_.inside(focus, SIZE_MAX);
        }
        return true;
    }

    void at_backquote(State& state, Value& focus) override {
        state.number = -1;
        if (state.nesting == 0 && backquoted_now_.empty()) backquoted_now_ = printed(focus);
        track(state, focus);
        if (!state.last || state.nesting > 0) return;
        const FailureRef failure = failures_.inside(focus, SIZE_MAX);
        if (failure) backquoted_.push_back({backquoted_now_, failure});
        backquoted_now_.clear();
    }

    static std::string printed(Node* node) { return std::string(print_value(node).view()); }

    void track(State& state, Value& focus) {
        fired_.resize(static_cast<size_t>(state.nesting) + 1);
        if (fired_.back().what == Fired::What::list_part) mark_list_part(state, focus);
        if (is_Z(focus) && !failures_.of(focus)) note_new_Z(state, focus);
        keep_calls(state);
        if (state.last) return fired_.pop_back();
        fired_.back() = {};
        if (state.head) note_fired(state);
        if (effect_.empty() && state.symbol && state.symbol->builtin) note_effect(state);
    }

    /// The calls that are going on, the innermost first.
    std::vector<std::string> within() const {
        constexpr size_t most = 5;
        const auto count = static_cast<ptrdiff_t>(std::min(most, texts.size()));
        return {texts.rbegin(), texts.rbegin() + count};
    }

    void note_fired(const State& state) {
        Fired& fired = fired_.back();
        fired.number = state.number;
        fired.what = Fired::What::other;
        fired.site = state.site;
        fired.symbol = state.symbol;
        const bool is_data = !state.symbol && !is_leaf_of(state.head, '\\') &&
                             !is_leaf_of(state.head, '{') && !is_leaf_of(state.head, ')');
        const bool hands_on = state.symbol && is_plumbing(*state.symbol);
        if (is_Z(state.head) && hands_on) {
            fired.what = Fired::What::z_applied;
            fired.cause = applied_failure(failures_.of(state.head));
        } else if (hands_on && (is_leaf_of(state.head, 'Q') || is_leaf_of(state.head, 'R'))) {
            fired.what = Fired::What::list_part;
            fired.kind = empty_list;
            fired.call = call_text(state, Room{});
        } else if (is_data || (state.symbol && !hands_on)) {
            fired.what = Fired::What::call;
            fired.kind = is_data ? "data" : state.symbol->builtin ? "built-in" : "definition";
            fired.call = call_text(state, Room{});
            // A definition's answer follows from what it does with its arguments, not from them.
            if (is_data || state.symbol->builtin) fired.cause = cause_in(state.arguments);
        }
    }

    /// What a built-in writes or shows has a Z in it.
    void note_effect(const State& state) {
        const std::string_view name = state.symbol->name;
        if (name != "lisp" && !acts_outside(name)) return;
        effect_failure_ = cause_in(state.arguments);
        if (!effect_failure_) return;
        effect_ = call_text(state, Room{});
        effect_site_ = state.site;
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

    FailureRef failure_of_call(Fired& fired) const {
        return std::make_shared<Failure>(Failure{fired.number, fired.kind, std::move(fired.call),
                                                 within(), fired.cause, fired.site});
    }

    /// `Q l` and `R l` are l Z K and l Z H: this Z is the answer if l is empty.
    void mark_list_part(State& state, Value& focus) {
        if (is_leaf(focus) || is_leaf(left(focus)) || !is_Z(right(left(focus)))) return;
        Value z = failures_.make(failure_of_call(fired_.back()));
        Value list = pair(Value::share(left(left(focus))), std::move(z));
        focus = pair(std::move(list), Value::share(right(focus)));
        analyse(focus);
        state.focus = focus;
    }

    /// The focus is a Z that no one knows: a step has answered it, or the program writes it.
    void note_new_Z(State& state, Value& focus) {
        Fired& fired = fired_.back();
        if (fired.what == Fired::What::nothing) return;
        FailureRef failure = fired.cause;
        if (fired.what == Fired::What::call) {
            failure = failure_of_call(fired);
            if (std::string_view(fired.kind) == "definition") failure = failure_in(fired, *failure);
        } else if (!failure) {
            failure = written_Z(state);
        }
        focus = failures_.make(std::move(failure));
        state.focus = focus;
    }

    /// A definition's own call is the innermost of those that are going on. What a constant
    /// answers may be what a backquote has left.
    FailureRef failure_in(const Fired& fired, Failure own) const {
        if (!own.within.empty()) own.within.erase(own.within.begin());
        const Site site = std::exchange(own.site, definition_site(fired.symbol->name));
        find_backquote(own);
        if (!own.cause) own.site = site;
        return std::make_shared<Failure>(std::move(own));
    }

    /// A Z that stands in a definition has been chosen: it is that call's answer, or a part of its
    /// work. Or a backquote has left it there.
    FailureRef written_Z(const State& state) const {
        std::vector<std::string> around = within();
        const bool answers = !calls.empty() && calls.back().nesting == state.nesting &&
                             calls.back().frames == state.frames;
        Failure failure{state.number,
                        answers ? "definition" : "literal",
                        around.empty() ? "the entry" : around.front(),
                        around,
                        nullptr,
                        {}};
        if (!around.empty()) failure.within.erase(failure.within.begin());
        failure.site = definition_site(calls.empty() ? "" : calls.back().symbol->name);
        find_backquote(failure);
        return std::make_shared<Failure>(std::move(failure));
    }

    Site definition_site(std::string_view key) const {
        const auto place = sources_.definitions.find(key);
        if (place == sources_.definitions.end()) return {};
        const Program& program = sources_.bundle.program(place->second.source);
        return {place->second.source, program.pieces[place->second.piece].expression};
    }

    void find_backquote(Failure& failure) const {
        if (backquoted_.empty() || !failure.site) return;
        const WrittenParts parts(failure.site.node);
        if (parts.has_Z || parts.backquotes.empty()) return;
        for (Node* backquote : parts.backquotes) {
            for (const Backquoted& left_by : backquoted_) {
                const bool is_only = backquoted_.size() == 1 && parts.backquotes.size() == 1;
                if (!is_only && printed(right(backquote)) != left_by.expression) continue;
                failure.kind = "backquote";
                failure.call = left_by.expression;
                failure.cause = left_by.failure;
                failure.site.node = backquote;
                return;
            }
        }
    }

    const Sources& sources_;
    Failures failures_;
    std::vector<Fired> fired_;
    std::string backquoted_now_;  // the expression of the backquote that is being evaluated
    std::vector<Backquoted> backquoted_;
    FailureRef result_failure_;
    std::string result_;
    FailureRef effect_failure_;
    std::string effect_;
    Site effect_site_;
};

}  // namespace

Why why_z(std::string_view text, const std::vector<std::string>& arguments,
          const Sources& sources) {
    Written written(sources);
    Tracing tracing(written);
    const ShownOnSignal shown([&] { return tracing.under_way(SIZE_MAX); });
    const Outcome outcome = run_watched(text, arguments, tracing);
    return tracing.why(ending_of(outcome, tracing));
}

Why why_z(std::string_view text, const std::vector<std::string>& arguments) {
    return why_z(text, arguments, sources_of("program", text));
}

}  // namespace marl::lab
