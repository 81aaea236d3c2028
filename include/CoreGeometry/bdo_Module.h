// bdo_Module.h: start-up and shut-down of the model reference module
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

CORE_GEOMETRY_API void bdo_initialize(int& tally);
CORE_GEOMETRY_API void bdo_finalize(int& tally);
