// Code: what a call runs in place of a copy of its body.
//
// A Code is made of one body: that of a definition, or of a part of one that is on its own (a
// lambda, or an operand that waits until somebody wants it). It works on a frame of registers, each
// one Word that is written once on every way through the code. The parameters come first, then the
// captured Words, then what the code computes.
//
// A register's last use takes its Word, any other use shares it, and a way that has no use for it
// drops it at its start: so what an expression of the language holds is what the registers hold,
// and who looks at a count finds the same. The checker (reduce/check_code.h) proves it of each
// Code.
//
// Code is made at the first call, from the definitions as they stand, and owns what it uses.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "reduce/instructions.h"
#include "reduce/template.h"
#include "value/value.h"
#include "value/word.h"

namespace marl {

struct Builtin;
class Continuations;
struct Choice;
struct Instruction;
struct Machine;
struct StackEntry;
struct Symbol;

#if MARL_TAIL_CALLS
/// What runs an instruction: it ends in a jump to what runs the next one.
using Run = void (*)(Word* frame, StackEntry* top, Machine* m, Word value, const Instruction* at);
#endif

using RegisterSet = uint64_t;
constexpr int most_registers = 64;
inline RegisterSet set_of(int reg) { return RegisterSet{1} << reg; }
/// The registers below one.
inline RegisterSet registers_below(int reg) { return set_of(reg) - 1; }

/// Where a Word comes from: a register, or the constant `word`, which the Code holds.
enum class From : uint8_t { take, share, constant };
struct Operand {
    From from;
    uint8_t reg = 0;
    Word word = 0;
};

constexpr int take_a = 1;
constexpr int take_b = 2;
constexpr int take_c = 4;

/// What is live in the frame while it waits, by the `land` at which it goes on.
struct StackMap {
    Code* code;
    RegisterSet live;
    int32_t choice = -1;  // of a land_before_choice: the operands that it holds back
};

/// The fields mean what the instruction's row says. One with operands has `c` of them, and until it
/// is linked `e` is the place of the first one; else `f` tells which registers are taken.
struct Instruction {
#if MARL_TAIL_CALLS
    Run run = nullptr;
#endif
    Op op = Op::move;
    uint8_t a = 0;
    uint8_t b = 0;
    uint8_t c = 0;
    int32_t d = 0;
    struct Fields {
        int32_t e;
        int32_t f;
    };
    union {
        Fields fields{};
        const Operand* operands;
        Code* code;  // that an `enter` begins
    };
    union {
        int64_t n = 0;
        Word word;
        const Builtin* builtin;
        Symbol* symbol;
        const Instruction* target;
        const StackMap* map;
        const Choice* choice;
        Code* part;
    };
};

/// Where to go on, in distances from the choice, when its head is of a known shape; 0 where the
/// code has no way for it and takes that of `other`, with the head in `a`. A cell's or pair's parts
/// go to x and y.
///
/// While the head is computed, the operands may have to be held back after all: `count` pieces from
/// `first` on, with which the registers of `ends` end. Then the value comes to the `land` at
/// `after`, -1 when the frame ends with the choice.
struct Choice {
    int32_t k = 0;
    int32_t h = 0;
    int32_t identity = 0;
    int32_t pair = 0;
    int32_t other = 0;
    uint8_t x = 0;
    uint8_t y = 0;
    uint8_t count = 0;
    uint32_t first = 0;
    int32_t after = -1;
    RegisterSet ends = 0;
};

/// Where a Code's native code is; null when it has none.
struct NativeCode {
    uint8_t* start = nullptr;
    size_t size = 0;
};

/// A term as it is, for those who make it of a frame outside of the code's own way: a register, a
/// constant, a closure of further pieces, or a copy with registers in the places of variables.
struct Piece {
    enum class Kind : uint8_t { reg, constant, closure, copy };
    Kind kind = Kind::reg;
    uint8_t reg = 0;
    Word word = 0;                     // held by the Code
    Code* part = nullptr;              // of the closure,
    std::vector<Piece> captured{};     // and what it captures
    Template layout{};                 // of the copy,
    std::vector<uint8_t> registers{};  // and what its arguments are
};

/// What a part captures and applies to so many arguments: too few ones, perhaps.
struct Applied {
    int captured;
    int count;
};

constexpr int most_parameters = 10;

struct Code {
    Code();
    ~Code();
    Code(const Code&) = delete;
    Code& operator=(const Code&) = delete;

    Value whole;                           // a definition's body, or the part
    Node* body = nullptr;                  // behind the lambdas of a part, borrowed from it
    ClosureKind kind = ClosureKind::work;  // of the closures of a part
    bool is_copied = false;  // a part that is built at once: more of it would be hoisted than can
    int parameters = 0;
    int captures = 0;           // how many Words are captured
    uint32_t letters = 0;       // the variables that registers stand for at the start
    uint8_t register_of[26]{};  // which one, for each of them
    RegisterSet unsettled = 0;  // registers that may hold work at the start
    std::vector<Hoisted> hoisted;
    std::vector<Applied> applied;

    bool made = false;
    int frame = 0;  // registers
    std::vector<Instruction> instructions;
    std::vector<Operand> operands;
    std::vector<Word> constants;  // held
    std::vector<Choice> choices;
    std::vector<Piece> pieces;
    std::vector<std::unique_ptr<StackMap>> maps;
    std::vector<std::unique_ptr<Code>> parts;
    std::vector<Value> made_expressions;           // which the body does not hold
    std::unique_ptr<Continuations> continuations;  // in a program that may load a text

    NativeCode native;
    Closure* fixed = nullptr;  // of a part that captures nothing: its one closure
    // Of a lambda with several parameters: the code of what it is applied to its first argument.
    std::unique_ptr<struct Remainder> remainder;
    // Of a part with a partial application of what it captures: it with such ones hoisted.
    std::unique_ptr<Remainder> hoisting;
    // The copy of the part, and of what stands behind its first parameter; made when asked for.
    std::unique_ptr<Template> whole_template;
    std::unique_ptr<Template> body_template;

    const Instruction* start() const { return instructions.data(); }
    bool is_lambda() const { return kind == ClosureKind::lambda; }
};

/// Calls `see(Code&)` for code and its parts, parents first, those that it makes as well. Whether
/// it gets to the parts of one is what it says.
template <class AnyCode, class See>
void each_part(AnyCode& code, See see) {
    std::vector<AnyCode*> rest{&code};
    while (!rest.empty()) {
        AnyCode& next = *rest.back();
        rest.pop_back();
        if (!see(next)) continue;
        for (size_t i = next.parts.size(); i-- > 0;) rest.push_back(next.parts[i].get());
    }
}

/// What is made of a part in place of its closure, of a frame that holds what the part captured: a
/// lambda of several parameters behind its first argument, which comes first in the frame, or the
/// part with more of it hoisted.
struct Remainder {
    Code frame;
    Piece piece;
};

/// The Code of a definition with parameters. `strict`: its calls have all arguments settled.
std::unique_ptr<Code> make_code(Node* definition, bool strict);

/// The Code of a closed lambda, which captures nothing.
std::unique_ptr<Code> make_lambda_code(Node* lambda);

/// Makes the Remainder of a lambda with several parameters.
std::unique_ptr<Remainder> make_remainder(const Code& lambda);

/// Makes the part in which each application of what it captures is hoisted.
std::unique_ptr<Remainder> make_hoisting(const Code& part);

/// Takes the row of lambdas at the top of a part as its parameters. The captures are known.
void take_parameters(Code& part);

/// Compiles the body, once.
void compile(Code& code);

}  // namespace marl
