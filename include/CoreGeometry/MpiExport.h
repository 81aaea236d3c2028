// MpiExport.h: symbol visibility of libCoreGeometryMpi
#pragma once

#define CORE_GEOMETRY_MPI_API __attribute__((visibility("default")))
