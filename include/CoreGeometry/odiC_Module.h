// odiC_Module.h: start-up and shut-down of the output module
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

CORE_GEOMETRY_API void odiC_initialize(int& tally);
CORE_GEOMETRY_API void odiC_finalize(int& tally);
