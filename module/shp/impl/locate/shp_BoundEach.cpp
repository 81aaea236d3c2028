// Boxes that hold whole elements, curved ones too.
#include "shp_MappedElement.h"

#include <CoreGeometry/shp_ElementSearch.h>

namespace {
struct Rows {
  std::span<const int> connectivity;
  std::size_t nodesPerRow;
  std::span<const float> coordinates;
};

/// The box of the control points, wider by the tolerances of Locate and the rounding to single precision.
[[gnu::always_inline]] inline void Bound(const shp_MapTable& table, const Rows& rows,
                                         std::span<shp_FloatBox> boxes) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity(), kRounding = 0x1p-23F;
  const bool isLinear = table.numNodes == table.numCorners;
  for (std::size_t k = 0; k < boxes.size(); ++k) {
    const int* nodes = rows.connectivity.data() + k * rows.nodesPerRow;
    shp_Lanes points[shp_Basis::kMaxNodes], controls[shp_Basis::kMaxNodes];
    shp_Lanes undefined = {};
    for (std::size_t node = 0; node < table.numNodes; ++node) {
      const float* x = rows.coordinates.data() + 3 * static_cast<std::size_t>(nodes[node]);
      points[node] =
          shp_Lanes{static_cast<double>(x[0]), static_cast<double>(x[1]), static_cast<double>(x[2])};
      undefined += points[node] * 0;
    }
    const shp_Lanes* hull = points;
    if (!isLinear) {
      for (std::size_t control = 0; control < table.controlPlaces.size(); ++control)
        controls[control] = shp_Lanes{};
      for (const auto& [control, source, weight] : table.controlsFromNodes)
        controls[control] += weight * points[source];
      hull = controls;
    }
    shp_Lanes low = hull[0], high = hull[0];
    for (std::size_t point = 1; point < table.controlPlaces.size(); ++point) {
      low = hull[point] < low ? hull[point] : low;
      high = hull[point] > high ? hull[point] : high;
    }
    shp_FloatBox& box = boxes[k];
    if (undefined[0] + undefined[1] + undefined[2] != 0) {
      box = {{kInfinity, kInfinity, kInfinity}, {-kInfinity, -kInfinity, -kInfinity}};
      continue;
    }
    const shp_Lanes lengths = high - low;
    const double margin =
        4 * shp_MappedElement::kResidual * std::max(lengths[0], std::max(lengths[1], lengths[2]));
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const auto least = static_cast<float>(low[axis] - margin),
                 most = static_cast<float>(high[axis] + margin);
      box.low[axis] = least - std::abs(least) * kRounding - std::numeric_limits<float>::min();
      box.high[axis] = most + std::abs(most) * kRounding + std::numeric_limits<float>::min();
    }
  }
}

#ifdef __x86_64__
[[gnu::target("avx2")]] void BoundAvx2(const shp_MapTable& table, const Rows& rows,
                                       std::span<shp_FloatBox> boxes) {
  Bound(table, rows, boxes);
}
#endif
} // namespace

void shp_ElementSearch::BoundEach(std::span<const int> connectivity, std::size_t nodesPerRow,
                                  std::span<const float> coordinates, std::span<shp_FloatBox> boxes) const {
  if (!table_) {
    std::ranges::fill(boxes, shp_FloatBox{{1, 1, 1}, {-1, -1, -1}});
    return;
  }
  const Rows rows{connectivity, nodesPerRow, coordinates};
#ifdef __x86_64__
  if (table_->isWide) return BoundAvx2(*table_, rows, boxes);
#endif
  Bound(*table_, rows, boxes);
}
