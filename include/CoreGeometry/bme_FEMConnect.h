// bme_FEMConnect.h: connectivity of a mesh: neighbours, rings, components
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/bme_LastingMesh.h>
#include <CoreUtils/omi_LargePages.h>
#include <optional>
#include <span>
#include <vector>

class bme_FEMFaceList;
class bme_Mesh;
class bme_NodeData;

/// Adjacency lists as the rows of a compressed sparse matrix: row i is items[first[i]] to items[first[i +
/// 1]].
struct bme_Adjacency {
  omi_LargeVector<unsigned> first{0}, items;

  std::size_t Count() const noexcept { return first.size() - 1; }
  std::span<const unsigned> operator[](std::size_t row) const {
    return std::span(items).subspan(first[row], first[row + 1] - first[row]);
  }
};

/// What two elements must share to be neighbours.
enum class bme_Across : int {
  Node, ///< any node
  Edge, ///< both ends of an edge of each
  Face  ///< the whole side of each: a face of solids, an edge of surfaces, an end of lines
};

/// Connectivity of a mesh. Sides match when they have the same corners, whatever their mid nodes; a
/// quadrilateral with a repeated corner counts as a triangle, a face with fewer than three different corners
/// is ignored.
///
/// Rows hold mesh element or node indices, ascending and without repetition.
/// Empty      elements whose type has no shape meet others at nodes only.
/// Errors     node indices outside the mesh are ignored; nex_OutOfRangeException for an element or side that
///            does not exist; wip_Cancelled when the host asks to stop, and nothing has changed.
/// Cost       each adjacency is built on first use, in time linear in its size.
/// Threads    const queries build lazily and are not thread-safe: one thread at a time. Building neighbours uses a
///            lent wip_Executor; the result is the same with any number of threads.
/// Lifetime   owned by a mesh, until bme_Mesh::InvalidateMeshData; a copy of the mesh builds its own.
class CORE_GEOMETRY_API bme_FEMConnect {
public:
  explicit bme_FEMConnect(bme_LastingMesh mesh) : mesh_(mesh) {}
  bme_FEMConnect(const bme_FEMConnect&) = delete;
  bme_FEMConnect& operator=(const bme_FEMConnect&) = delete;

  // ask: relations
  const bme_Adjacency& ElementsOfNodes() const;
  /// Neighbours of each element, itself excluded. Across faces: the dual graph, ready for a graph
  /// partitioner.
  const bme_Adjacency& Neighbours(bme_Across across) const;
  std::vector<unsigned> FreeNodes() const; ///< nodes that no element uses

  // ask: one side
  struct Side {
    unsigned element;
    int side; ///< face of a solid, edge of a surface, end of a line

    bool operator==(const Side&) const = default;
  };
  /// The next side with the same corners, in a cycle ordered by element and side; the side itself when no
  /// other element shares it.
  Side NextAcross(Side side) const;

  // ask: wider
  /// Ring 0 holds the seeds, ring k the elements that are k steps away from the nearest seed. There are fewer
  /// than `count` further rings when no elements are left.
  std::vector<std::vector<unsigned>> Rings(std::span<const unsigned> seeds, int count,
                                           bme_Across across) const;
  /// Connected components: the number of each element's component, from 0 in the order of their first
  /// elements.
  struct Components {
    std::vector<unsigned> ofElement;
    unsigned count = 0;
  };
  Components FindComponents(bme_Across across) const;

private:
  /// Slots with the same corners, linked into cycles. A slot is one side, or one edge, of one element.
  struct Links {
    std::vector<unsigned> firstSlot; ///< of each class, and the total
    omi_LargeVector<unsigned> next;
  };
  const Links& LinksOf(bme_Across across) const;
  Links MakeLinks(bme_Across across) const;
  bme_Adjacency MakeNodeNeighbours() const;
  bme_Adjacency MakeSideNeighbours(bme_Across across) const;

  const bme_Mesh& mesh_;
  mutable std::optional<bme_Adjacency> elementsOfNodes_, neighbours_[3];
  mutable std::optional<Links> links_[3];
};

/// Groups of nodes that are at most the tolerance apart, directly or through a chain of such nodes; each
/// group is ascending, and they are ordered by their first node. Nodes without finite coordinates are in no
/// group.
///
/// Errors     nex_TextException for a tolerance that is negative or not a number.
/// Cost       n log n for any distribution of the nodes.
CORE_GEOMETRY_API bme_Adjacency bme_FindCoincidentNodes(const bme_NodeData& nodes, double tolerance);

/// The seeds, and all faces of `within` that can be reached from them across edges where the angle between
/// the normals of the two faces is at most `angle`, in radians. nex_TextException for an angle outside 0 to
/// pi; wip_Cancelled when the host asks to stop.
CORE_GEOMETRY_API bme_FEMFaceList bme_GrowFaces(const bme_FEMFaceList& seeds, const bme_FEMFaceList& within,
                                                double angle);
