// gsl_FlatArrays.h: loops over flat coordinate arrays, one body per instruction set
#pragma once

#include <cstddef>

/// What a body may use. Every body gives the same bits: the same operations in the same order, none fused.
enum class gsl_Body { Plain, Avx2, Avx512 };

/// The fastest body this processor can run.
gsl_Body gsl_BestBody() noexcept;

/// Moves n points in place by the first three rows of a transform. T is float or double.
template<class T>
void gsl_MoveTriples(gsl_Body body, const double (&m)[4][4], T* xyz, std::size_t n) noexcept;

/// Widens three ranges by n points; a NaN never widens. T is float or double.
template<class T>
void gsl_WidenRange(gsl_Body body, const T* xyz, std::size_t n, T (&min)[3], T (&max)[3]) noexcept;

/// Signed distances of n points from a plane; length is that of the normal. T is float or double.
template<class T>
void gsl_PlaneDistances(gsl_Body body, const double (&point)[3], const double (&normal)[3], double length,
                        const T* xyz, std::size_t n, double* distances) noexcept;
