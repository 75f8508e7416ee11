// Code that goes takes its instructions off first, then releases the constants that they used, and
// then does the same for its parts.
#include "reduce/retire.h"

#include "reduce/closure.h"
#include "reduce/continuation.h"
#include "reduce/native/native.h"

namespace marl {

Code::Code() = default;

Code::~Code() {
    retire(*this);
    if (fixed) release_word(word_of(fixed));
}

namespace {

void drop_instructions(Code& code) {
#if MARL_NATIVE
    drop_native(code);
#endif
    code.instructions.clear();
    for (const Word constant : std::exchange(code.constants, {})) release_word(constant);
}

}  // namespace

void retire(Code& code) {
    if (code.parameters > 0) take_code_away(code);
    drop_instructions(code);
    for (const auto& part : code.parts) retire(*part);
}

void make_anew(Code& code) {
    drop_instructions(code);
    code.operands.clear();
    code.choices.clear();
    code.pieces.clear();
    code.maps.clear();
    code.made = false;
    for (const auto& part : code.parts) make_anew(*part);
    if (code.remainder) make_anew(code.remainder->frame);
    if (code.hoisting) make_anew(code.hoisting->frame);
}

}  // namespace marl
