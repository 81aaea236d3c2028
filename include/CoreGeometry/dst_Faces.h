// dst_Faces.h: external, interior and shared faces, interfaces and duplicates of a split mesh
#pragma once

#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/dst_Model.h>

/// Faces of the elements of one part, as words of its mesh in its order: the four lists of bme_FaceSets.
struct dst_FaceWords {
  std::vector<unsigned> external{}, interior{}, shared{}, collapsed{};
};

/// What each own part has of something.
template<class T> struct dst_OfParts {
  dst_PartRange parts;
  std::vector<T> ofParts;

  explicit dst_OfParts(dst_PartRange own) : parts(own), ofParts(own.Count()) {}
  T& operator[](unsigned part) { return ofParts.at(part - parts.first); }
  const T& operator[](unsigned part) const { return ofParts.at(part - parts.first); }
};
using dst_FaceSets = dst_OfParts<dst_FaceWords>;

/// Classifies faces as bme_ComputeFaces does in the whole mesh: each face stands in the list of the part that has its
/// element, so all parts together have every face of the answer of one process once. All ranks call it.
///
/// Errors     nex_TextException for a type without a shape and for a node that is not in the mesh.
/// Cost       that of the parts, and three deliveries' worth of faces between shared nodes: 20 bytes for each of them
///            that is sent, 84 with matchAllNodes, and a byte back; only between parts that share nodes.
CORE_GEOMETRY_DISTRIBUTED_API dst_FaceSets dst_ComputeFaces(const dst_Mesh& mesh,
                                                            const bme_FaceOptions& options = {});
CORE_GEOMETRY_DISTRIBUTED_API dst_FaceSets dst_ComputeFaces(const dst_Mesh& mesh,
                                                            const dst_Elements& elements,
                                                            const bme_FaceOptions& options = {});

/// Faces of solids of the first elements that solids only among the second ones have, too, as bme_ComputeInterface.
CORE_GEOMETRY_DISTRIBUTED_API dst_OfParts<std::vector<unsigned>>
dst_ComputeInterface(const dst_Mesh& mesh, const dst_Elements& first, const dst_Elements& second,
                     const bme_FaceOptions& options = {});

/// Pairs of elements with the same set of nodes, as bme_FindDuplicates, by their numbers in the whole. All ranks have
/// the result.
CORE_GEOMETRY_DISTRIBUTED_API std::vector<std::array<std::uint64_t, 2>>
dst_FindDuplicates(const dst_Mesh& mesh);
CORE_GEOMETRY_DISTRIBUTED_API std::vector<std::array<std::uint64_t, 2>>
dst_FindDuplicates(const dst_Mesh& mesh, const dst_Elements& elements);
