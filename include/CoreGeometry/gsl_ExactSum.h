// gsl_ExactSum.h: a sum of doubles that does not depend on their order
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <array>
#include <cstdint>
#include <span>

/// Adds doubles without rounding, in fixed point over their whole range, and rounds once when asked for the value.
///
/// Any order of the terms, and any way of adding partial sums, gives the same bits. It is the long accumulator of
/// U. Kulisch and W. Miranker, Computer Arithmetic in Theory and Practice, 1981.
///
/// Cost       560 bytes; some ten nanoseconds a term.
/// Errors     the value is infinite beyond the range of doubles, and not a number with a term that is none, or with
///            infinite terms of both signs.
/// Threads    a value.
class CORE_GEOMETRY_API gsl_ExactSum {
public:
  // ask
  double Value() const noexcept; ///< rounded to nearest, ties to even
  /// The sum as integers: those of up to 2147483648 sums may be added one by one, and are words of the sum of all.
  static constexpr std::size_t kNumWords = 71;
  std::array<std::int64_t, kNumWords> Words() const noexcept;
  static gsl_ExactSum FromWords(std::span<const std::int64_t, kNumWords> words) noexcept;

  // change
  void Add(double term) noexcept;
  void Add(const gsl_ExactSum& other) noexcept;

private:
  /// Bit 0 of word 0 is the least double, 2^-1074. Words lie 32 bits apart and may hold more than 32 bits, until
  /// the carry is passed on.
  static constexpr std::size_t kWords = 68;
  static constexpr unsigned kMostAdditions = 1U << 30;
  void Carry() noexcept;

  std::array<std::int64_t, kWords> words_{};
  unsigned additions_ = 0;
  bool hasNoNumber_ = false, hasPlusInfinity_ = false, hasMinusInfinity_ = false;
};
