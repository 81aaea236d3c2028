// odiC_CarryKernels.h: loops that carry rows from place to place, one body per instruction set
#pragma once

#include "odiC_RowBody.h"

#include <cstddef>
#include <span>

/// out[i] = sum of weights[i][j] rows[j] for each of n elements with numColumns rows, which gets numRows of them.
struct odiC_CarryJob {
  const double* weights;
  std::size_t numRows, numColumns, numComponents, n;
};
template<class T> void odiC_CarryRows(odiC_RowBody body, const odiC_CarryJob& job, const T* rows, T* out);

/// Adds rows of elements to the sums of the nodes that they belong to. Numbers that are not are left out; true when
/// there were any, or infinities.
struct odiC_ScatterJob {
  const int* targets;    ///< numNodes for each element of the class; below 0: nowhere
  const int* elements;   ///< of n elements the row of targets; null: from `first` on
  const double* weights; ///< of each element of the class; null: 1
  std::size_t first, n, numNodes, numComponents;
  bool isWhole; ///< one row for all nodes of an element
};
template<class T>
bool odiC_ScatterRows(odiC_RowBody body, const odiC_ScatterJob& job, const T* rows, double* sums);

/// Divides the rows of targets by their shares.
void odiC_DivideRows(odiC_RowBody body, std::size_t numComponents, std::span<const int> targets,
                     const double* shares, double* sums);
