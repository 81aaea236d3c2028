// DDB_ROM.h: start-up and shut-down of the ROM library
#pragma once

#include <CoreUtils/PlatformExport.h>

CORE_GEOMETRY_PLATFORM_API void DDB_ROM_initialize(int& tally);
/// The last call removes all superseded layouts.
CORE_GEOMETRY_PLATFORM_API void DDB_ROM_finalize(int& tally);
