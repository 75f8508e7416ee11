// The calls that are going on in a run of the plain machine, for whoever asks from a signal.
//
// A program that can see more than results, as by `todo`, runs there, and no stack of the fast
// machine tells its calls. A call of a definition goes on from the step that takes it up until its
// answer is settled, or until nothing waits for it; a tail call takes its place. What the prelude's
// definitions do belongs to those who use them.
//
// Contexts are kept by their addresses, one for each frame, and never followed: a step gives its
// frames up only when the next state is made, so that none is taken for another.
#pragma once

#include <unordered_set>
#include <vector>

#include "lab/written.h"
#include "reduce/observer.h"
#include "reduce/tables.h"

namespace marl::lab {

class PlainCalls : public Observer {
  public:
    /// Watches the runs of the program that the tables hold, which was made of the sources.
    explicit PlainCalls(const Sources& sources);
    ~PlainCalls() override { observer = nullptr; }

    void begin() override;
    bool see(Node* context, Value& focus) override;
    void fires(const Symbol& symbol, Node* context) override;
    bool leaves_calls() override { return true; }

    /// Whether a signal has come while the calls were being changed, so that they tell nothing.
    bool is_changing() const { return changing_; }
    size_t depth() const { return calls_.size(); }
    /// The call that so many others stand above.
    const Symbol* call(size_t from_top) const { return calls_[depth() - 1 - from_top].symbol; }
    /// The built-in that is at work; null for none.
    const Symbol* builtin() const { return builtin_; }

  private:
    struct Call {
        const Symbol* symbol;
        size_t contexts;  // when it was taken up
    };
    /// What belongs to the runs that a run stands in.
    struct Run {
        size_t calls;
        size_t contexts;
    };

    void follow(Node* context);
    void leave(size_t contexts);

    std::unordered_set<const Symbol*> definitions_;
    std::vector<Call> calls_;
    std::vector<const Node*> contexts_;
    std::vector<Run> runs_;
    const Symbol* builtin_ = nullptr;
    volatile bool changing_ = false;
};

}  // namespace marl::lab
