// res_Component.h: components, invariants and the systems they refer to
#pragma once

#include <CaeUtils/omu_PrimEnum.h>

/// System that components refer to.
enum res_CoordSystemEnm : int {
  res_PRINCIPAL = 0,
  res_GLOBAL = 1,
  res_LOCAL = 2,
  res_NOT_APPLICABLE = 3,
  res_USER_SPECIFIED = 4
};
template<> struct omu_EnumTable<res_CoordSystemEnm> {
  static constexpr const char* name = "res_CoordSystemEnm";
  static constexpr omu_EnumEntry entries[] = {{res_PRINCIPAL, "PRINCIPAL"},
                                              {res_GLOBAL, "GLOBAL"},
                                              {res_LOCAL, "LOCAL"},
                                              {res_NOT_APPLICABLE, "NOT_APPLICABLE"},
                                              {res_USER_SPECIFIED, "USER-SPECIFIED"}};
};

/// Component of a vector or tensor.
enum res_ComponentEnm : int {
  res_XX_COMPONENT = 0,
  res_YY_COMPONENT = 1,
  res_ZZ_COMPONENT = 2,
  res_XY_COMPONENT = 3,
  res_XZ_COMPONENT = 4,
  res_YZ_COMPONENT = 5,
  res_YX_COMPONENT = 6,
  res_ZX_COMPONENT = 7,
  res_ZY_COMPONENT = 8,
  res_UNDEFINED_COMPONENT = 9
};
template<> struct omu_EnumTable<res_ComponentEnm> {
  static constexpr const char* name = "res_ComponentEnm";
  static constexpr omu_EnumEntry entries[] = {
      {res_XX_COMPONENT, "XX-COMPONENT"}, {res_YY_COMPONENT, "YY-COMPONENT"},
      {res_ZZ_COMPONENT, "ZZ-COMPONENT"}, {res_XY_COMPONENT, "XY-COMPONENT"},
      {res_XZ_COMPONENT, "XZ-COMPONENT"}, {res_YZ_COMPONENT, "YZ-COMPONENT"},
      {res_YX_COMPONENT, "YX-COMPONENT"}, {res_ZX_COMPONENT, "ZX-COMPONENT"},
      {res_ZY_COMPONENT, "ZY-COMPONENT"}, {res_UNDEFINED_COMPONENT, "UNDEFINED"}};
};

/// Quantity derived from all components.
enum res_InvariantEnm : int {
  res_MAX_PRINCIPAL = 0,
  res_MID_PRINCIPAL = 1,
  res_MIN_PRINCIPAL = 2,
  res_MAXIMUM_IN_PLANE_PRINCIPAL = 3,
  res_MINIMUM_IN_PLANE_PRINCIPAL = 4,
  res_OUT_OF_PLANE_PRINCIPAL = 5,
  res_MISES = 6,
  res_TRESCA = 7,
  res_PRESS = 8,
  res_INV3 = 9,
  res_MAGNITUDE = 10
};
template<> struct omu_EnumTable<res_InvariantEnm> {
  static constexpr const char* name = "res_InvariantEnm";
  static constexpr omu_EnumEntry entries[] = {{res_MAX_PRINCIPAL, "MAX_PRINCIPAL"},
                                              {res_MID_PRINCIPAL, "MID_PRINCIPAL"},
                                              {res_MIN_PRINCIPAL, "MIN_PRINCIPAL"},
                                              {res_MAXIMUM_IN_PLANE_PRINCIPAL, "MAXIMUM_IN-PLANE_PRINCIPAL"},
                                              {res_MINIMUM_IN_PLANE_PRINCIPAL, "MINIMUM_IN-PLANE_PRINCIPAL"},
                                              {res_OUT_OF_PLANE_PRINCIPAL, "OUT-OF-PLANE_PRINCIPAL"},
                                              {res_MISES, "MISES"},
                                              {res_TRESCA, "TRESCA"},
                                              {res_PRESS, "PRESS"},
                                              {res_INV3, "INV3"},
                                              {res_MAGNITUDE, "MAGNITUDE"}};
};
