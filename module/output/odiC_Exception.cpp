#include <CoreGeometry/odiC_Exception.h>

#include "odiC_Component.h"

#include <cls_Fields.h>

constexpr auto odiC_Exception::StoredFields() {
  return cls_Fields{cls_Field{"message", &odiC_Exception::message_}};
}

unsigned odiC_Exception::TypeId() noexcept { return ddb_TypeId(odiC_kComponent, 1); }
unsigned odiC_Exception::DynTypeId() const noexcept { return TypeId(); }
void* odiC_Exception::Ctor(cls_ReadVisitor& visitor) { return new odiC_Exception(visitor); }
void odiC_Exception::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<odiC_Exception>(registrar, "odiC_Exception", 203, StoredFields());
}

odiC_Exception::odiC_Exception(cow_String message)
    : nex_Exception(message), message_(std::move(message)), uid_(cls_Uid::AllocateUid()) {}
odiC_Exception::odiC_Exception(const cls_ReadVisitor& visitor)
    : nex_Exception(visitor.HasValue("message") ? visitor.GetString("message") : cow_String()),
      message_(Message()), uid_(visitor.GetUid()) {}
odiC_Exception::~odiC_Exception() = default;

void odiC_Exception::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}
