#include <CoreGeometry/rgnC_Region.h>

#include "rgnC_Component.h"
#include <cls_Fields.h>

namespace {
constexpr const char *kAssembly = "Assembly", *kOldAssembly = "rootAssembly";
}

constexpr auto rgnC_Region::StoredFields() {
  return cls_Fields{cls_Field{"name", &rgnC_Region::name_},
                    cls_Field{"internal", &rgnC_Region::internal_},
                    cls_Field{"_ownerNames", &rgnC_Region::ownerNames_},
                    cls_Field{"_space", &rgnC_Region::space_},
                    cls_Field{"_setTypeBits", &rgnC_Region::setTypeBits_},
                    cls_Field{"setData", &rgnC_Region::setData_}};
}

unsigned rgnC_Region::TypeId() noexcept { return rgnC_kRegion; }
unsigned rgnC_Region::DynTypeId() const noexcept { return TypeId(); }
void* rgnC_Region::Ctor(cls_ReadVisitor& visitor) { return new rgnC_Region(visitor); }
void rgnC_Region::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<rgnC_Region>(registrar, "rgnC_Region", rgnC_kRegionVersion, StoredFields());
}

rgnC_Region::rgnC_Region(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
  for (int i = 0; i < ownerNames_.List().Size(); ++i)
    if (ownerNames_.List().ConstGet(i) == kOldAssembly) ownerNames_.ListToModify().Put(i, kAssembly);
}

rgnC_Region* rgnC_Region::Copy() const { return new rgnC_Region(*this); }

void rgnC_Region::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

rgnC_SetData rgnC_Region::ConstSet() const {
  if (!setData_.IsDefined()) throw nex_TextException("Cannot retrieve set - shortcut is undefined");
  return *setData_.Resolve();
}

bool rgnC_Region::operator==(const rgnC_Region& other) const {
  if (this == &other) return true;
  if (name_ != other.name_ || space_ != other.space_ || setTypeBits_ != other.setTypeBits_
      || internal_ != other.internal_)
    return false;
  const auto isAssembly = [](const cow_String& owner) { return owner.find(kAssembly) != cow_String::npos; };
  if (OwnerNames().Size() == 1 && other.OwnerNames().Size() == 1 && isAssembly(OwnerNames().ConstGet(0))
      && isAssembly(other.OwnerNames().ConstGet(0)))
    return true;
  return ownerNames_ == other.ownerNames_;
}

omu_Prim omu_ReturnPrim(const rgnC_Region& region) {
  omu_Prim::Tuple owners;
  for (const cow_String& owner : region.OwnerNames()) owners.push_back(omu_ReturnPrim(owner));
  return omu_ReturnPrim(omu_Prim::Tuple{omu_ReturnPrim(region.Name()), omu_ReturnPrim(region.IsInternal()),
                                        omu_ReturnPrim(std::move(owners)), omu_ReturnPrim(region.Space()),
                                        omu_ReturnPrim(region.GetSetTypeBits()),
                                        omu_ReturnPrim(region.GetSetData().Path())});
}

void omu_Get(const omu_Prim& prim, rgnC_Region& region) {
  const omu_Prim::Tuple& parts = omu_GetTuple(prim, 6);
  cow_String name, path;
  bool internal;
  int space, bits;
  omu_Get(parts[0], name);
  omu_Get(parts[1], internal);
  const auto* owners = std::get_if<omu_Prim::Tuple>(&parts[2].value);
  if (!owners) throw omu_ValueErrorException("the owner names of region \"" + name + "\" are no tuple");
  cow_List<cow_String> ownerNames;
  for (const omu_Prim& owner : *owners) {
    cow_String text;
    omu_Get(owner, text);
    ownerNames.Append(std::move(text));
  }
  omu_Get(parts[3], space);
  omu_Get(parts[4], bits);
  omu_Get(parts[5], path);
  region.SetName(std::move(name));
  region.SetInternal(internal);
  region.SetOwnerNames(std::move(ownerNames));
  region.SetSpace(space);
  region.SetSetTypeBits(bits);
  region.SetSetData(path.empty() ? rgnC_SetDataShortcut() : rgnC_SetDataShortcut(path));
}
