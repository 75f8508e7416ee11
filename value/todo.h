// The seam between the heap and the machine: a dying `todo` Value runs its action.
//
// A Pair of the form (todo x) y has an action, which reduces x applied to y when the Pair's last
// reference goes. The heap only recognises the form; driver/shutdown.cpp runs the action.
#pragma once

#include "value/node.h"

namespace marl {

/// Whether the end of a todo Value runs its action now. Off while the front end builds, renames and
/// drops expressions: a `todo` written out in a program is not yet a Value of the running program.
extern bool todo_armed;

/// Sets `todo_armed` for a scope.
class TodoArming {
  public:
    explicit TodoArming(bool armed) : saved_(todo_armed) { todo_armed = armed; }
    ~TodoArming() { todo_armed = saved_; }
    TodoArming(const TodoArming&) = delete;
    TodoArming& operator=(const TodoArming&) = delete;

  private:
    bool saved_;
};

/// Whether the Pair has the form (todo x) y.
bool is_todo(Node* pair);

/// Whether a node is the name `todo`, or that name with its first argument.
bool begins_todo(Node* node);

/// Runs the action of a dying Pair of that form, whose children are still alive.
void run_todo_action(Node* pair);

}  // namespace marl
