// bme_FEMFaceList.h: some faces of elements of a mesh
#pragma once

#include <CoreGeometry/bme_EntityList.h>

#include <array>

class bme_FEMElemList;
class bme_FEMNodeList;
class gsl_BBox;
class rgnC_Region;
class rgnC_SetData;

/// Mesh node indices of a face (corners first) or of an edge (in order along it).
struct bme_LocalNodes {
  static constexpr std::size_t kMost = 16;

  std::array<int, kMost> nodes{};
  unsigned count = 0, corners = 0;

  std::span<const int> Nodes() const& noexcept { return std::span(nodes).first(count); }
  std::span<const int> Nodes() && = delete;
  std::span<const int> Corners() const& noexcept { return std::span(nodes).first(corners); } ///< of a face
  std::span<const int> Corners() && = delete;
};

/// A face, counted from 0, of the element with that user label.
struct bme_FaceLabel {
  int element = 0, face = 0;
  bool isBack = false; ///< of a surface element

  bool operator==(const bme_FaceLabel&) const = default;
};

/// Faces of elements as words: bme_FaceWord. A surface element has one face with two sides.
///
/// Errors     nex_TextException for a word that names no face of the mesh, and as stated.
class CORE_GEOMETRY_API bme_FEMFaceList : public bme_EntityList<bme_FEMFaceList> {
public:
  static constexpr bool kAreAddresses = true;

  // make
  explicit bme_FEMFaceList(bme_LastingMesh mesh) : bme_EntityList(mesh) {}
  bme_FEMFaceList(bme_LastingMesh mesh, std::vector<unsigned> words);
  static bme_FEMFaceList All(bme_LastingMesh mesh);
  static bme_FEMFaceList FromLabels(bme_LastingMesh mesh, std::span<const bme_FaceLabel> labels,
                                    bme_Unknown unknown = bme_Unknown::Refuse);
  /// From the facet subsets that name the mesh's identifier. For surface elements without facet ids face 0 is
  /// taken from the front, since their side is not known; solids without facet ids are refused, since their
  /// face is not known. nex_TextException, too, when the set is not empty but has no faces of the mesh.
  static bme_FEMFaceList FromSet(bme_LastingMesh mesh, const rgnC_SetData& set,
                                 bme_Unknown unknown = bme_Unknown::Refuse);
  /// From the contents of the region in the thread's database; messages begin with its name.
  static bme_FEMFaceList FromRegion(bme_LastingMesh mesh, const rgnC_Region& region,
                                    bme_Unknown unknown = bme_Unknown::Refuse);
  /// The faces of OfElements that have nodes in the box, or in the list.
  static bme_FEMFaceList InBox(bme_LastingMesh mesh, const gsl_BBox& box, bme_Touching touching);
  static bme_FEMFaceList OfNodes(const bme_FEMNodeList& nodes, bme_Touching touching);
  /// Every face of solids and the front of surface elements; lines and points have none.
  static bme_FEMFaceList OfElements(const bme_FEMElemList& elements);

  // ask
  /// The inverse of FromSet: a SURFACE_FACET subset for each class, sorted; no subset for an empty list.
  rgnC_SetData ToSet() const;
  std::vector<bme_FaceLabel> Labels() const; ///< element index + 1 when the labels of the mesh are implicit
  /// Nodes of the i-th face; in reverse order for the back of a shell.
  bme_LocalNodes FaceNodes(std::size_t i) const;
};
