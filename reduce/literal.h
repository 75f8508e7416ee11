// The machine's step in its plainest form, for programs that give `T` another meaning.
//
// A held-back argument y means (T y): when the focus r is done, the new focus is (T y r), and what
// that is depends on the definition of `T`. As long as `T` is reversed application the main loop
// may apply r to y itself and keep several arguments at hand; otherwise every frame is popped as
// the application that it stands for.
#pragma once

#include "value/value.h"

namespace marl {

/// One step. Consumes the focus, which is analysed and no final result; gives the next one.
Node* literal_step(Node* focus);

}  // namespace marl
