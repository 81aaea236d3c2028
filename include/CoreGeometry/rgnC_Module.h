// rgnC_Module.h: start-up and shut-down of the region module
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

CORE_GEOMETRY_API void rgnC_initialize(int& tally);
CORE_GEOMETRY_API void rgnC_finalize(int& tally);
