// dtmC_Module.h: start-up and shut-down of the datum reference module
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

CORE_GEOMETRY_API void dtmC_initialize(int& tally);
CORE_GEOMETRY_API void dtmC_finalize(int& tally);
