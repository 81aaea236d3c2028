// bme_Lanes.h: numbers of several elements, worked on together
#pragma once

#include <cmath>
#include <cstddef>

inline constexpr std::size_t bme_kLanes = 8;

struct bme_Lanes {
  double v[bme_kLanes];

  bme_Lanes() = default;
  bme_Lanes(double value) {
    for (double& x : v) x = value;
  }
};

template<class F> bme_Lanes bme_Each(F f) {
  bme_Lanes made;
  for (std::size_t i = 0; i < bme_kLanes; ++i) made.v[i] = f(i);
  return made;
}
inline bme_Lanes operator+(const bme_Lanes& a, const bme_Lanes& b) {
  return bme_Each([&](std::size_t i) { return a.v[i] + b.v[i]; });
}
inline bme_Lanes operator-(const bme_Lanes& a, const bme_Lanes& b) {
  return bme_Each([&](std::size_t i) { return a.v[i] - b.v[i]; });
}
inline bme_Lanes operator*(const bme_Lanes& a, const bme_Lanes& b) {
  return bme_Each([&](std::size_t i) { return a.v[i] * b.v[i]; });
}
inline bme_Lanes Min(const bme_Lanes& a, const bme_Lanes& b) {
  return bme_Each([&](std::size_t i) { return b.v[i] < a.v[i] ? b.v[i] : a.v[i]; });
}
inline bme_Lanes Max(const bme_Lanes& a, const bme_Lanes& b) {
  return bme_Each([&](std::size_t i) { return b.v[i] > a.v[i] ? b.v[i] : a.v[i]; });
}
inline bme_Lanes Abs(const bme_Lanes& a) {
  return bme_Each([&](std::size_t i) { return a.v[i] < 0 ? -a.v[i] : a.v[i]; });
}
inline bme_Lanes Sqrt(const bme_Lanes& a) {
  return bme_Each([&](std::size_t i) { return std::sqrt(a.v[i]); });
}
/// a / b where b is not next to nothing, else the limit; never NaN when a is none.
inline bme_Lanes Ratio(const bme_Lanes& a, const bme_Lanes& b, double limit) {
  constexpr double kLeast = 1e-300;
  return bme_Each([&](std::size_t i) { return b.v[i] > kLeast ? a.v[i] / b.v[i] : limit; });
}

struct bme_LaneVector {
  bme_Lanes x, y, z;
};
inline bme_LaneVector operator+(const bme_LaneVector& a, const bme_LaneVector& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
inline bme_LaneVector operator-(const bme_LaneVector& a, const bme_LaneVector& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
inline bme_Lanes Dot(const bme_LaneVector& a, const bme_LaneVector& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}
inline bme_LaneVector Cross(const bme_LaneVector& a, const bme_LaneVector& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline bme_Lanes Length(const bme_LaneVector& a) { return Sqrt(Dot(a, a)); }
