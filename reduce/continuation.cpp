// A Rest is the compiler's own, on its stack: what is kept of it are pieces, which can be made of
// the frame's registers later.
#include "reduce/continuation.h"

namespace marl {

namespace {

Piece piece_of_operand(const Operand& operand) {
    if (operand.from == From::constant)
        return {.kind = Piece::Kind::constant, .word = operand.word};
    return {.kind = Piece::Kind::reg, .reg = operand.reg};
}

}  // namespace

void Continuations::add(Compiler& compiler, const StackMap* map, const Rest* rest) {
    std::vector<ContinuationFrame>& frames = frames_[map];
    for (; rest; rest = rest->outer) {
        if (rest->head) {
            ContinuationFrame frame{false, compiler.copy_of(*rest->head), {}};
            for (const Operand& operand : *rest->done) {
                frame.done.push_back(piece_of_operand(operand));
            }
            frames.push_back(std::move(frame));
        }
        if (!rest->later) continue;
        for (size_t i = rest->from; i < rest->later->size(); ++i) {
            frames.push_back({true, compiler.copy_of((*rest->later)[i]), {}});
        }
    }
}

}  // namespace marl
