#include <CoreGeometry/gsl_StLine.h>

#include "gsl_Component.h"
#include "gsl_Tolerances.h"
#include <CoreGeometry/gsl_Plane.h>
#include <cls_Fields.h>
#include <cmath>

constexpr auto gsl_StLine::StoredFields() {
  return cls_Fields{cls_Field{"_point", &gsl_StLine::point_},
                    cls_Field{"_dir", &gsl_StLine::direction_},
                    cls_Field{"_method", &gsl_StLine::method_},
                    cls_Field{"_flip", &gsl_StLine::flip_},
                    cls_Field{"_ok", &gsl_StLine::ok_},
                    cls_Field{"parent_ids", &gsl_StLine::parentIds_},
                    cls_Field{"owner_feat_id", &gsl_StLine::ownerFeatId_}};
}

unsigned gsl_StLine::TypeId() noexcept { return gsl_kStLine; }
unsigned gsl_StLine::DynTypeId() const noexcept { return TypeId(); }
void* gsl_StLine::Ctor(cls_ReadVisitor& visitor) { return new gsl_StLine(visitor); }
void gsl_StLine::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<gsl_StLine>(registrar, "gsl_StLine", gsl_kVersion, StoredFields());
}

gsl_StLine::gsl_StLine(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void gsl_StLine::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

namespace {
constexpr double kParallelDirections = 1e-5;
}

gsl_StLine::gsl_StLine(const gsl_Point& point, const gsl_Vector& direction) noexcept
    : point_(point), direction_(direction), method_(gsl_FROM_PNT_VECTOR), ok_(true) {}

gsl_StLine::gsl_StLine(const gsl_Point& p1, const gsl_Point& p2) noexcept
    : point_(p1), direction_(gsl_Vector(p1, p2)), method_(gsl_FROM_PNT_PNT), ok_(true) {}

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

bool gsl_StLine::Regenerate(const ftr_FeatureList*) { return true; }
