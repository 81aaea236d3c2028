// fmt_Coordinates.h: coordinates of a file, made single precision
#pragma once

#include <CoreGeometry/fmt_Format.h>

/// Takes the coordinates of all nodes of a file in order, and keeps account of what rounding changes.
///
/// Errors     nex_TextException naming file, node (counted from 1), axis and value for one that is not finite or
///            does not fit single precision.
class fmt_Coordinates {
public:
  fmt_Coordinates(cow_String file, std::size_t numNodes);

  /// Those of the next nodes, x0 y0 z0 x1 ... .
  void Add(std::span<const double> xyz);
  void Add(std::span<const float> xyz);

  std::size_t NumNodes() const noexcept { return next_ / 3; } ///< added so far
  /// After all of them were added. The array is handed over.
  uti_CoordCont3D Take() { return uti_CoordCont3D(std::move(xyz_)); }
  /// The largest change; `labels` are those of the nodes, or empty when they count from 1.
  fmt_Rounding Rounding(std::span<const int> labels) const;

private:
  template<class Number> void AddAny(std::span<const Number> xyz);
  [[noreturn]] void Fail(std::size_t position, double value) const;

  cow_String file_;
  cow_ArrayCOW<float> xyz_;
  std::size_t next_ = 0; ///< number of floats that are there
  double change_ = 0;
  std::size_t changed_ = 0; ///< position of the float that changed most
};
