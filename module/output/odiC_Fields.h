// odiC_Fields.h: the stored classes of this module: their field lists, and plain vectors as fields
#pragma once

#include "odiC_Component.h"

#include <CoreGeometry/odiC_Stored.h>
#include <cls_Fields.h>

/// Texts.
template<> struct cls_FieldKind<std::vector<cow_String>> {
  static constexpr cls_AttributeType kType = cls_AttributeType::StringList;
  static unsigned ElemTypeId() { return 1; }
  static void Read(const cls_ReadVisitor& visitor, const char* name, std::vector<cow_String>& value) {
    value = cls_ReadVisitor(visitor, name).GetTexts();
  }
  static void Write(const cls_WriteVisitor& visitor, const char* name, const std::vector<cow_String>& value) {
    cls_WriteVisitor(visitor, name).PutTexts(value);
  }
};

/// Enumerations, as their texts.
template<omu_HasTable Enum> struct cls_FieldKind<std::vector<Enum>> {
  static constexpr cls_AttributeType kType = cls_AttributeType::StringList;
  static unsigned ElemTypeId() { return 1; }
  static void Read(const cls_ReadVisitor& visitor, const char* name, std::vector<Enum>& value) {
    value.clear();
    for (const cow_String& text : cls_ReadVisitor(visitor, name).GetTexts())
      value.push_back(omu_PrimEnum<Enum>(text));
  }
  static void Write(const cls_WriteVisitor& visitor, const char* name, const std::vector<Enum>& value) {
    std::vector<cow_String> texts;
    texts.reserve(value.size());
    for (const Enum one : value) texts.push_back(omu_PrimEnum<Enum>(one).Text());
    cls_WriteVisitor(visitor, name).PutTexts(texts);
  }
};

/// Numbers.
template<class Number>
requires std::is_arithmetic_v<Number>
struct cls_FieldKind<std::vector<Number>> {
  static constexpr cls_AttributeType kType = cls_kArrayType<Number>;
  static unsigned ElemTypeId() { return 1; }
  static void Read(const cls_ReadVisitor& visitor, const char* name, std::vector<Number>& value) {
    const cow_ArrayCOW<Number> read = cls_ReadVisitor(visitor, name).GetArray<Number>();
    value.assign(read.Const().begin(), read.Const().end());
  }
  static void Write(const cls_WriteVisitor& visitor, const char* name, const std::vector<Number>& value) {
    cow_ArrayCOW<Number> copy;
    copy.Append(value);
    cls_WriteVisitor(visitor, name).PutArray(copy, 1);
  }
};

/// Embedded objects.
template<class T>
requires requires { T::kOrdinal; }
struct cls_FieldKind<std::vector<T>> {
  static constexpr cls_AttributeType kType = cls_AttributeType::Object;
  static unsigned ElemTypeId() { return T::TypeId(); }
  static void Read(const cls_ReadVisitor& parent, const char* name, std::vector<T>& value) {
    const cls_ReadVisitor visitor(parent, name);
    value.clear();
    for (std::size_t i = 0; i < visitor.GetListSize(); ++i) value.emplace_back(cls_ReadVisitor(visitor, i));
  }
  static void Write(const cls_WriteVisitor& parent, const char* name, const std::vector<T>& value) {
    const cls_WriteVisitor visitor(parent, name);
    visitor.PutList(value.size());
    for (std::size_t i = 0; i < value.size(); ++i) value[i].DBWrite(cls_WriteVisitor(visitor, i));
  }
};

template<class Self> unsigned odiC_Stored<Self>::TypeId() noexcept {
  return ddb_TypeId(odiC_kComponent, Self::kOrdinal);
}
template<class Self> unsigned odiC_Stored<Self>::DynTypeId() const noexcept { return TypeId(); }
template<class Self> void* odiC_Stored<Self>::Ctor(cls_ReadVisitor& visitor) { return new Self(visitor); }
template<class Self> void odiC_Stored<Self>::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_DescribeClass<Self>(registrar, Self::kName, 1, Self::StoredFields());
}
template<class Self> void odiC_Stored<Self>::DBWrite(const cls_WriteVisitor& visitor) const {
  cls_WriteFields(visitor, TypeId(), uid_, static_cast<const Self&>(*this), Self::StoredFields());
}
template<class Self> odiC_Stored<Self>::odiC_Stored() : uid_(cls_Uid::AllocateUid()) {}
template<class Self>
odiC_Stored<Self>::odiC_Stored(const cls_ReadVisitor& visitor) : uid_(visitor.GetUid()) {}
template<class Self> odiC_Stored<Self>::~odiC_Stored() = default;
template<class Self> void odiC_Stored<Self>::ReadFields(const cls_ReadVisitor& visitor) {
  cls_ReadFields(visitor, static_cast<Self&>(*this), Self::StoredFields());
}
