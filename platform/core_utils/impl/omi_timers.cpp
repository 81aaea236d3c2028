#include <CoreUtils/omi_timers.h>

double omi_gettimecounter() {
  return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}
