// aio_ostream.h: text output and the debug print stream
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <ostream>

using aio_ostream = std::ostream;

/// The process-wide debug print stream: traces, timings and prints without a stream argument go there.
/// std::clog unless replaced.
CORE_GEOMETRY_PLATFORM_API aio_ostream& aio_DebugStream();

/// Replaces the debug print stream; null brings std::clog back. The stream must outlive its use.
CORE_GEOMETRY_PLATFORM_API void aio_SetDebugStream(aio_ostream* stream);
