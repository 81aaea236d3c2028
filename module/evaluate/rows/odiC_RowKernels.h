// odiC_RowKernels.h: loops over rows of tensors, one body per instruction set
#pragma once

#include "odiC_RowBody.h"
#include "odiC_RowForm.h"

enum class odiC_RowWork {
  Mises,
  Pressure,
  Third,
  Principal, ///< with `which`: 0 largest, 1 middle, 2 smallest
  Tresca,
  Sorted, ///< as Principal and Tresca, of rows that hold principal values
  SortedRange,
  InPlane, ///< with `which`: 0 larger, 1 smaller
  OutOfPlane,
  Magnitude
};

/// One number for each of n rows; not a number where a component is not finite. T is float or double.
template<class T>
void odiC_ReduceRows(odiC_RowBody body, odiC_RowWork work, int which, const odiC_RowForm& form, const T* rows,
                     std::size_t n, T* out);
/// Eigenvalues of n tensors of six numbers, descending, and unit eigenvectors as rows when axes are wanted.
void odiC_SolveRows(odiC_RowBody body, const double* tensors, std::size_t n, double* values, double* axes);
/// Q s Q^T of tensors into six numbers a row, Q v of vectors into three. Matrices are row by row: one for all
/// rows when `stride` is 0, else one every `stride` numbers. T is float or double.
template<class T>
void odiC_TurnTensors(odiC_RowBody body, const odiC_RowForm& form, const double* matrices, std::size_t stride,
                      const T* rows, std::size_t n, T* out);
template<class T>
void odiC_TurnVectors(odiC_RowBody body, const odiC_RowForm& form, const double* matrices, std::size_t stride,
                      const T* rows, std::size_t n, T* out);

/// Cube root by Newton's method; the same bits everywhere.
double odiC_CubeRoot(double x) noexcept;
