// odiC_Variable.h: what a variable of results is
#pragma once

#include <CoreGeometry/odiC_Stored.h>
#include <CoreGeometry/res_Component.h>
#include <CoreGeometry/res_DataType.h>
#include <vector>

/// A variable: its type, components and the system they refer to.
///
/// Units      text, never converted; phases are in degrees.
/// Errors     nex_TextException for components that the type does not have.
/// Stored as  name, description, unit, dataType, matrixType, components, componentNames, coordSystem, axes, pair,
///            isEngineeringShear, valueNames
class CORE_GEOMETRY_API odiC_Variable : public odiC_Stored<odiC_Variable> {
public:
  static constexpr const char* kName = "odiC_Variable";
  static constexpr unsigned short kOrdinal = 4;

  odiC_Variable() = default;
  /// With all components that the type has, global, or without a system when it is no vector or tensor.
  odiC_Variable(cow_String name, res_DataTypeEnm type, cow_String unit = {});
  explicit odiC_Variable(const cls_ReadVisitor& visitor);

  int NumComponents() const noexcept { return static_cast<int>(components.size()); }
  bool IsComplex() const noexcept { return pair != res_NO_PAIR; }
  bool IsTensor() const noexcept;   ///< six components at most, symmetric
  bool IsIntegral() const noexcept; ///< whole numbers or truth values
  /// "xx", "x", or the name that the variable gives it; empty for a scalar.
  cow_String ComponentName(int component) const;
  cow_String WhatIsWrong() const;                         ///< empty when nothing is
  bool IsLike(const odiC_Variable& other) const noexcept; ///< same type, components, system and pair

  cow_String name, description, unit;
  res_DataTypeEnm dataType = res_SCALAR;
  res_MatrixTypeEnm matrixType = res_GENERIC_MATRIX;
  std::vector<res_ComponentEnm> components; ///< in stored order
  std::vector<cow_String> componentNames;   ///< none, or one for each
  res_CoordSystemEnm coordSystem = res_NOT_APPLICABLE;
  cow_String axes; ///< a datum root, or the variable that holds quaternions
  res_PairEnm pair = res_NO_PAIR;
  bool isEngineeringShear = false; ///< shears are twice those of the tensor
  std::vector<cow_String> valueNames;

private:
  friend odiC_Stored<odiC_Variable>;
  static constexpr auto StoredFields();
};
extern template class odiC_Stored<odiC_Variable>;

/// Components of a type in stored order: xx yy zz xy xz yz of tensors, x y z of vectors.
CORE_GEOMETRY_API std::vector<res_ComponentEnm>
odiC_ComponentsOf(res_DataTypeEnm type, res_MatrixTypeEnm matrix = res_GENERIC_MATRIX);

/// Which points in a section of shells and beams elements of a category have.
///
/// Empty      offsets are not a number where they are not known.
/// Stored as  name, description, elementCategories, sectionPoints, offsets, plies
class CORE_GEOMETRY_API odiC_Category : public odiC_Stored<odiC_Category> {
public:
  static constexpr const char* kName = "odiC_Category";
  static constexpr unsigned short kOrdinal = 5;

  odiC_Category() = default;
  explicit odiC_Category(const cls_ReadVisitor& visitor);

  cow_String WhatIsWrong() const; ///< empty when nothing is

  cow_String name, description;
  std::vector<cow_String> elementCategories; ///< category labels of element classes
  std::vector<cow_String> sectionPoints;
  std::vector<double> offsets; ///< from -1, the bottom, to 1
  std::vector<int> plies;      ///< counted from the bottom; 0 for none

private:
  friend odiC_Stored<odiC_Category>;
  static constexpr auto StoredFields();
};
extern template class odiC_Stored<odiC_Category>;
