// What a frame that waits will do with the value that comes to it, as the rules have it: frames of
// a plain context. Kept for each place where a frame can wait, in programs that may load a text.
#pragma once

#include <map>
#include <vector>

#include "reduce/compiler.h"

namespace marl {

/// A frame of a plain context: an argument that is held back; or a function, the head of an
/// application with its first arguments, that the value is the next argument of.
struct ContinuationFrame {
    bool holds_back;
    Piece head;  // or the argument
    std::vector<Piece> done;
};

/// The frames by the StackMap of the place, the one on top first.
class Continuations {
  public:
    void add(Compiler& compiler, const StackMap* map, const Rest* rest);
    const std::vector<ContinuationFrame>& at(const StackMap* map) const { return frames_.at(map); }

  private:
    std::map<const StackMap*, std::vector<ContinuationFrame>> frames_;
};

}  // namespace marl
