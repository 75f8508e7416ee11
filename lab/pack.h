// pack: one plain program made of a file and what it uses.
//
// The program has what the entry reaches, and nothing else: the first file's part, then the others'
// in the order in which they are first named, each part under a note that says where it is from.
// The definition `shut` and what notes [keep: NAMES] name are reached always, and so are
// combinators, which the machine itself can name.
//
// Where two files have reached definitions of one name, that of the later file has another name in
// the program. A program that loads texts keeps all names, since the texts may name them; what the
// texts that stand in it name is reached, too.
#pragma once

#include <string>
#include <vector>

#include "lab/check_bundle.h"
#include "lab/uses.h"

namespace marl::lab {

/// Where the definitions of a program stand that was made of a bundle, by the names that they have
/// there; the entry's is empty.
using Definitions = std::map<std::string, Place, std::less<>>;

struct Packed {
    std::string text;                            // empty when there are faults
    std::vector<std::vector<Message>> messages;  // by source
    Definitions definitions = {};                // of its text
};

/// The program in canonical layout.
Packed pack(const Files& files, const Bundle& bundle);

/// The program for the machine, which minds no layout.
Packed pack_to_run(const Files& files, const Bundle& bundle);

/// A program that has an expression in the place of its entry. The expression is one of the first
/// source, by its names and by its places. The bundle has no fault.
Packed pack_expression(const Bundle& bundle, const Program& expression);

}  // namespace marl::lab
