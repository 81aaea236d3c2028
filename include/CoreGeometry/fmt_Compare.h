// fmt_Compare.h: how two mesh files differ
#pragma once

#include <BasicUtils/cls_Diff.h>
#include <CoreGeometry/fmt_Format.h>

/// As for models; a place is for example "block 3 (HEX8), connectivity: node 2 of element 5".
using fmt_Difference = cls_Difference;

struct fmt_Comparison {
  std::vector<fmt_Difference> differences;
  fmt_Ledger notCompared; ///< other contents of either file, with the larger count
};

/// Default tolerance: the rounding error of single precision, with a margin.
inline constexpr double fmt_kSinglePrecision = 1e-7;

/// Two Exodus II files are compared by what they hold: dimensions, nodes, coordinates and their names, number
/// maps, blocks with types, connectivity and attributes, sets with their factors, properties, title and
/// records. Blocks and sets belong together by kind and id. Spellings of one type, such as HEX and HEX8, are
/// no difference; the order of sets is none, either. Other files are compared by what they are read as:
/// nodes, labels, classes and sets.
///
/// Tolerance  real numbers a and b are equal when |a - b| <= tolerance * largest, or both are no numbers;
///            largest is the largest absolute coordinate of both files, and max(|a|, |b|) for other numbers.
/// Errors     as fmt_ReadMesh; nex_TextException for a tolerance that is negative or no number.
/// Cost       Exodus II: one array at a time is in memory.
CORE_GEOMETRY_EXCHANGE_API fmt_Comparison fmt_CompareFiles(const cow_String& first, const cow_String& second,
                                                           double tolerance = fmt_kSinglePrecision);

/// Compares two files that were read already.
CORE_GEOMETRY_EXCHANGE_API fmt_Comparison fmt_CompareImports(const fmt_Import& first,
                                                             const fmt_Import& second,
                                                             double tolerance = fmt_kSinglePrecision);
