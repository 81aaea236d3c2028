// PlatformExport.h: symbol visibility of libCoreGeometryPlatform
#pragma once

#define CORE_GEOMETRY_PLATFORM_API __attribute__((visibility("default")))
