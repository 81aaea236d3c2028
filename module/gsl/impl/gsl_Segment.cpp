#include <CoreGeometry/gsl_Segment.h>

#include "gsl_Component.h"
#include "gsl_Tolerances.h"
#include <CoreGeometry/gsl_StLine.h>
#include <algorithm>
#include <cls_Fields.h>

constexpr auto gsl_Segment::StoredFields() {
  return cls_Fields{cls_Field{"_point1", &gsl_Segment::point1_}, cls_Field{"_point2", &gsl_Segment::point2_}};
}

unsigned gsl_Segment::TypeId() noexcept { return gsl_kSegment; }
unsigned gsl_Segment::DynTypeId() const noexcept { return TypeId(); }
void* gsl_Segment::Ctor(cls_ReadVisitor& visitor) { return new gsl_Segment(visitor); }
void gsl_Segment::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<gsl_Segment>(registrar, "gsl_Segment", gsl_kVersion, StoredFields());
}

gsl_Segment::gsl_Segment(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void gsl_Segment::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

gsl_Segment::gsl_Segment(const gsl_Point& point1, const gsl_Point& point2) noexcept
    : point1_(point1), point2_(point2) {}

bool gsl_Segment::Intersect(const gsl_StLine& line, gsl_Point& out) const noexcept {
  const double length = Length();
  if (length < gsl_Tol()) return false;
  double gap;
  if (!gsl_StLine(point1_, point2_).Intersect(line, out, gap)) return false;
  double weights[2];
  const bool within = gsl_SegmentWeights(out, point1_, point2_, weights);
  if (length <= gsl_Tol()) return within;
  const double beyond = gsl_Tol() / length;
  return -beyond <= weights[0] && weights[0] <= 1 + beyond;
}

bool gsl_Segment::Intersect(const gsl_Segment& other, gsl_Point& out) const noexcept {
  gsl_Point onOther;
  return Intersect(gsl_StLine(other.point1_, other.point2_), out)
         && other.Intersect(gsl_StLine(point1_, point2_), onOther);
}

bool gsl_SegmentWeights(const gsl_Point& x, const gsl_Point& a, const gsl_Point& b,
                        double* weights) noexcept {
  const gsl_Vector ab(a, b), ba(b, a);
  const double length = ab.Magnitude();
  if (length <= gsl_Tol()) {
    if (!(x.GetDistance(a) <= gsl_Tol())) return false;
    weights[0] = 0.0;
    weights[1] = 1.0;
    return true;
  }
  weights[0] = gsl_Vector(a, x).DotProduct(ab) / (length * length);
  weights[1] = gsl_Vector(b, x).DotProduct(ba) / (length * length);
  return length * weights[0] >= -gsl_Tol() && length * weights[1] >= -gsl_Tol(); // not of a NaN
}

namespace {
double Clamped(double t) { return std::min(1.0, std::max(0.0, t)); } // 0 for NaN, where there is no direction

/// Parameter, within [0, 1], of the point of a + t ab nearest to x.
double NearestParameter(const gsl_Point& x, const gsl_Point& a, const gsl_Vector& ab) {
  return Clamped(gsl_Vector(a, x).DotProduct(ab.UnitCopy()) / ab.Magnitude());
}
} // namespace

double gsl_Segment::GetDistance(const gsl_Segment& other, gsl_Segment& nearest) const noexcept {
  const gsl_Vector u(point1_, point2_), v(other.point1_, other.point2_), w(point1_, other.point1_);
  const auto onThis = [&](const gsl_Point& x) { return point1_ + u * NearestParameter(x, point1_, u); };
  const auto onOther = [&](const gsl_Point& x) {
    return other.point1_ + v * NearestParameter(x, other.point1_, v);
  };
  gsl_Segment best(point1_, onOther(point1_));
  double distance = best.Length();
  const auto tryPair = [&](const gsl_Point& p1, const gsl_Point& p2) {
    const double candidate = p1.GetDistance(p2);
    if (!(candidate < distance)) return;
    distance = candidate;
    best = gsl_Segment(p1, p2);
  };
  // where the segments do not pass each other, an end of one of them is nearest
  tryPair(point2_, onOther(point2_));
  tryPair(onThis(other.point1_), other.point1_);
  tryPair(onThis(other.point2_), other.point2_);
  // where the lines pass each other; nearly parallel ones make it inexact, so each side is dropped onto the
  // other
  const gsl_Vector unitV = v.UnitCopy(), n = u.UnitCopy().CrossProduct(unitV);
  const double s = w.CrossProduct(unitV).DotProduct(n) / n.DotProduct(n) / u.Magnitude();
  const gsl_Point foot = onOther(point1_ + u * Clamped(s));
  tryPair(onThis(foot), foot);
  nearest = best;
  return distance;
}
