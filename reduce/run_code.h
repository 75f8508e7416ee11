// Running code.
//
// Each function gives the next focus: a Word that code could not go on with by itself, settled or
// not. What is to become of it stands in the context.
#pragma once

#include "reduce/code.h"

namespace marl {

/// Calls a Code. Its arguments and what it captures stand behind the last frame, at
/// `machine.registers.top`.
Word run_code(Code& code);

/// Goes on with the code that waits on top of the context, for a settled value. Consumes it.
Word resume(Word value);

/// Makes arguments of the operands of the choice in the context that has only that many other
/// entries above it, none of them code.
void hold_operands(int above);

/// The Code of a definition with parameters, made and compiled at its first call.
Code& code_of(Symbol& symbol);

/// Gives an instruction what runs it.
void link(Instruction& instruction);

/// Compiles a Code, and gives each instruction what runs it.
void prepare(Code& code);

}  // namespace marl
