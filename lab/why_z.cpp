// Where a Z comes from.
//
// Each Z that a step gives gets a node of its own, and an Origin is kept for that node: from then
// on a Z is known by its node, wherever the program carries it. A call that answers Z on an
// argument which is a known Z, or holds one, answers so because of it: its Origin follows from that
// one's. `Z a` hands the Origin on. The Z in the bodies of `Q` and `R` gets one as they fire: it is
// what they give of an empty list.
//
// What a backquote leaves in a definition has lost its nodes when the program begins. So the Origin
// of a Z in it is kept by the expression, and found again by the definition's text.
//
// A node that has an Origin is held, so that its address stays its own; those that nobody else
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

struct Origin {
    int64_t number;
    const char* kind;
    std::string call;
    std::vector<std::string> within;
    std::shared_ptr<const Origin> cause;  // null for a first one
    Site site = {};
};
using OriginRef = std::shared_ptr<const Origin>;

bool is_Z(Node* node) { return is_leaf_text(node, "Z"); }

class Origins {
  public:
    OriginRef of(Node* node) const {
        const auto found = known_.find(node);
        return found == known_.end() ? nullptr : found->second.origin;
    }

    /// A new Z with that origin.
    Value make(OriginRef origin) {
        if (known_.size() >= limit_) forget();
        Value z = leaf("Z");
        analyse(z);
        known_[z.get()] = {z, std::move(origin)};
        return z;
    }

    /// The origin of the first Z with one in an expression, in reading order.
    OriginRef inside(Node* expression, size_t most_nodes) const {
        std::unordered_set<Node*> seen;
        OriginRef found;
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
        OriginRef origin;
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
    OriginRef cause;
    Site site;
    const Symbol* symbol = nullptr;
};

constexpr const char* empty_list = "empty list";

/// The origin of what comes of a Z that is applied. Was it a list's part, then of no list.
OriginRef applied_origin(const OriginRef& origin) {
    if (!origin || origin->kind != std::string_view(empty_list)) return origin;
    Origin other = *origin;
    other.kind = "no list";
    return std::make_shared<Origin>(std::move(other));
}

/// What a backquote has left with a Z in it.
struct Backquoted {
    std::string expression;
    OriginRef origin;
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
        const OriginRef& last = effect_.empty() ? result_origin_ : effect_origin_;
        Why why{std::move(ending), result_, effect_, spot_of(sources_, effect_site_), {}, 0};
        for (OriginRef origin = last; origin; origin = origin->cause) {
            why.chain.push_back({origin->number, origin->kind, origin->call, origin->within,
                                 spot_of(sources_, origin->site)});
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
            result_origin_ = origins_.inside(focus, SIZE_MAX);
        }
        return true;
    }

    void at_backquote(State& state, Value& focus) override {
        state.number = -1;
        if (state.nesting == 0 && backquoted_now_.empty()) backquoted_now_ = printed(focus);
        track(state, focus);
        if (!state.last || state.nesting > 0) return;
        const OriginRef origin = origins_.inside(focus, SIZE_MAX);
        if (origin) backquoted_.push_back({backquoted_now_, origin});
        backquoted_now_.clear();
    }

    static std::string printed(Node* node) { return std::string(print_value(node).view()); }

    void track(State& state, Value& focus) {
        fired_.resize(static_cast<size_t>(state.nesting) + 1);
        if (fired_.back().what == Fired::What::list_part) mark_list_part(state, focus);
        if (is_Z(focus) && !origins_.of(focus)) note_new_Z(state, focus);
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
            fired.cause = applied_origin(origins_.of(state.head));
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
        const std::string_view name = state.symbol->name.view();
        if (name != "lisp" && !acts_outside(name)) return;
        effect_origin_ = cause_in(state.arguments);
        if (!effect_origin_) return;
        effect_ = call_text(state, Room{});
        effect_site_ = state.site;
    }

    OriginRef cause_in(const std::vector<Node*>& arguments) const {
        constexpr size_t most_nodes = 1000;
        for (Node* argument : arguments) {
            if (OriginRef origin = origins_.of(argument)) return origin;
        }
        for (Node* argument : arguments) {
            if (OriginRef origin = origins_.inside(argument, most_nodes)) return origin;
        }
        return nullptr;
    }

    OriginRef origin_of_call(Fired& fired) const {
        return std::make_shared<Origin>(Origin{fired.number, fired.kind, std::move(fired.call),
                                               within(), fired.cause, fired.site});
    }

    /// `Q l` and `R l` are l Z K and l Z H: this Z is the answer if l is empty.
    void mark_list_part(State& state, Value& focus) {
        if (is_leaf(focus) || is_leaf(left(focus)) || !is_Z(right(left(focus)))) return;
        Value z = origins_.make(origin_of_call(fired_.back()));
        Value list = pair(Value::share(left(left(focus))), std::move(z));
        focus = pair(std::move(list), Value::share(right(focus)));
        analyse(focus);
        state.focus = focus;
    }

    /// The focus is a Z that no one knows: a step has answered it, or the program writes it.
    void note_new_Z(State& state, Value& focus) {
        Fired& fired = fired_.back();
        if (fired.what == Fired::What::nothing) return;
        OriginRef origin = fired.cause;
        if (fired.what == Fired::What::call) {
            origin = origin_of_call(fired);
            if (std::string_view(fired.kind) == "definition") origin = origin_in(fired, *origin);
        } else if (!origin) {
            origin = written_Z(state);
        }
        focus = origins_.make(std::move(origin));
        state.focus = focus;
    }

    /// A definition's own call is the innermost of those that are going on. What a constant
    /// answers may be what a backquote has left.
    OriginRef origin_in(const Fired& fired, Origin own) const {
        if (!own.within.empty()) own.within.erase(own.within.begin());
        const Site site = std::exchange(own.site, definition_site(fired.symbol->name.view()));
        find_backquote(own);
        if (!own.cause) own.site = site;
        return std::make_shared<Origin>(std::move(own));
    }

    /// A Z that stands in a definition has been chosen: it is that call's answer, or a part of its
    /// work. Or a backquote has left it there.
    OriginRef written_Z(const State& state) const {
        std::vector<std::string> around = within();
        const bool answers = !calls.empty() && calls.back().nesting == state.nesting &&
                             calls.back().frames == state.frames;
        Origin origin{state.number,
                      answers ? "definition" : "literal",
                      around.empty() ? "the entry" : around.front(),
                      around,
                      nullptr,
                      {}};
        if (!around.empty()) origin.within.erase(origin.within.begin());
        origin.site = definition_site(calls.empty() ? "" : calls.back().symbol->name.view());
        find_backquote(origin);
        return std::make_shared<Origin>(std::move(origin));
    }

    Site definition_site(std::string_view key) const {
        const auto place = sources_.definitions.find(key);
        if (place == sources_.definitions.end()) return {};
        const Program& program = sources_.bundle.program(place->second.source);
        return {place->second.source, program.pieces[place->second.piece].expression};
    }

    void find_backquote(Origin& origin) const {
        if (backquoted_.empty() || !origin.site) return;
        const WrittenParts parts(origin.site.node);
        if (parts.has_Z || parts.backquotes.empty()) return;
        for (Node* backquote : parts.backquotes) {
            for (const Backquoted& left_by : backquoted_) {
                const bool is_only = backquoted_.size() == 1 && parts.backquotes.size() == 1;
                if (!is_only && printed(right(backquote)) != left_by.expression) continue;
                origin.kind = "backquote";
                origin.call = left_by.expression;
                origin.cause = left_by.origin;
                origin.site.node = backquote;
                return;
            }
        }
    }

    const Sources& sources_;
    Origins origins_;
    std::vector<Fired> fired_;
    std::string backquoted_now_;  // the expression of the backquote that is being evaluated
    std::vector<Backquoted> backquoted_;
    OriginRef result_origin_;
    std::string result_;
    OriginRef effect_origin_;
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
