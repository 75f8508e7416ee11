// Which definitions a program reaches.
#pragma once

#include <set>
#include <string>

#include "lab/program.h"

namespace marl::lab {

struct Reach {
    std::set<std::string, std::less<>> alive;   // from the entry, whose key is empty, or the roots
    std::set<std::string, std::less<>> doomed;  // not alive, and in need of what nothing defines
    bool loads;  // a text loaded at run time may use what the program itself doesn't
};

/// Whether anything defines the name: the program, a file that it uses, or the system.
bool is_defined(const Program& program, std::string_view key);

/// From the entry. Of a file of definitions all are alive: whoever uses it can need them.
Reach find_reach(const Program& program);

/// From the definitions with these keys; the empty one is the entry's.
Reach find_reach(const Program& program, std::vector<std::string> roots);

/// The missing operands of a definition or the entry, borrowed: Leaves that stand for an operand. A
/// binder without a key is none.
std::vector<Node*> missing_operands(const Program& program, size_t piece);

}  // namespace marl::lab
