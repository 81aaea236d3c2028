#include <CoreGeometry/dst_ClassRange.h>

#include "dst_Component.h"
#include "dst_Numbers.h"

#include <CoreGeometry/shp_Shape.h>
#include <cls_Fields.h>

constexpr auto dst_ClassRange::StoredFields() {
  return cls_Fields{cls_Field{"elemTypeLabel", &dst_ClassRange::elemTypeLabel_},
                    cls_Field{"controls", &dst_ClassRange::controls_},
                    cls_Field{"meshIndex", &dst_ClassRange::meshIndex_},
                    cls_Field{"classIndex", &dst_ClassRange::classIndex_},
                    cls_Field{"regionClassIndex", &dst_ClassRange::regionClassIndex_},
                    cls_Field{"regionIndex", &dst_ClassRange::regionIndex_},
                    cls_Field{"category", &dst_ClassRange::category_},
                    cls_Field{"orientation", &dst_ClassRange::orientation_},
                    cls_Field{"locationLabels", &dst_ClassRange::locationLabels_},
                    cls_Field{"nodesPerElement", &dst_ClassRange::nodesPerElement_},
                    cls_Field{"firstElement", &dst_ClassRange::firstElement_},
                    cls_Field{"numElements", &dst_ClassRange::numElements_},
                    cls_Field{"hasLabels", &dst_ClassRange::hasLabels_}};
}

unsigned dst_ClassRange::TypeId() noexcept { return dst_TypeId(3); }
unsigned dst_ClassRange::DynTypeId() const noexcept { return TypeId(); }
void* dst_ClassRange::Ctor(cls_ReadVisitor& visitor) { return new dst_ClassRange(visitor); }
void dst_ClassRange::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<dst_ClassRange>(registrar, "dst_ClassRange", 1, StoredFields());
}

dst_ClassRange::dst_ClassRange() : uid_(cls_Uid::AllocateUid()) {}
dst_ClassRange::dst_ClassRange(const bme_ElementClass& elements)
    : elemTypeLabel_(elements.ElemTypeLabel()), controls_(elements.GetElemControlParams()),
      meshIndex_(elements.MeshIndex()), classIndex_(elements.ClassIndex()),
      regionClassIndex_(elements.RegionClassIndex()), regionIndex_(elements.RegionIndex()),
      category_(elements.CategoryLabel()), orientation_(elements.OrientationFreq()),
      locationLabels_(elements.LocationLabels()), nodesPerElement_(elements.NumNodesPerElem()),
      numElements_(static_cast<unsigned>(elements.NumElements())),
      hasLabels_(elements.HasUserElementLabels()), uid_(cls_Uid::AllocateUid()) {}
dst_ClassRange::dst_ClassRange(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
  if (nodesPerElement_ < 0 || EndElement() > dst_kMostNumbers)
    visitor.Refuse("cannot have " + std::to_string(numElements_) + " elements of "
                   + std::to_string(nodesPerElement_) + " nodes from number "
                   + std::to_string(firstElement_));
}
dst_ClassRange::~dst_ClassRange() = default;

dst_ClassRange dst_ClassRange::OfStored(const cls_ReadVisitor& elementClass) {
  // all of its fields but the arrays
  constexpr cls_Fields kFacts{cls_Field{"elemTypeLabel", &dst_ClassRange::elemTypeLabel_},
                              cls_Field{"elemCtrlParams", &dst_ClassRange::controls_},
                              cls_Field{"meshIndex", &dst_ClassRange::meshIndex_},
                              cls_Field{"classIndex", &dst_ClassRange::classIndex_},
                              cls_Field{"regionClassIndex", &dst_ClassRange::regionClassIndex_},
                              cls_Field{"regionIndex", &dst_ClassRange::regionIndex_},
                              cls_Field{"categoryLabel", &dst_ClassRange::category_},
                              cls_Field{"orientationFreq", &dst_ClassRange::orientation_},
                              cls_Field{"locationLabel", &dst_ClassRange::locationLabels_}};
  dst_ClassRange range;
  cls_ReadFields(elementClass, range, kFacts);
  range.numElements_ = static_cast<unsigned>(elementClass.GetInt("numElements"));
  return range;
}

void dst_ClassRange::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

bool dst_ClassRange::operator==(const dst_ClassRange& other) const {
  return cls_SameFields(*this, other, StoredFields());
}

void dst_ClassRange::SetNumbers(std::uint64_t first, std::uint64_t count) {
  firstElement_ = dst_Stored(first, "element");
  numElements_ = dst_Stored(count, "element");
  dst_Stored(first + count, "element");
}

bme_ElementClass* dst_ClassRange::MakeClass(cow_ArrayCOW<int> connectivity, cow_ArrayCOW<int> labels) const {
  auto made = std::make_unique<bme_ElementClass>(
      elemTypeLabel_, cls_xp2DArrayInt(static_cast<std::size_t>(nodesPerElement_), std::move(connectivity)));
  made->SetElemControlParams(controls_);
  made->SetMeshIndex(meshIndex_);
  made->SetClassIndex(classIndex_);
  made->SetRegion(regionIndex_, regionClassIndex_);
  made->SetCategoryLabel(category_);
  made->SetOrientationFreq(orientation_);
  made->SetLocationLabels(locationLabels_.List());
  if (!labels.IsEmpty()) made->SetUserElementLabels(cls_xp1DArrayListInt(std::move(labels)));
  return made.release();
}
