#include <CoreGeometry/gsl_Dot.h>

#include "gsl_Component.h"
#include <CoreGeometry/gsl_ThreePoints.h>
#include <CoreGeometry/gsl_Vector.h>
#include <cls_Fields.h>

constexpr auto gsl_Dot::StoredFields() {
  return cls_Fields{cls_Field{"_point", &gsl_Dot::point_}, cls_Field{"_method", &gsl_Dot::method_},
                    cls_Field{"_instanceId", &gsl_Dot::instanceId_},
                    cls_Field{"_entityId", &gsl_Dot::entityId_}};
}

unsigned gsl_Dot::TypeId() noexcept { return gsl_kDot; }
unsigned gsl_Dot::DynTypeId() const noexcept { return TypeId(); }
void* gsl_Dot::Ctor(cls_ReadVisitor& visitor) { return new gsl_Dot(visitor); }
void gsl_Dot::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<gsl_Dot>(registrar, "gsl_Dot", gsl_kVersion, StoredFields());
}

gsl_Dot::gsl_Dot(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void gsl_Dot::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

gsl_Dot::gsl_Dot(int instanceId, int entityId) noexcept
    : method_(gsl_FROM_NODE), instanceId_(instanceId), entityId_(entityId) {}

gsl_Dot::gsl_Dot(const gsl_Dot& other) noexcept
    : method_(other.method_), instanceId_(other.instanceId_), entityId_(other.entityId_) {
  point_ = other.point_; // with its uid
}

gsl_Dot* gsl_Dot::Copy() const { return new gsl_Dot(*this); }

bool gsl_Dot::IsA(unsigned typeId) const {
  return omi_Singleton<cls_MetadataRegistrar>::Instance().Registry().IsA(DynTypeId(), typeId);
}

void gsl_Dot::SetValues(double x, double y, double z) noexcept {
  point_[0] = x;
  point_[1] = y;
  point_[2] = z;
}

bool gsl_Dot::Regenerate(const ftr_FeatureList*) { return true; }

bool gsl_PointsAreCoincident(const gsl_Dot* a, const gsl_Dot* b) noexcept {
  return a && b && a->GetPoint().IsOn(b->GetPoint());
}

bool gsl_ThreePointsColinear(const gsl_Dot* a, const gsl_Dot* b, const gsl_Dot* c) noexcept {
  gsl_Vector normal;
  return a && b && c && !gsl_NormalToThreePoints(a->GetPoint(), b->GetPoint(), c->GetPoint(), normal);
}
