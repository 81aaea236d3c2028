#include <CoreGeometry/gsl_Point.h>

#include "gsl_Component.h"
#include "gsl_Tolerances.h"
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Plane.h>
#include <CoreGeometry/gsl_Segment.h>
#include <CoreGeometry/gsl_StLine.h>
#include <CoreGeometry/gsl_Vector.h>
#include <CoreUtils/omn_TWLdouble.h>
#include <algorithm>
#include <cls_Fields.h>
#include <cmath>

constexpr auto gsl_Point::StoredFields() {
  return cls_Fields{cls_FieldOr{cls_Field{"_x", &gsl_Point::x_}, 0.0},
                    cls_FieldOr{cls_Field{"_y", &gsl_Point::y_}, 0.0},
                    cls_FieldOr{cls_Field{"_z", &gsl_Point::z_}, 0.0}};
}

unsigned gsl_Point::TypeId() noexcept { return gsl_kPoint; }
void* gsl_Point::Ctor(cls_ReadVisitor& visitor) { return new gsl_Point(visitor); }
void gsl_Point::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<gsl_Point>(registrar, "gsl_Point", gsl_kVersion, StoredFields());
}

gsl_Point::gsl_Point(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void gsl_Point::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

gsl_Point::gsl_Point(const gsl_Point& p1, double w1, const gsl_Point& p2, double w2) noexcept
    : gsl_Point(w1 * p1.x_ + w2 * p2.x_, w1 * p1.y_ + w2 * p2.y_, w1 * p1.z_ + w2 * p2.z_) {}

gsl_Point::gsl_Point(const gsl_Point& p1, const gsl_Point& p2) noexcept
    : gsl_Point((p1.x_ + p2.x_) * 0.5, (p1.y_ + p2.y_) * 0.5, (p1.z_ + p2.z_) * 0.5) {}

gsl_Point gsl_Point::operator+(const gsl_Vector& v) const noexcept {
  return {x_ + v[0], y_ + v[1], z_ + v[2]};
}

gsl_Point gsl_Point::operator-(const gsl_Vector& v) const noexcept {
  return {x_ - v[0], y_ - v[1], z_ - v[2]};
}

bool gsl_Point::operator==(const gsl_Point& other) const noexcept {
  const double dx = x_ - other.x_, dy = y_ - other.y_, dz = z_ - other.z_;
  return this == &other || dx * dx + dy * dy + dz * dz <= gsl_TolSquared();
}

bool gsl_Point::operator>(const gsl_Point& other) const noexcept {
  return this != &other && x_ > other.x_ && y_ > other.y_ && z_ > other.z_;
}

bool gsl_Point::operator>=(const gsl_Point& other) const noexcept {
  return this == &other || !(other.x_ > x_ || other.y_ > y_ || other.z_ > z_);
}

double gsl_Point::GetDistance(const gsl_Point& other) const noexcept {
  return gsl_Vector(*this, other).Magnitude();
}

double gsl_Point::GetDistance(const gsl_StLine& line) const noexcept {
  const gsl_Vector& d = line.Direction();
  return gsl_Vector(line.PointOn(), *this).CrossProduct(d).Magnitude() / d.Magnitude();
}

double gsl_Point::GetSignedDistance(const gsl_Plane& plane) const noexcept {
  const gsl_Point& p = plane.PointOn();
  const gsl_Vector& n = plane.Direction();
  return ((x_ - p.x_) * n[0] + (y_ - p.y_) * n[1] + (z_ - p.z_) * n[2]) / n.Magnitude();
}

double gsl_Point::GetDistance(const gsl_Plane& plane) const noexcept {
  return std::fabs(GetSignedDistance(plane));
}

double gsl_Point::GetDistance(const gsl_Plane& plane, const gsl_Vector& v) const noexcept {
  // deliberately without a test for v parallel to the plane
  const gsl_Vector& n = plane.Direction();
  return v.Magnitude() * GetDistance(plane) * n.Magnitude() / v.DotProduct(n);
}

double gsl_Point::GetDistance(const gsl_Segment& segment, gsl_Point& closest) const noexcept {
  double t;
  gsl_Point foot;
  if (ProjectOn(segment, foot, t)) {
    const double distance = GetDistance(foot);
    closest = foot; // may be this point
    return distance;
  }
  const double d1 = GetDistance(segment.Point1()), d2 = GetDistance(segment.Point2());
  closest = d2 > d1 ? segment.Point1() : segment.Point2();
  return d2 > d1 ? d1 : d2;
}

double gsl_Point::GetDistance(const gsl_Point& p0, const gsl_Point& p1, const gsl_Point& p2) const noexcept {
  gsl_Point foot;
  double weights[3];
  if (ProjectOn(p0, p1, p2, foot, weights)) return GetDistance(foot);
  return std::min({GetDistance(gsl_Segment(p0, p1), foot), GetDistance(gsl_Segment(p1, p2), foot),
                   GetDistance(gsl_Segment(p2, p0), foot)});
}

bool gsl_Point::IsOn(const gsl_Plane& plane) const noexcept { return GetDistance(plane) < gsl_Tol(); }
bool gsl_Point::IsOn(const gsl_StLine& line) const noexcept { return GetDistance(line) < gsl_Tol(); }
bool gsl_Point::IsOn(const gsl_Point& other) const noexcept { return GetDistance(other) < gsl_Tol(); }

gsl_Point gsl_Point::ProjectOn(const gsl_StLine& line, double& t) const noexcept {
  const gsl_Vector u = line.Direction().NormalizedCopy();
  t = u.DotProduct(gsl_Vector(line.PointOn(), *this));
  return line.PointOn() + u * t;
}

gsl_Point gsl_Point::ProjectOn(const gsl_Plane& plane) const noexcept {
  return *this - plane.Direction().NormalizedCopy() * GetSignedDistance(plane);
}

bool gsl_Point::ProjectOn(const gsl_Segment& segment, double tol, gsl_Point& out, double& t) const noexcept {
  const gsl_Vector along(segment.Point1(), segment.Point2());
  const double length = along.Magnitude();
  if (tol > length || length == 0) {
    out = *this;
    t = 0;
    return true;
  }
  const gsl_Vector u = along.UnitCopy();
  t = u.DotProduct(gsl_Vector(segment.Point1(), *this)) / length;
  out = segment.Point1() + u * (t * length);
  const double beyond = tol / length;
  return -beyond < t && t < 1 + beyond;
}

bool gsl_Point::ProjectOn(const gsl_Segment& segment, gsl_Point& out, double& t) const noexcept {
  return ProjectOn(segment, gsl_Tol(), out, t);
}

bool gsl_Point::ProjectOn(const gsl_Point& p0, const gsl_Point& p1, const gsl_Point& p2, gsl_Point& out,
                          double* weights) const noexcept {
  const gsl_Vector normal(p0, p1, p2);
  const gsl_Vector n = gsl_Vector(p0, p1).CrossProduct(gsl_Vector(p2, p0));
  const double nn = n.DotProduct(n);
  if (normal.Magnitude() == 0 || nn == 0) {
    out = *this;
    std::fill_n(weights, 3, 0.0);
    return false;
  }
  const gsl_Point foot = ProjectOn(gsl_Plane(p0, normal));
  const gsl_Point* const vertices[3] = {&p0, &p1, &p2};
  bool inside = true;
  for (int i = 0; i < 3; ++i) {
    const gsl_Point &next = *vertices[(i + 1) % 3], &last = *vertices[(i + 2) % 3];
    weights[i] = gsl_Vector(foot, next).CrossProduct(gsl_Vector(last, foot)).DotProduct(n) / nn;
    // a fourth power of length against a second one, deliberately; a NaN is outside
    if (!(weights[i] * nn >= -gsl_Tol() * gsl_Tol())) inside = false;
  }
  out = foot;
  return inside;
}

bool gsl_Point::RayIntersect(const gsl_Vector& dir, const gsl_Plane& plane, gsl_Point& out) const noexcept {
  const gsl_Vector& n = plane.Direction();
  out = *this;
  if (dir.Magnitude() < gsl_Tol()) return false;
  if (IsOn(plane)) return true;
  if (dir.IsOrthogonal(n)) return false;
  const double s = gsl_Vector(*this, plane.PointOn()).DotProduct(n) / dir.DotProduct(n);
  if (!std::isfinite(s)) return false;
  out = *this + dir * s;
  return true;
}

bool gsl_Point::RayIntersect(const gsl_Point& a, const gsl_Point& b, const gsl_Vector& dir, gsl_Point& out,
                             double* weights) const noexcept {
  if (a.GetDistance(b) < gsl_Tol()) return false;
  double gap;
  gsl_Point hit;
  if (!gsl_StLine(*this, dir).Intersect(gsl_StLine(a, b), hit, gap)) return false;
  const bool isWithin = gsl_SegmentWeights(hit, a, b, weights);
  out = hit; // may be an end
  return isWithin;
}

void gsl_Point::Print(aio_ostream& out, int indent) const {
  for (int i = 0; i < indent; ++i) out << " ";
  out << "x:\t" << omn_TWLdouble(x_, 0, 15) << "\ty:\t" << omn_TWLdouble(y_, 0, 15) << "\tz:\t"
      << omn_TWLdouble(z_, 0, 15) << std::endl;
}

void gsl_Point::Transform(const gsl_Matrix& matrix) noexcept { matrix.Transform(*this); }
