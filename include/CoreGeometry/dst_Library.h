// dst_Library.h: start-up and shut-down of split models
#pragma once

#include <CoreGeometry/DistributedExport.h>

/// Starts the module of split models, after DDB_CoreGeometry: its classes are not known to a program that uses the
/// core alone. Further calls only count.
CORE_GEOMETRY_DISTRIBUTED_API void dst_initialize(int& tally);
CORE_GEOMETRY_DISTRIBUTED_API void dst_finalize(int& tally);

/// Starts the module, and stops it at the end of this object's lifetime.
class CORE_GEOMETRY_DISTRIBUTED_API dst_Library {
public:
  dst_Library() { dst_initialize(tally_); }
  ~dst_Library() { dst_finalize(tally_); }
  dst_Library(const dst_Library&) = delete;
  dst_Library& operator=(const dst_Library&) = delete;

private:
  int tally_ = 0;
};
