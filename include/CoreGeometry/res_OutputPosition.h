// res_OutputPosition.h: the location of a result on a mesh
#pragma once

#include <CaeUtils/omu_PrimEnum.h>

/// Location of a value on the mesh. Values 11, 13 and 14 occur in memory and have no text.
enum res_OutputPositionEnm : int {
  res_UNDEFINED_POSITION = 0,
  res_NODAL = 1,
  res_SURFACE_NODAL = 12,
  res_INTEGRATION_POINT = 2,
  res_ELEMENT_FACE = 3,
  res_ELEMENT_FACE_INTEGRATION_POINT = 16,
  res_SURFACE_INTEGRATION_POINT = 17,
  res_ELEMENT_NODAL = 4,
  res_WHOLE_ELEMENT = 5,
  res_ELEMENT_CENTROID = 6,
  res_WHOLE_REGION = 7,
  res_WHOLE_PART_INSTANCE = 8,
  res_WHOLE_MODEL = 9,
  res_GENERAL_PARTICLE = 10
};
template<> struct omu_EnumTable<res_OutputPositionEnm> {
  static constexpr const char* name = "res_OutputPositionEnm";
  static constexpr omu_EnumEntry entries[] = {
      {res_UNDEFINED_POSITION, "UNDEFINED_POSITION"},
      {res_NODAL, "NODAL"},
      {res_SURFACE_NODAL, "SURFACE_NODAL"},
      {res_INTEGRATION_POINT, "INTEGRATION_POINT"},
      {res_ELEMENT_FACE, "ELEMENT_FACE"},
      {res_ELEMENT_FACE_INTEGRATION_POINT, "ELEMENT_FACE_INTEGRATION_POINT"},
      {res_SURFACE_INTEGRATION_POINT, "SURFACE_INTEGRATION_POINT"},
      {res_ELEMENT_NODAL, "ELEMENT_NODAL"},
      {res_WHOLE_ELEMENT, "WHOLE_ELEMENT"},
      {res_ELEMENT_CENTROID, "ELEMENT_CENTROID"},
      {res_WHOLE_REGION, "WHOLE_REGION"},
      {res_WHOLE_PART_INSTANCE, "WHOLE_PART_INSTANCE"},
      {res_WHOLE_MODEL, "WHOLE_MODEL"},
      {res_GENERAL_PARTICLE, "GENERAL_PARTICLE"}};
};
