#include <CoreGeometry/gsl_utils.h>

#include <BasicUtils/nex_Exception.h>
#include <algorithm>
#include <cmath>

namespace {
constexpr int kMostDigits = 15;

// not "abs(b - a) <= tol": a NaN difference is within every tolerance
bool WithinTolerance(double a, double b, double tol) {
  const double difference = b - a;
  return !(difference < -tol || difference > tol);
}

/// The power of ten that brings the leading digits of a positive x before the point.
double DigitScale(double x, int digits) {
  return std::pow(10.0, std::trunc(static_cast<double>(digits) - std::floor(std::log10(x)) - 1.0));
}

double RoundHalfUp(double x) {
  double whole;
  const double fraction = std::modf(x, &whole);
  return fraction >= 0.5 ? whole + 1.0 : whole;
}

double FloorHalfUp(double x) {
  const double whole = std::floor(x);
  return x - whole >= 0.5 ? whole + 1.0 : whole;
}

double PowerOfTen(int exponent) {
  double power = 1.0;
  for (double square = 10.0; exponent > 0; exponent >>= 1, square *= square)
    if (exponent & 1) power *= square;
  return power;
}
} // namespace

bool gsl_RealEqual(double a, double b, double tol) noexcept { return WithinTolerance(a, b, tol); }

bool gsl_RealRelEqual(double a, double b, double rtol) noexcept {
  return WithinTolerance(a, b, std::max(rtol, std::fabs(a * rtol)));
}

bool gsl_RealArrEqual(int n, const double* a, const double* b, double tol) noexcept {
  for (int i = 0; i < n; ++i)
    if (!WithinTolerance(a[i], b[i], tol)) return false;
  return true;
}

bool gsl_RealArrRelEqual(int n, const double* a, const double* b, double rtol) noexcept {
  for (int i = 0; i < n; ++i) {
    const double tol = std::fabs(a[i] * rtol);
    if (!WithinTolerance(a[i], b[i], tol == 0.0 ? rtol : tol)) return false;
  }
  return true;
}

bool gsl_RealEqualDig(double a, double b, int digits) noexcept {
  if (a == b) return true;
  if (digits > kMostDigits) return false;
  double mantissa[2] = {0, 0};
  for (int i = 0; i < 2; ++i) {
    const double value = i == 0 ? a : b;
    if (value == 0) continue;
    const double x = std::fabs(value);
    const double scale = DigitScale(x, digits);
    if (!std::isfinite(x) || !std::isfinite(scale)) return false;
    mantissa[i] = std::copysign(RoundHalfUp(x * scale), value);
  }
  return mantissa[0] == mantissa[1];
}

double gsl_RoundFloat(double x, int digits) noexcept {
  if (x == 0 || digits > kMostDigits || !std::isfinite(x)) return x;
  const double scale = DigitScale(std::fabs(x), digits);
  if (scale == 0 || !std::isfinite(scale)) return x;
  return std::copysign(RoundHalfUp(std::fabs(x) * scale) / scale, x);
}

double gsl_Truncate(double x, int places) {
  if (places <= 0)
    nex_Exception::Throw(nex_AssertionException("places > 0"), "generated/module/gsl/impl/gsl_utils", 1007);
  const double whole = std::floor(x);
  const double power = PowerOfTen(places);
  const double scaled = power * (x - whole);
  // so many places, or no number at all: nothing to round
  if (!std::isfinite(power) || !std::isfinite(scaled)) return x;
  return FloorHalfUp(scaled) / power + whole;
}
