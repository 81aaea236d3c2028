// bme_FEMNodeList.h: some nodes of a mesh
#pragma once

#include <CoreGeometry/bme_EntityList.h>

class bme_FEMEdgeList;
class bme_FEMElemList;
class bme_FEMFaceList;
class gsl_BBox;
class rgnC_Region;
class rgnC_SetData;

/// Nodes by mesh node index.
///
/// Errors     nex_TextException for an index that is not in the mesh, and as stated.
class CORE_GEOMETRY_API bme_FEMNodeList : public bme_EntityList<bme_FEMNodeList> {
public:
  static constexpr bool kAreAddresses = false;

  // make
  explicit bme_FEMNodeList(bme_LastingMesh mesh) : bme_EntityList(mesh) {}
  bme_FEMNodeList(bme_LastingMesh mesh, std::vector<unsigned> nodes);
  static bme_FEMNodeList All(bme_LastingMesh mesh);
  /// By user label; in a mesh without node labels every label is unknown.
  static bme_FEMNodeList FromLabels(bme_LastingMesh mesh, std::span<const int> labels,
                                    bme_Unknown unknown = bme_Unknown::Refuse);
  /// From the node subsets that name the mesh's identifier; if there are none, the nodes of the elements,
  /// faces and edges in its other subsets. nex_TextException when the set is not empty but has no nodes of
  /// the mesh.
  static bme_FEMNodeList FromSet(bme_LastingMesh mesh, const rgnC_SetData& set,
                                 bme_Unknown unknown = bme_Unknown::Refuse);
  /// From the contents of the region in the thread's database; messages begin with its name.
  static bme_FEMNodeList FromRegion(bme_LastingMesh mesh, const rgnC_Region& region,
                                    bme_Unknown unknown = bme_Unknown::Refuse);
  static bme_FEMNodeList InBox(bme_LastingMesh mesh, const gsl_BBox& box); ///< including its boundary
  static bme_FEMNodeList OfElements(const bme_FEMElemList& elements, bme_NodesOf which = bme_NodesOf::All);
  static bme_FEMNodeList OfFaces(const bme_FEMFaceList& faces, bme_NodesOf which = bme_NodesOf::All);
  static bme_FEMNodeList OfEdges(const bme_FEMEdgeList& edges, bme_NodesOf which = bme_NodesOf::All);

  // ask
  /// The inverse of FromSet: one NODE_SET subset, sorted; no subset for an empty list.
  rgnC_SetData ToSet() const;
  std::vector<int> Labels() const; ///< index + 1 in a mesh without node labels
};
