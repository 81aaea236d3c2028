// bme_Module.h: start-up and shut-down of the mesh module
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

CORE_GEOMETRY_API void bme_initialize(int& tally);
CORE_GEOMETRY_API void bme_finalize(int& tally);
