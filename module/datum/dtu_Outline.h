// dtu_Outline.h: the corner points of what is drawn of an axis or a plane
#pragma once

#include <BasicUtils/cls_xoList.h>
#include <CoreGeometry/gsl_BBox.h>
#include <CoreGeometry/gsl_Vector.h>
#include <array>
#include <cmath>

using dtu_Outline = cls_xoList<gsl_Point>;

inline std::array<gsl_Point, 8> dtu_BoxCorners(const gsl_BBox& box) {
  std::array<gsl_Point, 8> corners;
  for (unsigned i = 0; i < 8; ++i)
    for (unsigned k = 0; k < 3; ++k) corners[i][k] = (i >> k & 1) != 0 ? box.Max()[k] : box.Min()[k];
  return corners;
}

/// Makes it a unit vector; false when it has no direction, so that there is no outline along or around it.
inline bool dtu_HasDirection(gsl_Vector& vector) {
  return std::isfinite(vector.Magnitude()) && vector.Normalize();
}

inline void dtu_MoveOutline(dtu_Outline& outline, const gsl_Matrix& matrix) {
  for (int i = 0; i < outline.Size(); ++i) outline.ListToModify().Get(i).Transform(matrix);
}

/// Box of the outline, of the point when there is none.
inline gsl_BBox dtu_OutlineBox(const dtu_Outline& outline, const gsl_Point& otherwise) {
  gsl_BBox box;
  for (const gsl_Point& corner : outline.List()) box.Add(corner);
  if (outline.Size() == 0) box.Add(otherwise);
  return box;
}

inline int dtu_CopyOutline(const dtu_Outline& outline, gsl_Point* points) {
  for (const gsl_Point& corner : outline.List()) *points++ = corner;
  return outline.Size();
}

inline void dtu_PrintOutline(aio_ostream& out, const dtu_Outline& outline) {
  if (outline.Size() == 0) return;
  const gsl_BBox box = dtu_OutlineBox(outline, {});
  out << "High Point ::" << std::endl;
  box.Max().Print(out, 0);
  out << "Low Point ::" << std::endl;
  box.Min().Print(out, 0);
}
