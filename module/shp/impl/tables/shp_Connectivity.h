// shp_Connectivity.h: face and edge tables of a node pattern
#pragma once

#include "shp_NodePattern.h"

/// Which nodes make up each face and each edge of each face, and what reversal does to the nodes.
///
/// Table rows are as long as the longest of the pattern; shorter ones are filled up with -1.
struct shp_Connectivity {
  static constexpr std::size_t kMaxFaces = 6, kMaxEdgesPerFace = 4, kMaxNodesPerFace = 9,
                               kMaxNodesPerEdge = 3;

  int numNodes = 0;
  int numFaces = 0;
  int maxEdgesPerFace = 0;
  int maxNodesPerFace = 0;
  int maxNodesPerEdge = 0;
  bool isOpen = false; ///< the edges of the far side have no face there
  std::array<int, kMaxFaces> edgesPerFace{}, nodesPerFace{}, cornersPerFace{};
  std::array<int, kMaxFaces * kMaxNodesPerFace> faceNodes{};
  std::array<int, kMaxFaces * kMaxEdgesPerFace> nodesPerEdge{};
  std::array<int, kMaxFaces * kMaxEdgesPerFace * kMaxNodesPerEdge> edgeNodes{};
  std::array<int, shp_NodePattern::kMaxNodes> reversal{};

  /// Corners in cyclic order, then the middles of edges in their order, then the centre.
  constexpr std::span<const int> FaceNodes(int face) const {
    return std::span(faceNodes).subspan(Place(face * maxNodesPerFace), Place(nodesPerFace[Place(face)]));
  }
  /// First corner, interior nodes, last corner.
  constexpr std::span<const int> EdgeNodes(int face, int edge) const {
    const int address = face * maxEdgesPerFace + edge;
    return std::span(edgeNodes).subspan(Place(address * maxNodesPerEdge),
                                        Place(nodesPerEdge[Place(address)]));
  }

private:
  static constexpr std::size_t Place(int index) { return static_cast<std::size_t>(index); }
};

/// Static data; null for a key whose family does not know its node count.
const shp_Connectivity* shp_FindConnectivity(const shp_Options& options) noexcept;
