// The way from the fast machine to the plain one in the middle of a run.
//
// A program that names `todo` can see when a value dies, so it runs on the plain machine from the
// start. But a program may also load a text that names it, while runs of the fast machine are under
// way. They can't begin again, as they have had effects: what each has left to do is written as a
// context of the plain machine, and goes on there.
#pragma once

namespace marl {

/// Writes what is left to do in all runs that are under way as contexts of the plain machine, and
/// frees all compiled code. `needs_plain_machine` is set from here on. Called while a built-in
/// loads a text, before any definition of the text is part of the program.
void hand_over();

}  // namespace marl
