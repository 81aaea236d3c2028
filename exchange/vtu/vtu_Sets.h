// vtu_Sets.h: integer arrays of a grid as sets
#pragma once

#include "vtu_Cells.h"

/// Names of arrays that became something else.
struct vtu_Consumed {
  std::vector<cow_String> ofPoints, ofCells;
};

/// One set for each array of 8 bits of 0 and 1, under its name; of other arrays of integers, with at most 256
/// different values, one for each value: "material 3". The others are listed, and so are those of floating numbers,
/// with several components, and VTK's own.
///
/// Errors     nex_TextException naming file and array.
std::vector<bme_NamedSet> vtu_ReadSets(const vtu_Grid& grid, const vtu_Cells& cells,
                                       const vtu_Consumed& consumed, int meshId, fmt_Ledger& ledger);
