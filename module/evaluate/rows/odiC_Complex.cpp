#include <CoreGeometry/odiC_Complex.h>

#include "odiC_RowChecks.h"
#include "odiC_RowForm.h"

#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Invariant.h>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {
constexpr double kDegrees = 57.29577951308232;

struct Complex {
  double real, imaginary;
};

/// Exact at multiples of 90 degrees: the angle is brought between -45 and 45 before functions are taken.
Complex FromPolar(double magnitude, double degrees) {
  int quarter = 0;
  const double rest = std::remquo(degrees, 90, &quarter) / kDegrees;
  const double c = magnitude * std::cos(rest), s = magnitude * std::sin(rest);
  switch (static_cast<unsigned>(quarter) % 4) {
  case 0: return {c, s};
  case 1: return {-s, c};
  case 2: return {-c, -s};
  default: return {s, -c};
  }
}
Complex Read(res_PairEnm pair, double first, double second) {
  return pair == res_MAGNITUDE_AND_PHASE ? FromPolar(first, second) : Complex{first, second};
}

/// Above -180 up to 180.
double Wrapped(double degrees) {
  const double rest = std::remainder(degrees, 360);
  return rest == -180 ? 180 : rest + 0.0;
}
double Magnitude(res_PairEnm pair, double first, double second) {
  if (pair == res_MAGNITUDE_AND_PHASE) return std::fabs(first) + 0 * second;
  const double square = first * first + second * second;
  if (square > 0x1p-900 && square < 0x1p1000) return std::sqrt(square);
  // beyond the range of squares; the two-argument hypot would need a newer C library
  const double larger = std::max(std::abs(first), std::abs(second));
  if (std::isinf(first) || std::isinf(second)) return std::numeric_limits<double>::infinity();
  if (!(larger > 0)) return std::abs(first) + std::abs(second); // 0, or not a number
  int exponent = 0;
  std::frexp(larger, &exponent);
  const double a = std::ldexp(first, -exponent), b = std::ldexp(second, -exponent);
  return std::ldexp(std::sqrt(a * a + b * b), exponent);
}
double Phase(res_PairEnm pair, double first, double second) {
  if (first == 0 && (pair == res_MAGNITUDE_AND_PHASE || second == 0)) return 0;
  if (pair == res_MAGNITUDE_AND_PHASE) return Wrapped(second + (first < 0 ? 180 : 0)) + 0 * first;
  return Wrapped(std::atan2(second, first) * kDegrees);
}

void RefuseReal(const odiC_Variable& variable) {
  if (!variable.IsComplex())
    throw odiC_Exception(variable.name
                         + " is not complex: it has no real and imaginary part, magnitude or phase");
}
} // namespace

odiC_ComplexDisplay::odiC_ComplexDisplay(const odiC_Variable& variable, res_ComplexDisplayEnm display,
                                         double angle)
    : pair_(variable.pair), display_(display), cos_(std::cos(angle)), sin_(std::sin(angle)) {
  RefuseReal(variable);
}

template<class T>
void odiC_ComplexDisplay::ApplyTo(std::span<const T> first, std::span<const T> second,
                                  std::span<T> shown) const {
  odiC_NumRows(first.size(), 1, second.size(), 1);
  odiC_NumRows(first.size(), 1, shown.size(), 1);
  const auto each = [&](auto one) {
    for (std::size_t k = 0; k < shown.size(); ++k) shown[k] = static_cast<T>(one(first[k], second[k]));
  };
  const auto eachComplex = [&](auto one) {
    if (pair_ == res_MAGNITUDE_AND_PHASE)
      return each([&](double m, double p) { return one(FromPolar(m, p)); });
    each([&](double r, double i) { return one(Complex{r, i}); });
  };
  switch (display_) {
  case res_REAL: return eachComplex([](Complex c) { return c.real; });
  case res_IMAGINARY: return eachComplex([](Complex c) { return c.imaginary; });
  case res_COMPLEX_MAGNITUDE: return each([&](double a, double b) { return Magnitude(pair_, a, b); });
  case res_COMPLEX_PHASE: return each([&](double a, double b) { return Phase(pair_, a, b); });
  case res_COMPLEX_VAL_AT_ANGLE:
    return eachComplex([&](Complex c) { return c.real * cos_ - c.imaginary * sin_; });
  }
}
void odiC_ComplexDisplay::Apply(std::span<const float> first, std::span<const float> second,
                                std::span<float> shown) const {
  ApplyTo(first, second, shown);
}
void odiC_ComplexDisplay::Apply(std::span<const double> first, std::span<const double> second,
                                std::span<double> shown) const {
  ApplyTo(first, second, shown);
}

odiC_Peak::odiC_Peak(const odiC_Variable& variable, res_InvariantEnm invariant)
    : form_(std::make_shared<odiC_RowForm>(variable)), pair_(variable.pair),
      isMises_(invariant == res_MISES) {
  RefuseReal(variable);
  const odiC_Invariant isThere(variable, invariant); // or an error that lists those there are
  if (invariant != res_MISES && invariant != res_MAGNITUDE)
    throw odiC_Exception(variable.name + ": the peak over the cycle is that of MISES or MAGNITUDE, not of "
                         + omu_FindText(omu_EnumTable<res_InvariantEnm>::entries, invariant));
}

template<class T>
void odiC_Peak::ApplyTo(std::span<const T> first, std::span<const T> second, std::span<T> peaks,
                        std::span<T> angles) const {
  const std::size_t n = odiC_NumRows(first.size(), form_->width, peaks.size(), 1);
  odiC_NumRows(first.size(), 1, second.size(), 1);
  if (!angles.empty()) odiC_NumRows(n, 1, angles.size(), 1);
  const auto form = [&](const double(&a)[6], const double(&b)[6]) {
    if (!isMises_) return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
    return 0.5
               * ((a[0] - a[1]) * (b[0] - b[1]) + (a[1] - a[2]) * (b[1] - b[2])
                  + (a[2] - a[0]) * (b[2] - b[0]))
           + 3 * (a[3] * b[3] + a[4] * b[4] + a[5] * b[5]);
  };
  for (std::size_t row = 0; row < n; ++row) {
    double real[6] = {}, imaginary[6] = {}, largest = 0, guard = 0;
    for (std::size_t k = 0; k < 6; ++k) {
      if (form_->at[k] < 0) continue;
      const std::size_t i = row * form_->width + static_cast<std::size_t>(form_->at[k]);
      const Complex c = Read(pair_, first[i], second[i]);
      real[k] = k < 3 ? c.real : c.real * form_->shear;
      imaginary[k] = k < 3 ? c.imaginary : c.imaginary * form_->shear;
      largest = std::max({largest, std::fabs(real[k]), std::fabs(imaginary[k])});
      guard += 0 * real[k] + 0 * imaginary[k];
    }
    const int exponent =
        largest > 0 && std::isfinite(largest) ? std::ilogb(largest) : 0; // squares stay in range
    for (std::size_t k = 0; k < 6; ++k) {
      real[k] = std::ldexp(real[k], -exponent);
      imaginary[k] = std::ldexp(imaginary[k], -exponent);
    }
    const double a = form(real, real), b = form(imaginary, imaginary), c = form(real, imaginary);
    const double half = 0.5 * (a - b);
    peaks[row] = static_cast<T>(
        std::ldexp(std::sqrt(0.5 * (a + b) + std::sqrt(half * half + c * c)), exponent) + guard);
    if (!angles.empty()) angles[row] = static_cast<T>(0.5 * std::atan2(-2 * c, a - b) + guard);
  }
}
void odiC_Peak::Apply(std::span<const float> first, std::span<const float> second, std::span<float> peaks,
                      std::span<float> angles) const {
  ApplyTo(first, second, peaks, angles);
}
void odiC_Peak::Apply(std::span<const double> first, std::span<const double> second, std::span<double> peaks,
                      std::span<double> angles) const {
  ApplyTo(first, second, peaks, angles);
}
