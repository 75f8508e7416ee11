// What can be done about a message by itself: edits that an editor offers, and `check --fix` makes.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/lab.h"
#include "lab/program.h"

namespace marl::lab {

struct Fix {
    std::string title;
    std::vector<Edit> edits;  // in the order of their places, none over another
};

/// The ways to mend what a message of the program's check is about; each of them does it alone.
std::vector<Fix> fixes_of(const Program& program, const Message& message);

/// A source with the edits made. Those that overlap an earlier one are left out.
std::string edited(std::string_view text, std::vector<Edit> edits);

struct Mend {
    std::string text;
    std::vector<std::string> titles;  // of what has been mended
};

/// The source with everything mended for which there is just one way. `path` is where it is from.
Mend mend_source(std::string_view text, const std::string& path);

}  // namespace marl::lab
