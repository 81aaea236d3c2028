#include <CoreGeometry/shp_AnalyticRigidSurfaceData.h>

#include "shp_Component.h"
#include <cls_Fields.h>

/// A single triple of floats is stored as a row of three.
template<class Tag> struct cls_FieldKind<g3d_Triple<Tag>> {
  static constexpr cls_AttributeType kType = cls_AttributeType::FloatArray;
  static unsigned ElemTypeId() { return 1; }
  static void Read(const cls_ReadVisitor& visitor, const char* name, g3d_Triple<Tag>& value) {
    const cls_ReadVisitor field(visitor, name);
    const auto numbers = field.template GetArray<float>();
    if (numbers.Size() != 3) field.Refuse("has " + std::to_string(numbers.Size()) + " numbers instead of 3");
    std::copy_n(numbers.Const().begin(), 3, value.values);
  }
  static void Write(const cls_WriteVisitor& visitor, const char* name, const g3d_Triple<Tag>& value) {
    cow_ArrayCOW<float> numbers;
    numbers.Append(std::span<const float>(value.values));
    cls_WriteVisitor(visitor, name).PutArray(numbers, 3);
  }
};

constexpr auto shp_SuppDataPair::StoredFields() {
  return cls_Fields{cls_Field{"value", &shp_SuppDataPair::value_},
                    cls_Field{"dataType", &shp_SuppDataPair::dataType_}};
}

unsigned shp_SuppDataPair::TypeId() noexcept { return shp_kSuppDataPair; }
unsigned shp_SuppDataPair::DynTypeId() const noexcept { return TypeId(); }
void* shp_SuppDataPair::Ctor(cls_ReadVisitor& visitor) { return new shp_SuppDataPair(visitor); }
void shp_SuppDataPair::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<shp_SuppDataPair>(registrar, "shp_SuppDataPair", shp_kVersion, StoredFields());
}

shp_SuppDataPair::shp_SuppDataPair(const g3d_Point& value, shp_SuppDataPairEnm dataType)
    : value_(value), dataType_(dataType) {}

shp_SuppDataPair::shp_SuppDataPair(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void shp_SuppDataPair::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

bool shp_SuppDataPair::operator==(const shp_SuppDataPair& other) const {
  return cls_SameFields(*this, other, StoredFields());
}

constexpr auto shp_AnalyticRigidSurfaceData::StoredFields() {
  return cls_Fields{cls_Field{"meshIndex", &shp_AnalyticRigidSurfaceData::meshIndex_},
                    cls_Field{"classIndex", &shp_AnalyticRigidSurfaceData::classIndex_},
                    cls_Field{"elemIndex", &shp_AnalyticRigidSurfaceData::elemIndex_},
                    cls_Field{"surfaceName", &shp_AnalyticRigidSurfaceData::surfaceName_},
                    cls_Field{"surfaceType", &shp_AnalyticRigidSurfaceData::surfaceType_},
                    cls_Field{"localCoordDef", &shp_AnalyticRigidSurfaceData::localCoordDef_},
                    cls_Field{"dataPairList", &shp_AnalyticRigidSurfaceData::dataPairList_}};
}

unsigned shp_AnalyticRigidSurfaceData::TypeId() noexcept { return shp_kAnalyticRigidSurfaceData; }
unsigned shp_AnalyticRigidSurfaceData::DynTypeId() const noexcept { return TypeId(); }
void* shp_AnalyticRigidSurfaceData::Ctor(cls_ReadVisitor& visitor) {
  return new shp_AnalyticRigidSurfaceData(visitor);
}
void shp_AnalyticRigidSurfaceData::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<shp_AnalyticRigidSurfaceData>(registrar, "shp_AnalyticRigidSurfaceData", shp_kVersion,
                                                  StoredFields());
}

shp_AnalyticRigidSurfaceData::shp_AnalyticRigidSurfaceData(shp_AnalyticRigidSurfEnm surfaceType)
    : surfaceType_(surfaceType) {}

shp_AnalyticRigidSurfaceData::shp_AnalyticRigidSurfaceData(const cls_ReadVisitor& visitor)
    : uid_(visitor.GetUid()) {
  cls_ReadFields(visitor, *this, StoredFields());
}

void shp_AnalyticRigidSurfaceData::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, *this, StoredFields());
}

shp_AnalyticRigidSurfaceData* shp_AnalyticRigidSurfaceData::Copy() const {
  return new shp_AnalyticRigidSurfaceData(*this);
}

bool shp_AnalyticRigidSurfaceData::operator==(const shp_AnalyticRigidSurfaceData& other) const {
  return cls_SameFields(*this, other, StoredFields());
}

void shp_AnalyticRigidSurfaceData::SetElement(int meshIndex, int classIndex, int elemIndex) noexcept {
  meshIndex_ = meshIndex;
  classIndex_ = classIndex;
  elemIndex_ = elemIndex;
}
