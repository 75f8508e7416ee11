// Emitting: instructions, registers, constants, and the places where a frame waits.
//
// A `land` whose value is nearly always there at once, behind a built-in or a constant, stands
// behind the code with a jump back, out of the way.
#include <algorithm>

#include "reduce/closure.h"
#include "reduce/compiler.h"
#include "reduce/continuation.h"
#include "reduce/needs.h"
#include "value/real_word.h"
#include "value/short_hint.h"

namespace marl {

Instruction& Compiler::emit(Op op, int a, int b, int c) {
    Instruction& made = code_.instructions.emplace_back();
    made.op = op;
    made.a = static_cast<uint8_t>(a);
    made.b = static_cast<uint8_t>(b);
    made.c = static_cast<uint8_t>(c);
    return made;
}

uint8_t Compiler::new_register() {
    MARL_REQUIRE(next_ < most_registers - 1);  // `is_too_large` and `has_room_for` have seen to it
    code_.frame = std::max(code_.frame, next_ + 1);
    unsettled_ &= ~set_of(next_);
    return static_cast<uint8_t>(next_++);
}

void Compiler::drop(RegisterSet set) {
    for (; set; set &= set - 1) emit(Op::drop, 0, __builtin_ctzll(set));
}

/// A constant of the code. A number needs no node, unless the program can ask which node it is.
Operand Compiler::constant(Node* node) {
    Word word;
    if (keeps_identity || !as_plain_word(node, word)) word = word_of(node);
    auto& constants = code_.constants;
    if (std::find(constants.begin(), constants.end(), word) == constants.end()) {
        constants.push_back(shared_word(word));
        if (!keeps_identity && is_node(word)) {
            give_code_to_lambdas(node, code_.parts);
            take_numbers_from_nodes(node, constants);
        }
    }
    return {From::constant, 0, word};
}

void Compiler::attach(Instruction& instruction, const std::vector<Operand>& operands) {
    instruction.fields.e = static_cast<int32_t>(code_.operands.size());
    instruction.c = static_cast<uint8_t>(operands.size());
    code_.operands.insert(code_.operands.end(), operands.begin(), operands.end());
}

int Compiler::kept_registers(RegisterSet live) { return live ? 64 - __builtin_clzll(live) : 0; }

void Compiler::land(const Landing& landing) {
    Instruction& made =
        emit(landing.before_choice ? Op::land_before_choice : Op::land, landing.reg, landing.kept);
    made.map = landing.map;
}

Compiler::Landing Compiler::landing(int reg, int kept, RegisterSet live, const Rest* rest,
                                    bool before_choice) {
    code_.maps.push_back(std::make_unique<StackMap>(StackMap{&code_, live}));
    StackMap* map = code_.maps.back().get();
    if (continuations_) continuations_->add(*this, map, rest);
    return {reg, kept, map, before_choice};
}

void Compiler::land_later(int32_t from, int32_t back, const Landing& landing) {
    later_.push_back({from, back, landing});
}

void Compiler::place_later_landings() {
    for (const auto& [from, back, landing] : later_) {
        Instruction& instruction = at(from);
        if (row_of(instruction.op).shape == Shape::choose) {
            code_.choices[static_cast<size_t>(instruction.d)].after = here();
        } else {
            instruction.d = here() - from;
        }
        land(landing);
        // A constant is asked for again: from now on it is one of the code's.
        if (back == from) drop(set_of(landing.reg));
        const int32_t jump = here();
        emit(Op::jump).d = back - jump;
    }
}

void Compiler::mark_taken(Instruction& instruction, const Operand& operand, int flag) {
    if (operand.from == From::take) instruction.fields.f |= flag;
}

void Compiler::give(const Operand& operand, Target target) {
    if (operand.from != From::constant) {
        if (target.last) {
            emit(Op::return_value, 0, operand.reg);
        } else if (operand.from == From::take && operand.reg == target.reg) {
            return;
        } else {
            emit(operand.from == From::take ? Op::move : Op::share, target.reg, operand.reg);
        }
        return;
    }
    const bool is_number = !is_counted(operand.word);
    const Op to_register = is_number ? Op::number : Op::constant;
    const Op to_waiting = is_number ? Op::return_number : Op::return_constant;
    emit(target.last ? to_waiting : to_register, target.last ? 0 : target.reg).word = operand.word;
}

}  // namespace marl
