// UTI_CaeUtils.h: start-up and shut-down of the CaeUtils library
#pragma once

#include <CoreUtils/PlatformExport.h>

CORE_GEOMETRY_PLATFORM_API void UTI_CaeUtils_initialize(int& tally);
/// The last call empties the list of registered enumerations.
CORE_GEOMETRY_PLATFORM_API void UTI_CaeUtils_finalize(int& tally);
