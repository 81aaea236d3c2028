// dst_Ordered.h: doubles as integers of the same order
#pragma once

#include <bit>
#include <cstdint>
#include <limits>

/// -0 is below 0. The same bits come back.
inline std::int64_t dst_Ordered(double x) noexcept {
  const auto bits = std::bit_cast<std::int64_t>(x);
  return bits >= 0 ? bits : std::numeric_limits<std::int64_t>::min() - bits - 1;
}
inline double dst_FromOrdered(std::int64_t order) noexcept {
  return std::bit_cast<double>(order >= 0 ? order : std::numeric_limits<std::int64_t>::min() - order - 1);
}
