// DDB_CoreGeometry.h: start-up and shut-down of the whole library
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

/// Starts the utility libraries and then every module; to be called once before anything else. Each pair that
/// really starts adds 1 to the tally: 15 when nothing was up. Further calls only count.
CORE_GEOMETRY_API void DDB_CoreGeometry_initialize(int& tally);

/// Undoes the last start-up in exactly the reverse order. An unbalanced call is not guarded against: it wraps
/// the counter, and the start-up after it does nothing. A module that the host keeps up by itself loses its
/// registrations here.
CORE_GEOMETRY_API void DDB_CoreGeometry_finalize(int& tally);

/// Starts the library for as long as it lives.
class CORE_GEOMETRY_API DDB_CoreGeometry {
public:
  DDB_CoreGeometry() { DDB_CoreGeometry_initialize(tally_); }
  ~DDB_CoreGeometry() { DDB_CoreGeometry_finalize(tally_); }
  DDB_CoreGeometry(const DDB_CoreGeometry&) = delete;
  DDB_CoreGeometry& operator=(const DDB_CoreGeometry&) = delete;

private:
  int tally_ = 0;
};
