// Code that goes takes its instructions off first, then releases the constants that they used, and
// then does the same for its parts.
#include "reduce/retire.h"

#include "reduce/closure.h"
#include "reduce/continuation.h"

namespace marl {

Code::Code() = default;

Code::~Code() {
    retire(*this);
    if (fixed) release_word(word_of(fixed));
}

void retire(Code& code) {
    if (code.parameters > 0) take_code_away(code);
    code.instructions.clear();
    for (const Word constant : std::exchange(code.constants, {})) release_word(constant);
    for (const auto& part : code.parts) retire(*part);
}

}  // namespace marl
