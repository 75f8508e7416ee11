// How marl-lab watches a program run.
//
// marl-lab links a core of its own, which is compiled with MARL_OBSERVED. When an observer is set
// there, all runs go to the plain machine, whose states are expressions that a person can read, and
// the machine hands each state to the observer before it takes the next step. In marl, which is
// compiled without MARL_OBSERVED, nobody can watch, and the functions below cost nothing.
#pragma once

#include "reduce/tables.h"
#include "value/value.h"

namespace marl {

class Observer {
  public:
    Observer() = default;
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    virtual ~Observer() = default;

    /// A run begins. When another one is under way this one is nested in it: the outer run goes on
    /// once the inner one has shown its last state.
    virtual void begin() = 0;
    /// The next state, or the last one, which no step follows. The observer may put another node in
    /// the place of the focus, if it means the same to the program. The answer false ends the run,
    /// with the result Z.
    virtual bool see(Node* context, Value& focus) = 0;
    /// A definition or a built-in fires, in that context.
    virtual void fires(const Symbol& /*symbol*/, Node* /*context*/) {}
    /// A part of a body has been copied, with values in the places of variables.
    virtual void copied(Node* /*part*/, Node* /*copy*/) {}
    /// Called in the place of a built-in. Who answers takes no argument, and gives no call to it.
    virtual bool answers(const Builtin& /*row*/, Value* /*arguments*/, Value& /*result*/) {
        return false;
    }
    /// Whether calm calls may be left to code (reduce/calm.h), which shows no states.
    virtual bool leaves_calls() { return false; }
    /// What a built-in has given on its arguments, which it may have taken.
    virtual void called(const Builtin& /*row*/, Node* /*result*/) {}
};

/// Set in marl-lab, and only there.
extern Observer* observer;

/// Null when nobody watches.
inline Observer* who_watches() {
#ifdef MARL_OBSERVED
    return observer;
#else
    return nullptr;
#endif
}

inline bool is_observed() { return who_watches() != nullptr; }
inline bool leaves_calls() { return !is_observed() || who_watches()->leaves_calls(); }
inline void observe_begin() {
    if (Observer* watcher = who_watches()) watcher->begin();
}
inline bool observe_state(Node* context, Value& focus) {
    Observer* watcher = who_watches();
    return !watcher || watcher->see(context, focus);
}
inline void observe_fire(const Symbol& symbol, Node* context) {
    if (Observer* watcher = who_watches()) watcher->fires(symbol, context);
}
inline void observe_copy(Node* part, Node* copy) {
    if (Observer* watcher = who_watches()) watcher->copied(part, copy);
}
inline Value observe_builtin(const Builtin& row, Value* arguments) {
    Observer* watcher = who_watches();
    Value result;
    if (watcher && watcher->answers(row, arguments, result)) return result;
    result = row.function(arguments);
    if (watcher) watcher->called(row, result);
    return result;
}

}  // namespace marl
