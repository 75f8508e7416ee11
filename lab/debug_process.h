// The process of a run that somebody goes through: it waits for a goal, runs up to it, tells the
// moment, and waits again.
#pragma once

#include <string>
#include <vector>

#include "lab/moment.h"
#include "lab/wire.h"
#include "lab/written.h"

namespace marl::lab {

struct DebugProcess {
    const std::string& text;
    const std::vector<std::string>& arguments;
    const Sources& sources;
    int channel;   // goals come, moments go
    int output;    // where the program writes
    int record;    // what built-ins gave
    bool replays;  // they give it again
    int width;     // of a moment's text
};

/// Runs to the end of the program and of the talk, then ends the process.
[[noreturn]] void be_debugged(const DebugProcess& process);

void put_goal(Packet& packet, const Goal& goal);
/// A moment, and the number of the last one that was looked for.
Moment take_moment(Taker& taker, int64_t& last_found);

}  // namespace marl::lab
