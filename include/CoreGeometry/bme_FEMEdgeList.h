// bme_FEMEdgeList.h: some edges of elements of a mesh
#pragma once

#include <CoreGeometry/bme_FEMFaceList.h>

/// Edges of faces of elements as words: bme_EdgeWord. An edge that two faces share has a word for each.
///
/// Errors     nex_TextException for a word that names no edge of the mesh.
class CORE_GEOMETRY_API bme_FEMEdgeList : public bme_EntityList<bme_FEMEdgeList> {
public:
  static constexpr bool kAreAddresses = true;

  // make
  explicit bme_FEMEdgeList(const bme_Mesh& mesh) : bme_EntityList(mesh) {}
  bme_FEMEdgeList(const bme_Mesh& mesh, std::vector<unsigned> words);
  static bme_FEMEdgeList All(const bme_Mesh& mesh);
  /// From the edge subsets that name the mesh's identifier.
  static bme_FEMEdgeList FromSet(const bme_Mesh& mesh, const rgnC_SetData& set,
                                 bme_Unknown unknown = bme_Unknown::Refuse);
  /// Every edge of each of the faces, and of line elements.
  static bme_FEMEdgeList OfElements(const bme_FEMElemList& elements);
  static bme_FEMEdgeList OfFaces(const bme_FEMFaceList& faces);

  // ask
  bme_LocalNodes EdgeNodes(std::size_t i) const; ///< first corner, interior nodes, last corner
};
