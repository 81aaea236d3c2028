// DistributedExport.h: symbol visibility of libCoreGeometryDistributed
#pragma once

#define CORE_GEOMETRY_DISTRIBUTED_API __attribute__((visibility("default")))
