// What a run costs, by samples of the machine as marl has it.
//
// Nothing is counted, so what is compiled stays compiled. About a thousand times a second a thread
// asks the one that runs the program where it is: at which instruction, and which calls wait for
// it. What the processor has spent since the time before belongs to those.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lab/lab.h"

namespace marl::lab {

/// What a definition, or a built-in that is none of the operators', costs. Shares are parts of 1 of
/// the run's time. What the prelude's combinators do belongs to those who use them.
struct SampledRow {
    std::string name;                                          // "(entry)" is the entry expression
    double self = 0;                                           // while it is itself at work
    double whole = 0;                                          // while it or what it calls is
    Spot place = {};                                           // where it is defined
    std::vector<std::pair<std::string, double>> callers = {};  // with their shares of `whole`
};

struct Sampled : Ending {
    std::vector<SampledRow> rows;
    std::string folded;  // a line for each stack of calls: names with ";" between, a blank, us
    double seconds = 0;  // of the processor
    size_t samples = 0;
};

/// Runs the program and samples it. All that goes to `tell`, once, at the end of the run or, when
/// the program ends the process, at that end.
void sample(std::string_view text, const std::vector<std::string>& arguments,
            const Sources& sources, const std::function<void(const Sampled&)>& tell);

}  // namespace marl::lab
