// gsl_Interval.h: closed interval of reals
#pragma once

#include <algorithm>
#include <limits>

/// All reals from a lower to an upper end, both included.
///
/// Empty      lower end above the upper one, or an end that is NaN; the default. A union with it changes
///            nothing, an intersection with it is empty.
/// Tolerance  none.
/// Threads    a value: concurrent reads are safe, and copies are independent.
class gsl_Interval {
public:
  constexpr gsl_Interval() noexcept = default;
  constexpr gsl_Interval(double lower, double upper) noexcept {
    if (lower <= upper) {
      lower_ = lower;
      upper_ = upper;
    }
  }

  // ask
  constexpr bool IsEmpty() const noexcept { return lower_ > upper_; }
  constexpr double Lower() const noexcept { return lower_; } ///< plus infinity when empty
  constexpr double Upper() const noexcept { return upper_; } ///< minus infinity when empty
  constexpr double Length() const noexcept { return IsEmpty() ? -1.0 : upper_ - lower_; } ///< -1 when empty
  constexpr bool Contains(double x) const noexcept { return lower_ <= x && x <= upper_; }
  /// The value at parameter t: exactly the lower end at 0 and the upper end at 1; t is not clamped. NaN when
  /// empty. Between infinite ends it is infinite or NaN.
  constexpr double Interpolate(double t) const noexcept {
    if (IsEmpty()) return std::numeric_limits<double>::quiet_NaN();
    return t == 0 ? lower_ : t == 1 ? upper_ : lower_ + t * (upper_ - lower_);
  }
  /// The parameter of a value, the inverse of Interpolate; 0 when the interval is one point. NaN when empty.
  constexpr double Parameter(double x) const noexcept {
    if (IsEmpty()) return std::numeric_limits<double>::quiet_NaN();
    return lower_ == upper_ ? 0.0 : (x - lower_) / (upper_ - lower_);
  }
  constexpr gsl_Interval Intersection(const gsl_Interval& other) const noexcept {
    return {std::max(lower_, other.lower_), std::min(upper_, other.upper_)};
  }
  /// The smallest interval that contains both.
  constexpr gsl_Interval Union(const gsl_Interval& other) const noexcept {
    return {std::min(lower_, other.lower_), std::max(upper_, other.upper_)};
  }
  constexpr bool operator==(const gsl_Interval&) const noexcept = default;

  // change
  constexpr void Add(double x) noexcept { *this = Union({x, x}); } ///< a NaN changes nothing

private:
  double lower_ = std::numeric_limits<double>::infinity();
  double upper_ = -std::numeric_limits<double>::infinity();
};
