// shp_NodePattern.h: where the nodes of an element stand
#pragma once

#include "shp_Facts.h"

#include <cstdint>

/// Corners and mid nodes of one family and node count.
///
/// Every node is the mean of some corners, its parents: itself for a corner, two for the middle of an edge,
/// three or more for a centre. So a node lies on a face or an edge when all its parents do.
struct shp_NodePattern {
  static constexpr std::size_t kMaxNodes = 27;
  using ParentMask = std::uint8_t; ///< bit k: corner k

  shp_Family family = shp_Family::None;
  int numNodes = 0;
  shp_ShortList<int, 2> onlyWithBits; ///< for keys with one of these bits; empty: for all
  int interpOrder = 0;
  int interpOrderCylindrical = 0; ///< with the bit of cylindrical elements
  int shapeCode = 0;
  // derived
  std::array<ParentMask, kMaxNodes> parents{};
  std::array<shp_IsoPoint, kMaxNodes> coordinates{};
  int maxNodesPerFace = 0;
  int maxNodesPerEdge = 0;
};

/// The pattern that a key selects, static data; null when its family has none with that node count.
const shp_NodePattern* shp_FindNodePattern(const shp_Options& options) noexcept;
