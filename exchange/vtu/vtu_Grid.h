// vtu_Grid.h: where the arrays of an unstructured grid stand in files of VTK
#pragma once

#include "vtu_Numbers.h"
#include <CoreGeometry/fmt_Format.h>

/// Part of a grid with points of its own.
struct vtu_Piece {
  cow_String file;
  cow_String place; ///< "line 5"
  std::int64_t numPoints = 0, numCells = 0;
  std::optional<vtu_Array> points{}, types{}, offsets{}, connectivity{};
  bool areRowsCounted = false; ///< each row of the connectivity begins with its length; there are no offsets
  bool areOffsetsStarts = false; ///< the first offset is 0, and one more follows at the end
  std::vector<vtu_Array> pointArrays{}, cellArrays{};
  cow_String pointIds{}, cellIds{}; ///< names of the arrays that the file calls global identifiers

  std::int64_t Count(bool ofPoints) const noexcept { return ofPoints ? numPoints : numCells; }
  const std::vector<vtu_Array>& ArraysOf(bool points) const noexcept {
    return points ? pointArrays : cellArrays;
  }
};

/// What a file, or several, say of one grid. Counts and sizes are not compared with anything yet.
struct vtu_Grid {
  cow_String file; ///< that was asked for
  cow_String title{};
  std::vector<vtu_Piece> pieces{};
  std::vector<cow_String> others{}; ///< names of arrays that belong to neither points nor cells
  fmt_Ledger ledger{};
};

/// Appends the pieces of a VTU file.
void vtu_IndexGrid(const cow_String& file, vtu_Grid& grid);

/// Reads all arrays and makes a mesh of them.
fmt_Import vtu_Assemble(const vtu_Grid& grid, const fmt_ReadOptions& options);

/// A number without sign that an attribute or a header has; nothing when it is none or does not fit 32 bits.
std::optional<std::int64_t> vtu_ParseCount(std::string_view text);
