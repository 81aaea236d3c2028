#include <CoreGeometry/gsl_Triangle.h>

#include "gsl_Tolerances.h"
#include <CoreGeometry/gsl_Plane.h>

gsl_Triangle::gsl_Triangle() noexcept : normal_(0, 0, 0) {}

gsl_Triangle::gsl_Triangle(const gsl_Point& p1, const gsl_Point& p2, const gsl_Point& p3) noexcept
    : vertex_{p1, p2, p3}, normal_(p1, p2, p3) {}

bool gsl_Triangle::Contains(const gsl_Point& p) const noexcept {
  return p.IsOn(gsl_Plane(vertex_[0], normal_)) && ContainsProjectedPoint(p);
}

bool gsl_Triangle::ContainsProjectedPoint(const gsl_Point& p) const noexcept {
  for (unsigned i = 0; i < 3; ++i) {
    const gsl_Point &start = vertex_[i], &end = vertex_[(i + 1) % 3];
    if (normal_.DotProduct(gsl_Vector(start, end).CrossProduct(gsl_Vector(start, p))) < 0) return false;
  }
  return true;
}

gsl_BBox gsl_Triangle::GetBBox() const noexcept {
  gsl_BBox box;
  for (const gsl_Point& p : vertex_) box.Add(p);
  return box;
}

void gsl_Triangle::GetExtent(double* min, double* max) const noexcept {
  const gsl_BBox box = GetBBox();
  for (unsigned i = 0; i < 3; ++i) {
    min[i] = box.Min()[i];
    max[i] = box.Max()[i];
  }
}

bool gsl_Triangle::Project(const gsl_Plane& plane, const gsl_Vector& direction,
                           gsl_Triangle& projected) const noexcept {
  if (direction.IsOrthogonal(plane.Direction())) return false;
  gsl_Point moved[3];
  for (unsigned i = 0; i < 3; ++i)
    if (!vertex_[i].RayIntersect(direction, plane, moved[i])) return false;
  projected = gsl_Triangle(moved[0], moved[1], moved[2]);
  return true;
}

void gsl_Triangle::Reverse() noexcept {
  gsl_Point second;
  second = vertex_[1]; // by assignment: the vertices keep their uids
  vertex_[1] = vertex_[2];
  vertex_[2] = second;
  normal_ = gsl_Vector(vertex_[0], vertex_[1], vertex_[2]);
}
