// Random programs whose choices are the input's bytes, run by all that can run them: they must do
// the same.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "random/differences.h"
#include "random/program.h"

namespace {

using namespace marl;

/// What a program prints goes to a file, where the judges look for it.
void keep_output() {
    const int file = fileno(tmpfile());
    if (dup2(file, STDOUT_FILENO) < 0) abort();
}

std::string difference(const Choose& choose) {
    switch (choose(3)) {
        case 0: return machines_difference(random_program(choose));
        case 1: return rules_difference(random_program(choose, true));
        default: return rules_difference(random_term_program(choose));
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    keep_output();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const uint8_t* const end = data + size;
    const std::string found = difference([&](unsigned n) {
        const unsigned choice = data < end ? *data++ : 0;
        return choice % n;
    });
    if (found.empty()) return 0;
    fprintf(stderr, "%s\n", found.c_str());
    abort();
}
