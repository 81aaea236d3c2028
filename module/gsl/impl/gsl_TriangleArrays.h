// gsl_TriangleArrays.h: what readers of flat triangle arrays share
#pragma once

#include <cstddef>
#include <span>

/// Throws nex_TextException, naming triangle and point, unless every index is one of numPoints points. A
/// rest of one or two indices is no triangle.
void gsl_CheckTriangles(std::span<const int> triangles, std::size_t numPoints);
