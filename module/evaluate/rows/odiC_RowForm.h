// odiC_RowForm.h: where the components of vectors and tensors stand in a row
#pragma once

#include <CoreGeometry/odiC_Variable.h>
#include <array>
#include <cstddef>

/// Rows of a variable seen as xx, yy, zz, xy, xz, yz, or as x, y, z of vectors and one number of scalars.
struct odiC_RowForm {
  odiC_RowForm() = default; ///< six numbers
  explicit odiC_RowForm(const odiC_Variable& variable);
  /// Six numbers a row in this order.
  bool IsSix() const noexcept { return width == 6 && at == std::array{0, 1, 2, 3, 4, 5}; }

  std::size_t width = 6;
  std::array<int, 6> at{0, 1, 2, 3, 4, 5}; ///< -1: a component that the row does not have is 0
  double shear = 1;                        ///< factor that makes tensor shears of the stored ones
};
