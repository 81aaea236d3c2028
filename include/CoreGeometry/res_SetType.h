// res_SetType.h: kinds of sets
#pragma once

#include <CaeUtils/omu_PrimEnum.h>

/// What a set holds. Value 7 is not used.
enum res_SetTypeEnm : int {
  res_NODE_SET = 0,
  res_ELEMENT_SET = 1,
  res_SURFACE_SET = 2,
  res_SURFACE_ELEMENT = 3,
  res_SURFACE_FACET = 4,
  res_SURFACE_EDGE = 5,
  res_SURFACE_NODE = 6,
  res_SURFACE_ANALYTICAL = 8
};
template<> struct omu_EnumTable<res_SetTypeEnm> {
  static constexpr const char* name = "res_SetTypeEnm";
  static constexpr omu_EnumEntry entries[] = {
      {res_NODE_SET, "NODE_SET"},           {res_ELEMENT_SET, "ELEMENT_SET"},
      {res_SURFACE_SET, "SURFACE_SET"},     {res_SURFACE_ELEMENT, "SURFACE_ELEMENT"},
      {res_SURFACE_FACET, "SURFACE_FACET"}, {res_SURFACE_EDGE, "SURFACE_EDGE"},
      {res_SURFACE_NODE, "SURFACE_NODE"},   {res_SURFACE_ANALYTICAL, "SURFACE_ANALYTICAL"}};
};
