// What is to be seen of a run at one moment, and how to say which moment.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "lab/lab.h"

namespace marl::lab {

/// A call that is under way.
struct DebugFrame {
    std::string name;
    std::vector<std::pair<std::string, std::string>> values;  // of its parameters, by their names
    Spot place;  // what it is at: the innermost call in it
    Spot end;    // where that ends
};

/// A moment of the run, and what is to be seen there.
struct Moment {
    int64_t number = 0;  // from 1; of the end, one more than that of the last call
    bool is_end = false;
    std::string text;  // the whole expression, what is called marked
    Range mark;
    std::vector<DebugFrame> frames;  // the innermost first; the last one is the entry's
    int64_t depth = 0;               // frames of those that are not just being called
    int64_t written = 0;             // bytes that the program has written up to here
    std::string report;              // at the end: why it didn't end well
    int64_t status = 0;              // at the end
};

/// Where to stop: at the first moment that is one of these. The end is always.
struct Goal {
    int64_t number = INT64_MAX;        // that moment, or a later one
    int64_t depth = -1;                // one with no more frames than that, behind the present one
    std::set<std::string> names = {};  // a call of one of them, behind the present moment
    /// Don't stop for `names`, but tell the last such moment before `number`.
    bool looks_back = false;
};

}  // namespace marl::lab
