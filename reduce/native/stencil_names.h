// The instructions that have a stencil, and the steps of those that take several; all others are
// run by their function in the loop.
#pragma once

// clang-format off
#define MARL_STENCIL_NAMES(X)                                                                    \
    X(enter) X(move) X(share) X(constant) X(number) X(drop) X(jump)                              \
    X(add) X(subtract) X(multiply) X(divide) X(modulo)                                           \
    X(add_number) X(subtract_number) X(multiply_number) X(divide_number) X(modulo_number)        \
    X(less) X(not_less) X(same) X(differ)                                                        \
    X(less_number) X(not_less_number) X(same_number) X(differ_number)                            \
    X(choose_one) X(choose_two) X(cell) X(call) X(call_last) X(call_held) X(apply) X(apply_last) \
    X(if_strict) X(if_held) X(wait) X(return_value) X(return_number) X(return_constant)          \
    X(land) X(land_before_choice)

// Making a closure: its block, each Word that it captures, a look at those that it applies, and its
// Word.
#define MARL_STEP_NAMES(X)                                                  \
    X(begin_closure) X(capture_taken) X(capture_shared) X(capture_constant) \
    X(check_applied) X(end_closure)
// clang-format on
