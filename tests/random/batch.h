// Random inputs run in a child process, so that one that crashes or doesn't end can be named, and
// made smaller.
//
// An input is the choices that its generator made. A smaller one has choices left out or set to 0,
// and still comes out as badly.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace marl {

/// Gives a number from 0 up to but not including its argument.
using Choose = std::function<unsigned(unsigned)>;
/// Turns choices into the text of a program.
using Generate = std::function<std::string(const Choose&)>;
/// What is wrong with a program; empty when nothing is. Its standard output is a file of its own.
using Judge = std::function<std::string(const std::string&)>;

/// Runs MARL_RANDOM_COUNT programs, else `count`, from MARL_RANDOM_SEED on, else 1. Gives the first
/// one that the judge finds fault with or that ends the process, made smaller, and what is wrong
/// with it; empty when there is none. Programs that take over a second or fill the memory are left
/// out; too many of them are a fault, too.
std::string first_fault(const Generate& generate, const Judge& judge, unsigned count);

}  // namespace marl
