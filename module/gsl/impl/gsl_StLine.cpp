#include <CoreGeometry/gsl_StLine.h>

#include "gsl_Tolerances.h"
#include <CoreGeometry/gsl_Plane.h>
#include <cmath>

namespace {
constexpr double kParallelDirections = 1e-5;
}

gsl_StLine::gsl_StLine(const gsl_Point& point, const gsl_Vector& direction) noexcept
    : point_(point), direction_(direction), method_(gsl_LineMethod::FROM_PNT_VECTOR), ok_(true) {}

gsl_StLine::gsl_StLine(const gsl_Point& p1, const gsl_Point& p2) noexcept
    : point_(p1), direction_(gsl_Vector(p1, p2)), method_(gsl_LineMethod::FROM_PNT_PNT), ok_(true) {}

bool gsl_StLine::IsParallel(const gsl_StLine& other) const noexcept {
  return Direction().IsOn(other.Direction());
}

bool gsl_StLine::IsParallel(const gsl_Plane& plane) const noexcept {
  return Direction().IsOrthogonal(plane.Direction());
}

double gsl_StLine::GetDistance(const gsl_StLine& other) const noexcept {
  gsl_Vector n = Direction().CrossProduct(other.Direction());
  if (!n.Normalize()) return 0.0;
  return std::fabs(gsl_Vector(point_, other.point_).DotProduct(n));
}

double gsl_StLine::GetDistance(const gsl_Plane& plane) const noexcept {
  return IsParallel(plane) ? point_.GetDistance(plane) : 0.0;
}

bool gsl_StLine::IsSkewed(const gsl_StLine& other) const noexcept { return GetDistance(other) > gsl_Tol(); }

bool gsl_StLine::Intersect(const gsl_Plane& plane, gsl_Point& out) const noexcept {
  return point_.RayIntersect(Direction(), plane, out);
}

bool gsl_StLine::Intersect(const gsl_StLine& other, gsl_Point& out, double& gap) const noexcept {
  if (IsSkewed(other)) return false;
  if (Direction().IsParallel(other.Direction(), kParallelDirections)) {
    gap = point_.GetDistance(other);
    return false;
  }
  const gsl_Vector u = Direction().UnitCopy(), v = other.Direction().UnitCopy();
  const gsl_Vector w(point_, other.point_);
  const double k = u.DotProduct(v), wu = w.DotProduct(u), wv = w.DotProduct(v), d = k * k - 1;
  const gsl_Point onThis = point_ + u * ((k * wv - wu) / d);
  gap = onThis.GetDistance(other.point_ + v * ((wv - wu * k) / d));
  out = onThis;
  return true;
}

bool gsl_StLine::PointAtDistance(double s, gsl_Point& out) const noexcept {
  if (s < 0) return false;
  out = point_ + Direction().UnitCopy() * s;
  return true;
}

bool gsl_LinesAreParallel(const gsl_StLine* a, const gsl_StLine* b) noexcept {
  return a && b && a->IsParallel(*b);
}

bool gsl_LinesAreSkew(const gsl_StLine* a, const gsl_StLine* b) noexcept { return a && b && a->IsSkewed(*b); }
