// dtu_Module.h: start-up and shut-down of the datum module
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

CORE_GEOMETRY_API void dtu_initialize(int& tally);
CORE_GEOMETRY_API void dtu_finalize(int& tally);
