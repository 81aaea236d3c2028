// shp_MapFormulas.h: what the map of an element is computed by
#pragma once

#include "shp_Lanes.h"
#include "shp_MapTable.h"

#include <algorithm>
#include <cmath>

using shp_Vector = std::array<double, 3>;

/// Formulas of one point, whose numbers are of type double, or of four points, whose numbers are shp_Lanes. A
/// Vector has three numbers.
namespace shp_Map {
template<class Vector> [[gnu::always_inline]] inline auto Dot(const Vector& a, const Vector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
template<class Vector> [[gnu::always_inline]] inline Vector Cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
template<class Vector> [[gnu::always_inline]] inline Vector Minus(const Vector& a, const Vector& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
inline double Length(const shp_Vector& a) { return std::sqrt(Dot(a, a)); }

[[gnu::always_inline]] inline double Larger(double a, double b) { return std::max(a, b); }
[[gnu::always_inline]] inline shp_Lanes Larger(shp_Lanes a, shp_Lanes b) { return a < b ? b : a; }
[[gnu::always_inline]] inline double Magnitude(double a) { return std::abs(a); }
[[gnu::always_inline]] inline shp_Lanes Magnitude(shp_Lanes a) { return a < 0 ? -a : a; }

/// How far outside its bounds a point is in iso coordinates; negative inside.
template<class Vector>
[[gnu::always_inline]] inline auto Excess(const shp_MapTable& table, std::size_t numDims, const Vector& iso) {
  if (table.numSimplexCorners == 0) {
    auto excess = Magnitude(iso[0]) - 1;
    for (std::size_t axis = 1; axis < numDims; ++axis) excess = Larger(excess, Magnitude(iso[axis]) - 1);
    return excess;
  }
  auto excess = Larger(-iso[0], -iso[1]);
  if (table.numSimplexCorners == 4) return Larger(excess, Larger(-iso[2], iso[0] + iso[1] + iso[2] - 1));
  excess = Larger(excess, iso[0] + iso[1] - 1);
  return numDims == 3 ? Larger(excess, Magnitude(iso[2]) - 1) : excess;
}

/// Directions of the coordinates that there are, about one long.
template<class Vector> using ColumnsOf = std::array<Vector, 3>;
using Columns = ColumnsOf<shp_Vector>;

constexpr double kWorst = 1e-18; ///< volume over product of lengths, squared
/// By the volume of the directions and their squared lengths.
template<class Number>
[[gnu::always_inline]] inline auto IsSoundVolume(const Number& volume, const Number& aa, const Number& bb,
                                                 const Number& cc) {
  // the sign of the volume and its square in one comparison
  return volume * Magnitude(volume) > kWorst * aa * bb * cc;
}

/// True when the directions are neither flat, by the product of their lengths, nor inside out.
template<class Vector>
[[gnu::always_inline]] inline auto IsSoundAt(std::size_t numDims, const ColumnsOf<Vector>& columns) {
  const auto& [a, b, c] = columns;
  const auto aa = Dot(a, a);
  if (numDims == 1) return aa > kWorst;
  const Vector normal = Cross(a, b);
  const auto bb = Dot(b, b);
  if (numDims == 2) return Dot(normal, normal) > kWorst * aa * bb;
  return IsSoundVolume(Dot(normal, c), aa, bb, Dot(c, c));
}

/// Newton's step, or that of least squares on lines and surfaces; not finite when the directions are flat.
template<class Vector>
[[gnu::always_inline]] inline void Step(std::size_t numDims, const ColumnsOf<Vector>& columns,
                                        const Vector& residual, Vector& step) {
  const auto& [a, b, c] = columns;
  const Vector& r = residual;
  if (numDims == 3) {
    const Vector bc = Cross(b, c);
    const auto inverse = 1 / Dot(a, bc);
    step = {Dot(r, bc) * inverse, Dot(r, Cross(c, a)) * inverse, Dot(r, Cross(a, b)) * inverse};
    return;
  }
  const auto aa = Dot(a, a), ra = Dot(r, a);
  if (numDims == 1) {
    step = {ra / aa};
    return;
  }
  const auto ab = Dot(a, b), bb = Dot(b, b), rb = Dot(r, b);
  const auto determinant = aa * bb - ab * ab;
  step = {(ra * bb - rb * ab) / determinant, (rb * aa - ra * ab) / determinant};
}

/// What a step leaves of the residual, squared: how far the target is off a line or surface.
template<class Vector>
[[gnu::always_inline]] inline auto Rest(const ColumnsOf<Vector>& columns, const Vector& residual,
                                        const Vector& step) {
  const auto restAlong = [&](std::size_t axis) __attribute__((always_inline)) {
    return residual[axis] - step[0] * columns[0][axis] - step[1] * columns[1][axis]
           - step[2] * columns[2][axis];
  };
  const auto x = restAlong(0), y = restAlong(1), z = restAlong(2);
  return x * x + y * y + z * z;
}

// Newton's iteration
constexpr int kMaxRounds = 10;
constexpr double kLongestStep = 8; ///< beyond it the iteration is lost
template<class Vector> [[gnu::always_inline]] inline auto Longest(const Vector& step) {
  return Larger(Larger(Magnitude(step[0]), Magnitude(step[1])), Magnitude(step[2]));
}
/// Convergence is quadratic: the step after the longest would be about longest * (longest / previous)^2.
template<class Number>
[[gnu::always_inline]] inline auto ComesToRest(const Number& longest, const Number& previous) {
  constexpr double kShortStep = 1e-3, kError = 1e-14;
  return (longest < kShortStep) & (longest * longest * longest < kError * previous * previous);
}

constexpr double kResidual = 1e-6; ///< of the element's size
/// Of the squared length of the first derivative: a rest that is small beside any element, as no derivative
/// is eight sizes long.
constexpr double kSmallRest = kResidual * kResidual / 64;

/// Corners of a square to factors of 1, xi, eta, xi eta, times four.
[[gnu::always_inline]] inline void SquareToPowers(const shp_Lanes* n, shp_Lanes* out) {
  const shp_Lanes s01 = n[0] + n[1], d01 = n[1] - n[0], s32 = n[3] + n[2], d32 = n[2] - n[3];
  out[0] = s01 + s32;
  out[1] = d01 + d32;
  out[2] = s32 - s01;
  out[3] = d32 - d01;
}
/// The same times four of a triangle, which has no product.
[[gnu::always_inline]] inline void TriangleToPowers(const shp_Lanes* n, shp_Lanes* out) {
  out[0] = 4 * n[0];
  out[1] = 4 * (n[1] - n[0]);
  out[2] = 4 * (n[2] - n[0]);
  out[3] = shp_Lanes{};
}
[[gnu::always_inline]] inline void ToPowers(const shp_MapTable& table, shp_Lanes* nodes) {
  shp_Lanes low[4], high[4];
  if (table.numSimplexCorners > 0) {
    TriangleToPowers(nodes, low);
    TriangleToPowers(nodes + 3, high);
  } else {
    SquareToPowers(nodes, low);
    if (table.numDims == 2)
      for (int k = 0; k < 4; ++k) high[k] = low[k];
    else
      SquareToPowers(nodes + 4, high);
  }
  for (int k = 0; k < 4; ++k) {
    nodes[k] = (low[k] + high[k]) * 0.125;
    nodes[4 + k] = (high[k] - low[k]) * 0.125;
  }
}
/// Nodes of a simplex to the value and derivatives at node 0 and twice the factors of the squares: xi xi,
/// eta eta, xi eta, and of solids zeta zeta, xi zeta, eta zeta.
[[gnu::always_inline]] inline void ToSquares(const shp_MapTable& table, shp_Lanes* nodes) {
  const bool isSolid = table.numSimplexCorners == 4;
  const int firstMiddle = isSolid ? 4 : 3;
  const shp_Lanes x0 = nodes[0], m01 = nodes[firstMiddle], m12 = nodes[firstMiddle + 1],
                  m20 = nodes[firstMiddle + 2];
  const shp_Lanes x1 = nodes[1], x2 = nodes[2];
  const shp_Lanes x3 = isSolid ? nodes[3] : x0, m03 = isSolid ? nodes[7] : x0, m13 = isSolid ? nodes[8] : m01,
                  m23 = isSolid ? nodes[9] : m20;
  nodes[1] = 4 * m01 - 3 * x0 - x1;
  nodes[2] = 4 * m20 - 3 * x0 - x2;
  nodes[3] = 4 * m03 - 3 * x0 - x3;
  nodes[4] = 4 * (x0 + x1 - 2 * m01);
  nodes[5] = 4 * (x0 + x2 - 2 * m20);
  nodes[6] = 4 * (x0 + m12 - m01 - m20);
  nodes[7] = 4 * (x0 + x3 - 2 * m03);
  nodes[8] = 4 * (x0 + m13 - m01 - m03);
  nodes[9] = 4 * (x0 + m23 - m20 - m03);
}
/// Brings node coordinates into the form in which they are multiplied.
[[gnu::always_inline]] inline void Arrange(const shp_MapTable& table, shp_Lanes* nodes) {
  for (const auto& [node, by, weight] : table.corrections) nodes[by] -= weight * nodes[node];
  if (table.form == shp_MapTable::Form::Multilinear)
    ToPowers(table, nodes);
  else if (table.form == shp_MapTable::Form::Quadratic)
    ToSquares(table, nodes);
}

/// Position and the derivatives by xi, eta, zeta: three coordinates of one point, or one of four points.
struct Derivatives {
  shp_Lanes at, byX, byY, byZ;
};
template<class Number>
[[gnu::always_inline]] inline Derivatives Multilinear(const shp_Lanes* c, Number x, Number y, Number z) {
  const shp_Lanes c37 = c[3] + z * c[7];
  const shp_Lanes byX = c[1] + z * c[5] + y * c37;
  const shp_Lanes atY = c[2] + z * c[6];
  const shp_Lanes byY = atY + x * c37;
  const shp_Lanes byZ = c[4] + y * c[6] + x * (c[5] + y * c[7]);
  return {c[0] + z * c[4] + y * atY + x * byX, byX, byY, byZ};
}
template<class Number>
[[gnu::always_inline]] inline Derivatives Quadratic(const shp_Lanes* c, Number x, Number y, Number z) {
  const shp_Lanes byX = c[1] + x * c[4] + y * c[6] + z * c[8];
  const shp_Lanes byY = c[2] + x * c[6] + y * c[5] + z * c[9];
  const shp_Lanes byZ = c[3] + x * c[8] + y * c[9] + z * c[7];
  return {c[0] + 0.5 * (x * (c[1] + byX) + y * (c[2] + byY) + z * (c[3] + byZ)), byX, byY, byZ};
}
} // namespace shp_Map
