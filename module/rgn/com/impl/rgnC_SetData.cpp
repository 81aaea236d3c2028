#include <CoreGeometry/rgnC_SetData.h>

#include "rgnC_Component.h"
#include <CoreUtils/aio_ostream.h>
#include <cls_Fields.h>

constexpr auto rgnC_SetData::StoredFields() {
  return cls_Fields{cls_Field{"setIndex", &rgnC_SetData::setIndex_},
                    cls_Field{"setLabel", &rgnC_SetData::setLabel_},
                    cls_Field{"subsetList", &rgnC_SetData::subsetList_},
                    cls_Field{"numSubset", &rgnC_SetData::numSubset_},
                    cls_Field{"setType", &rgnC_SetData::setType_},
                    cls_Field{"internalSet", &rgnC_SetData::internalSet_},
                    cls_Field{"unsorted", &rgnC_SetData::unsorted_},
                    cls_Field{"constructionOk", &rgnC_SetData::constructionOk_}};
}

unsigned rgnC_SetData::TypeId() noexcept { return rgnC_kSetData; }
unsigned rgnC_SetData::DynTypeId() const noexcept { return TypeId(); }
void* rgnC_SetData::Ctor(cls_ReadVisitor& visitor) { return new rgnC_SetData(visitor); }
void rgnC_SetData::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<rgnC_SetData>(registrar, "rgnC_SetData", rgnC_kSetDataVersion, StoredFields());
}

rgnC_SetData::rgnC_SetData(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

rgnC_SetData* rgnC_SetData::Copy() const { return new rgnC_SetData(*this); }

rgnC_SetData rgnC_SetData::WithoutSubsets() const {
  rgnC_SetData made(*this);
  made.subsetList_ = {};
  made.numSubset_ = 0;
  return made;
}

void rgnC_SetData::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

const rgnC_SubsetData& rgnC_SetData::SubSet(int position) const {
  if (position < 0 || position >= numSubset_ || !subsetList_.Has(position))
    throw nex_TextException("Set data index outside range [0 - %1$s]: %2$s",
                            {std::to_string(numSubset_), std::to_string(position)});
  return subsetList_.Get(position);
}

const rgnC_SubsetData& rgnC_SetData::SubSet(int meshIndex, int classIndex, res_SetTypeEnm type) const {
  for (const auto& [position, subset] : subsetList_) {
    const res_SetTypeEnm found = subset->SubsetType();
    const bool answers = found == type || (found == res_SURFACE_FACET && type == res_SURFACE_SET);
    if (answers && subset->MeshIndex() == meshIndex && subset->ClassIndex() == classIndex) return *subset;
  }
  throw nex_TextException(
      "No set matching mesh index %1$s, class index %2$s and type %3$s was found.",
      {std::to_string(meshIndex), std::to_string(classIndex), std::to_string(static_cast<int>(type))});
}

bool rgnC_SetData::IsEqual(const rgnC_SetData& other) const {
  if (setType_ != other.setType_ || numSubset_ != other.numSubset_) return false;
  for (int i = 0; i < numSubset_; ++i)
    if (!(SubSet(i) == other.SubSet(i))) return false;
  return true;
}

void rgnC_SetData::Print() const {
  aio_ostream& out = aio_DebugStream();
  out << "Set Label               = " << setLabel_ << std::endl;
  out << "Set Index               = " << setIndex_ << std::endl;
  out << "Set Type             = "
      << (setType_ == res_NODE_SET      ? "Node"
          : setType_ == res_ELEMENT_SET ? "Element"
                                        : "Surface")
      << std::endl;
  out << "Internal Set            = " << (internalSet_ ? "True" : "False") << std::endl;
  out << "Unsorted Set            = " << (unsorted_ ? "True" : "False") << std::endl;
  out << "Num subsets in this set = " << numSubset_ << std::endl;
  for (int i = 0; i < numSubset_; ++i) SubSet(i).Print();
}

void rgnC_SetData::AppendSubset(cow_COW<rgnC_SubsetData> subset) {
  if (subset.IsNull()) throw nex_AssertionException("set \"" + setLabel_ + "\" is given no subset to append");
  subsetList_.Insert(numSubset_, std::move(subset));
  ++numSubset_;
}

void rgnC_SetData::AppendSubset(const rgnC_SubsetData& subset) {
  AppendSubset(cow_COW<rgnC_SubsetData>(subset.Copy()));
}
