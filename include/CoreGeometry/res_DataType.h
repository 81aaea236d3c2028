// res_DataType.h: what kind of quantity a result is and how it is stored
#pragma once

#include <CaeUtils/omu_PrimEnum.h>

/// Kind of quantity. Conversions return 15, which has no text, for an unknown one.
enum res_DataTypeEnm : int {
  res_ENUMERATION = 0,
  res_BOOLEAN = 1,
  res_INTEGER = 2,
  res_SCALAR = 3,
  res_VECTOR = 4,
  res_MATRIX = 5,
  res_QUATERNION_2D = 6,
  res_QUATERNION_3D = 7,
  res_TENSOR = 8,
  res_TENSOR_3D_FULL = 9,
  res_TENSOR_3D_PLANAR = 10,
  res_TENSOR_3D_SURFACE = 11,
  res_TENSOR_2D_PLANAR = 12,
  res_TENSOR_2D_SURFACE = 13
};
template<> struct omu_EnumTable<res_DataTypeEnm> {
  static constexpr const char* name = "res_DataTypeEnm";
  static constexpr omu_EnumEntry entries[] = {{res_ENUMERATION, "ENUMERATION"},
                                              {res_BOOLEAN, "BOOLEAN"},
                                              {res_INTEGER, "INTEGER"},
                                              {res_SCALAR, "SCALAR"},
                                              {res_VECTOR, "VECTOR"},
                                              {res_MATRIX, "MATRIX"},
                                              {res_QUATERNION_2D, "QUATERNION_2D"},
                                              {res_QUATERNION_3D, "QUATERNION_3D"},
                                              {res_TENSOR, "TENSOR"},
                                              {res_TENSOR_3D_FULL, "TENSOR_3D_FULL"},
                                              {res_TENSOR_3D_PLANAR, "TENSOR_3D_PLANAR"},
                                              {res_TENSOR_3D_SURFACE, "TENSOR_3D_SURFACE"},
                                              {res_TENSOR_2D_PLANAR, "TENSOR_2D_PLANAR"},
                                              {res_TENSOR_2D_SURFACE, "TENSOR_2D_SURFACE"}};
};

/// Symmetry of a matrix quantity.
enum res_MatrixTypeEnm : int { res_GENERIC_MATRIX = 0, res_SYMMETRIC_MATRIX = 1 };
template<> struct omu_EnumTable<res_MatrixTypeEnm> {
  static constexpr const char* name = "res_MatrixTypeEnm";
  static constexpr omu_EnumEntry entries[] = {{res_GENERIC_MATRIX, "GENERIC_MATRIX"},
                                              {res_SYMMETRIC_MATRIX, "SYMMETRIC_MATRIX"}};
};

/// Type of the stored numbers.
enum res_StorageTypeEnm : int {
  res_STORAGE_FLOAT = 0,
  res_STORAGE_DOUBLE = 1,
  res_STORAGE_INTEGER = 2,
  res_STORAGE_BOOLEAN = 3
};
template<> struct omu_EnumTable<res_StorageTypeEnm> {
  static constexpr const char* name = "res_StorageTypeEnm";
  static constexpr omu_EnumEntry entries[] = {{res_STORAGE_FLOAT, "FLOAT"},
                                              {res_STORAGE_DOUBLE, "DOUBLE"},
                                              {res_STORAGE_INTEGER, "INTEGER"},
                                              {res_STORAGE_BOOLEAN, "BOOLEAN"}};
};

/// Meaning of the two numbers of a complex value.
enum res_PairEnm : int { res_NO_PAIR = 0, res_REAL_AND_IMAGINARY = 1, res_MAGNITUDE_AND_PHASE = 2 };
template<> struct omu_EnumTable<res_PairEnm> {
  static constexpr const char* name = "res_PairEnm";
  static constexpr omu_EnumEntry entries[] = {{res_NO_PAIR, "NONE"},
                                              {res_REAL_AND_IMAGINARY, "REAL_AND_IMAGINARY"},
                                              {res_MAGNITUDE_AND_PHASE, "MAGNITUDE_AND_PHASE"}};
};

/// Which number of a complex value is shown.
enum res_ComplexDisplayEnm : int {
  res_REAL = 0,
  res_IMAGINARY = 1,
  res_COMPLEX_MAGNITUDE = 2,
  res_COMPLEX_PHASE = 3,
  res_COMPLEX_VAL_AT_ANGLE = 4
};
template<> struct omu_EnumTable<res_ComplexDisplayEnm> {
  static constexpr const char* name = "res_ComplexDisplayEnm";
  static constexpr omu_EnumEntry entries[] = {{res_REAL, "REAL"},
                                              {res_IMAGINARY, "IMAGINARY"},
                                              {res_COMPLEX_MAGNITUDE, "COMPLEX_MAGNITUDE"},
                                              {res_COMPLEX_PHASE, "COMPLEX_PHASE"},
                                              {res_COMPLEX_VAL_AT_ANGLE, "COMPLEX_VAL_AT_ANGLE"}};
};
