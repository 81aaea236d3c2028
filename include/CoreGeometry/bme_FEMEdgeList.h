// bme_FEMEdgeList.h: some edges of elements of a mesh
#pragma once

#include <CoreGeometry/bme_FEMFaceList.h>

/// The edge of a face, both counted from 0, of the element with that user label.
struct bme_EdgeLabel {
  int element = 0, face = 0, edge = 0;

  bool operator==(const bme_EdgeLabel&) const = default;
};

/// Edges of faces of elements as words: bme_EdgeWord. An edge that two faces share has a word for each.
///
/// Errors     nex_TextException for a word that names no edge of the mesh, and as stated.
class CORE_GEOMETRY_API bme_FEMEdgeList : public bme_EntityList<bme_FEMEdgeList> {
public:
  static constexpr bool kAreAddresses = true;

  // make
  explicit bme_FEMEdgeList(bme_LastingMesh mesh) : bme_EntityList(mesh) {}
  bme_FEMEdgeList(bme_LastingMesh mesh, std::vector<unsigned> words);
  static bme_FEMEdgeList All(bme_LastingMesh mesh);
  static bme_FEMEdgeList FromLabels(bme_LastingMesh mesh, std::span<const bme_EdgeLabel> labels,
                                    bme_Unknown unknown = bme_Unknown::Refuse);
  /// From the edge subsets that name the mesh's identifier. nex_TextException when the set is not empty but
  /// has no edges of the mesh; OfFaces and OfElements make edges of faces and elements.
  static bme_FEMEdgeList FromSet(bme_LastingMesh mesh, const rgnC_SetData& set,
                                 bme_Unknown unknown = bme_Unknown::Refuse);
  /// From the contents of the region in the thread's database; messages begin with its name.
  static bme_FEMEdgeList FromRegion(bme_LastingMesh mesh, const rgnC_Region& region,
                                    bme_Unknown unknown = bme_Unknown::Refuse);
  /// The edges of OfElements that have nodes in the box, or in the list.
  static bme_FEMEdgeList InBox(bme_LastingMesh mesh, const gsl_BBox& box, bme_Touching touching);
  static bme_FEMEdgeList OfNodes(const bme_FEMNodeList& nodes, bme_Touching touching);
  /// Every edge of each of the faces, and of line elements.
  static bme_FEMEdgeList OfElements(const bme_FEMElemList& elements);
  static bme_FEMEdgeList OfFaces(const bme_FEMFaceList& faces);

  // ask
  /// The inverse of FromSet: a SURFACE_EDGE subset for each class, sorted; no subset for an empty list.
  rgnC_SetData ToSet() const;
  std::vector<bme_EdgeLabel> Labels() const; ///< element index + 1 when the labels of the mesh are implicit
  bme_LocalNodes EdgeNodes(std::size_t i) const; ///< first corner, interior nodes, last corner
};
