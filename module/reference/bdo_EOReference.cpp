#include <CoreGeometry/bdo_EOReference.h>

#include "bdo_Component.h"
#include <algorithm>
#include <cls_Fields.h>

constexpr auto bdo_EOReference::StoredFields() {
  return cls_Fields{cls_Field{"eoType", &bdo_EOReference::eoType_},
                    cls_Field{"eoName", &bdo_EOReference::eoName_}};
}

unsigned bdo_EOReference::TypeId() noexcept { return bdo_kEOReference; }
unsigned bdo_EOReference::DynTypeId() const noexcept { return TypeId(); }
void* bdo_EOReference::Ctor(cls_ReadVisitor& visitor) { return new bdo_EOReference(visitor); }
void bdo_EOReference::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<bdo_EOReference>(registrar, "bdo_EOReference", bdo_kVersion, StoredFields());
}

bdo_EOReference::bdo_EOReference(cow_String eoType, cow_String eoName)
    : eoType_(std::move(eoType)), eoName_(std::move(eoName)) {}

bdo_EOReference::bdo_EOReference(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void bdo_EOReference::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

bool bdo_EOReference::operator==(const bdo_EOReference& other) const {
  return cls_SameFields(*this, other, StoredFields());
}

bool bdo_EOReference::Contains(const cow_List<bdo_EOReference>& list, const cow_String& type) {
  return std::any_of(list.begin(), list.end(),
                     [&](const bdo_EOReference& reference) { return reference.eoType_ == type; });
}

void bdo_EOReference::Delete(cow_List<bdo_EOReference>& list, const cow_String& type,
                             const cow_String& name) {
  for (int i = list.Size(); i-- > 0;) {
    const bdo_EOReference& reference = list.ConstGet(i);
    if (reference.eoType_ == type && reference.eoName_ == name) list.RemoveIndex(i);
  }
}
