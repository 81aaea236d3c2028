// bme_Vectors.h: arithmetic with places of nodes in double precision
#pragma once

#include <CoreGeometry/bme_NodeData.h>
#include <array>
#include <cmath>

using bme_Vector = std::array<double, 3>;

inline bme_Vector bme_Cross(const bme_Vector& a, const bme_Vector& b) noexcept {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline double bme_Dot(const bme_Vector& a, const bme_Vector& b) noexcept {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
inline double bme_Length(const bme_Vector& a) noexcept { return std::sqrt(bme_Dot(a, a)); }
/// a + factor b
inline bme_Vector bme_Sum(const bme_Vector& a, double factor, const bme_Vector& b) noexcept {
  return {a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
}
inline bme_Vector bme_PlaceOf(const bme_NodeData& nodes, int node) noexcept {
  const float* const at = nodes.Coordinates().Const().data() + 3 * static_cast<std::size_t>(node);
  return {at[0], at[1], at[2]};
}
