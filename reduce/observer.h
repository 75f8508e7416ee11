// The seam for whoever watches a program run: marl-lab.
//
// It stands on a core of its own, built with MARL_OBSERVED. There, while somebody observes, every
// run is one of the plain machine, which shows each state before it goes on from it. In marl these
// functions are empty and leave no instruction.
#pragma once

#include "value/value.h"

namespace marl {

#ifdef MARL_OBSERVED

class Observer {
  public:
    Observer() = default;
    Observer(const Observer&) = delete;
    Observer& operator=(const Observer&) = delete;
    virtual ~Observer() = default;

    /// A run begins; the one that it stands in, if any, goes on when it has shown its last state.
    virtual void begin() = 0;
    /// The next state, the last one of a run included. Who puts another node in the place of the
    /// focus answers for its meaning. False ends the run, with the result Z.
    virtual bool see(Node* context, Value& focus) = 0;
};

/// Who observes; null for nobody.
extern Observer* observer;

inline bool is_observed() { return observer != nullptr; }
inline void observe_begin() {
    if (observer) observer->begin();
}
inline bool observe_state(Node* context, Value& focus) {
    return !observer || observer->see(context, focus);
}

#else

constexpr bool is_observed() { return false; }
constexpr void observe_begin() {}
constexpr bool observe_state(Node*, const Value&) { return true; }

#endif

}  // namespace marl
