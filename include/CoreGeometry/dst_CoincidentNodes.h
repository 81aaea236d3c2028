// dst_CoincidentNodes.h: nodes of a split mesh at one place
#pragma once

#include <CoreGeometry/dst_Model.h>

/// Groups of at least two nodes, of which each is no further than the tolerance from another one, by their numbers in the
/// whole: ascending in each group, groups by their first node. As bme_FindCoincidentNodes of the whole mesh. All ranks
/// have the result.
///
/// Errors     nex_TextException for a tolerance below 0 or no number.
/// Cost       parts whose boxes overlap send each other the nodes in the overlap: 16 bytes each. 16 bytes a node that is
///            in a group, on all ranks.
CORE_GEOMETRY_DISTRIBUTED_API std::vector<std::vector<std::uint64_t>>
dst_FindCoincidentNodes(const dst_Mesh& mesh, double tolerance);
