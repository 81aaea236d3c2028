// shp_Module.h: start-up and shut-down of the element shapes module
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

CORE_GEOMETRY_API void shp_initialize(int& tally);
CORE_GEOMETRY_API void shp_finalize(int& tally);
