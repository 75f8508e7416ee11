// Tests in a source: notes of the form [test: EXPRESSION -> TEXT].
//
// A test holds when the prompt prints TEXT for EXPRESSION, which may name what its file can name.
#pragma once

#include <string>
#include <vector>

#include "lab/program.h"

namespace marl::lab {

struct TestNote {
    size_t piece;
    Range expression;
    std::string expected;
};

std::vector<TestNote> test_notes(const Program& program);

/// Notes that are meant as tests and have no arrow, or nothing in front of it.
std::vector<Message> find_test_note_faults(const Program& program);

/// A part of a program as a program of its own, that part being the entry; all places stay.
Program read_expression(const Program& program, Range range);

}  // namespace marl::lab
