// odiC_RowKernels.h: loops over rows of tensors, one body per instruction set
#pragma once

#include "odiC_RowForm.h"

/// What a body may use. All give the same bits: the same operations in the same order, none fused.
enum class odiC_RowBody { Plain, Avx2 };
/// The fastest body of this processor.
odiC_RowBody odiC_BestRowBody() noexcept;

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

/// out[i] = sum of weights[i][j] rows[j] for each of n elements with numColumns rows, which gets numRows of them.
struct odiC_CarryJob {
  const double* weights;
  std::size_t numRows, numColumns, numComponents, n;
};
template<class T> void odiC_CarryRows(odiC_RowBody body, const odiC_CarryJob& job, const T* rows, T* out);

/// Adds rows of elements to the sums of the nodes that they belong to. Numbers that are not are left out; true when
/// there were any.
struct odiC_ScatterJob {
  const int* targets;    ///< numNodes for each element of the class; below 0: nowhere
  const int* elements;   ///< of n elements the row of targets; null: from `first` on
  const double* weights; ///< of each element of the class; null: 1
  std::size_t first, n, numNodes, numComponents;
  bool isWhole; ///< one row for all nodes of an element
};
template<class T>
bool odiC_ScatterRows(odiC_RowBody body, const odiC_ScatterJob& job, const T* rows, double* sums);

/// Cube root by Newton's method; the same bits everywhere.
double odiC_CubeRoot(double x) noexcept;
