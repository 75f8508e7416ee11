// What the rules of the language say of a program: which definitions it reaches, and all that is
// wrong with it.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "front/stages.h"
#include "lab/program.h"

namespace marl::lab {

struct Reach {
    std::set<std::string, std::less<>> alive;   // from the entry, whose key is empty, or the roots
    std::set<std::string, std::less<>> doomed;  // not alive, and in need of what nothing defines
    bool loads;     // a text loaded at run time may use what the program itself doesn't
    Module module;  // with the faults; a position in them is the index of a piece
};

/// From the entry. Of a file of definitions all are alive: whoever uses it can need them. The
/// program outlives what it gives.
Reach find_reach(const Program& program);

/// From the definitions with these keys; the empty one is the entry's.
Reach find_reach(const Program& program, const std::vector<std::string>& roots);

}  // namespace marl::lab
