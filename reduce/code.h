// Code: what a call runs in place of a copy of its body.
//
// A Unit is the code of one body: that of a definition, or of a part of one that is on its own (a
// lambda, or an operand that waits until somebody wants it). It works on a frame of registers, each
// one Word that is written once on every way through the code. Captured Words come first, then the
// parameters, then what the code computes.
//
// A register's last use takes its Word, any other use shares it, and a way that has no use for it
// drops it at its start: so what an expression of the language holds is what the registers hold,
// and who looks at a count finds the same.
//
// Code is made at the first call, from the definitions as they stand; a definition that is replaced
// drops it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "reduce/copying.h"
#include "value/word.h"

namespace marl {

struct Row;
struct Symbol;

enum class Op : uint8_t {
    move,      // a = take b
    share,     // a = share b
    constant,  // a = constants[d]
    drop,      // drop the registers of `set`
    jump,      // go on at d

    // a = b op c. Flags in d tell whether b and c are taken.
    add,
    subtract,
    multiply,
    over,
    cent,
    // The same, c being the constant number `n`.
    add_number,
    subtract_number,
    multiply_number,
    over_number,
    cent_number,

    // b op c, as above; go on behind it for K, at `h` for H, and at `other` for anything else,
    // which is then in a.
    less,
    not_less,
    same,
    differ,
    less_number,
    not_less_number,
    same_number,
    differ_number,

    apply_two,  // take or share b and look at it; go on as `choices[d]` tells
    apply_one,

    // What is called leaves a `Waiting` of kind c, and what comes next in the code gets its value.
    builtin,       // a = what the row gives for `sources`
    builtin_last,  // the frame ends, and that is the focus
    builtin_held,  // that is the focus, and the frame stays
    call,          // a = what the symbol's definition gives for `sources`; b registers are kept
    call_last,
    call_held,
    apply,  // a = the first of `sources` applied to the others; b registers are kept
    apply_last,

    pairs,     // a = the partial application of constants[b] to `sources`
    closure,   // a = the closure of parts[b] over `sources`
    name,      // a = the value of the constant `symbol`
    evaluate,  // a = the value of b, which is taken

    if_strict,  // go on at d unless b is a strict function that takes c more arguments
    if_held,    // go on at d when the topmost b entries of the context are arguments
    wait,       // what comes next leaves the frame; its value comes to a, and the code goes on at d
    hold,       // push the one of `sources` as an argument
    give,       // the frame ends, and the one of `sources` is the focus
    go,         // the one of `sources` is the focus, and the frame stays
};

using RegisterSet = uint64_t;
constexpr int most_registers = 64;
inline RegisterSet set_of(int reg) { return RegisterSet{1} << reg; }

/// Where a Word comes from.
enum class From : uint8_t { take, share, constant, part };
struct Source {
    From from;
    uint8_t reg;
    uint32_t index = 0;  // of the constant or the part
};

struct Instruction {
    Op op = Op::move;
    uint8_t a = 0;
    uint8_t b = 0;
    uint8_t c = 0;
    int32_t d = 0;
    union {
        int64_t n = 0;
        RegisterSet set;
        const Row* row;
        Symbol* symbol;
    };
    int32_t h = 0;      // where a branch goes on for `H`,
    int32_t other = 0;  // and where for what is no truth value
    // The Words that the instruction uses: `count` from sources[first] on.
    uint32_t first = 0;
    uint32_t count = 0;
};

constexpr int take_b = 1;
constexpr int take_c = 2;

/// Where to go on when a choice's head is of a known shape; -1 where the code has no way for it and
/// takes that of `other`, with the head in `head`. A cell's or pair's parts go to x and y.
///
/// While the head is computed, the operands may have to be held back after all: `count` of sources,
/// the last one first, from sources[first] on. Then the value comes to register `to`, and the code
/// goes on at `after`; -1 when the frame ends with the choice.
struct Choice {
    int32_t k = -1;
    int32_t h = -1;
    int32_t pair = -1;
    int32_t other = -1;
    uint8_t x = 0;
    uint8_t y = 0;
    uint8_t to = 0;
    uint8_t count = 0;
    uint32_t first = 0;
    int32_t after = -1;
};

/// What is live in the frame while something else runs, by the place where the code goes on.
/// `nested`: the frame has an older entry in the context, too.
struct Site {
    int32_t next;
    RegisterSet live;
    bool nested;
};

constexpr int most_parameters = 10;

struct Unit {
    Unit() = default;
    ~Unit();
    Unit(const Unit&) = delete;
    Unit& operator=(const Unit&) = delete;

    Node* whole = nullptr;  // a definition's body or a part, borrowed from the definition
    Node* body = nullptr;   // behind the lambdas of a part
    int captures = 0;       // how many Words are captured
    int parameters = 0;
    uint32_t letters = 0;       // the variables that registers stand for at the start
    uint8_t register_of[26];    // which one, for each of them
    RegisterSet unsettled = 0;  // registers that may hold work at the start

    bool made = false;
    bool compiled = false;  // else its calls copy the body
    int frame = 0;          // registers
    std::vector<Instruction> code;
    std::vector<Source> sources;
    std::vector<Word> constants;  // held
    std::vector<Choice> choices;
    std::vector<Site> sites;
    std::vector<std::unique_ptr<Unit>> parts;
    std::vector<std::vector<Source>> captured;  // what each of them captures

    Closure* fixed = nullptr;  // of a part that captures nothing: its one closure
    // Of a part with several parameters: the part behind the first one, and of such a part, the
    // registers that it captures.
    std::unique_ptr<Unit> rest;
    std::vector<uint8_t> taken;
    // How to copy `body` for a call and `whole` for a closure that becomes a node, once that was
    // asked for.
    std::unique_ptr<Copying> body_copying;
    std::unique_ptr<Copying> whole_copying;
};

/// The Unit of a definition with parameters. `strict`: its calls have all arguments settled.
std::unique_ptr<Unit> make_unit(Node* definition, bool strict);

/// The Unit of a closed lambda.
std::unique_ptr<Unit> make_lambda_unit(Node* lambda);

/// The part behind the first of several lambdas of a part, as `rest`.
std::unique_ptr<Unit> make_rest(const Unit& part);

/// Compiles the Unit's body, once.
void compile(Unit& unit);

}  // namespace marl
