// dtmC_Component.h: component number and class identifier of the datum references
#pragma once

#include <ddb_Module.h>

inline constexpr unsigned short dtmC_kComponent = 584;

/// Identifier of the persistent class: part of the file format.
inline constexpr unsigned dtmC_kDatumRef = ddb_TypeId(dtmC_kComponent, 1);
inline constexpr int dtmC_kDatumRefVersion = 319;
