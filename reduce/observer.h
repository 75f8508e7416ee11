// How marl-lab watches a program run.
//
// marl-lab links a core of its own, which is compiled with MARL_OBSERVED. When an observer is set
// there, all runs go to the plain machine, whose states are expressions that a person can read, and
// the machine hands each state to the observer before it takes the next step. In marl, which is
// compiled without MARL_OBSERVED, no observer can be set, and the functions below cost nothing.
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

/// The observer that is set; null when nobody watches.
#ifdef MARL_OBSERVED
extern Observer* observer;
#else
constexpr Observer* observer = nullptr;
#endif

inline bool is_observed() { return observer != nullptr; }
inline bool leaves_calls() { return !observer || observer->leaves_calls(); }
inline void observe_begin() {
    if (observer) observer->begin();
}
inline bool observe_state(Node* context, Value& focus) {
    return !observer || observer->see(context, focus);
}
inline void observe_fire(const Symbol& symbol, Node* context) {
    if (observer) observer->fires(symbol, context);
}
inline void observe_copy(Node* part, Node* copy) {
    if (observer) observer->copied(part, copy);
}
inline Value observe_builtin(const Builtin& row, Value* arguments) {
    Value result;
    if (observer && observer->answers(row, arguments, result)) return result;
    result = row.function(arguments);
    if (observer) observer->called(row, result);
    return result;
}

}  // namespace marl
