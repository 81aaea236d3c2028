// odm_Enums.h: codes of the output database's own enumerations
#pragma once

/// Result positions of the output database. Any other value can be passed on.
enum odm_PositionEnm : int {
  odm_UNDEFINED_POSITION = 0x10,
  odm_NODAL = 0x20,
  odm_INTEGRATION_POINT = 0x80,
  odm_ELEMENT_NODAL = 0x100,
  odm_ELEMENT_CENTROID = 0x200,
  odm_ELEMENT_FACE = 0x400,
  odm_SURFACE_NODAL = 0x800,
  odm_SURFACE_CENTROID = 0x1000
};

/// Data types of the output database. Any other value can be passed on.
enum odm_DataTypeEnm : int {
  odm_UNDEFINED_DATA_TYPE = 0,
  odm_SCALAR = 1,
  odm_VECTOR = 2,
  odm_QUATERNION = 4,
  odm_TENSOR = 8
};
