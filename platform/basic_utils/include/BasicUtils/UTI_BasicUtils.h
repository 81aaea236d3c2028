// UTI_BasicUtils.h: start-up and shut-down of the BasicUtils library
#pragma once

#include <CoreUtils/PlatformExport.h>

/// The library works without this call, too: its registries are created on first use.
CORE_GEOMETRY_PLATFORM_API void UTI_BasicUtils_initialize(int& tally);

/// The last call runs the finalisers of singletons and empties the class registry and the component table.
CORE_GEOMETRY_PLATFORM_API void UTI_BasicUtils_finalize(int& tally);
