// UTI_RfmInterface.h: start-up and shut-down of the RfmInterface library
#pragma once

#include <CoreUtils/PlatformExport.h>

CORE_GEOMETRY_PLATFORM_API void UTI_RfmInterface_initialize(int& tally);
CORE_GEOMETRY_PLATFORM_API void UTI_RfmInterface_finalize(int& tally);
