// omn_TWLdouble.h: a double formatted for printouts
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <CoreUtils/aio_ostream.h>

/// A double that prints with a fixed number of significant digits, whatever the stream's locale and flags.
/// 1 prints as "1", 0.1 as "0.1"; the width pads on the left, 0 means none.
class omn_TWLdouble {
public:
  omn_TWLdouble(double value, int width, int digits) noexcept
      : value_(value), width_(width), digits_(digits) {}

  CORE_GEOMETRY_PLATFORM_API friend aio_ostream& operator<<(aio_ostream& out, const omn_TWLdouble& number);

private:
  double value_;
  int width_;
  int digits_;
};
