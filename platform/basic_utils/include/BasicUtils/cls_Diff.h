// cls_Diff.h: how two databases differ
#pragma once

#include <BasicUtils/cls_Database.h>

/// One place at which two databases differ.
struct cls_Difference {
  cow_String place;         ///< root and fields, such as "meshes/Wing.nodeData.coordinates"
  cow_String first, second; ///< what stands there, "absent" where there is nothing; of an array its length,
                            ///< or the first numbers that differ
  long long numbers = 0;    ///< of an array: how many numbers differ
  double largest = 0;       ///< of those: the largest absolute difference
};

/// Where the contents of two databases differ, root by root, field by field, in the order of cls_Dump. Real
/// numbers a and b are equal when |a - b| <= tolerance * max(1, |a|, |b|), or both are not a number. Old
/// layouts are compared in their converted form. Which objects are shared makes no difference.
///
/// Errors     as reading.
CORE_GEOMETRY_PLATFORM_API std::vector<cls_Difference>
cls_Diff(const cls_Database& first, const cls_Database& second, double tolerance = 0);
