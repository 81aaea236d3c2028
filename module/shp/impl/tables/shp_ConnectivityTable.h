// shp_ConnectivityTable.h: derives the face and edge tables of every node pattern
#pragma once

#include "shp_Connectivity.h"
#include "shp_NodePatternTable.h"

namespace shp_ConnectivityTable {
using enum shp_Family;
using ParentMask = shp_NodePattern::ParentMask;
using Corners = std::array<int, 8>; ///< a place for each corner
constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }
constexpr ParentMask Bit(int corner) { return static_cast<ParentMask>(1U << corner); }

/// The corners at infinity of an open element: bricks of two or three dimensions, at the end of the last.
constexpr ParentMask FarCorners(shp_Family family) {
  const shp_Facts& facts = *shp_FindFacts(family);
  if (facts.HasSimplex() || facts.numDims < 2) return 0;
  ParentMask far = 0;
  for (int corner = 0; corner < facts.NumCorners(); ++corner)
    if (facts.corners[At(corner)][At(facts.numDims - 1)] > 0) far |= Bit(corner);
  return far;
}
constexpr bool CanBeOpen(shp_Family family) { return FarCorners(family) != 0; }

/// Node with just these parents, -1 when the pattern has none.
constexpr int FindNode(const shp_NodePattern& pattern, ParentMask parents) {
  for (int node = 0; node < pattern.numNodes; ++node)
    if (pattern.parents[At(node)] == parents) return node;
  return -1;
}

/// Turns the loop so that its only far edge is the last; a loop with none or several stays. True if turned.
constexpr bool PutFarEdgeLast(shp_FaceLoop& loop, ParentMask far) {
  std::size_t numFar = 0, farEdge = 0;
  const std::size_t size = loop.size();
  for (std::size_t k = 0; k < size; ++k)
    if ((far & Bit(loop[k])) && (far & Bit(loop[(k + 1) % size]))) {
      ++numFar;
      farEdge = k;
    }
  if (numFar != 1) return false;
  shp_FaceLoop turned;
  for (std::size_t k = 1; k <= size; ++k) turned.Append(loop[(farEdge + k) % size]);
  loop = turned;
  return true;
}

/// Where each node goes when the corners move; false when a node or the far side has no counterpart.
constexpr bool MoveNodes(const shp_NodePattern& pattern, ParentMask far, const Corners& moved,
                         shp_Connectivity& tables) {
  const auto move = [&](ParentMask parents) {
    ParentMask mask = 0;
    for (int corner = 0; corner < 8; ++corner)
      if (parents & Bit(corner)) mask |= Bit(moved[At(corner)]);
    return mask;
  };
  for (int node = 0; node < pattern.numNodes; ++node) {
    tables.reversal[At(node)] = FindNode(pattern, move(pattern.parents[At(node)]));
    if (tables.reversal[At(node)] < 0) return false;
  }
  return move(far) == far;
}

/// Where each corner goes when the reference domain is mirrored: xi exchanged for eta, or xi turned round.
constexpr Corners Mirror(const shp_Facts& facts, bool exchangesAxes) {
  Corners moved{};
  for (int corner = 0; corner < facts.NumCorners(); ++corner) {
    shp_IsoPoint image = facts.corners[At(corner)];
    if (exchangesAxes)
      std::swap(image[0], image[1]);
    else
      image[0] = -image[0];
    while (facts.corners[At(moved[At(corner)])] != image) ++moved[At(corner)];
  }
  return moved;
}

/// Mirrors the element, keeping node 0 where the pattern allows it; quadrilateral layers with mid nodes in
/// one direction, and lines, have that direction turned round.
constexpr void DeriveReversal(const shp_NodePattern& pattern, ParentMask far, shp_Connectivity& tables) {
  const shp_Facts& facts = *shp_FindFacts(pattern.family);
  if (facts.numDims > 1 && MoveNodes(pattern, far, Mirror(facts, true), tables)) return;
  if (facts.HasSimplex() || !MoveNodes(pattern, far, Mirror(facts, false), tables))
    throw "the pattern has no mirror image";
}

constexpr void DeriveFace(const shp_NodePattern& pattern, int face, const shp_FaceLoop& loop, int numEdges,
                          shp_Connectivity& tables) {
  const auto size = loop.size();
  int next = face * tables.maxNodesPerFace;
  const int first = next;
  const auto append = [&](int node) {
    if (node >= 0) tables.faceNodes.at(At(next++)) = node;
  };
  ParentMask whole = 0;
  for (const int corner : loop) {
    append(corner);
    whole |= Bit(corner);
  }
  tables.cornersPerFace[At(face)] = static_cast<int>(size);
  tables.edgesPerFace[At(face)] = numEdges;
  // a line has one edge, and an open face a far side that is no edge but may have a middle
  const int numSides = size == 2 ? 1 : static_cast<int>(size);
  for (int k = 0; k < numSides; ++k) {
    const int from = loop[At(k)], to = loop[At(k + 1) % size];
    const int middle = FindNode(pattern, Bit(from) | Bit(to));
    append(middle);
    if (k >= numEdges) continue;
    const int address = face * tables.maxEdgesPerFace + k;
    int place = address * tables.maxNodesPerEdge;
    for (const int node : {from, middle, to})
      if (node >= 0) tables.edgeNodes.at(At(place++)) = node;
    tables.nodesPerEdge[At(address)] = place - address * tables.maxNodesPerEdge;
  }
  if (size > 2) append(FindNode(pattern, whole));
  tables.nodesPerFace[At(face)] = next - first;
}

constexpr shp_Connectivity Derive(const shp_NodePattern& pattern, bool isOpen) {
  const shp_Facts& facts = *shp_FindFacts(pattern.family);
  shp_Connectivity tables{.numNodes = pattern.numNodes,
                          .numFaces = facts.NumFaces(),
                          .maxNodesPerFace = pattern.maxNodesPerFace,
                          .maxNodesPerEdge = pattern.maxNodesPerEdge,
                          .isOpen = isOpen};
  tables.faceNodes.fill(-1);
  tables.edgeNodes.fill(-1);
  const ParentMask far = isOpen ? FarCorners(pattern.family) : ParentMask{};
  std::array<shp_FaceLoop, shp_Connectivity::kMaxFaces> loops;
  std::array<int, shp_Connectivity::kMaxFaces> numEdges{};
  for (int face = 0; face < tables.numFaces; ++face) {
    loops[At(face)] = facts.faces[At(face)];
    numEdges[At(face)] = facts.NumEdges(face) - PutFarEdgeLast(loops[At(face)], far);
    tables.maxEdgesPerFace = std::max(tables.maxEdgesPerFace, numEdges[At(face)]);
  }
  for (int face = 0; face < tables.numFaces; ++face)
    DeriveFace(pattern, face, loops[At(face)], numEdges[At(face)], tables);
  DeriveReversal(pattern, far, tables);
  return tables;
}

/// A point or the node of an analytic rigid surface: one face of one node without edges.
inline constexpr shp_Connectivity kSingleNode{.numNodes = 1,
                                              .numFaces = 1,
                                              .maxEdgesPerFace = 1,
                                              .maxNodesPerFace = 1,
                                              .maxNodesPerEdge = 1,
                                              .nodesPerFace = {1},
                                              .cornersPerFace = {1}};

using Tables = std::array<shp_Connectivity, shp_PatternTable::kPatterns.size()>;
inline constexpr auto kClosed = [] {
  Tables tables{};
  for (std::size_t row = 0; row < tables.size(); ++row)
    tables[row] = Derive(shp_PatternTable::kPatterns[row], false);
  return tables;
}();
/// Infinite elements; rows of families that cannot be open are those of kClosed.
inline constexpr auto kOpen = [] {
  Tables tables = kClosed;
  for (std::size_t row = 0; row < tables.size(); ++row)
    if (const shp_NodePattern& pattern = shp_PatternTable::kPatterns[row]; CanBeOpen(pattern.family))
      tables[row] = Derive(pattern, true);
  return tables;
}();

/// How many edges run from one node to another.
constexpr int CountEdges(const shp_Connectivity& tables, int from, int to) {
  int count = 0;
  for (int face = 0; face < tables.numFaces; ++face)
    for (int edge = 0; edge < tables.edgesPerFace[At(face)]; ++edge) {
      const auto nodes = tables.EdgeNodes(face, edge);
      count += nodes.front() == from && nodes.back() == to;
    }
  return count;
}

/// Rows are full, the edges of a face run from corner to corner, closed solids have each edge in two faces in
/// opposite directions, and reversing twice changes nothing.
constexpr bool IsSound(const shp_Connectivity& tables, int numDims) {
  int longestFace = 0, longestEdge = 0;
  for (int face = 0; face < tables.numFaces; ++face) {
    const auto nodes = tables.FaceNodes(face);
    longestFace = std::max(longestFace, static_cast<int>(nodes.size()));
    for (std::size_t k = 0; k < nodes.size(); ++k)
      for (std::size_t other = 0; other <= k; ++other)
        if (nodes[k] < 0 || nodes[k] >= tables.numNodes || (other < k && nodes[other] == nodes[k]))
          return false;
    for (int edge = 0; edge < tables.edgesPerFace[At(face)]; ++edge) {
      const auto ends = tables.EdgeNodes(face, edge);
      longestEdge = std::max(longestEdge, static_cast<int>(ends.size()));
      const auto numCorners = At(tables.cornersPerFace[At(face)]);
      if (ends.front() != nodes[At(edge)] || ends.back() != nodes[At(edge + 1) % numCorners]) return false;
      if (numDims == 3 && !tables.isOpen
          && (CountEdges(tables, ends.front(), ends.back()) != 1
              || CountEdges(tables, ends.back(), ends.front()) != 1))
        return false;
    }
  }
  for (int node = 0; node < tables.numNodes; ++node)
    if (tables.reversal[At(tables.reversal[At(node)])] != node) return false;
  return longestFace == tables.maxNodesPerFace && longestEdge == tables.maxNodesPerEdge;
}
} // namespace shp_ConnectivityTable
