// What decides between the two machines.
#pragma once

namespace marl {

/// Whether the program can see more of the machine than results. Set for good when the program
/// names `todo`, or may load a text that does, whose Values act when they are dropped, so that each
/// drop must come where the rules have it; and when it gives `T`, which the context is made of,
/// another meaning. From then on every run is one of the plain machine (reduce/plain.h), and one
/// that is under way goes over to it (reduce/handover.h). Forgetting all definitions clears it.
extern bool exactness_due;

}  // namespace marl
