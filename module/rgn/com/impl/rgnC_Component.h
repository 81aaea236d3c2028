// rgnC_Component.h: component number and class identifiers of the region module
#pragma once

#include <ddb_Module.h>

inline constexpr unsigned short rgnC_kComponent = 596;

/// Identifiers of the persistent classes: part of the file format. Two of them are older than the scheme.
/// Those of the path references stand in rgnC_Shortcuts.h and rgnC_Region.h.
enum rgnC_ClassId : unsigned {
  rgnC_kRegion = 1034,
  rgnC_kSetData = 405,
  rgnC_kRegionPair = ddb_TypeId(rgnC_kComponent, 1),
  rgnC_kSubsetData
};
inline constexpr int rgnC_kRegionVersion = 1, rgnC_kSetDataVersion = 1, rgnC_kRegionPairVersion = 203,
                     rgnC_kSubsetDataVersion = 405;
