// A text that a run loads can bring in `todo` when half of the run is done. What waits then stands
// in the fast machine's context. The entries of each run become frames of a plain context, which is
// all that stays of the run there; what code would do with the value that it waits for has been
// written down when it was made (reduce/continuation.h). Then no code is left under way, and none
// is kept: what it holds would die later than the rules have it.
#include "reduce/handover.h"

#include <string>
#include <string_view>
#include <vector>

#include "reduce/analysis.h"
#include "reduce/build.h"
#include "reduce/closure.h"
#include "reduce/continuation.h"
#include "reduce/definitions.h"
#include "reduce/needs.h"
#include "reduce/plain.h"
#include "reduce/run_code.h"
#include "reduce/stack.h"
#include "reduce/tables.h"

namespace marl {

namespace {

Value value_of(Word word) { return Value::adopt(force(word)); }

/// A frame of a plain context that has no context yet.
struct Frame {
    bool holds_back;
    Value function;
};
using Frames = std::vector<Frame>;  // the one on top first

/// A function on its next argument, which is settled.
Value applied(Value function, Word argument) {
    return Value::adopt(analysed_pair(function.take(), force(argument)));
}

/// The function of a call, on those of its arguments that it has already. Takes the arguments off.
Value take_call(const StackEntry& entry) {
    Value function = value_of(entry.word);
    for (int i = 1; i < entry.detail(); ++i) {
        function = applied(std::move(function), (--machine.stack.top)->word);
    }
    --machine.stack.top;  // the place of the one that is being reduced
    return function;
}

Value lambda_of_let(const StackEntry& entry) {
    const auto letter = static_cast<char>('a' + entry.detail());
    Value lambda = apply(leaf("\\"), leaf(std::string_view(&letter, 1)), value_of(entry.word));
    analyse(lambda);
    return lambda;
}

Value marker_of(const Symbol& symbol) {
    Value marker = leaf(std::string(1, ')').append(symbol.name));
    analyse(marker);
    return marker;
}

/// The frames of code that waits, whose registers end.
void take_code(const StackEntry& entry, Frames& frames) {
    const StackMap& map = *entry.next->map;
    Word* const frame = machine.registers.top -= entry.next->b;
    for (const ContinuationFrame& next : map.code->continuations->at(&map)) {
        Value function = value_of(make_piece(next.head, frame));
        for (const Piece& done : next.done) {
            function = applied(std::move(function), make_piece(done, frame));
        }
        frames.push_back({next.holds_back, std::move(function)});
    }
    for (RegisterSet live = map.live; live; live &= live - 1) {
        release_word(frame[__builtin_ctzll(live)]);
    }
}

/// The entries of the topmost run, which are taken off down to its base.
Frames take_run() {
    Frames frames;
    for (;;) {
        const StackEntry entry = *--machine.stack.top;
        switch (entry.kind()) {
            case Op::base: return frames;
            case Op::argument: frames.push_back({true, value_of(entry.word)}); break;
            case Op::function: frames.push_back({false, take_call(entry)}); break;
            case Op::let: frames.push_back({false, lambda_of_let(entry)}); break;
            case Op::update: frames.push_back({false, marker_of(updated_symbol(entry))}); break;
            case Op::land:
            case Op::land_before_choice: take_code(entry, frames); break;
            default: fatal_stop(__FILE__, __LINE__);
        }
    }
}

Value context_of(Frames frames) {
    Value context = empty_context();
    for (auto frame = frames.rbegin(); frame != frames.rend(); ++frame) {
        const auto make = frame->holds_back ? argument_frame : function_frame;
        context = make(std::move(context), std::move(frame->function));
    }
    return context;
}

}  // namespace

void hand_over() {
    needs_plain_machine = true;
    std::vector<Value> contexts;  // the topmost run's first
    while (machine.stack.top != machine.stack.entries) contexts.push_back(context_of(take_run()));
    for (auto context = contexts.rbegin(); context != contexts.rend(); ++context) {
        push(Op::base, 0);
        push(Op::plain, word_of(context->take()));
    }
    retire_code();
}

}  // namespace marl
