// bme_RenumberMesh.h: other labels, and another order in memory
#pragma once

#include <CoreGeometry/bme_Renumbering.h>
#include <optional>

/// Labels first, first + step, ... in the order of the indices.
struct bme_LabelSeries {
  int first = 1, step = 1;
};

/// The mesh with other user labels; an empty series leaves those of nodes or elements as they are. nex_TextException
/// for a step below 1, a first label below 0, and labels above 2147483647.
CORE_GEOMETRY_API bme_Edited bme_RelabelMesh(const bme_MeshAndSets& source,
                                             std::optional<bme_LabelSeries> nodes,
                                             std::optional<bme_LabelSeries> elements);

enum class bme_NodeOrder {
  Bandwidth, ///< reverse Cuthill-McKee (E. Cuthill and J. McKee, 1969; A. George, 1971), from pseudo-peripheral nodes
  ///< (A. George and J. W. H. Liu, 1979): the nodes of each element have indices close to each other
  Curve, ///< along a Hilbert curve through the box of the nodes (J. Skilling, 2004): neighbours in space are
         ///< neighbours in memory
  Label  ///< ascending user labels
};

/// The mesh with its nodes in that order, and the elements of each class in the order of their first nodes, or of
/// their labels. Labels stay with their nodes and elements.
///
/// Cost       n log n in the number of nodes; a graph of the nodes is not stored.
CORE_GEOMETRY_API bme_Edited bme_ReorderMesh(const bme_MeshAndSets& source, bme_NodeOrder order);

/// The largest difference of two node indices in an element.
CORE_GEOMETRY_API long long bme_Bandwidth(const bme_Mesh& mesh);
