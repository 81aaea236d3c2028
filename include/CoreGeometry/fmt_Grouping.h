// fmt_Grouping.h: grouping the scalars of a file by their names into vectors, tensors, points and pairs
#pragma once

#include <CoreGeometry/ExchangeExport.h>
#include <CoreGeometry/odiC_Variable.h>
#include <span>
#include <vector>

/// A variable that is made of some scalars of a file.
struct fmt_Group {
  cow_String name;
  res_DataTypeEnm type = res_SCALAR;
  res_PairEnm pair = res_NO_PAIR;
  int numPoints = 0; ///< integration points; 0 for one value
  /// Positions of the scalars: point after point; within a point first all first numbers of a pair, then all
  /// second ones; within these the components in stored order.
  std::vector<int> scalars;
};

/// Which scalars of a kind one block has.
struct fmt_BlockNames {
  std::vector<char> isPresent; ///< of each name
  /// Integration points of the shape; 0 where there can be none, -1 where their number is unknown.
  int shapePoints = 0;
};

/// Grouping rules that the user gives.
struct fmt_GroupRules {
  struct Own {
    cow_String name;
    std::vector<cow_String> scalars;
    std::optional<res_DataTypeEnm> type;
  };
  std::vector<Own> own;              ///< "NAME=a,b,c[:TYPE]"
  std::vector<cow_String> ungrouped; ///< names of groups that stay scalars, or "all"
  /// Adds a rule "NAME=a,b,c[:TYPE]"; nex_TextException marks the wrong place.
  CORE_GEOMETRY_EXCHANGE_API void AddOwn(const cow_String& text);
};

/// The groups of each block, from names compared without case:
///   stem_1 ... stem_n        points, when n is the number of integration points in some block that has them
///   stem_xx, stem.xx, stemxx tensors: xx yy zz xy yz zx; xx yy zz xy; xx yy xy; all nine are a matrix
///   stem_x, stem.x, stemx    vectors, without a separator only when the stem has two letters or more
///   stem_re, stem_im         pairs
/// Other scalars stay as they are. In two-dimensional meshes the types are two-dimensional.
CORE_GEOMETRY_EXCHANGE_API std::vector<std::vector<fmt_Group>>
fmt_GroupNames(std::span<const cow_String> names, std::span<const fmt_BlockNames> blocks, int numDims,
               const fmt_GroupRules& rules = {});
