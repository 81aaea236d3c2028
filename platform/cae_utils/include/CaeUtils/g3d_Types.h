// g3d_Types.h: single-precision points, vectors and transforms, and the sphere
#pragma once

#include <span>

/// Three floats of one kind (see Tag); lists of them are stored as one array.
template<class Tag> struct g3d_Triple {
  using FloatTriple = Tag;
  float values[3] = {0, 0, 0};

  float operator[](unsigned i) const noexcept { return values[i]; }
  float& operator[](unsigned i) noexcept { return values[i]; }
  friend bool operator==(const g3d_Triple&, const g3d_Triple&) = default;
};
using g3d_Point = g3d_Triple<struct g3d_PointTag>;
using g3d_Vector = g3d_Triple<struct g3d_VectorTag>;

/// 4 x 4 transform, single precision; the identity unless set.
struct g3d_XForm {
  float m[4][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};

  float operator()(unsigned row, unsigned column) const noexcept { return m[row][column]; }
  float& operator()(unsigned row, unsigned column) noexcept { return m[row][column]; }
  void SetM(const float (&values)[4][4]) noexcept {
    for (int row = 0; row < 4; ++row)
      for (int column = 0; column < 4; ++column) m[row][column] = values[row][column];
  }
  friend bool operator==(const g3d_XForm&, const g3d_XForm&) = default;
};

/// Sphere by centre and radius.
///
/// Units      model length.
/// Empty      negative radius; a default sphere is empty.
struct g3d_Sphere {
  double x = 0, y = 0, z = 0;
  double radius = -1;

  bool IsEmpty() const noexcept { return radius < 0; }
  friend bool operator==(const g3d_Sphere&, const g3d_Sphere&) = default;
};
