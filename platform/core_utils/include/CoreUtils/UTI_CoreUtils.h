// UTI_CoreUtils.h: start-up and shut-down of the CoreUtils library
#pragma once

#include <CoreUtils/PlatformExport.h>

CORE_GEOMETRY_PLATFORM_API void UTI_CoreUtils_initialize(int& tally);
CORE_GEOMETRY_PLATFORM_API void UTI_CoreUtils_finalize(int& tally);
