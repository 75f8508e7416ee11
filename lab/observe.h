// Running a program while somebody watches it.
//
// The plain machine shows its states one by one; a Watcher makes of them what people ask about:
// which rule comes next, how deep the context is, which calls are going on. Nothing of a state is
// held from one to the next, so that what dies in a run dies when it would.
//
// A call goes on from the step that takes it up until its answer is settled and meets what waited
// for it, or until nothing waits for it any more. What it returns as an application that is still
// to do, a tail call, so belongs to it. Built-ins take one step. So do the combinators and
// operators of the prelude: what they hand on is the work of whoever used them.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "driver/report.h"
#include "lab/lab.h"
#include "lab/shown.h"
#include "lab/written.h"
#include "reduce/observer.h"
#include "reduce/plain.h"
#include "reduce/tables.h"
#include "value/value.h"

namespace marl::lab {

/// A state, and what comes next. All nodes are borrowed.
struct State {
    int64_t number;  // from 0 at the start of the program's run, nested runs included
    int nesting;     // runs that this one stands in
    Node* context;
    Node* focus;
    int64_t frames;                // of the context
    bool last;                     // nothing comes next in this run
    Rule rule;                     // what comes next, else
    Node* head = nullptr;          // when it fires: what
    std::vector<Node*> arguments;  // and on what
    Symbol* symbol = nullptr;      // the name that is called, if one is
    Site site = {};                // where it is written, for a Watcher that asks for places
};

struct Call {
    Symbol* symbol;
    int nesting;
    int64_t frames;  // of the context in which the answer is due
    bool one_step;
};

class Watcher : public Observer {
  public:
    /// `written` tells where states are written; null for a Watcher that doesn't ask. It stays the
    /// caller's.
    explicit Watcher(Written* written = nullptr) : written_(written) {}

    void begin() final;
    bool see(Node* context, Value& focus) final;
    void copied(Node* part, Node* copy) final;

    /// Whether the program's own run has begun.
    bool has_started() const { return started_; }
    bool has_stopped() const { return stopped_; }

  protected:
    /// A state of the program's own run or of one that it causes. `focus` may
    /// be replaced by a node of the same meaning. False stops everything.
    virtual bool at(State& state, Value& focus) = 0;

    /// Takes the calls that have come to their end off `calls`, the innermost first. `at` calls it
    /// before it looks at them.
    void leave_calls(const State& state);
    /// Adds the call that the state's next step takes up, if there is one.
    void enter_call(const State& state);
    /// Told of each call that is taken off, with its answer; null when it was given up, or goes on
    /// as a tail call of itself.
    virtual void on_left(const State&, const Call&, Node* /*answer*/) {}
    /// Told when the state's call stands on top of `calls`.
    virtual void on_entered(const State&) {}

    /// A state of what a backquote evaluates, before the program's own run. Such states have no
    /// number and no site.
    virtual void at_backquote(State& /*state*/, Value& /*focus*/) {}

    bool is_plumbing(const Symbol& symbol) const { return plumbing_.count(&symbol) > 0; }

    std::vector<Call> calls;

  private:
    struct Run {
        bool seen;
        bool counts;  // it is the program's or comes from it
        int64_t frames;
        Rule rule;
        int lacking;
        Node* context;  // never followed: it may be gone
    };

    State state_of(const Run& run, Node* context, Node* focus, bool last);
    void count_frames(Run& run, Node* context) const;
    /// The definition whose body is at work: that which fires, or the innermost call.
    const Symbol* within(const Symbol* fired) const;
    void find_site(State& state);
    void begin_program();
    void find_plumbing();
    void leave_top(const State& state, Node* answer);

    std::vector<Run> runs_;
    std::unordered_set<const Symbol*> plumbing_;
    Written* const written_;
    const Symbol* fired_ = nullptr;  // by the step from the last state, when it is a program's
    int64_t next_ = 0;
    bool started_ = false;
    bool stopped_ = false;
};

struct Outcome {
    Report report;        // as the run of a program ends with
    uint32_t status = 0;  // the integer that it returned; 0 without one
};

/// How a run went.
Ending ending_of(const Outcome& outcome, const Watcher& watcher);

/// What a state fires, on its arguments, as a text.
std::string call_text(const State& state, const Room& room);

/// The address of a program's arguments, as programs read them. They live as long as the process: a
/// program may hand them to whatever it starts.
int64_t argument_array(const std::vector<std::string>& arguments);

/// Checks and runs a program on arguments while `watcher` observes it. The same happens as in a run
/// by itself, an interrupt included. The tables are empty afterwards.
Outcome run_watched(std::string_view text, const std::vector<std::string>& arguments,
                    Watcher& watcher);

}  // namespace marl::lab
