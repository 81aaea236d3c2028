// shp_Component.h: component number and class identifiers of the element shapes module
#pragma once

#include <ddb_Module.h>

inline constexpr unsigned short shp_kComponent = 831;

/// Identifiers of the persistent classes: part of the file format.
enum shp_ClassId : unsigned {
  shp_kAnalyticSurface = ddb_TypeId(shp_kComponent, 1),
  shp_kAnalyticSurfaceSegment,
  shp_kAnalyticRigidSurfaceData,
  shp_kSuppDataPair
};

/// Version of every class: none has a superseded layout.
inline constexpr int shp_kVersion = 203;
