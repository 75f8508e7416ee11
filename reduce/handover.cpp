// A text that a run loads can make exactness due when half of the run is done. What waits then
// stands in the fast machine's context. Its entries become frames of a plain one, from the top down
// to the code that waits or to the run's base. That code ends its frame by itself, in registers;
// whatever it calls begins as a copy of a body, and so is handed over again.
#include "reduce/handover.h"

#include <string>
#include <string_view>
#include <vector>

#include "reduce/analysis.h"
#include "reduce/build.h"
#include "reduce/closure.h"
#include "reduce/execute.h"
#include "reduce/plain.h"
#include "reduce/stack.h"
#include "reduce/tables.h"

namespace marl {

namespace {

bool is_bottom(const Entry& entry) { return entry.kind() == Waiting::base || is_code(entry); }

Value value_of(Word word) { return Value::adopt(force(word)); }

/// A function on its first argument, which is settled.
Value on_settled(Value function, Word argument) {
    return Value::adopt(analysed_pair(function.take(), argument));
}

/// The entry on top as the function of a frame. Takes it off, and with a call those of the
/// arguments that the call has already.
Value take_frame_function(bool& held_back) {
    const Entry entry = *--stack.top;
    held_back = entry.kind() == Waiting::argument;
    switch (entry.kind()) {
        case Waiting::argument: return value_of(entry.word);
        case Waiting::call: {
            Value function = value_of(entry.word);
            for (uint64_t i = 1; i < entry.detail(); ++i) {
                function = on_settled(std::move(function), (--stack.top)->word);
            }
            --stack.top;  // the place of the one that is being reduced
            return function;
        }
        case Waiting::let: {
            const char letter = static_cast<char>(entry.detail());
            Value lambda =
                apply(leaf("\\"), leaf(std::string_view(&letter, 1)), value_of(entry.word));
            analyse(lambda);
            return lambda;
        }
        case Waiting::update: {
            const auto& symbol = *reinterpret_cast<Symbol*>(static_cast<uintptr_t>(entry.detail()));
            Value marker = leaf(std::string(1, ')').append(symbol.name.view()));
            analyse(marker);
            return marker;
        }
        case Waiting::base:
        case Waiting::resume:
        case Waiting::choice: break;
    }
    fatal_stop(__FILE__, __LINE__);
}

/// The entries above the topmost code that waits, which are taken off, on `bottom`.
Value take_context(Value bottom) {
    struct Frame {
        Value function;
        bool held_back;
    };
    std::vector<Frame> frames;
    for (;;) {
        if (stack.top[-1].kind() == Waiting::choice) hold_operands(0);
        if (is_bottom(stack.top[-1])) break;
        bool held_back;
        Value function = take_frame_function(held_back);
        frames.push_back({std::move(function), held_back});
    }
    Value context = std::move(bottom);
    for (auto frame = frames.rbegin(); frame != frames.rend(); ++frame) {
        const auto make = frame->held_back ? argument_frame : function_frame;
        context = make(std::move(context), std::move(frame->function));
    }
    return context;
}

}  // namespace

bool can_hand_over(Word focus) { return !is_settled(focus) || !is_bottom(stack.top[-1]); }

Word hand_over(Word focus) {
    const Value bottom = empty_context();
    Value context = take_context(bottom);
    Value result = plain_reduce(context, value_of(focus));
    if (context.get() != bottom.get()) drop_context();
    return word_of(result.take());
}

}  // namespace marl
