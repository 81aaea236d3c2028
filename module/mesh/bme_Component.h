// bme_Component.h: what all mesh sources share
#pragma once

#include <BasicUtils/typ_ArchCompTable.h>
#include <ddb_Module.h>

inline constexpr unsigned short bme_kComponent = 812;

constexpr unsigned bme_TypeId(unsigned ordinal) { return ddb_TypeId(bme_kComponent, ordinal); }

/// True when the module traces at this level.
inline bool bme_Traces(int level) { return typ_DebugFlags::GetDebugFlags(bme_kComponent) >= level; }
