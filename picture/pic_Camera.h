// pic_Camera.h: vectors, and model space as the viewer sees it
#pragma once

#include <CoreGeometry/pic_Scene.h>
#include <algorithm>
#include <cmath>

inline double pic_Dot(const pic_Vector& a, const pic_Vector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
inline pic_Vector pic_Cross(const pic_Vector& a, const pic_Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
inline pic_Vector pic_Scaled(const pic_Vector& v, double factor) {
  return {v[0] * factor, v[1] * factor, v[2] * factor};
}
inline pic_Vector pic_Sum(const pic_Vector& a, const pic_Vector& b) {
  return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}
inline pic_Vector pic_Normalised(const pic_Vector& v) {
  const double length = std::sqrt(pic_Dot(v, v));
  return length > 0 ? pic_Scaled(v, 1 / length) : v;
}

inline pic_Vector pic_At(std::span<const float> xyz, int node) {
  const std::size_t i = 3 * static_cast<std::size_t>(node);
  return {xyz[i], xyz[i + 1], xyz[i + 2]};
}

/// Half the sum of the cross products of the edges from the first corner: as long as the area.
inline pic_Vector pic_NormalOf(const bme_OuterFace& face, std::span<const float> xyz) {
  const std::span<const int> corners = face.nodes.Corners();
  const pic_Vector first = pic_Scaled(pic_At(xyz, corners[0]), -1);
  pic_Vector sum{};
  for (std::size_t k = 2; k < corners.size(); ++k)
    sum = pic_Sum(sum, pic_Scaled(pic_Cross(pic_Sum(pic_At(xyz, corners[k - 1]), first),
                                            pic_Sum(pic_At(xyz, corners[k]), first)),
                                  0.5));
  return sum;
}

/// Model space to the picture: rows are to the right, up and to the viewer.
class pic_Camera {
public:
  explicit pic_Camera(const pic_View& view) {
    const pic_Vector toViewer = pic_Normalised(view.direction);
    const bool isFromAbove = std::abs(toViewer[2]) > 0.999;
    const pic_Vector up = isFromAbove ? pic_Vector{0, 1, 0} : pic_Vector{0, 0, 1};
    const pic_Vector right = pic_Normalised(pic_Cross(up, toViewer));
    rows_ = {right, pic_Cross(toViewer, right), toViewer};
  }
  pic_Vector Turn(const pic_Vector& v) const {
    return {pic_Dot(rows_[0], v), pic_Dot(rows_[1], v), pic_Dot(rows_[2], v)};
  }

private:
  std::array<pic_Vector, 3> rows_;
};

inline void pic_AddTo(pic_Extent& extent, const pic_Vector& turned) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    extent.low[axis] = std::min(extent.low[axis], turned[axis]);
    extent.high[axis] = std::max(extent.high[axis], turned[axis]);
  }
}
