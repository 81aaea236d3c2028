#include <CoreGeometry/gsl_Plane.h>

#include "gsl_Component.h"
#include "gsl_FlatArrays.h"
#include <algorithm>
#include <cls_Fields.h>

constexpr auto gsl_Plane::StoredFields() {
  return cls_Fields{cls_Field{"_ok", &gsl_Plane::ok_},
                    cls_Field{"_point", &gsl_Plane::point_},
                    cls_Field{"_normal", &gsl_Plane::normal_},
                    cls_Field{"_method", &gsl_Plane::method_},
                    cls_Field{"_flip", &gsl_Plane::flip_},
                    cls_Field{"parent_ids", &gsl_Plane::parentIds_},
                    cls_Field{"owner_feat_id", &gsl_Plane::ownerFeatId_}};
}

unsigned gsl_Plane::TypeId() noexcept { return gsl_kPlane; }
unsigned gsl_Plane::DynTypeId() const noexcept { return TypeId(); }
void* gsl_Plane::Ctor(cls_ReadVisitor& visitor) { return new gsl_Plane(visitor); }
void gsl_Plane::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<gsl_Plane>(registrar, "gsl_Plane", gsl_kVersion, StoredFields());
}

gsl_Plane::gsl_Plane(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void gsl_Plane::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

gsl_Plane::gsl_Plane(const gsl_Point& point, const gsl_Vector& normal) noexcept
    : ok_(true), point_(point), normal_(normal), method_(gsl_FROM_POINT_VECTOR) {}

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

bool gsl_Plane::Regenerate(const ftr_FeatureList*) { return true; }
