// DDB_CoreGeometry.h: start-up and shut-down of the whole library
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>

/// Starts the utility libraries and then every module; call it once before anything else. The library itself
/// and each part that really starts add 1 to the tally: 15 when none was running. Further calls only count.
CORE_GEOMETRY_API void DDB_CoreGeometry_initialize(int& tally);

/// Undoes the last start-up in exactly the reverse order. Calls without a start-up are not detected: the
/// counter wraps around, and the next start-up does nothing. A module that the host has started by itself
/// loses its registrations here.
CORE_GEOMETRY_API void DDB_CoreGeometry_finalize(int& tally);

/// Starts the library, and stops it at the end of this object's lifetime.
class CORE_GEOMETRY_API DDB_CoreGeometry {
public:
  DDB_CoreGeometry() { DDB_CoreGeometry_initialize(tally_); }
  ~DDB_CoreGeometry() { DDB_CoreGeometry_finalize(tally_); }
  DDB_CoreGeometry(const DDB_CoreGeometry&) = delete;
  DDB_CoreGeometry& operator=(const DDB_CoreGeometry&) = delete;

private:
  int tally_ = 0;
};
