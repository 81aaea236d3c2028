// dtu_Component.h: component number and class identifiers of the datum module
#pragma once

#include <ddb_Module.h>

inline constexpr unsigned short dtu_kComponent = 770;

/// Identifiers of the persistent classes: part of the file format.
enum dtu_ClassId : unsigned {
  dtu_kDatum = ddb_TypeId(dtu_kComponent, 1),
  dtu_kDatumAxis,
  dtu_kDatumCsys,
  dtu_kDatumPlane,
  dtu_kDatumPoint,
  dtu_kDynamicDatumCsys,
  dtu_k6dofNodeDatumCsys,
  dtu_kNodesPackage,
  dtu_kDatumContainer
};

/// Version of every class: none has a superseded layout.
inline constexpr int dtu_kVersion = 203;
