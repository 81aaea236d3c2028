// bme_LocatorPoint.h: a point that is looked for, and boxes
#pragma once

#include <CoreGeometry/bme_ElementLocator.h>
#include <cmath>

namespace bme_LocatorPoint {
/// Of an element that is left out.
constexpr shp_FloatBox kEmptyBox{{1, 1, 1}, {-1, -1, -1}};

/// A point widened to single precision: the test of a box against it is never wrong about a point inside.
struct WidePoint {
  explicit WidePoint(const bme_ElementLocator::Point& point) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const auto x = static_cast<float>(point[axis]);
      least[axis] = static_cast<double>(x) <= point[axis] ? x : std::nextafterf(x, -INFINITY);
      most[axis] = static_cast<double>(x) >= point[axis] ? x : std::nextafterf(x, INFINITY);
    }
  }
  [[gnu::always_inline]] inline bool MayBeIn(const shp_FloatBox& box) const {
    int count = 0; // without branches: they would be hard to foresee
    for (std::size_t axis = 0; axis < 3; ++axis)
      count += int{box.low[axis] <= most[axis]} + int{box.high[axis] >= least[axis]};
    return count == 6;
  }
  std::array<float, 3> least, most;
};
} // namespace bme_LocatorPoint
