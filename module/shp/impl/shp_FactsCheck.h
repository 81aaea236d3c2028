// shp_FactsCheck.h: what every row of facts must satisfy
#pragma once

#include "shp_Facts.h"

namespace shp_FactsCheck {
constexpr shp_IsoPoint Mean(const shp_Facts& facts, const auto& nodes) {
  shp_IsoPoint sum{};
  for (const int node : nodes)
    for (std::size_t axis = 0; axis < 3; ++axis)
      sum[axis] += facts.corners[static_cast<std::size_t>(node)][axis] / static_cast<double>(nodes.size());
  return sum;
}

constexpr double Dot(const shp_IsoPoint& a, const shp_IsoPoint& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
constexpr shp_IsoPoint Minus(const shp_IsoPoint& a, const shp_IsoPoint& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

/// Normal of three consecutive corners of a loop, counter-clockwise.
constexpr shp_IsoPoint Normal(const shp_Facts& facts, const shp_FaceLoop& loop, std::size_t first = 0) {
  const auto corner = [&](std::size_t k) {
    return facts.corners[static_cast<std::size_t>(loop[(first + k) % loop.size()])];
  };
  const shp_IsoPoint a = Minus(corner(1), corner(0)), b = Minus(corner(2), corner(0));
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// How many loops run along the edge from one corner to another.
constexpr int CountEdge(const shp_Facts& facts, int from, int to) {
  int count = 0;
  for (const shp_FaceLoop& loop : facts.faces)
    for (std::size_t k = 0; k < loop.size(); ++k)
      count += loop[k] == from && loop[(k + 1) % loop.size()] == to;
  return count;
}

/// Solids: closed (each edge in two faces, in opposite directions), of one piece by Euler's count, and every
/// corner of a face on its plane with the body behind it. Surfaces: one convex loop in corner order,
/// seen from +zeta.
constexpr bool IsSound(const shp_Facts& facts) {
  constexpr std::array kAllCorners = {0, 1, 2, 3, 4, 5, 6, 7};
  if (facts.numDims < 3) {
    const shp_FaceLoop& loop = facts.faces[0];
    for (std::size_t k = 0; k < loop.size(); ++k)
      if (loop[k] != kAllCorners[k] || (facts.numDims == 2 && Normal(facts, loop, k)[2] <= 0)) return false;
    return facts.NumFaces() == 1 && loop.size() == facts.corners.size();
  }
  int numAddresses = 0;
  for (const shp_FaceLoop& loop : facts.faces) {
    const shp_IsoPoint normal = Normal(facts, loop), centre = Mean(facts, loop);
    for (std::size_t k = 0; k < loop.size(); ++k, ++numAddresses) {
      const int from = loop[k], to = loop[(k + 1) % loop.size()];
      if (CountEdge(facts, from, to) != 1 || CountEdge(facts, to, from) != 1) return false;
    }
    for (int node = 0; node < facts.NumCorners(); ++node) {
      bool onFace = false;
      for (const int other : loop) onFace |= node == other;
      const double height = Dot(normal, Minus(facts.corners[static_cast<std::size_t>(node)], centre));
      if (onFace ? height > 1e-12 || height < -1e-12 : height > -1e-12) return false;
    }
  }
  return facts.NumCorners() - numAddresses / 2 + facts.NumFaces() == 2;
}
} // namespace shp_FactsCheck
