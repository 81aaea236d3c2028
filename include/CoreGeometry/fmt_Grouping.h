// fmt_Grouping.h: scalars of a file, grouped by their names to vectors, tensors, points and pairs
#pragma once

#include <CoreGeometry/ExchangeExport.h>
#include <CoreGeometry/odiC_Variable.h>
#include <span>
#include <vector>

/// One variable as some scalars of a file make it.
struct fmt_Group {
  cow_String name;
  res_DataTypeEnm type = res_SCALAR;
  res_PairEnm pair = res_NO_PAIR;
  int numPoints = 0; ///< integration points; 0 for one value
  /// Positions of the scalars: point after point, in a point first and second numbers of a pair, in these the components
  /// in stored order.
  std::vector<int> scalars;
};

/// What one block has of the scalars of a kind.
struct fmt_BlockNames {
  std::vector<char> isPresent; ///< of each name
  /// Integration points of the shape; 0 where there can be none, -1 where nobody knows how many there are.
  int shapePoints = 0;
};

/// What the user said about names.
struct fmt_GroupRules {
  struct Own {
    cow_String name;
    std::vector<cow_String> scalars;
    std::optional<res_DataTypeEnm> type;
  };
  std::vector<Own> own;              ///< "NAME=a,b,c[:TYPE]"
  std::vector<cow_String> ungrouped; ///< names of groups that stay scalars; "all"
  /// "NAME=a,b,c[:TYPE]"; nex_TextException that marks the place.
  CORE_GEOMETRY_EXCHANGE_API void AddOwn(const cow_String& text);
};

/// The groups of each block, from names compared without case:
///   stem_1 ... stem_n        points, when n is the number of integration points in some block that has them
///   stem_xx, stem.xx, stemxx tensors: xx yy zz xy yz zx; xx yy zz xy; xx yy xy; all nine are a matrix
///   stem_x, stem.x, stemx    vectors, without a separator only when the stem has two letters or more
///   stem_re, stem_im         pairs
/// The rest stays as it is. Types are of two dimensions in meshes of two.
CORE_GEOMETRY_EXCHANGE_API std::vector<std::vector<fmt_Group>>
fmt_GroupNames(std::span<const cow_String> names, std::span<const fmt_BlockNames> blocks, int numDims,
               const fmt_GroupRules& rules = {});
