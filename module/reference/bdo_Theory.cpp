#include <CoreGeometry/bdo_Theory.h>

#include "bdo_Component.h"
#include <cls_Fields.h>

constexpr auto bdo_Theory::StoredFields() {
  return cls_Fields{cls_Field{"space", &bdo_Theory::space_}, cls_Field{"analysis", &bdo_Theory::analysis_},
                    cls_Field{"type", &bdo_Theory::type_}, cls_Field{"twistDof", &bdo_Theory::twistDof_}};
}

unsigned bdo_Theory::TypeId() noexcept { return bdo_kTheory; }
unsigned bdo_Theory::DynTypeId() const noexcept { return TypeId(); }
void* bdo_Theory::Ctor(cls_ReadVisitor& visitor) { return new bdo_Theory(visitor); }
void bdo_Theory::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<bdo_Theory>(registrar, "bdo_Theory", bdo_kVersion, StoredFields());
}

bdo_Theory::bdo_Theory(bdo_Space space, bdo_Analysis analysis, bdo_Type type, bool twistDof)
    : space_(space), analysis_(analysis), type_(type), twistDof_(twistDof) {}

bdo_Theory::bdo_Theory(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void bdo_Theory::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

bool bdo_Theory::operator==(const bdo_Theory& other) const {
  return cls_SameFields(*this, other, StoredFields());
}
