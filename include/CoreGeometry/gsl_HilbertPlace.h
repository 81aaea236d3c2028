// gsl_HilbertPlace.h: order of points along a curve that fills a cube
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <array>
#include <cstdint>

/// Bits of a cell's number on each axis.
inline constexpr int gsl_kHilbertBits = 21;

/// Place of a cell on the Hilbert curve through a cube of 2^21 cells an axis: points that are near on the curve are near
/// in space. J. Skilling, Programming the Hilbert curve, AIP Conference Proceedings 707, 2004.
CORE_GEOMETRY_API std::uint64_t gsl_HilbertPlace(std::array<std::uint32_t, 3> cell) noexcept;
