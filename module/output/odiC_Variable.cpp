#include <CoreGeometry/odiC_Variable.h>

#include "odiC_Fields.h"

constexpr auto odiC_Variable::StoredFields() {
  return cls_Fields{cls_Field{"name", &odiC_Variable::name},
                    cls_Field{"description", &odiC_Variable::description},
                    cls_Field{"unit", &odiC_Variable::unit},
                    cls_Field{"dataType", &odiC_Variable::dataType},
                    cls_Field{"matrixType", &odiC_Variable::matrixType},
                    cls_Field{"components", &odiC_Variable::components},
                    cls_Field{"componentNames", &odiC_Variable::componentNames},
                    cls_Field{"coordSystem", &odiC_Variable::coordSystem},
                    cls_Field{"axes", &odiC_Variable::axes},
                    cls_Field{"pair", &odiC_Variable::pair},
                    cls_Field{"isEngineeringShear", &odiC_Variable::isEngineeringShear},
                    cls_Field{"valueNames", &odiC_Variable::valueNames}};
}
template class odiC_Stored<odiC_Variable>;

constexpr auto odiC_Category::StoredFields() {
  return cls_Fields{cls_Field{"name", &odiC_Category::name},
                    cls_Field{"description", &odiC_Category::description},
                    cls_Field{"elementCategories", &odiC_Category::elementCategories},
                    cls_Field{"sectionPoints", &odiC_Category::sectionPoints},
                    cls_Field{"offsets", &odiC_Category::offsets},
                    cls_Field{"plies", &odiC_Category::plies}};
}
template class odiC_Stored<odiC_Category>;

namespace {
constexpr auto xx = res_XX_COMPONENT, yy = res_YY_COMPONENT, zz = res_ZZ_COMPONENT, xy = res_XY_COMPONENT,
               xz = res_XZ_COMPONENT, yz = res_YZ_COMPONENT, yx = res_YX_COMPONENT, zx = res_ZX_COMPONENT,
               zy = res_ZY_COMPONENT;
constexpr const char* kShortNames[] = {"xx", "yy", "zz", "xy", "xz", "yz", "yx", "zx", "zy", ""};
constexpr const char* kVectorNames[] = {"x", "y", "z"};
constexpr const char* kQuaternionNames[] = {"x", "y", "z", "w"};
} // namespace

std::vector<res_ComponentEnm> odiC_ComponentsOf(res_DataTypeEnm type, res_MatrixTypeEnm matrix) {
  switch (type) {
  case res_VECTOR: return {xx, yy, zz};
  case res_TENSOR:
  case res_TENSOR_3D_FULL: return {xx, yy, zz, xy, xz, yz};
  case res_TENSOR_3D_PLANAR:
  case res_TENSOR_2D_PLANAR: return {xx, yy, zz, xy};
  case res_TENSOR_3D_SURFACE:
  case res_TENSOR_2D_SURFACE: return {xx, yy, xy};
  case res_MATRIX:
    if (matrix == res_SYMMETRIC_MATRIX) return {xx, yy, zz, xy, xz, yz};
    return {xx, xy, xz, yx, yy, yz, zx, zy, zz};
  case res_QUATERNION_3D: return std::vector<res_ComponentEnm>(4, res_UNDEFINED_COMPONENT);
  case res_QUATERNION_2D: return std::vector<res_ComponentEnm>(2, res_UNDEFINED_COMPONENT);
  default: return {res_UNDEFINED_COMPONENT};
  }
}

odiC_Variable::odiC_Variable(cow_String ofName, res_DataTypeEnm type, cow_String ofUnit)
    : name(std::move(ofName)), unit(std::move(ofUnit)), dataType(type), components(odiC_ComponentsOf(type)) {
  if (type == res_VECTOR || type >= res_TENSOR || type == res_MATRIX) coordSystem = res_GLOBAL;
}

odiC_Variable::odiC_Variable(const cls_ReadVisitor& visitor) : odiC_Stored(visitor) {
  ReadFields(visitor);
  if (const cow_String wrong = WhatIsWrong(); !wrong.empty()) visitor.Refuse(wrong);
}

cow_String odiC_Variable::WhatIsWrong() const {
  if (name.empty()) return "a variable without a name";
  const cow_String place = "variable \"" + name + "\" has ";
  if (components.empty()) return place + "no components";
  return componentNames.empty() || componentNames.size() == components.size()
             ? cow_String()
             : place + std::to_string(components.size()) + " components and "
                   + std::to_string(componentNames.size()) + " names of them";
}

bool odiC_Variable::IsTensor() const noexcept {
  return dataType >= res_TENSOR || (dataType == res_MATRIX && matrixType == res_SYMMETRIC_MATRIX);
}

bool odiC_Variable::IsIntegral() const noexcept { return dataType <= res_INTEGER; }

cow_String odiC_Variable::ComponentName(int component) const {
  const auto i = static_cast<std::size_t>(component);
  if (!componentNames.empty()) return componentNames[i];
  if (dataType == res_VECTOR && components[i] <= res_ZZ_COMPONENT) return kVectorNames[components[i]];
  if (dataType == res_QUATERNION_3D) return kQuaternionNames[i];
  if (dataType == res_QUATERNION_2D) return kQuaternionNames[i + 2];
  return kShortNames[components[i]];
}

bool odiC_Variable::IsLike(const odiC_Variable& other) const noexcept {
  return dataType == other.dataType && matrixType == other.matrixType && components == other.components
         && coordSystem == other.coordSystem && axes == other.axes && pair == other.pair
         && isEngineeringShear == other.isEngineeringShear;
}

odiC_Category::odiC_Category(const cls_ReadVisitor& visitor) : odiC_Stored(visitor) {
  ReadFields(visitor);
  if (const cow_String wrong = WhatIsWrong(); !wrong.empty()) visitor.Refuse(wrong);
}

cow_String odiC_Category::WhatIsWrong() const {
  return offsets.size() == sectionPoints.size() && plies.size() == sectionPoints.size()
             ? cow_String()
             : "category \"" + name + "\" has " + std::to_string(sectionPoints.size()) + " section points, "
                   + std::to_string(offsets.size()) + " offsets and " + std::to_string(plies.size())
                   + " plies";
}
