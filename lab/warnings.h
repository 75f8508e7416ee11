// What is no fault, but seldom what was meant.
//
// Each warning has a name. A note switches it off: [lab: off NAME...] for the whole source,
// [lab: off NAME... in DEFINITION...] for some definitions, TOP being the entry.
#pragma once

#include <vector>

#include "lab/look.h"

namespace marl::lab {

/// All that there are, in the order of their names.
const std::vector<Warning>& warning_table();

/// In no particular order. Where there are faults, what may be their consequence is left out.
std::vector<Message> find_warnings(const Program& program, const Reach& reach,
                                   const std::vector<Message>& faults);

/// Notes that switch off what is no warning.
std::vector<Message> find_switch_faults(const Program& program);

/// Takes out what the source's notes switch off.
void drop_switched_off(const Program& program, std::vector<Message>& messages);

}  // namespace marl::lab
