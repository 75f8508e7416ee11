// What programs that run in this process print, whose standard output is a file of its own.
#pragma once

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace marl {

/// What has gone to standard output since the last question.
inline std::string printed_since() {
    fflush(stdout);
    std::string shown(static_cast<size_t>(lseek(STDOUT_FILENO, 0, SEEK_CUR)), '\0');
    if (pread(STDOUT_FILENO, shown.data(), shown.size(), 0) < 0) abort();
    lseek(STDOUT_FILENO, 0, SEEK_SET);
    return shown;
}

}  // namespace marl
