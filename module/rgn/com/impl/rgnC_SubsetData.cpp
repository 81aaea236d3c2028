#include <CoreGeometry/rgnC_SubsetData.h>

#include "rgnC_Component.h"
#include <BasicUtils/typ_ArchCompTable.h>
#include <CoreUtils/aio_ostream.h>
#include <cls_Fields.h>

namespace {
constexpr int kPrintLevel = 3;

const char* KindOf(res_SetTypeEnm type) {
  switch (type) {
  case res_SURFACE_ELEMENT: return "Facetless surface";
  case res_SURFACE_FACET: return "Faceted surface";
  case res_SURFACE_EDGE: return "Edge contact surface";
  case res_SURFACE_NODE: return "Node surface";
  default: return "Unknown";
  }
}
} // namespace

constexpr auto rgnC_SubsetData::StoredFields() {
  return cls_Fields{cls_Field{"setIndex", &rgnC_SubsetData::setIndex_},
                    cls_Field{"subsetIndex", &rgnC_SubsetData::subsetIndex_},
                    cls_Field{"idArray", &rgnC_SubsetData::idArray_},
                    cls_Field{"facetIdArray", &rgnC_SubsetData::facetIdArray_},
                    cls_Field{"subsetType", &rgnC_SubsetData::subsetType_},
                    cls_Field{"unsorted", &rgnC_SubsetData::unsorted_},
                    cls_Field{"meshIndex", &rgnC_SubsetData::meshIndex_},
                    cls_Field{"classIndex", &rgnC_SubsetData::classIndex_},
                    cls_Field{"constructionOk", &rgnC_SubsetData::constructionOk_}};
}

unsigned rgnC_SubsetData::TypeId() noexcept { return rgnC_kSubsetData; }
unsigned rgnC_SubsetData::DynTypeId() const noexcept { return TypeId(); }
void* rgnC_SubsetData::Ctor(cls_ReadVisitor& visitor) { return new rgnC_SubsetData(visitor); }
void rgnC_SubsetData::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<rgnC_SubsetData>(registrar, "rgnC_SubsetData", rgnC_kSubsetDataVersion, StoredFields());
}

rgnC_SubsetData::rgnC_SubsetData(int meshIndex, int classIndex, int subsetIndex, int setIndex,
                                 res_SetTypeEnm subsetType, bool unsorted, Ids idArray, Ids facetIdArray)
    : setIndex_(setIndex), subsetIndex_(subsetIndex), idArray_(std::move(idArray)),
      facetIdArray_(std::move(facetIdArray)), subsetType_(subsetType), unsorted_(unsorted),
      meshIndex_(meshIndex), classIndex_(classIndex), constructionOk_(true) {
  if (!facetIdArray_.IsEmpty() && facetIdArray_.Size() != idArray_.Size())
    throw nex_TextException("Error - wrong facet ids array length.");
}

rgnC_SubsetData::rgnC_SubsetData(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
  if (!facetIdArray_.IsEmpty() && facetIdArray_.Size() != idArray_.Size())
    visitor.Refuse("has " + std::to_string(facetIdArray_.Size()) + " facet ids for "
                   + std::to_string(idArray_.Size()) + " ids");
}

rgnC_SubsetData* rgnC_SubsetData::Copy() const { return new rgnC_SubsetData(*this); }

rgnC_SubsetData rgnC_SubsetData::WithItems(Ids idArray, Ids facetIdArray) const {
  rgnC_SubsetData made(meshIndex_, classIndex_, subsetIndex_, setIndex_, subsetType_, unsorted_,
                       std::move(idArray), std::move(facetIdArray));
  made.constructionOk_ = constructionOk_;
  return made;
}

void rgnC_SubsetData::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

int rgnC_SubsetData::LookupIndex(int id) const {
  if (idArray_.IsEmpty()) return kNotFound;
  if (!positions_) {
    const std::span<const int> ids = IdArray();
    auto table = std::make_shared<omi_LabelTable>();
    omi_LabelSurvey coming;
    coming.Add(ids);
    table->Reserve(coming);
    // backwards, so that the first of several stays
    for (std::size_t i = ids.size(); i-- > 0;) table->Insert(ids[i], static_cast<unsigned>(i));
    positions_ = std::move(table);
  }
  const unsigned position = positions_->Find(id);
  return position == omi_LabelTable::kNotFound ? kNotFound : static_cast<int>(position);
}

bool rgnC_SubsetData::operator==(const rgnC_SubsetData& other) const {
  return meshIndex_ == other.meshIndex_ && classIndex_ == other.classIndex_
         && subsetType_ == other.subsetType_ && idArray_ == other.idArray_
         && facetIdArray_ == other.facetIdArray_;
}

void rgnC_SubsetData::Print() const {
  if (idArray_.IsEmpty()) throw nex_TextException("Error - set not loaded.");
  if (typ_DebugFlags::GetDebugFlags(rgnC_kComponent) < kPrintLevel) return;
  aio_ostream& out = aio_DebugStream();
  out << "Set Index        = " << setIndex_ << std::endl;
  out << "SubSet Index     = " << subsetIndex_ << std::endl;
  out << "Mesh Index       = " << meshIndex_ << std::endl;
  out << "Class Data Index = " << classIndex_ << std::endl;
  out << "Subset Type      = " << static_cast<int>(subsetType_) << std::endl;
  out << "Unsorted         = " << (unsorted_ ? "YES" : "NO") << std::endl;
  out << KindOf(subsetType_) << std::endl;
  out << "Num items in set = " << NumItems() << std::endl;
}
