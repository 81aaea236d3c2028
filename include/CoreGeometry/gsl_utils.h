// gsl_utils.h: comparing and rounding reals
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

/// True unless b - a leaves [-tol, tol]; a NaN difference compares equal.
CORE_GEOMETRY_API bool gsl_RealEqual(double a, double b, double tol) noexcept;

/// As gsl_RealEqual with the tolerance abs(a * rtol), at least rtol: relative to the first argument only.
CORE_GEOMETRY_API bool gsl_RealRelEqual(double a, double b, double rtol) noexcept;

/// gsl_RealEqual on n pairs; true for n < 1.
CORE_GEOMETRY_API bool gsl_RealArrEqual(int n, const double* a, const double* b, double tol) noexcept;

/// As gsl_RealArrEqual with the tolerance abs(a[i] * rtol) for each pair, and rtol where that is exactly 0:
/// unlike gsl_RealRelEqual there is no floor.
CORE_GEOMETRY_API bool gsl_RealArrRelEqual(int n, const double* a, const double* b, double rtol) noexcept;

/// Compares the leading significant digits, each value scaled by its own power of ten: 1 and 10 are equal,
/// and 9.996 and 10 differ to 3 digits (1000 against 100). Beyond 15 digits, and for values that cannot be
/// scaled (infinite, NaN, or the power of ten overflows), only exactly equal values are equal.
CORE_GEOMETRY_API bool gsl_RealEqualDig(double a, double b, int digits) noexcept;

/// x rounded to significant decimal digits, half away from zero. x itself beyond 15 digits and where it
/// cannot be scaled (infinite, NaN, or the power of ten overflows or vanishes).
CORE_GEOMETRY_API double gsl_RoundFloat(double x, int digits) noexcept;

/// x rounded to decimal places, half towards plus infinity, also for negatives: -1.25 gives -1.2.
/// Errors     nex_AssertionException "places > 0". The only function of the module that raises.
CORE_GEOMETRY_API double gsl_Truncate(double x, int places);
