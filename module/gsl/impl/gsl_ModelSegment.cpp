#include <CoreGeometry/gsl_ModelSegment.h>

#include "gsl_Component.h"
#include <cls_Fields.h>

constexpr auto gsl_ModelSegment::StoredFields() {
  return cls_Fields{cls_Field{"point1", &gsl_ModelSegment::point1_},
                    cls_Field{"point2", &gsl_ModelSegment::point2_}};
}

unsigned gsl_ModelSegment::TypeId() noexcept { return gsl_kModelSegment; }
unsigned gsl_ModelSegment::DynTypeId() const noexcept { return TypeId(); }
void* gsl_ModelSegment::Ctor(cls_ReadVisitor& visitor) { return new gsl_ModelSegment(visitor); }
void gsl_ModelSegment::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<gsl_ModelSegment>(registrar, "gsl_ModelSegment", gsl_kVersion, StoredFields());
}

gsl_ModelSegment::gsl_ModelSegment(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void gsl_ModelSegment::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

gsl_ModelSegment::gsl_ModelSegment(const gsl_Dot& dot1, const gsl_Dot& dot2)
    : point1_(dot1.Copy()), point2_(dot2.Copy()) {}

gsl_Vector gsl_ModelSegment::Direction() const noexcept {
  return IsComplete() ? gsl_Vector(point1_->GetPoint(), point2_->GetPoint()) : gsl_Vector();
}

double gsl_ModelSegment::Length() const noexcept {
  return IsComplete() ? point1_->GetPoint().GetDistance(point2_->GetPoint()) : 0.0;
}

bool gsl_ModelSegment::Regenerate(const ftr_FeatureList* features) {
  bool done = true;
  for (auto* dot : {&point1_, &point2_})
    if (!dot->IsNull() && !dot->Modify().Regenerate(features)) done = false;
  return done;
}
