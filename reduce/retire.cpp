// Code that goes takes its instructions off first, then releases the constants that they used, and
// then does the same for its parts. Parts have parts as deep as expressions go, so nothing
// recurses.
#include "reduce/retire.h"

#include <memory>
#include <utility>
#include <vector>

#include "reduce/closure.h"
#include "reduce/continuation.h"
#include "reduce/native/native.h"

namespace marl {

Code::Code() = default;

namespace {

using Parts = std::vector<std::unique_ptr<Code>>;

/// Drops parts one after the other, each of them without its own.
void drop_parts(Parts parts) {
    while (!parts.empty()) {
        const std::unique_ptr<Code> part = std::move(parts.back());
        parts.pop_back();
        for (std::unique_ptr<Code>& inner : std::exchange(part->parts, {})) {
            parts.push_back(std::move(inner));
        }
    }
}

void drop_instructions(Code& code) {
#if MARL_NATIVE
    drop_native(code);
#endif
    code.instructions.clear();
    for (const Word constant : std::exchange(code.constants, {})) release_word(constant);
}

}  // namespace

Code::~Code() {
    retire(*this);
    if (fixed) release_word(word_of(fixed));
    // What may have closures of the parts goes before them.
    body_template.reset();
    whole_template.reset();
    hoisting.reset();
    remainder.reset();
    continuations.reset();
    made_expressions.clear();
    drop_parts(std::move(parts));
}

void retire(Code& code) {
    each_part(code, [](Code& part) {
        if (part.parameters > 0) take_code_away(part);
        drop_instructions(part);
        return true;
    });
}

void make_anew(Code& code) {
    each_part(code, [](Code& part) {
        drop_instructions(part);
        part.operands.clear();
        part.choices.clear();
        part.pieces.clear();
        part.maps.clear();
        part.made = false;
        if (part.remainder) make_anew(part.remainder->frame);
        if (part.hoisting) make_anew(part.hoisting->frame);
        return true;
    });
}

}  // namespace marl
