// bme_FEMElemList.h: some elements of a mesh
#pragma once

#include <CoreGeometry/bme_EntityList.h>

class bme_FEMEdgeList;
class bme_FEMFaceList;
class bme_FEMNodeList;
class gsl_BBox;
class rgnC_Region;
class rgnC_SetData;

/// Elements by mesh element index.
///
/// Errors     nex_TextException for an index that is not in the mesh, and as stated.
class CORE_GEOMETRY_API bme_FEMElemList : public bme_EntityList<bme_FEMElemList> {
public:
  static constexpr bool kAreAddresses = false;

  // make
  explicit bme_FEMElemList(bme_LastingMesh mesh) : bme_EntityList(mesh) {}
  bme_FEMElemList(bme_LastingMesh mesh, std::vector<unsigned> elements);
  static bme_FEMElemList All(bme_LastingMesh mesh);
  static bme_FEMElemList OfClass(bme_LastingMesh mesh, unsigned classIndex); ///< nex_OutOfRangeException
  static bme_FEMElemList FromLabels(bme_LastingMesh mesh, std::span<const int> labels,
                                    bme_Unknown unknown = bme_Unknown::Refuse);
  /// From the element, face and edge subsets that name the mesh's identifier. nex_TextException when the set
  /// is not empty but has no elements of the mesh; OfNodes makes elements of nodes.
  static bme_FEMElemList FromSet(bme_LastingMesh mesh, const rgnC_SetData& set,
                                 bme_Unknown unknown = bme_Unknown::Refuse);
  /// From the contents of the region in the thread's database; messages begin with its name.
  static bme_FEMElemList FromRegion(bme_LastingMesh mesh, const rgnC_Region& region,
                                    bme_Unknown unknown = bme_Unknown::Refuse);
  /// Elements with any node, or all nodes, in the box.
  static bme_FEMElemList InBox(bme_LastingMesh mesh, const gsl_BBox& box, bme_Touching touching);
  /// Elements without nodes are never included.
  static bme_FEMElemList OfNodes(const bme_FEMNodeList& nodes, bme_Touching touching);
  static bme_FEMElemList OfFaces(const bme_FEMFaceList& faces);
  static bme_FEMElemList OfEdges(const bme_FEMEdgeList& edges);

  // ask
  /// The inverse of FromSet: an ELEMENT_SET subset for each class, sorted; no subset for an empty list.
  rgnC_SetData ToSet() const;
  std::vector<int> Labels() const; ///< index + 1 when the labels of the mesh are implicit
};
