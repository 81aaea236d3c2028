// bme_Renumbering.h: where the nodes and elements of a mesh went when it was edited
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_FEMEdgeList.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/bme_MeshNotes.h>
#include <CoreGeometry/bme_NamedSet.h>

/// Old and new indices of one kind of entity.
///
/// Several old entities may become one, which has the place, the label and the values of one of them.
struct bme_IndexMap {
  std::vector<int> to;   ///< the new index of each old entity, -1 when it is gone
  std::vector<int> from; ///< the old entity that each new one was, -1 when it was made

  CORE_GEOMETRY_API static bme_IndexMap Identity(std::size_t count);
  /// New entity i is old entity order[i]; those that are not in the order are gone. nex_AssertionException for
  /// an index that is outside or given twice.
  CORE_GEOMETRY_API static bme_IndexMap OfOrder(std::vector<int> order, std::size_t numOld);
  /// Those with a mark that is not 0 are kept, in their order.
  CORE_GEOMETRY_API static bme_IndexMap OfKept(std::span<const unsigned char> marks);

  CORE_GEOMETRY_API bool IsIdentity() const noexcept;
  CORE_GEOMETRY_API std::size_t NumGone() const noexcept;
  /// This map and then the next one; nex_AssertionException when the next does not begin where this ends.
  CORE_GEOMETRY_API bme_IndexMap Then(const bme_IndexMap& next) const;
  /// Ascending, each once; nex_OutOfRangeException for an old index that is outside.
  CORE_GEOMETRY_API std::vector<unsigned> Send(std::span<const unsigned> indices) const;
  /// Rows of an array by old index, as an array by new index; made entities get rows of `missing`.
  /// nex_AssertionException when there are not as many rows as old entities.
  template<class T>
  std::vector<T> SendRows(std::span<const T> rows, std::size_t columns = 1, T missing = T()) const {
    CheckRows(rows.size(), columns);
    std::vector<T> sent(from.size() * columns, missing);
    for (std::size_t i = 0; i < from.size(); ++i)
      if (from[i] >= 0)
        for (std::size_t k = 0; k < columns; ++k)
          sent[i * columns + k] = rows[static_cast<std::size_t>(from[i]) * columns + k];
    return sent;
  }

private:
  CORE_GEOMETRY_API void CheckRows(std::size_t numValues, std::size_t columns) const;
};

/// Nodes that an edit made between old ones: weighted sums of them, in the order of the new nodes.
struct bme_MadeNodes {
  std::vector<unsigned> starts{0}; ///< of each one in `parents`, and the end
  std::vector<unsigned> parents;   ///< old nodes, ascending
  std::vector<double> weights;

  bool IsEmpty() const noexcept { return starts.size() < 2; }
};

/// Where the nodes, elements and element classes of a mesh went. Lists, sets and notes of the old mesh become
/// those of the new one by the functions below; arrays by bme_IndexMap::SendRows.
///
/// Errors     nex_AssertionException when the renumbering is not one of these meshes; wip_Cancelled when the
///            host asks to stop.
/// Cost       one pass over what is sent; nothing is copied that does not change.
/// Threads    a value: concurrent reads are safe, and copies are independent.
struct bme_Renumbering {
  /// How an element was turned: bits, which cancel when they come twice.
  enum Turn : unsigned char {
    kNodesExchanged = 1, ///< by the reversal of its shape, so its faces and edges have other numbers
    kSidesExchanged = 2  ///< the front of a surface element is where its back was
  };

  bme_IndexMap nodes, elements, classes;
  std::vector<unsigned char> turns{}; ///< of each old element; empty when none was turned
  bme_MadeNodes made{};               ///< those of the new nodes without an old one that lie between others

  CORE_GEOMETRY_API static bme_Renumbering Identity(const bme_Mesh& mesh);
  CORE_GEOMETRY_API bme_Renumbering Then(const bme_Renumbering& next) const;
};

CORE_GEOMETRY_API bme_FEMNodeList bme_Send(const bme_FEMNodeList& nodes, const bme_Renumbering& renumbering,
                                           bme_LastingMesh newMesh);
CORE_GEOMETRY_API bme_FEMElemList bme_Send(const bme_FEMElemList& elements,
                                           const bme_Renumbering& renumbering, bme_LastingMesh newMesh);
CORE_GEOMETRY_API bme_FEMFaceList bme_Send(const bme_FEMFaceList& faces, const bme_Renumbering& renumbering,
                                           bme_LastingMesh newMesh);
CORE_GEOMETRY_API bme_FEMEdgeList bme_Send(const bme_FEMEdgeList& edges, const bme_Renumbering& renumbering,
                                           bme_LastingMesh newMesh);

/// For each of the faces (bme_FaceWord), in their order, those of the new mesh that it became, or that lie on it.
CORE_GEOMETRY_API bme_Adjacency bme_SendFaces(const bme_Mesh& oldMesh, std::span<const unsigned> faces,
                                              const bme_Renumbering& renumbering, const bme_Mesh& newMesh);

/// Contents of a set of the new mesh, and for each of its entries the old one, both counted through all
/// subsets.
struct bme_SentSet {
  rgnC_SetData data;
  std::vector<int> entries;
};

/// Of elements that became several, all of these are in the set, and the faces and edges of theirs that lie on old ones.
/// Nodes that were made join a set of nodes that has all those they lie between.
///
/// Items that are gone, or came twice, are left out, and so are subsets without items. What was ascending
/// is ascending again; other subsets keep their order. Subsets of other meshes stay as they are.
CORE_GEOMETRY_API bme_SentSet bme_Send(const rgnC_SetData& set, const bme_Renumbering& renumbering,
                                       const bme_Mesh& oldMesh, const bme_Mesh& newMesh);

/// A mesh with what belongs to it.
struct bme_MeshAndSets {
  bme_Mesh mesh;
  std::vector<bme_NamedSet> sets{};
  bme_MeshNotes notes{};
};

/// What every editing operation returns. The new mesh shares the arrays that did not change.
struct bme_Edited {
  bme_MeshAndSets result;
  bme_Renumbering renumbering;
  std::vector<cow_String> remarks{}; ///< what got lost: sets that became empty, notes that do not fit
};

/// Sends the sets and notes of `old`: sets that become empty stay, with a remark.
CORE_GEOMETRY_API void bme_SendSets(const bme_MeshAndSets& old, bme_Edited& edited);

/// Makes the mesh that the renumbering describes, in which every class is one of `old`, and sends the sets and
/// notes. Labels are kept. A mesh whose labels are implicit gets user labels when an entity would otherwise change
/// its number. `turns` are for what is sent: the order of nodes in elements stays.
///
/// Errors     nex_TextException with the labels of an element and of its node that would be gone, and for a
///            node index outside the old mesh; nex_AssertionException for new elements that are not class by
///            class.
CORE_GEOMETRY_API bme_Edited bme_Renumber(const bme_MeshAndSets& old, bme_Renumbering renumbering);
