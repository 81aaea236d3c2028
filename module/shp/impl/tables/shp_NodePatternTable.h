// shp_NodePatternTable.h: the mid nodes, order and code of every node count a family knows
#pragma once

#include "shp_AttributeBits.h"
#include "shp_NodePattern.h"

#include <algorithm>
#include <bit>

namespace shp_PatternTable {
using enum shp_Family;
using ParentMask = shp_NodePattern::ParentMask;
using Mids = shp_ShortList<ParentMask, 4>; ///< consecutive mid nodes, by their parents

constexpr ParentMask MaskOf(const auto& corners) {
  unsigned mask = 0;
  for (const int corner : corners) mask |= 1U << corner;
  return static_cast<ParentMask>(mask);
}
constexpr ParentMask Middle(int a, int b) { return MaskOf(std::array{a, b}); }

constexpr Mids Edge(int a, int b) { return {Middle(a, b)}; }

/// Middles of the edges of a polygon of n corners, in order.
constexpr Mids Cycle(int first, int n) {
  Mids mids;
  for (int k = 0; k < n; ++k) mids.Append(Middle(first + k, first + (k + 1) % n));
  return mids;
}

/// Middles of the edges from corner k of one layer of n corners to corner k + n.
constexpr Mids Uprights(int n) {
  Mids mids;
  for (int k = 0; k < n; ++k) mids.Append(Middle(k, k + n));
  return mids;
}

constexpr Mids FaceCentres(const shp_Facts& facts, std::size_t firstFace, std::size_t lastFace) {
  Mids mids;
  for (std::size_t face = firstFace; face <= lastFace; ++face) mids.Append(MaskOf(facts.faces[face]));
  return mids;
}

struct Row {
  shp_Family family;
  int numNodes;
  shp_ShortList<int, 2> onlyWithBits;
  std::array<int, 2> interpOrders; ///< without and with the bit of cylindrical elements
  int shapeCode;
  shp_ShortList<Mids, 6> mids; ///< in node order after the corners
};

inline constexpr Mids kBase4 = Cycle(0, 4), kTop4 = Cycle(4, 4), kUprights4 = Uprights(4);
inline constexpr Mids kBase3 = Cycle(0, 3), kTop3 = Cycle(3, 3), kUprights3 = Uprights(3);
inline constexpr Mids kEnds = FaceCentres(kHexahedron, 0, 1), kSides = FaceCentres(kHexahedron, 2, 5);
inline constexpr Mids kToApex = {Middle(0, 3), Middle(1, 3), Middle(2, 3)};
inline constexpr Mids kBody = {0xff};

// The first row that fits is taken. Six-node quadrilaterals and twelve-node hexahedra have their mid nodes
// across the layer (cohesive, cylindrical) or along it (gasket and the like, infinite).
// clang-format off
inline constexpr Row kRows[] = {
    {Line,          2,  {},                                          {1, 1}, 1,  {}},
    {Line,          3,  {},                                          {2, 2}, 2,  {Edge(0, 1)}},
    {Triangle,      3,  {},                                          {1, 1}, 3,  {}},
    {Triangle,      6,  {},                                          {2, 2}, 4,  {kBase3}},
    {Quadrilateral, 4,  {},                                          {1, 3}, 5,  {}},
    {Quadrilateral, 5,  {},                                          {2, 3}, 6,  {Edge(0, 1)}},
    {Quadrilateral, 6,  {shp_Bit::kCylindrical, shp_Bit::kCohesive}, {2, 3}, 6,  {Edge(1, 2), Edge(3, 0)}},
    {Quadrilateral, 6,  {},                                          {2, 3}, 6,  {Edge(0, 1), Edge(2, 3)}},
    {Quadrilateral, 8,  {},                                          {2, 3}, 6,  {kBase4}},
    {Quadrilateral, 9,  {},                                          {2, 3}, 7,  {kBase4, FaceCentres(kQuadrilateral, 0, 0)}},
    {Tetrahedron,   4,  {},                                          {1, 1}, 12, {}},
    {Tetrahedron,   10, {},                                          {2, 2}, 13, {kBase3, kToApex}},
    {Hexahedron,    8,  {},                                          {1, 1}, 8,  {}},
    {Hexahedron,    12, {shp_Bit::kCylindrical, shp_Bit::kCohesive}, {3, 3}, 9,  {kUprights4}},
    {Hexahedron,    12, {},                                          {2, 2}, 9,  {kBase4}},
    {Hexahedron,    18, {},                                          {2, 2}, 9,  {kBase4, kTop4, kEnds}},
    {Hexahedron,    20, {},                                          {2, 2}, 9,  {kBase4, kTop4, kUprights4}},
    {Hexahedron,    24, {},                                          {3, 3}, 9,  {kBase4, kTop4, kUprights4, kSides}},
    {Hexahedron,    27, {},                                          {2, 2}, 9,  {kBase4, kTop4, kUprights4, kEnds, kSides, kBody}},
    {Wedge,         6,  {},                                          {1, 1}, 10, {}},
    {Wedge,         9,  {},                                          {3, 3}, 11, {kUprights3}},
    {Wedge,         12, {},                                          {2, 2}, 11, {kBase3, kTop3}},
    {Wedge,         15, {},                                          {2, 2}, 11, {kBase3, kTop3, kUprights3}},
    {Wedge,         18, {},                                          {2, 3}, 11, {kBase3, kTop3, kUprights3, FaceCentres(kWedge, 2, 4)}},
};
// clang-format on

constexpr int CountNodesOn(const shp_NodePattern& pattern, ParentMask mask) {
  return static_cast<int>(std::count_if(pattern.parents.begin(), pattern.parents.begin() + pattern.numNodes,
                                        [&](ParentMask parents) { return (parents & ~mask) == 0; }));
}

constexpr shp_IsoPoint MeanOf(const shp_Facts& facts, ParentMask parents) {
  shp_IsoPoint mean{};
  for (std::size_t corner = 0; corner < facts.corners.size(); ++corner)
    if (parents >> corner & 1)
      for (std::size_t axis = 0; axis < 3; ++axis) mean[axis] += facts.corners[corner][axis];
  for (double& value : mean) value /= std::popcount(parents);
  return mean;
}

constexpr shp_NodePattern Derive(const Row& row) {
  const shp_Facts& facts = *shp_FindFacts(row.family);
  shp_NodePattern pattern{.family = row.family,
                          .numNodes = row.numNodes,
                          .onlyWithBits = row.onlyWithBits,
                          .interpOrder = row.interpOrders[0],
                          .interpOrderCylindrical = row.interpOrders[1],
                          .shapeCode = row.shapeCode};
  std::size_t node = 0;
  for (int corner = 0; corner < facts.NumCorners(); ++corner)
    pattern.parents.at(node++) = MaskOf(std::array{corner});
  for (const Mids& mids : row.mids)
    for (const ParentMask parents : mids) pattern.parents.at(node++) = parents;
  if (node != static_cast<std::size_t>(row.numNodes)) throw "the mid nodes do not add up to the node count";

  for (std::size_t k = 0; k < node; ++k) pattern.coordinates[k] = MeanOf(facts, pattern.parents[k]);
  for (int face = 0; face < facts.NumFaces(); ++face) {
    const shp_FaceLoop& loop = facts.faces[static_cast<std::size_t>(face)];
    pattern.maxNodesPerFace = std::max(pattern.maxNodesPerFace, CountNodesOn(pattern, MaskOf(loop)));
    for (std::size_t edge = 0; edge < static_cast<std::size_t>(facts.NumEdges(face)); ++edge)
      pattern.maxNodesPerEdge = std::max(
          pattern.maxNodesPerEdge, CountNodesOn(pattern, Middle(loop[edge], loop[(edge + 1) % loop.size()])));
  }
  return pattern;
}

/// One per row.
inline constexpr auto kPatterns = [] {
  std::array<shp_NodePattern, std::size(kRows)> patterns{};
  for (std::size_t row = 0; row < patterns.size(); ++row) patterns[row] = Derive(kRows[row]);
  return patterns;
}();
} // namespace shp_PatternTable
