// What programs have given away with `leak`, in builds that count nodes.
#pragma once

namespace marl {

#if MARL_COUNT_NODES
/// Gives the references back that `leak` has kept, so that a count at the end finds only others.
void release_leaked();
#endif

}  // namespace marl
