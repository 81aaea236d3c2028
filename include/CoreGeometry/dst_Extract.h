// dst_Extract.h: some elements of a split mesh as a mesh in one process
#pragma once

#include <CoreGeometry/dst_Model.h>
#include <optional>

/// Elements with their nodes.
struct CORE_GEOMETRY_DISTRIBUTED_API dst_Extract {
  bme_Mesh mesh{}; ///< with all classes; user labels are those of the parts
  std::vector<unsigned> nodeNumbers{}, elementNumbers{}; ///< in the whole, by index in the mesh; ascending

  unsigned FindElement(std::uint64_t number) const noexcept; ///< bme_kNotFound when it is not there
};

/// These elements and their nodes, in the order of the whole. All ranks call it; the one with part 0 has the result.
///
/// Errors     nex_TextException when they are more than one mesh can hold.
/// Cost       4 bytes and 4 a node for each element, and 20 bytes a node, are sent to part 0 and kept there.
CORE_GEOMETRY_DISTRIBUTED_API std::optional<dst_Extract> dst_ExtractElements(const dst_Mesh& mesh,
                                                                             const dst_Elements& elements);
