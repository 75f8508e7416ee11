// The plain machine shows each state before the step from it. From two states that follow each
// other a Watcher tells which calls have begun and which have got their answer.
#include "lab/observe.h"

#include <list>
#include <utility>

#include "driver/interrupt.h"
#include "driver/session.h"
#include "lab/stopped.h"
#include "reduce/analysis.h"
#include "reduce/definitions.h"
#include "reduce/heads.h"

namespace marl::lab {

namespace {

/// The prelude's definitions, as the program finds them.
DefinitionList& original_prelude() {
    static DefinitionList kept;
    return kept;
}

void take_apart(State& state) {
    const Application application = marl::take_apart(state.focus);
    Node* node = state.head = application.head;
    state.arguments.assign(application.arguments.begin(),
                           application.arguments.begin() + application.count);
    Node* context = state.context;
    if (state.rule == Rule::fire_held) {
        for (int lacking = rank_of(state.focus); lacking > 0; --lacking) {
            const Frame frame = top_frame(context);
            state.arguments.push_back(right(frame.function));
            context = frame.below;
        }
    }
    if (!is_leaf(node) || !is_name_byte(first_byte(node))) return;
    if (is_leaf_of(node, ')') || is_leaf_of(node, ']')) return;
    if (is_leaf_text(node, "\\") || is_leaf_text(node, "{")) return;
    state.symbol = &symbol_of_leaf(node);
}

/// The arguments of a run as programs read them, 64 bits an entry, 0 at the end.
struct Arguments {
    std::vector<std::string> texts;
    std::vector<uint64_t> array;
};

class Observing {
  public:
    explicit Observing(Observer& watcher) { observer = &watcher; }
    ~Observing() { observer = nullptr; }
    Observing(const Observing&) = delete;
    Observing& operator=(const Observing&) = delete;
};

}  // namespace

int64_t argument_array(const std::vector<std::string>& arguments) {
    static std::list<Arguments> of_runs;
    Arguments& kept = of_runs.emplace_back(Arguments{arguments, {}});
    for (std::string& argument : kept.texts) {
        kept.array.push_back(reinterpret_cast<uintptr_t>(argument.data()));
    }
    kept.array.push_back(0);
    return static_cast<int64_t>(reinterpret_cast<uintptr_t>(kept.array.data()));
}

void Watcher::begin() { runs_.push_back({false, started_, 0, Rule::fire, 0, nullptr}); }

bool Watcher::see(Node* context, Value& focus) {
    Run& run = runs_.back();
    if (plumbing_.empty()) find_plumbing();
    if (!started_ && !run.seen && !is_leaf(focus) && left(focus) == find_definition("")) {
        // Everything before was what backquotes evaluate.
        begin_program();
        run.counts = true;
    }
    count_frames(run, context);
    const bool last = is_last_state(context, focus);
    const Rule rule = last ? Rule::pop : rule_of(context, focus);
    run = {true,   run.counts, run.frames, rule, rule == Rule::fire_held ? rank_of(focus) : 0,
           context};
    if (!stopped_) {
        State state = state_of(run, context, focus, last);
        if (run.counts) {
            stopped_ = !at(state, focus);
        } else {
            at_backquote(state, focus);
        }
    }
    if (last || stopped_) runs_.pop_back();
    return !stopped_;
}

State Watcher::state_of(const Run& run, Node* context, Node* focus, bool last) {
    const int nesting = static_cast<int>(runs_.size()) - 1;
    const int64_t number = run.counts ? next_++ : 0;
    State state{number, nesting, context, focus, run.frames, last, run.rule, {}, {}, {}, {}};
    if (run.rule == Rule::fire || run.rule == Rule::fire_held) take_apart(state);
    if (run.counts && written_) find_site(state);
    return state;
}

const Symbol* Watcher::within(const Symbol* fired) const {
    if (fired) return fired;
    return calls.empty() ? nullptr : calls.back().symbol;
}

void Watcher::find_site(State& state) {
    const Symbol* symbol = state.symbol;
    const bool is_definition = symbol && !symbol->builtin;
    const bool hands_on = is_definition && is_plumbing(*symbol);
    state.site = written_->at({state.nesting, state.focus, state.frames, state.last, state.rule,
                               runs_.back().lacking, hands_on},
                              within(fired_));
    fired_ = is_definition && !hands_on ? symbol : nullptr;
}

void Watcher::copied(Node* part, Node* copy) {
    if (written_ && started_) written_->copied(part, copy);
}

void Watcher::count_frames(Run& run, Node* context) const {
    if (!run.seen) return;
    switch (run.rule) {
        case Rule::pop: --run.frames; break;
        case Rule::fire_held: run.frames -= run.lacking; break;
        case Rule::fire: break;
        default: ++run.frames;
    }
    // An abort drops them all.
    if (is_leaf(context)) run.frames = 0;
}

void Watcher::begin_program() {
    started_ = true;
    find_plumbing();
    if (written_) written_->begin();
}

void Watcher::find_plumbing() {
    plumbing_.clear();
    for (const auto& [symbol, expression] : original_prelude()) {
        if (symbol->definition && compare(symbol->definition, expression) == 0) {
            plumbing_.insert(symbol);
        }
    }
}

void Watcher::leave_top(const State& state, Node* answer) {
    const Call call = calls.back();
    calls.pop_back();
    on_left(state, call, answer);
}

void Watcher::leave_calls(const State& state) {
    const bool done = settled(state.focus) || state.rule == Rule::fire_held;
    while (!calls.empty()) {
        const Call& call = calls.back();
        if (call.nesting < state.nesting) return;
        const bool here = call.nesting == state.nesting && call.frames == state.frames;
        if (call.one_step || (here && done)) {
            leave_top(state, state.focus);
        } else if (call.nesting > state.nesting || call.frames > state.frames || state.last) {
            leave_top(state, nullptr);
        } else {
            return;
        }
    }
}

void Watcher::enter_call(const State& state) {
    Symbol* symbol = state.symbol;
    if (!symbol) return;
    const bool one_step = symbol->builtin || is_plumbing(*symbol);
    const Call call{symbol, state.nesting, state.frames, one_step};
    // A tail call takes the place of an earlier call of the same name, so that a loop stays short.
    for (size_t i = calls.size(); i > 0 && !one_step; --i) {
        const Call& other = calls[i - 1];
        if (other.nesting != call.nesting || other.frames != call.frames) break;
        if (other.symbol != symbol) continue;
        while (calls.size() >= i) leave_top(state, nullptr);
        break;
    }
    calls.push_back(call);
    on_entered(state);
}

std::string call_text(const State& state, const Room& room) {
    std::string call = shown(state.head, room);
    for (Node* argument : state.arguments) {
        const std::string text = shown(argument, room);
        const bool stands_alone = is_atom(argument) || text.front() == '(';
        call += stands_alone ? ' ' + text : " (" + text + ')';
    }
    return call;
}

Ending ending_of(const Outcome& outcome, const Watcher& watcher) {
    const bool failed = !passed(outcome.report) && !watcher.has_stopped();
    return {watcher.has_started(), watcher.has_started() && !watcher.has_stopped(), outcome.status,
            failed ? std::string(report_picture(outcome.report).view()) : ""};
}

Outcome run_watched(std::string_view text, const std::vector<std::string>& arguments,
                    Watcher& watcher) {
    Session session;
    if (load_session(session, String(text))) {
        install_interrupt_handler();
        note_interrupts();
    }
    original_prelude() = prelude_definitions;
    const Observing observing(watcher);
    const bool returns = check_session(session) &&
                         run_session(session, argument_array(arguments)) &&
                         require_integer(session);
    Outcome outcome{session.report, returns ? status_of_session(session) : 0};
    end_session(session);
    original_prelude().clear();
    return outcome;
}

}  // namespace marl::lab
