// uti_Coord3D.h: three single-precision coordinates
#pragma once

/// Coordinates of one node, single precision.
///
/// Units      model length.
struct uti_Coord3D {
  float x = 0, y = 0, z = 0;

  /// 0 gives x, 1 gives y, anything else z.
  float operator[](unsigned i) const noexcept { return i == 0 ? x : i == 1 ? y : z; }
  friend bool operator==(const uti_Coord3D&, const uti_Coord3D&) = default;
};
