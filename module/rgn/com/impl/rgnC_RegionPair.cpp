#include <CoreGeometry/rgnC_RegionPair.h>

#include "rgnC_Component.h"
#include <cls_Fields.h>

constexpr auto rgnC_RegionPair::StoredFields() {
  return cls_Fields{
      cls_Field{"region1", &rgnC_RegionPair::region1_}, cls_Field{"region2", &rgnC_RegionPair::region2_},
      cls_Field{"ground1", &rgnC_RegionPair::ground1_}, cls_Field{"ground2", &rgnC_RegionPair::ground2_},
      cls_Field{"suppress", &rgnC_RegionPair::suppress_}};
}

unsigned rgnC_RegionPair::TypeId() noexcept { return rgnC_kRegionPair; }
unsigned rgnC_RegionPair::DynTypeId() const noexcept { return TypeId(); }
void* rgnC_RegionPair::Ctor(cls_ReadVisitor& visitor) { return new rgnC_RegionPair(visitor); }
void rgnC_RegionPair::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<rgnC_RegionPair>(registrar, "rgnC_RegionPair", rgnC_kRegionPairVersion, StoredFields());
}

rgnC_RegionPair::rgnC_RegionPair(const rgnC_Region& region1, const rgnC_Region& region2, bool ground1,
                                 bool ground2, bool suppress)
    : region1_(region1), region2_(region2), ground1_(ground1), ground2_(ground2), suppress_(suppress) {}

rgnC_RegionPair::rgnC_RegionPair(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void rgnC_RegionPair::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

bool rgnC_RegionPair::operator==(const rgnC_RegionPair& other) const {
  return cls_SameFields(*this, other, StoredFields());
}

omu_Prim omu_ReturnPrim(const rgnC_RegionPair& pair) {
  return omu_ReturnPrim(omu_Prim::Tuple{omu_ReturnPrim(pair.Region1()), omu_ReturnPrim(pair.Region2()),
                                        omu_ReturnPrim(pair.IsGround1()), omu_ReturnPrim(pair.IsGround2()),
                                        omu_ReturnPrim(pair.IsSuppressed())});
}

omu_Prim omu_ReturnPrim(const rgnC_RegionPairList& pairs) {
  omu_Prim::Tuple tuple;
  for (const rgnC_RegionPair& pair : pairs.List()) tuple.push_back(omu_ReturnPrim(pair));
  return omu_ReturnPrim(std::move(tuple));
}
