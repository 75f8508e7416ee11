// Which definitions are surely evaluated when another one is.
#pragma once

#include <map>
#include <vector>

#include "lab/look.h"

namespace marl::lab {

/// For each definition that counts, and the entry: those that its body surely evaluates, whatever
/// its arguments are, each with a place where it does.
using NeedsGraph = std::map<const Piece*, std::map<const Piece*, Node*>>;

NeedsGraph needs_graph(const Look& look);

/// From a definition to itself, without it at the end; empty when no way leads back.
std::vector<const Piece*> way_back(const NeedsGraph& graph, const Piece* from);

/// Takes out what no cycle is reached from.
void drop_ends(NeedsGraph& graph);

}  // namespace marl::lab
