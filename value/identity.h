// Which node a number is.
//
// By the rules a number is one node for all who hold it. Where no program can tell, it is a Word
// that many hold, and becomes a node of its own in each place that wants one.
#pragma once

namespace marl {

/// The program can ask whether two Values are one node, or read a node's memory: `raws`, `leak`,
/// `bond`, `copy`, `tern`, `load` and `road` are named. Each number is then a node from the start,
/// and so is what stands in a Pair. In all other programs the order on Values takes equal short
/// numbers in the slots of two arrays for one node.
extern bool keeps_identity;

}  // namespace marl
