// Running compiled code.
//
// Code runs until it is done or comes to something that it has no instruction for. Either way it
// gives a Word, which is the machine's next focus: a value, or an expression that is still to be
// reduced. What is to be done with the result is in the context.
#pragma once

#include "reduce/code.h"

namespace marl {

/// Calls a Code. Its arguments and what it captures stand behind the last frame, at
/// `machine.registers.top`.
Word run_code(Code& code);

/// Goes on with the code that waits on top of the context, for a settled value. Consumes it.
Word resume(Word value);

/// Makes arguments of operands that waiting code holds back. The code's entry, a
/// `land_before_choice`, is the one below the `above` topmost entries, none of which is code.
void hold_operands(int above);

/// The Code of a definition with parameters, made and compiled at its first call.
Code& code_of(Symbol& symbol);

#if MARL_TAIL_CALLS
/// The loop's function for an instruction.
Run function_of(Op op);
#endif

/// Gives an instruction what runs it.
void link(Instruction& instruction);

/// Compiles a Code, and gives each instruction what runs it.
void prepare(Code& code);

}  // namespace marl
