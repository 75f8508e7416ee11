// A Watcher that keeps the calls which are under way as texts, for whoever cuts a run off.
#pragma once

#include <string>
#include <vector>

#include "lab/observe.h"

namespace marl::lab {

/// A Watcher that keeps the definitions' calls as texts.
class CallKeeper : public Watcher {
  public:
    using Watcher::Watcher;

    /// The calls that are going on, the innermost first, at most so many. A built-in that reaches
    /// C is one of them while it is at work.
    std::vector<std::string> under_way(size_t most) const;

  protected:
    /// To be called with each state, once what it needs of `calls` has been read.
    void keep_calls(const State& state);
    void on_entered(const State& state) override;
    void on_left(const State& state, const Call& call, Node* answer) override;

    std::vector<std::string> texts;  // of `calls`

  private:
    std::string builtin_;  // the call of one that reaches C, by the last step
};

}  // namespace marl::lab
