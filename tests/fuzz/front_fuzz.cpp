// Any bytes as a program: bracket check, parse, program check. Backquotes evaluate, up to the step
// limit of the build.
#include <cstddef>
#include <cstdint>

#include "front/check.h"
#include "front/intern.h"
#include "reduce/machine.h"
#include "reduce/tables.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace marl;
    steps_left = step_limit;
    set_up_program(String(std::string_view(reinterpret_cast<const char*>(data), size)));
    clear_intern_set();
    clear_definitions();
    return 0;
}
