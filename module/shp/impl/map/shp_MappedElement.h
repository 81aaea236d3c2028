// shp_MappedElement.h: one element's map, set up once and evaluated often
#pragma once

#include "shp_MapFormulas.h"

#include <limits>

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
  static constexpr double kResidual = shp_Map::kResidual;

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
    shp_Map::Arrange(table, nodes_);
  }
  /// The box centred at the origin and one wide.
  template<class NodeAt>
  [[gnu::always_inline]] inline shp_MappedElement(const shp_MapTable& table, const NodeAt& nodeAt,
                                                  const shp_Frame& frame)
      : shp_MappedElement(table, nodeAt, frame.centre, frame.size) {}

  const shp_MapTable& Table() const { return table_; }

  [[gnu::always_inline]] inline void Evaluate(const shp_IsoPoint& iso, State& state) const {
    if (table_.form == shp_MapTable::Form::Multilinear)
      Spread(shp_Map::Multilinear(nodes_, iso[0], iso[1], iso[2]), state);
    else if (table_.form == shp_MapTable::Form::Quadratic)
      Spread(shp_Map::Quadratic(nodes_, iso[0], iso[1], iso[2]), state);
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
  [[gnu::always_inline]] static inline void Spread(const shp_Map::Derivatives& from, State& state) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      state.position[axis] = from.at[axis];
      state.columns[0][axis] = from.byX[axis];
      state.columns[1][axis] = from.byY[axis];
      state.columns[2][axis] = from.byZ[axis];
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
