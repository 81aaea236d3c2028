// shp_MappedElement.h: one element's map, set up once and evaluated often
#pragma once

#include "shp_Lanes.h"
#include "shp_MapTable.h"

#include <algorithm>
#include <cmath>
#include <limits>

using shp_Vector = std::array<double, 3>;

namespace shp_Map {
[[gnu::always_inline]] inline double Dot(const shp_Vector& a, const shp_Vector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
[[gnu::always_inline]] inline shp_Vector Cross(const shp_Vector& a, const shp_Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
[[gnu::always_inline]] inline shp_Vector Minus(const shp_Vector& a, const shp_Vector& b) {
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
inline double Length(const shp_Vector& a) { return std::sqrt(Dot(a, a)); }

/// How far outside its bounds a point is in iso coordinates; negative inside.
[[gnu::always_inline]] inline double Excess(const shp_MapTable& table, std::size_t numDims,
                                            const shp_IsoPoint& iso) {
  double excess = -1;
  if (table.numSimplexCorners == 0) {
    for (std::size_t axis = 0; axis < numDims; ++axis) excess = std::max(excess, std::abs(iso[axis]) - 1);
    return excess;
  }
  excess = std::max(-iso[0], -iso[1]);
  if (table.numSimplexCorners == 4) return std::max(excess, std::max(-iso[2], iso[0] + iso[1] + iso[2] - 1));
  excess = std::max(excess, iso[0] + iso[1] - 1);
  return numDims == 3 ? std::max(excess, std::abs(iso[2]) - 1) : excess;
}

using Columns = std::array<shp_Vector, 3>; ///< directions of the coordinates that there are, about one long

/// True when the directions are neither flat, by the product of their lengths, nor inside out.
[[gnu::always_inline]] inline bool IsSoundAt(std::size_t numDims, const Columns& columns) {
  constexpr double kWorst = 1e-18; // squared
  const auto& [a, b, c] = columns;
  const double aa = Dot(a, a);
  if (numDims == 1) return aa > kWorst;
  const shp_Vector normal = Cross(a, b);
  const double bb = Dot(b, b);
  if (numDims == 2) return Dot(normal, normal) > kWorst * aa * bb;
  const double volume = Dot(normal, c);
  return volume > 0 && volume * volume > kWorst * aa * bb * Dot(c, c);
}

/// Newton's step, or that of least squares on lines and surfaces; not finite when the directions are flat.
[[gnu::always_inline]] inline void Step(std::size_t numDims, const Columns& columns,
                                        const shp_Vector& residual, shp_Vector& step) {
  const auto& [a, b, c] = columns;
  const shp_Vector& r = residual;
  if (numDims == 3) {
    const shp_Vector bc = Cross(b, c);
    const double inverse = 1 / Dot(a, bc);
    step = {Dot(r, bc) * inverse, Dot(r, Cross(c, a)) * inverse, Dot(r, Cross(a, b)) * inverse};
    return;
  }
  const double aa = Dot(a, a), ra = Dot(r, a);
  if (numDims == 1) {
    step = {ra / aa, 0, 0};
    return;
  }
  const double ab = Dot(a, b), bb = Dot(b, b), rb = Dot(r, b);
  const double determinant = aa * bb - ab * ab;
  step = {(ra * bb - rb * ab) / determinant, (rb * aa - ra * ab) / determinant, 0};
}

/// What a step leaves of the residual, squared: how far the target is off a line or surface.
[[gnu::always_inline]] inline double Rest(const Columns& columns, const shp_Vector& residual,
                                          const shp_Vector& step) {
  double squared = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double rest =
        residual[axis] - step[0] * columns[0][axis] - step[1] * columns[1][axis] - step[2] * columns[2][axis];
    squared += rest * rest;
  }
  return squared;
}
} // namespace shp_Map

/// Box of the nodes of an element, as its centre and lengths.
struct shp_Frame {
  template<class NodeAt>
  [[gnu::always_inline]] inline shp_Frame(const shp_MapTable& table, const NodeAt& nodeAt) {
    const auto* first = nodeAt(0);
    shp_Vector low, high;
    for (std::size_t axis = 0; axis < 3; ++axis) low[axis] = high[axis] = static_cast<double>(first[axis]);
    for (std::size_t k = 0; k < table.numNodes; ++k) {
      const auto* x = nodeAt(k);
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto value = static_cast<double>(x[axis]);
        low[axis] = std::min(low[axis], value);
        high[axis] = std::max(high[axis], value);
        undefined += 0 * value;
      }
    }
    for (std::size_t axis = 0; axis < 3; ++axis) {
      half[axis] = (high[axis] - low[axis]) / 2;
      centre[axis] = low[axis] + half[axis];
    }
    size = 2 * std::max(half[0], std::max(half[1], half[2]));
  }
  /// Has a size, and no coordinate that is not a number.
  bool IsSound() const { return size > 0 && size <= std::numeric_limits<double>::max() && undefined == 0; }
  /// A point with the centre as origin and the size as unit.
  shp_Vector Normalised(const shp_Vector& point) const {
    return {(point[0] - centre[0]) / size, (point[1] - centre[1]) / size, (point[2] - centre[2]) / size};
  }

  shp_Vector centre, half;
  double size, undefined = 0;
};

/// An element relative to an origin, in some unit.
///
/// The calls of the hot path are always inlined, so that they are compiled for the processor that their
/// caller is compiled for.
class shp_MappedElement {
public:
  /// Position and the derivatives by xi, eta, zeta.
  struct State {
    shp_Vector position;
    shp_Map::Columns columns;
  };
  static constexpr double kResidual = 1e-6; ///< of the element's size

  /// nodeAt(k) points to the coordinates of node k.
  template<class NodeAt>
  [[gnu::always_inline]] inline shp_MappedElement(const shp_MapTable& table, const NodeAt& nodeAt,
                                                  const shp_Vector& origin, double unit = 1)
      : table_(table) {
    const shp_Lanes from = {origin[0], origin[1], origin[2]};
    const double perUnit = 1 / unit;
    for (std::size_t k = 0; k < table.numNodes; ++k) {
      const auto* x = nodeAt(k);
      const shp_Lanes wide = {static_cast<double>(x[0]), static_cast<double>(x[1]),
                              static_cast<double>(x[2])};
      nodes_[k] = (wide - from) * perUnit;
    }
    Arrange();
  }
  /// The box centred at the origin and one wide.
  template<class NodeAt>
  [[gnu::always_inline]] inline shp_MappedElement(const shp_MapTable& table, const NodeAt& nodeAt,
                                                  const shp_Frame& frame)
      : shp_MappedElement(table, nodeAt, frame.centre, frame.size) {}

  const shp_MapTable& Table() const { return table_; }

  [[gnu::always_inline]] inline void Evaluate(const shp_IsoPoint& iso, State& state) const {
    if (table_.form == shp_MapTable::Form::Multilinear)
      EvaluateMultilinear(iso, state);
    else if (table_.form == shp_MapTable::Form::Quadratic)
      EvaluateQuadratic(iso, state);
    else
      EvaluateProducts(iso, state);
  }

  [[gnu::always_inline]] inline bool IsSoundAt(const State& state) const {
    return shp_Map::IsSoundAt(table_.numDims, state.columns);
  }
  [[gnu::always_inline]] inline void Step(const State& state, const shp_Vector& residual,
                                          shp_Vector& step) const {
    shp_Map::Step(table_.numDims, state.columns, residual, step);
  }

private:
  /// Brings the coordinates into the form in which they are multiplied.
  [[gnu::always_inline]] inline void Arrange() {
    for (const auto& [node, by, weight] : table_.corrections) nodes_[by] -= weight * nodes_[node];
    if (table_.form == shp_MapTable::Form::Multilinear)
      ToPowers();
    else if (table_.form == shp_MapTable::Form::Quadratic)
      ToSquares();
  }
  /// Corners of a square to factors of 1, xi, eta, xi eta, times four.
  [[gnu::always_inline]] static inline void SquareToPowers(const shp_Lanes* n, shp_Lanes* out) {
    const shp_Lanes s01 = n[0] + n[1], d01 = n[1] - n[0], s32 = n[3] + n[2], d32 = n[2] - n[3];
    out[0] = s01 + s32;
    out[1] = d01 + d32;
    out[2] = s32 - s01;
    out[3] = d32 - d01;
  }
  /// The same times four of a triangle, which has no product.
  [[gnu::always_inline]] static inline void TriangleToPowers(const shp_Lanes* n, shp_Lanes* out) {
    out[0] = 4 * n[0];
    out[1] = 4 * (n[1] - n[0]);
    out[2] = 4 * (n[2] - n[0]);
    out[3] = shp_Lanes{};
  }
  [[gnu::always_inline]] inline void ToPowers() {
    shp_Lanes low[4], high[4];
    if (table_.numSimplexCorners > 0) {
      TriangleToPowers(nodes_, low);
      TriangleToPowers(nodes_ + 3, high);
    } else {
      SquareToPowers(nodes_, low);
      if (table_.numDims == 2)
        for (int k = 0; k < 4; ++k) high[k] = low[k];
      else
        SquareToPowers(nodes_ + 4, high);
    }
    for (int k = 0; k < 4; ++k) {
      nodes_[k] = (low[k] + high[k]) * 0.125;
      nodes_[4 + k] = (high[k] - low[k]) * 0.125;
    }
  }
  /// Nodes of a simplex to the value and derivatives at node 0 and twice the factors of the squares: xi xi,
  /// eta eta, xi eta, and of solids zeta zeta, xi zeta, eta zeta.
  [[gnu::always_inline]] inline void ToSquares() {
    const bool isSolid = table_.numSimplexCorners == 4;
    const int firstMiddle = isSolid ? 4 : 3;
    const shp_Lanes x0 = nodes_[0], m01 = nodes_[firstMiddle], m12 = nodes_[firstMiddle + 1],
                    m20 = nodes_[firstMiddle + 2];
    const shp_Lanes x1 = nodes_[1], x2 = nodes_[2];
    shp_Lanes* out = nodes_;
    const shp_Lanes x3 = isSolid ? nodes_[3] : x0, m03 = isSolid ? nodes_[7] : x0,
                    m13 = isSolid ? nodes_[8] : m01, m23 = isSolid ? nodes_[9] : m20;
    out[1] = 4 * m01 - 3 * x0 - x1;
    out[2] = 4 * m20 - 3 * x0 - x2;
    out[3] = 4 * m03 - 3 * x0 - x3;
    out[4] = 4 * (x0 + x1 - 2 * m01);
    out[5] = 4 * (x0 + x2 - 2 * m20);
    out[6] = 4 * (x0 + m12 - m01 - m20);
    out[7] = 4 * (x0 + x3 - 2 * m03);
    out[8] = 4 * (x0 + m13 - m01 - m03);
    out[9] = 4 * (x0 + m23 - m20 - m03);
  }

  [[gnu::always_inline]] inline void EvaluateMultilinear(const shp_IsoPoint& iso, State& state) const {
    const shp_Lanes* c = nodes_;
    const double x = iso[0], y = iso[1], z = iso[2];
    const shp_Lanes c37 = c[3] + z * c[7];
    const shp_Lanes byX = c[1] + z * c[5] + y * c37;
    const shp_Lanes atY = c[2] + z * c[6];
    const shp_Lanes byY = atY + x * c37;
    const shp_Lanes byZ = c[4] + y * c[6] + x * (c[5] + y * c[7]);
    const shp_Lanes at = c[0] + z * c[4] + y * atY + x * byX;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      state.position[axis] = at[axis];
      state.columns[0][axis] = byX[axis];
      state.columns[1][axis] = byY[axis];
      state.columns[2][axis] = byZ[axis];
    }
  }

  [[gnu::always_inline]] inline void EvaluateQuadratic(const shp_IsoPoint& iso, State& state) const {
    const shp_Lanes* c = nodes_;
    const double x = iso[0], y = iso[1], z = iso[2];
    const shp_Lanes byX = c[1] + x * c[4] + y * c[6] + z * c[8];
    const shp_Lanes byY = c[2] + x * c[6] + y * c[5] + z * c[9];
    const shp_Lanes byZ = c[3] + x * c[8] + y * c[9] + z * c[7];
    const shp_Lanes at = c[0] + 0.5 * (x * (c[1] + byX) + y * (c[2] + byY) + z * (c[3] + byZ));
    for (std::size_t axis = 0; axis < 3; ++axis) {
      state.position[axis] = at[axis];
      state.columns[0][axis] = byX[axis];
      state.columns[1][axis] = byY[axis];
      state.columns[2][axis] = byZ[axis];
    }
  }

  /// Values and slopes of the factors of one direction: lower end, middle, upper end.
  struct Factors {
    double value[3], slope[3];
  };
  [[gnu::always_inline]] static inline Factors FactorsAt(double x, bool isParabolic, bool isAbsent) {
    if (isAbsent) return {{1, 0, 0}, {0, 0, 0}};
    if (isParabolic) return {{x * (x - 1) / 2, 1 - x * x, x * (x + 1) / 2}, {x - 0.5, -2 * x, x + 0.5}};
    return {{(1 - x) / 2, 1 - x * x, (1 + x) / 2}, {-0.5, -2 * x, 0.5}};
  }

  /// Lanes of the plane functions: value, derivatives by xi and eta, and what the layer function makes the
  /// derivative by zeta from.
  [[gnu::always_inline]] inline void PlaneFunctions(const shp_IsoPoint& iso, shp_Lanes* plane) const {
    const std::size_t numCorners = table_.numSimplexCorners;
    if (numCorners == 0) {
      const Factors a = FactorsAt(iso[0], table_.isParabolic[0], table_.isAbsent[0]);
      const Factors b = FactorsAt(iso[1], table_.isParabolic[1], table_.isAbsent[1]);
      const shp_Lanes b0 = {b.value[0], b.value[0], b.slope[0], b.value[0]};
      const shp_Lanes b1 = {b.value[1], b.value[1], b.slope[1], b.value[1]};
      const shp_Lanes b2 = {b.value[2], b.value[2], b.slope[2], b.value[2]};
      for (int k = 0; k < 3; ++k) {
        const shp_Lanes wide = {a.value[k], a.slope[k], a.value[k], a.value[k]};
        plane[3 * k] = wide * b0;
        plane[3 * k + 1] = wide * b1;
        plane[3 * k + 2] = wide * b2;
      }
      return;
    }
    const bool isSolid = numCorners == 4;
    const double rest = isSolid ? 1 - iso[0] - iso[1] - iso[2] : 1 - iso[0] - iso[1];
    const double values[4] = {rest, iso[0], iso[1], iso[2]};
    shp_Lanes corner[4] = {{rest, -1, -1, isSolid ? -1 : rest},
                           {iso[0], 1, 0, isSolid ? 0 : iso[0]},
                           {iso[1], 0, 1, isSolid ? 0 : iso[1]},
                           {iso[2], 0, 0, 1}};
    const shp_Lanes square = {1, 0, 0, isSolid ? 0.0 : 1.0}; // where products are no derivatives
    constexpr int kEdges[6][2] = {{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}};
    for (std::size_t k = 0; k < (isSolid ? 6U : 3U); ++k) {
      const int a = kEdges[k][0], b = kEdges[k][1];
      plane[numCorners + k] =
          4 * values[a] * corner[b] + 4 * values[b] * corner[a] - 4 * values[a] * values[b] * square;
    }
    for (std::size_t k = 0; k < numCorners; ++k)
      plane[k] = table_.isParabolic[0] ? corner[k] * (4 * values[k] - 1) - 2 * values[k] * values[k] * square
                                       : corner[k];
  }

  [[gnu::always_inline]] inline void EvaluateProducts(const shp_IsoPoint& iso, State& state) const {
    shp_Lanes plane[10], layer[3];
    PlaneFunctions(iso, plane);
    if (table_.numSimplexCorners == 4) {
      layer[0] = shp_Lanes{1, 1, 1, 1};
    } else {
      const Factors c = FactorsAt(iso[2], table_.isParabolic[2], table_.isAbsent[2]);
      for (int k = 0; k < 3; ++k) layer[k] = shp_Lanes{c.value[k], c.value[k], c.value[k], c.slope[k]};
    }
    // two sums of each coordinate, so that one addition need not wait for the other
    shp_Lanes sums[2][3] = {};
    const auto add = [&](std::size_t node, shp_Lanes * sum) __attribute__((always_inline)) {
      const shp_Lanes function = plane[table_.plane[node]] * layer[table_.layer[node]];
      for (int axis = 0; axis < 3; ++axis) sum[axis] += function * nodes_[node][axis];
    };
    std::size_t node = 0;
    for (; node + 1 < table_.numNodes; node += 2) {
      add(node, sums[0]);
      add(node + 1, sums[1]);
    }
    if (node < table_.numNodes) add(node, sums[0]);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const shp_Lanes row = sums[0][axis] + sums[1][axis];
      state.position[axis] = row[0];
      for (std::size_t k = 0; k < 3; ++k) state.columns[k][axis] = row[static_cast<int>(k) + 1];
    }
  }

  const shp_MapTable& table_;
  shp_Lanes nodes_[shp_Basis::kMaxNodes];
};
