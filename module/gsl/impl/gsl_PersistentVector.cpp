#include <CoreGeometry/gsl_PersistentVector.h>

#include "gsl_Component.h"
#include <cls_Fields.h>

namespace {
constexpr const char* kComponents[] = {"_x", "_y", "_z"};
}

unsigned gsl_PersistentVector::TypeId() noexcept { return gsl_kPersistentVector; }
unsigned gsl_PersistentVector::DynTypeId() const noexcept { return TypeId(); }
void* gsl_PersistentVector::Ctor(cls_ReadVisitor& visitor) { return new gsl_PersistentVector(visitor); }
void gsl_PersistentVector::InitializeMetadata(cls_ClassRegistrar& registrar) {
  auto& record =
      cls_DescribeClass<gsl_PersistentVector>(registrar, "gsl_PersistentVector", gsl_kVersion, cls_Fields{});
  for (const char* name : kComponents)
    record.AddAttribute(name, cls_AttributeType::Double, 1, cls_CollectionType::Single);
}

gsl_PersistentVector::gsl_PersistentVector(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  double v[3];
  for (unsigned i = 0; i < 3; ++i) v[i] = visitor.GetDouble(kComponents[i]);
  vector_ = gsl_Vector(v[0], v[1], v[2]); // the magnitude is not stored
}

void gsl_PersistentVector::DBWrite(const cls_WriteVisitor& visitor) const {
  if (visitor.StartWrite(TypeId(), uid_) == 0) return;
  for (unsigned i = 0; i < 3; ++i) visitor.PutDouble(kComponents[i], vector_[i]);
}
