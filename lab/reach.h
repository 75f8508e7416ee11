// What the rules of the language say of a program: which definitions it reaches, and all that is
// wrong with it.
#pragma once

#include <set>
#include <string>

#include "front/stages.h"
#include "lab/program.h"

namespace marl::lab {

struct Reach {
    std::set<std::string, std::less<>> alive;   // from the entry, whose key is empty
    std::set<std::string, std::less<>> doomed;  // not alive, and in need of what nothing defines
    bool loads;     // a text loaded at run time may use what the program itself doesn't
    Module module;  // with the faults; a position in them is the index of a piece
};

/// The program outlives what it gives.
Reach find_reach(const Program& program);

}  // namespace marl::lab
