// bdo_Component.h: component number and class identifiers of the model references
#pragma once

#include <ddb_Module.h>

inline constexpr unsigned short bdo_kComponent = 775;

/// Identifiers of the persistent classes: part of the file format.
enum bdo_ClassId : unsigned { bdo_kEOReference = ddb_TypeId(bdo_kComponent, 1), bdo_kTheory };

/// Version of both classes: neither has a superseded layout.
inline constexpr int bdo_kVersion = 203;
