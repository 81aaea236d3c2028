#include <CoreGeometry/dtmC_DatumRef.h>

#include "dtmC_Component.h"
#include <cls_Fields.h>

constexpr auto dtmC_DatumRef::StoredFields() {
  return cls_Fields{
      cls_Field{"_ownerNames", &dtmC_DatumRef::ownerNames_}, cls_Field{"_datumId", &dtmC_DatumRef::datumId_},
      cls_Field{"_instanceId", &dtmC_DatumRef::instanceId_}, cls_Field{"_axisId", &dtmC_DatumRef::axisId_}};
}

unsigned dtmC_DatumRef::TypeId() noexcept { return dtmC_kDatumRef; }
unsigned dtmC_DatumRef::DynTypeId() const noexcept { return TypeId(); }
void* dtmC_DatumRef::Ctor(cls_ReadVisitor& visitor) { return new dtmC_DatumRef(visitor); }
void dtmC_DatumRef::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<dtmC_DatumRef>(registrar, "dtmC_DatumRef", dtmC_kDatumRefVersion, StoredFields());
}

dtmC_DatumRef::dtmC_DatumRef(int datumId, int instanceId, const cow_String& ownerName, int axisId)
    : datumId_(datumId), instanceId_(instanceId), axisId_(axisId) {
  if (!ownerName.empty()) ownerNames_.ListToModify().Append(ownerName);
}

dtmC_DatumRef::dtmC_DatumRef(int datumId, int instanceId, const cow_List<cow_String>& ownerNames, int axisId)
    : ownerNames_(ownerNames), datumId_(datumId), instanceId_(instanceId), axisId_(axisId) {}

dtmC_DatumRef::dtmC_DatumRef(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void dtmC_DatumRef::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

bool dtmC_DatumRef::operator==(const dtmC_DatumRef& other) const {
  return datumId_ == other.datumId_ && axisId_ == other.axisId_
         && (instanceId_ == other.instanceId_ || ownerNames_ == other.ownerNames_);
}
