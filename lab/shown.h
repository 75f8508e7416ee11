// Values as a person can look at them: not longer than a line holds, whatever their size.
//
// What is left out stands there with its size, as <1234 nodes>. Sizes count what would be printed,
// shared parts each time, up to a bound: no part of a value is gone through whose size nobody can
// wait for.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "lab/lab.h"
#include "value/value.h"

namespace marl::lab {

/// The most nodes of an expression, and frames of a context, that are shown.
struct Room {
    int64_t nodes = 60;
    int64_t frames = 6;
};
constexpr Room unlimited{INT64_MAX, INT64_MAX};

/// What a shortened form leaves out, as texts in the order of the marks with their sizes.
using LeftOut = std::vector<std::string>;

/// The expression with all that doesn't fit replaced by Leaves that tell its size. What that is
/// goes to `left_out`, if that is given.
Value shortened(Node* expression, const Room& room, LeftOut* left_out = nullptr);
/// The same of a context of so many frames. Those on top are kept; each has half the room.
Value shortened_context(Node* context, int64_t frames, const Room& room,
                        LeftOut* left_out = nullptr);

/// The printed form of what `shortened` gives.
std::string shown(Node* expression, const Room& room = {});

/// Makes the trees of a state.
class Trees {
  public:
    Tree tree_of(Node* expression);

  private:
    std::vector<std::pair<Node*, int>> seen_;
    int next_ = 0;
};

}  // namespace marl::lab
