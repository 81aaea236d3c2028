// DDB_DiagnosticExtractor.h: start-up and shut-down of the DiagnosticExtractor library
#pragma once

#include <CoreUtils/PlatformExport.h>

CORE_GEOMETRY_PLATFORM_API void DDB_DiagnosticExtractor_initialize(int& tally);
CORE_GEOMETRY_PLATFORM_API void DDB_DiagnosticExtractor_finalize(int& tally);
