#include <CoreGeometry/gsl_Plane.h>

#include "gsl_FlatArrays.h"
#include <algorithm>

gsl_Plane::gsl_Plane(const gsl_Point& point, const gsl_Vector& normal) noexcept
    : ok_(true), point_(point), normal_(normal), method_(gsl_DirMethod::FROM_POINT_VECTOR) {}

double gsl_Plane::GetDistance(const gsl_Plane& other) const noexcept {
  return Direction().IsOn(other.Direction()) ? point_.GetDistance(other) : 0.0;
}

namespace {
template<class T>
void Distances(const gsl_Plane& plane, std::span<const T> xyz, std::span<double> distances) {
  const gsl_Point& p = plane.PointOn();
  const gsl_Vector& n = plane.Direction();
  gsl_PlaneDistances(gsl_BestBody(), {p[0], p[1], p[2]}, {n[0], n[1], n[2]}, n.Magnitude(), xyz.data(),
                     std::min(xyz.size() / 3, distances.size()), distances.data());
}
} // namespace

void gsl_Plane::GetSignedDistances(std::span<const float> xyz, std::span<double> distances) const noexcept {
  Distances(*this, xyz, distances);
}

void gsl_Plane::GetSignedDistances(std::span<const double> xyz, std::span<double> distances) const noexcept {
  Distances(*this, xyz, distances);
}

bool gsl_PlanesAreParallel(const gsl_Plane* a, const gsl_Plane* b) noexcept {
  return a && b && a->Direction().IsOn(b->Direction());
}
