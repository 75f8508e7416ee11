// Any bytes as a program: bracket check, parse, program check. Backquotes evaluate, up to the step
// limit of the build.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "driver/session.h"
#include "reduce/interrupts.h"

namespace {

/// What the check says of a text, in a word.
marl::String checked(std::string_view text) {
    marl::steps_left = marl::step_limit;
    marl::Session session;
    open_session(session, marl::String(text));
    marl::String kind = session.report.kind;
    end_session(session);
    return kind;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (text.find('`') != std::string::npos) {
        // A backquote that calls a definition with an unbound letter is a fatal stop, by the rules.
        std::string without = text;
        std::replace(without.begin(), without.end(), '`', ' ');
        if (checked(without) == "local") return 0;
    }
    checked(text);
    return 0;
}
