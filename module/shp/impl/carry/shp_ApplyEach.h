// shp_ApplyEach.h: one matrix of weights applied to many elements
#pragma once

#include "shp_WeightTables.h"

/// Weighted sums for elements one after the other: columns of the matrix are places that have values, rows
/// places that get them; each place has its components together. Sums are in double, clamped to the range of
/// floats; they are the same for one element and many.
void shp_ApplyEach(const shp_WeightTables::Matrix& matrix, std::size_t numElements, std::size_t numComponents,
                   const float* values, float* out);
