// CoreGeometryExport.h: symbol visibility of libCoreGeometry
#pragma once

#define CORE_GEOMETRY_API __attribute__((visibility("default")))
