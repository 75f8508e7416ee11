// Both stacks are one block each that doubles, and never shrinks. Dropping a context takes the
// entries off from the top, and with an entry of code that waits goes its frame, as far as the
// entries above have left it whole.
#include "reduce/stack.h"

#include <algorithm>

namespace marl {

Stack stack;
Registers registers;

void grow_stack() {
    const auto used = static_cast<size_t>(stack.top - stack.entries);
    const size_t room = used ? used * 2 : 1024;
    stack.entries =
        static_cast<Entry*>(grow_large(stack.entries, used * sizeof(Entry), room * sizeof(Entry)));
    stack.top = stack.entries + used;
    stack.limit = stack.entries + room;
}

void grow_registers(int frame) {
    const auto used = static_cast<size_t>(registers.top - registers.words);
    const size_t room = std::max<size_t>(
        used * 2, used + static_cast<size_t>(frame) + 2 * static_cast<size_t>(spare_registers));
    // What is on its way into the next frame stands behind the last one.
    const size_t taken = registers.words ? used + most_registers : 0;
    registers.words =
        static_cast<Word*>(grow_large(registers.words, taken * sizeof(Word), room * sizeof(Word)));
    registers.top = registers.words + used;
    registers.limit = registers.words + room;
}

namespace {

/// The frame of the code that waits in an entry, and what of it the entries above have released.
class FrameDrop {
  public:
    void drop(const Entry& entry) {
        const Unit& unit = *resume_unit(entry);
        const int32_t next = resume_next(entry);
        const auto site = std::find_if(unit.sites.begin(), unit.sites.end(),
                                       [&](const Site& known) { return known.next == next; });
        MARL_REQUIRE(site != unit.sites.end());
        const int kept = resume_kept(entry);
        Word* frame = registers.top - kept;
        for (int reg = 0; reg < kept; ++reg) {
            if (site->live & ~released_ & set_of(reg)) release_word(frame[reg]);
        }
        released_ |= site->live;
        registers.top = frame;
        if (site->nested) {
            registers.top += unit.frame;
            return;
        }
        released_ = 0;
    }

  private:
    RegisterSet released_ = 0;
};

}  // namespace

void drop_context() {
    FrameDrop frames;
    while (stack.top[-1].kind() != Waiting::base) {
        const Entry entry = *--stack.top;
        switch (entry.kind()) {
            case Waiting::argument:
                // The place of an argument that was being reduced is empty.
                if (entry.word != 0) release_word(entry.word);
                break;
            case Waiting::call:
            case Waiting::let: release_word(entry.word); break;
            case Waiting::resume:
            case Waiting::choice: frames.drop(entry); break;
            case Waiting::base:
            case Waiting::update: break;
        }
    }
}

}  // namespace marl
