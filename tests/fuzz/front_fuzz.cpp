// Any bytes as a program: bracket check, parse, program check. Backquotes evaluate, up to the step
// limit of the build.
#include <cstddef>
#include <cstdint>

#include "driver/session.h"
#include "reduce/interrupts.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace marl;
    steps_left = step_limit;
    Session session;
    open_session(session, String(std::string_view(reinterpret_cast<const char*>(data), size)));
    end_session(session);
    return 0;
}
