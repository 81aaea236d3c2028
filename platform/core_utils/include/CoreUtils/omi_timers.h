// omi_timers.h: time stamps and elapsed times
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <chrono>

/// Seconds since the epoch of the system clock. A wall clock, because stamps are stored and compared later.
CORE_GEOMETRY_PLATFORM_API double omi_gettimecounter();

/// Seconds since construction, by a clock that never goes back.
class omi_Stopwatch {
public:
  double Seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }

private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};
