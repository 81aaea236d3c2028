// gsl_Module.h: start-up and shut-down of the geometry module
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

CORE_GEOMETRY_API void gsl_initialize(int& tally);
CORE_GEOMETRY_API void gsl_finalize(int& tally);
