// gsl_Component.h: component number and class identifiers of the geometry module
#pragma once

#include <ddb_Module.h>

inline constexpr unsigned short gsl_kComponent = 778;

/// Identifiers of the persistent classes: part of the file format.
enum gsl_ClassId : unsigned {
  gsl_kPoint = ddb_TypeId(gsl_kComponent, 1),
  gsl_kDot,
  gsl_kPersistentVector,
  gsl_kPersistentMatrix,
  gsl_kStLine,
  gsl_kPlane,
  gsl_kSegment,
  gsl_kBBox,
  gsl_kModelSegment,
  gsl_kDotArray,
  gsl_kPlaneArray,
  gsl_kLineArray
};

/// Version of every class: none has a superseded layout.
inline constexpr int gsl_kVersion = 203;
