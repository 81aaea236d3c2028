// shp_FactsCheck.h: what every row of facts must satisfy
#pragma once

#include "shp_Facts.h"

#include <string_view>

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

/// The corners are those of the product of a simplex and intervals that the row claims, each once.
constexpr bool IsDomain(const shp_Facts& facts) {
  const auto numSimplexDims = static_cast<std::size_t>(facts.numSimplexDims),
             numDims = static_cast<std::size_t>(facts.numDims);
  if (numDims < 1 || numDims > 3 || numSimplexDims == 1 || numSimplexDims > numDims) return false;
  if (facts.corners.size() != (numSimplexDims + 1) << (numDims - numSimplexDims)) return false;
  for (std::size_t k = 0; k < facts.corners.size(); ++k) {
    int numOnes = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double x = facts.corners[k][axis];
      if (axis < numSimplexDims ? x != 0 && x != 1 : axis < numDims ? x != -1 && x != 1 : x != 0)
        return false;
      numOnes += axis < numSimplexDims && x == 1;
    }
    if (numOnes > 1) return false;
    for (std::size_t other = 0; other < k; ++other)
      if (facts.corners[k] == facts.corners[other]) return false;
  }
  return true;
}

/// Solids: closed (each edge in two faces, in opposite directions), of one piece by Euler's count, and every
/// corner of a face on its plane with the body behind it. Surfaces: one convex loop in corner order,
/// seen from +zeta.
constexpr bool IsSound(const shp_Facts& facts) {
  if (!IsDomain(facts)) return false;
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

/// The order of the faces, and of the corners of each, that stored models and results rely on.
constexpr bool HasFixedOrder(const shp_Facts& facts) {
  constexpr std::string_view kOrders[] = {
      "01", "012", "0123", "021 013 123 032", "021 345 0143 1254 0352", "0321 4567 0154 1265 3762 4730"};
  std::array<char, 40> order{};
  std::size_t size = 0;
  for (const shp_FaceLoop& loop : facts.faces) {
    if (size > 0) order[size++] = ' ';
    for (const int corner : loop) order[size++] = static_cast<char>('0' + corner);
  }
  for (const std::string_view fixed : kOrders)
    if (fixed == std::string_view(order.data(), size)) return true;
  return false;
}
} // namespace shp_FactsCheck
