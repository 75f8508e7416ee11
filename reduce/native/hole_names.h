// The holes of stencils: what an instruction has in its fields, and where it goes on.
#pragma once

// clang-format off
// Distances of registers from the frame's start, in bytes, numbers and flags.
#define MARL_HOLES(X)                                                                    \
    X(a) X(b) X(c) X(takes_a) X(takes_b) X(count) X(room) X(kind) X(word) X(number)      \
    X(even_number) X(operand_0) X(operand_1) X(from_0) X(from_1) X(word_0) X(word_1)     \
    X(has_k) X(has_h) X(has_pair) X(part_x) X(part_y) X(at) X(next_one) X(further_one)   \
    X(free_list) X(header) X(part) X(slot) X(captured) X(captured_word)                  \
    X(applied_slot) X(applied_code)

// Native code of other instructions.
#define MARL_JUMP_HOLES(X) X(next) X(further) X(enter) X(way_k) X(way_h) X(way_pair) X(way_other)
// clang-format on
