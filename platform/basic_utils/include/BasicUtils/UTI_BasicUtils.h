// UTI_BasicUtils.h: start-up and shut-down of the BasicUtils library
#pragma once

#include <CoreUtils/PlatformExport.h>

/// Nothing of the library needs this call before: its registries exist on first use.
CORE_GEOMETRY_PLATFORM_API void UTI_BasicUtils_initialize(int& tally);

/// The last one runs the finalisers of singletons and empties the class registry and the component table.
CORE_GEOMETRY_PLATFORM_API void UTI_BasicUtils_finalize(int& tally);
