// The instructions of code, one row each: name, how it goes on, what it does with the registers in
// its fields `a`, `b` and `c`, and its meaning in a line.
//
// The enum `Op`, the listing (reduce/listing.h), the checker (reduce/check_code.h) and the
// interpreter's dispatch (reduce/run_code.cpp) come from this table. A new instruction touches it,
// its emitter and its meaning (reduce/interpreter.h), and nothing else.
#pragma once

#include <cstdint>

namespace marl {

/// How an instruction goes on.
enum class Shape : uint8_t {
    next,    // at the next instruction
    jump,    // d instructions further
    branch,  // at the next one, d further, or e further with a result in a
    test,    // at the next one, or d further
    choose,  // as its Choice says
    call,    // at the `land` behind it, when the value of what is called has come
    step,   // at the next one with the value in a, or, when it comes later, at the `land` d further
    hold,   // at the next one; a `land` d further waits from here on
    leave,  // nowhere: the frame stays, and the `land` that waits goes on with it
    last,   // nowhere: the frame ends
    land,   // at the next one, with a value that has come
    entry,  // no code: what waits in the context otherwise
};

/// What becomes of a register that a field names.
enum class Role : uint8_t {
    none,   // the field is no register
    write,  // empty before, full behind
    take,   // full before, empty behind
    keep,   // full, and stays so
    use,    // full; taken when the flag of the field says so, else it stays
    row,    // the first of c registers in a row, all taken
};

// clang-format off
#define MARL_INSTRUCTIONS(X)                                                                      \
    X(enter,               next,   none,  none, none, "the frame begins: room for it, and a look at what interrupts") \
    X(move,                next,   write, take, none, "a = b")                                     \
    X(share,               next,   write, keep, none, "a = b, one more reference")                 \
    X(constant,            next,   write, none, none, "a = the constant")                          \
    X(number,              next,   write, none, none, "a = the number n")                          \
    X(drop,                next,   none,  take, none, "release b")                                 \
    X(jump,                jump,   none,  none, none, "go on d further")                           \
    X(add,                 next,   write, use,  use,  "a = b + c")                                 \
    X(subtract,            next,   write, use,  use,  "a = b - c")                                 \
    X(multiply,            next,   write, use,  use,  "a = b * c")                                 \
    X(divide,              next,   write, use,  use,  "a = b / c")                                 \
    X(modulo,              next,   write, use,  use,  "a = b % c")                                 \
    X(add_number,          next,   write, use,  none, "a = b + n")                                 \
    X(subtract_number,     next,   write, use,  none, "a = b - n")                                 \
    X(multiply_number,     next,   write, use,  none, "a = b * n")                                 \
    X(divide_number,       next,   write, use,  none, "a = b / n")                                 \
    X(modulo_number,       next,   write, use,  none, "a = b % n")                                 \
    X(less,                branch, write, use,  use,  "b < c: next for K, d for H, else e with it in a") \
    X(not_less,            branch, write, use,  use,  "b > c, greater or equal, likewise")         \
    X(same,                branch, write, use,  use,  "b = c likewise")                            \
    X(differ,              branch, write, use,  use,  "b # c likewise")                            \
    X(less_number,         branch, write, use,  none, "b < n likewise")                            \
    X(not_less_number,     branch, write, use,  none, "b > n likewise")                            \
    X(same_number,         branch, write, use,  none, "b = n likewise")                            \
    X(differ_number,       branch, write, use,  none, "b # n likewise")                            \
    X(choose_one,          choose, write, use,  none, "look at b before one operand")              \
    X(choose_two,          choose, write, use,  none, "look at b before two operands")             \
    X(cell,                next,   write, none, none, "a = the cell or pair of the two operands")  \
    X(pairs,               next,   write, none, none, "a = the constant on the operands, a partial application") \
    X(closure,             next,   write, none, none, "a = the closure of a part over the operands")            \
    X(construct,           next,   write, none, none, "a = what a part makes of the operands, or its closure when one has work") \
    X(builtin,             step,   write, row,  none, "a = a built-in on the row")                     \
    X(builtin_nested,      step,   write, row,  none, "a = a built-in that runs programs, on the row") \
    X(builtin_last,        last,   none,  row,  none, "a built-in on the row, whose value is the frame's") \
    X(builtin_held,        leave,  none,  row,  none, "a built-in on the row, before operands that are held back") \
    X(call,                call,   none,  row,  none, "a definition on the row, its frame beginning there") \
    X(call_last,           last,   none,  none, none, "a definition on the first c registers, in the place of this frame") \
    X(call_held,           leave,  none,  row,  none, "a definition on the row, before operands that are held back") \
    X(apply,               call,   use,   row,  none, "the function a on the row")                 \
    X(apply_last,          last,   take,  row,  none, "the function a on the row, in the place of this frame") \
    X(name,                step,   write, none, none, "a = the value of a constant")                   \
    X(evaluate,            step,   write, take, none, "a = the value of b, which may have work")       \
    X(if_strict,           test,   none,  keep, none, "next when b is strict and takes c operands, else d") \
    X(if_held,             test,   none,  none, none, "d when the topmost c entries of the context are arguments, else next") \
    X(wait,                hold,   none,  none, none, "the frame waits: a value that comes goes on d further") \
    X(push_argument,       next,   none,  none, none, "hold the operand back")                     \
    X(return_value,        last,   none,  take, none, "the frame's value is b")                    \
    X(return_number,       last,   none,  none, none, "the frame's value is the number n")         \
    X(return_constant,     last,   none,  none, none, "the frame's value is the constant")         \
    X(return_work,         last,   none,  take, none, "the frame's value is that of b, which may have work") \
    X(go,                  leave,  none,  none, none, "the operand becomes the focus")             \
    X(land,                land,   write, none, none, "the value has come: a = it, of a frame whose first b registers were kept") \
    X(land_before_choice,  land,   write, none, none, "the same before a choice, whose operands the frame holds back") \
    X(base,                entry,  none,  none, none, "a run begins")                              \
    X(argument,            entry,  none,  none, none, "an argument that is held back")             \
    X(function,            entry,  none,  none, none, "a function, one of whose arguments is being reduced") \
    X(let,                 entry,  none,  none, none, "the body of a let")                         \
    X(update,              entry,  none,  none, none, "a constant that gets its value")            \
    X(plain,               entry,  none,  none, none, "a context of the plain machine")
// clang-format on

enum class Op : uint8_t {
#define MARL_OP(name, shape, a, b, c, meaning) name,
    MARL_INSTRUCTIONS(MARL_OP)
#undef MARL_OP
};

/// A row of the table.
struct InstructionRow {
    const char* name;
    Shape shape;
    Role a, b, c;
    const char* meaning;
    bool has_operands;
};

/// Whether an instruction has operands, besides the registers in its fields.
constexpr bool has_operands(Op op) {
    return op == Op::cell || op == Op::pairs || op == Op::closure || op == Op::construct ||
           op == Op::name || op == Op::push_argument || op == Op::go;
}

constexpr InstructionRow instruction_rows[] = {
#define MARL_ROW(name, shape, a, b, c, meaning) \
    {#name, Shape::shape, Role::a, Role::b, Role::c, meaning, has_operands(Op::name)},
    MARL_INSTRUCTIONS(MARL_ROW)
#undef MARL_ROW
};
inline const InstructionRow& row_of(Op op) { return instruction_rows[static_cast<int>(op)]; }

}  // namespace marl
