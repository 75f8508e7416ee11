// A descriptor that is closed would be given to the next file that is opened, and that would then
// be standard output: so closed ones are opened on nothing first. Arguments are read by programs as
// 64-bit words, whatever the width of a pointer.
#include "driver/process.h"

#include <fcntl.h>
#include <unistd.h>

#include <vector>

namespace marl {

void reserve_standard_descriptors() {
    while (true) {
        const int descriptor = open("/", O_PATH);  // the lowest that is free
        if (descriptor > 2) close(descriptor);
        if (descriptor < 0 || descriptor > 2) return;
    }
}

int64_t argument_address(char** arguments) {
    if constexpr (sizeof(char*) == sizeof(uint64_t)) return reinterpret_cast<int64_t>(arguments);
    static std::vector<uint64_t> wide;
    wide.clear();
    while (*arguments) wide.push_back(reinterpret_cast<uintptr_t>(*arguments++));
    wide.push_back(0);
    return reinterpret_cast<int64_t>(wide.data());
}

}  // namespace marl
