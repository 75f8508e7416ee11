// What can be wrong with a text.
//
// A rule of the front end tells what is wrong and where. The words are up to whoever shows it to a
// person: `report_of` has those of a run.
#pragma once

#include <cstdint>

#include "driver/report.h"
#include "text/string.h"
#include "value/value.h"

namespace marl {

struct Fault {
    enum Kind {
        dangling_right,  // a closing bracket that closes nothing
        dangling_left,   // a bracket that is never closed
        misfit,          // a bracket that meets a closing one of another shape
        comma,           // a comma in a parenthesis that is no call list
        lower,           // a definition of a single lower-case letter
        built,           // a definition of what is built in
        known,           // a loaded definition of a name that the program has
        funky,           // a lambda or let whose key is no name
        undefined,       // a name that nothing defines
        doomed,          // the same in a definition that is dropped for it, as nothing reaches it
        place,           // a local name too many
        arity,           // a parameter too many
        local,           // a name that is local elsewhere in its definition
    };
    Kind kind;
    String definition = {};  // the key of the definition that it is in or of; empty for the entry
    Node* node = nullptr;    // borrowed: the Leaf of the name, the binder that is funky
    String name = {};        // the name that is undefined or local; the brackets
    int64_t position = 0;    // of a bracket or comma in the text, of a piece in the normalised one
    int64_t closing = 0;     // of the bracket that doesn't fit
};

/// What a run says of a fault. A few words are others for a text that is loaded into it.
Report report_of(const Fault& fault, bool is_loaded);

}  // namespace marl
