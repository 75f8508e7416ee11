// The reduction as a row of states, and the calls of one name in it.
#include <algorithm>
#include <optional>
#include <utility>

#include "lab/call_stack.h"
#include "lab/lab.h"
#include "lab/shown.h"
#include "lab/stopped.h"
#include "lab/written.h"
#include "reduce/analysis.h"

namespace marl::lab {

namespace {

std::string printed(Node* node) { return std::string(print_value(node).view()); }

/// A context, and where the function of a frame begins in it; `depth` counts from 1, the frame on
/// top.
std::string printed_with_place(Node* context, int depth, size_t& place) {
    Node* frame = context;
    for (; depth > 1; --depth) frame = top_frame(frame).below;
    return std::string(print_value(context, frame, place).view());
}

const char* rule_word(const State& state) {
    if (state.last) return "end";
    switch (state.rule) {
        case Rule::pop: return "pop";
        case Rule::hold_back: return "hold back";
        case Rule::reduce_argument: return "reduce argument";
        case Rule::wait_for_value: return "reduce value";
        default: return "fire";
    }
}

/// What fires, in a word.
std::string name_of_head(const State& state) {
    if (state.symbol) return std::string(state.symbol->name);
    if (!is_leaf(state.head)) return "zits";
    switch (*leaf_text(state.head)) {
        case '\\': return "lambda";
        case '{': return "let";
        case ')': return "store " + std::string(leaf_bytes(state.head).substr(1));
        case ']': return "failure";
        case '(': return "post";
        case '[': return "zits";
        case '\n': return "cray";
        case ' ': return "real";
        default: return "number";
    }
}

Step step_of(const State& state, const Room& room, bool with_trees) {
    const Value context = shortened_context(state.context, state.frames, room);
    const Value focus = shortened(state.focus, room);
    const int taken = state.last ? 0 : frames_taken(state.rule, state.focus);
    const int shown_frames = static_cast<int>(std::min<int64_t>(state.frames, room.frames));
    size_t place = 0;
    const int marked = std::min(taken, shown_frames);
    const std::string context_text =
        marked > 0 ? printed_with_place(context, marked, place) : printed(context);
    const std::string line = context_text + " . " + printed(focus);
    size_t begin = context_text.size() + 3;
    if (state.last) begin = line.size();
    if (marked > 0) begin = place;
    Step step;
    step.number = state.number;
    step.nesting = state.nesting;
    step.rule = rule_word(state);
    step.line = line;
    step.redex = {begin, line.size()};
    step.frames_taken = taken;
    if (state.head) step.name = name_of_head(state);
    if (with_trees) {
        Trees trees;
        step.context = trees.tree_of(context);
        step.focus = trees.tree_of(focus);
    }
    return step;
}

/// What the shortened line of a state leaves out.
LeftOut left_out_of(const State& state) {
    LeftOut left_out;
    shortened_context(state.context, state.frames, {}, &left_out);
    shortened(state.focus, {}, &left_out);
    return left_out;
}

using TellStep = std::function<void(const Step&)>;
using TellCall = std::function<void(const CallLine&)>;

class States : public CallKeeper {
  public:
    /// `written` is of the options' sources; null without them.
    States(StepsOptions options, Written* written, const TellStep& tell)
        : CallKeeper(written), options_(std::move(options)), tell_(tell) {}

  private:
    bool at(State& state, Value&) override {
        keep_calls(state);
        if (state.number < options_.from) return true;
        if (options_.count >= 0 && told_++ >= options_.count) return false;
        Step step = step_of(state, options_.full ? unlimited : Room{}, options_.trees);
        if (options_.full) step.left_out = left_out_of(state);
        if (state.site) place(step, state.site);
        tell_(step);
        if (state.symbol && state.symbol->name == options_.until) return false;
        return options_.count < 0 || told_ < options_.count;
    }

    void place(Step& step, const Site& site) const {
        const Range range = range_of(*options_.sources, site);
        step.place = spot_of(*options_.sources, site);
        step.length = range.end - range.begin;
    }

    const StepsOptions options_;
    const TellStep& tell_;
    int64_t told_ = 0;
};

class Calls : public Watcher {
  public:
    Calls(std::string_view name, bool full, const TellCall& tell)
        : name_(name), room_(full ? unlimited : Room{}), tell_(tell) {}

  private:
    bool at(State& state, Value&) override {
        if (!wanted_) wanted_ = find_wanted();
        leave_calls(state);
        if (state.symbol == wanted_) enter_call(state);
        return true;
    }

    /// An operator of the prelude names the built-in that does its work.
    Symbol* find_wanted() const {
        Symbol* symbol = &symbol_of(name_);
        Node* meaning = symbol->definition;
        const bool named = is_plumbing(*symbol) && is_leaf(meaning) && is_name(leaf_bytes(meaning));
        return named && symbol_of_leaf(meaning).builtin ? &symbol_of_leaf(meaning) : symbol;
    }

    void on_entered(const State& state) override {
        tell_({state.number, calls.size() - 1, false, call_text(state, room_)});
    }

    void on_left(const State& state, const Call&, Node* answer) override {
        if (answer) tell_({state.number, calls.size(), true, shown(answer, room_)});
    }

    const std::string name_;
    const Room room_;
    const TellCall& tell_;
    Symbol* wanted_ = nullptr;
};

}  // namespace

Ending run_steps(std::string_view text, const std::vector<std::string>& arguments,
                 const StepsOptions& options, const TellStep& tell) {
    std::optional<Written> written;
    if (options.sources) written.emplace(*options.sources);
    States states(options, written ? &*written : nullptr, tell);
    const ShownOnSignal shown_calls([&] { return states.under_way(SIZE_MAX); });
    const Outcome outcome = run_watched(text, arguments, states);
    return ending_of(outcome, states);
}

Ending run_calls(std::string_view text, const std::vector<std::string>& arguments,
                 std::string_view name, bool full, const TellCall& tell) {
    Calls calls(name, full, tell);
    const Outcome outcome = run_watched(text, arguments, calls);
    return ending_of(outcome, calls);
}

}  // namespace marl::lab
