// The machine's context: what waits for the focus.
//
// One stack of two-word entries for all runs of the machine; a nested run stands on top of the run
// that it interrupts, behind an entry of kind `base`. Read as an expression, an entry on context L
// means, for the focus r:
//
//   argument  r applied to the Word, which is held back: L (T word r)
//   call      the function in the Word, with r for its argument `detail`, counted from 1: the
//             arguments are the entries below, and this one's is empty while it is reduced
//   let       the body in the Word, with r for the letter `detail`
//   update    r becomes the memoised definition of the symbol `detail`
//   resume    the code of the Unit in the Word goes on at `detail`, with r in one of its registers
//   choice    the same, and what it does is to apply r to operands that it holds back: whoever asks
//             for arguments in the context makes them of it (`hold_operands`)
//
// Beside it stand the frames of registers of the code that waits, in the same order. Entries and
// registers own what they hold. A pointer into either is good until the next push, and no longer
// than the next call that may run program code.
#pragma once

#include <cstddef>
#include <cstdint>

#include "reduce/code.h"
#include "value/word.h"

namespace marl {

enum class Waiting : uint8_t { base, argument, call, let, update, resume, choice };

struct Entry {
    Word word;
    uint64_t data;  // the kind in the low byte

    Waiting kind() const { return static_cast<Waiting>(data & 0xFF); }
    uint64_t detail() const { return data >> 8; }
};

/// What a `resume` or `choice` entry tells: where the code goes on, the register that r comes to,
/// and how many registers of the frame are kept, at least up to the last one that is live.
inline uint64_t resume_detail(int64_t next, int kept, uint8_t reg) {
    return (static_cast<uint64_t>(next) << 16) | (static_cast<uint64_t>(kept) << 8) | reg;
}
inline int32_t resume_next(const Entry& entry) { return static_cast<int32_t>(entry.data >> 24); }
inline int resume_kept(const Entry& entry) { return static_cast<uint8_t>(entry.data >> 16); }
inline uint8_t resume_register(const Entry& entry) { return static_cast<uint8_t>(entry.data >> 8); }
inline Unit* resume_unit(const Entry& entry) {
    return reinterpret_cast<Unit*>(static_cast<uintptr_t>(entry.word));
}

struct Stack {
    Entry* entries = nullptr;
    Entry* top = nullptr;  // one behind the last entry
    Entry* limit = nullptr;
};
extern Stack stack;

struct Registers {
    Word* words = nullptr;
    Word* top = nullptr;  // one behind the last frame
    Word* limit = nullptr;
};
extern Registers registers;

/// Behind the last frame there is always room for what is on its way into the next one.
constexpr ptrdiff_t spare_registers = 2 * most_registers;

/// Makes room for at least one more entry.
void grow_stack();
/// Makes room for a frame of that many registers and the spare ones.
void grow_registers(int frame);

inline void push(Waiting kind, Word word, uint64_t detail = 0) {
    if (stack.top == stack.limit) grow_stack();
    *stack.top++ = {word, (detail << 8) | static_cast<uint64_t>(kind)};
}

/// Whether code waits in an entry.
inline bool is_code(const Entry& entry) { return entry.kind() >= Waiting::resume; }
inline bool is_argument(const Entry& entry) { return entry.kind() == Waiting::argument; }

/// Takes off all entries down to the run's base, with the frames of the code that waits, and
/// releases what they hold.
void drop_context();

}  // namespace marl
