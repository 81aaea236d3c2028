// shp_InverseTopoTable.h: from nodes and edges of an element back to its faces and edges
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreUtils/aio_ostream.h>
#include <array>
#include <cstdint>
#include <span>
#include <vector>

class shp_Topology;

/// Inverse of the face and edge tables of an element, without rings.
///
/// An edge is addressed by its face and its place on that face; a physical edge shared by two faces has two
/// addresses. In a mask of edges each face owns four bits, whatever the number of its edges: bit
/// 4 * face + edge. In a mask of faces bit k is face k.
///
/// Empty      elements of one node have one corner and nothing else.
/// Errors     none: nodes that are no corners have no edges and no faces.
/// Cost       every query O(1) or O(result); UniqueEdge and NonUniqueEdge walk 12 to 24 pairs.
/// Threads    immutable.
class CORE_GEOMETRY_API shp_InverseTopoTable {
public:
  using Mask = std::uint32_t;
  using MaskPair = std::array<Mask, 2>;
  static constexpr int kMaxEdges = 24; ///< most addresses that a node query returns: six faces

  explicit shp_InverseTopoTable(const shp_Topology& topology);

  // ask: counts
  int NumEdges() const noexcept { return numEdges_; }             ///< addresses
  int NumUniqueEdges() const noexcept { return numUniqueEdges_; } ///< physical edges
  int NumCorners() const noexcept { return numCorners_; }         ///< nodes at the end of an edge
  Mask EdgesMask() const noexcept { return edgesMask_; }
  Mask FacesMask() const noexcept { return facesMask_; }

  // ask: shared edges
  /// Keeps one address, the one on the earliest face, of every physical edge in the mask.
  void UniqueEdge(Mask& mask) const noexcept;
  /// Adds the other addresses of every physical edge in the mask.
  void NonUniqueEdge(Mask& mask) const noexcept;
  /// For each physical edge with two addresses the mask of both bits, and the mask of all bits but the later
  /// one; ordered by both faces, then by both edges.
  std::span<const MaskPair> UniqueEdgeMasks() const noexcept { return uniqueEdgeMasks_; }
  /// Pairs of the bit of an address and the bit of the same edge on another face; ordered by both addresses.
  std::span<const MaskPair> NonUniqueEdgeMasks() const noexcept { return nonUniqueEdgeMasks_; }

  // ask: from nodes; faces and edges need room for kMaxEdges values
  /// Edges between two corners, in either direction. Arguments are corner numbers below 16; larger ones may
  /// be taken for other corners.
  void EdgesFromNodes(int first, int second, int& count, int* faces, int* edges) const noexcept;
  /// Edges that end at a node.
  void EdgesFromNode(int node, int& count, int* faces, int* edges) const noexcept;
  Mask EdgesOfNode(int node) const noexcept { return MaskAt(nodeEdges_, node); }
  Mask FacesOfNode(int node) const noexcept { return MaskAt(nodeFaces_, node); }
  Mask EdgesOfFace(int face) const noexcept { return MaskAt(faceEdges_, face); }
  /// All faces that the physical edge lies in.
  Mask FacesOfEdge(int face, int edge) const noexcept;
  /// Face with these three corners one after the other in its loop, -1 when there is none.
  int FaceFromNodes(int a, int b, int c) const noexcept;

  // print
  void PrintInverseTable(aio_ostream& stream) const;

private:
  struct Edge {
    std::uint8_t face, edge;
    std::uint8_t from, to; ///< end nodes
    Mask Bit() const noexcept { return Mask{1} << (4 * face + edge); }
    bool JoinsSameAs(const Edge& other) const noexcept {
      return (from == other.from && to == other.to) || (from == other.to && to == other.from);
    }
  };
  void CollectEdges(const shp_Topology& topology);
  void PairEdges();
  void BuildNodeTables();
  void BuildFaceTables(const shp_Topology& topology);
  static Mask MaskAt(const std::vector<Mask>& masks, int index) noexcept {
    return index >= 0 && static_cast<std::size_t>(index) < masks.size()
               ? masks[static_cast<std::size_t>(index)]
               : 0;
  }

  int numEdges_ = 0;
  int numUniqueEdges_ = 0;
  int numCorners_ = 1;
  int largestEndNode_ = 0;
  Mask edgesMask_ = 0;
  Mask facesMask_ = 0;
  std::vector<Edge> edges_; ///< by address
  std::vector<MaskPair> uniqueEdgeMasks_, nonUniqueEdgeMasks_;
  std::vector<std::vector<int>> faceCorners_;
  std::vector<std::int8_t> faceFromNodes_; ///< by a + 16 b + 256 c
  /// Entry i of the node pairs is edges_[pairEdges_[k]] for k from pairStarts_[i] to pairStarts_[i + 1]; i is
  /// first + 16 * second.
  std::vector<std::uint16_t> pairStarts_{0, 0};
  std::vector<std::uint8_t> pairEdges_;
  std::vector<Mask> nodeEdges_, nodeFaces_; ///< by node
  std::vector<Mask> edgeFaces_;             ///< by address, as edges_
  std::vector<Mask> faceEdges_;             ///< by face
};
