// exo_Compare.h: two Exodus II files by what they hold
#pragma once

#include <CoreGeometry/fmt_Compare.h>

/// See fmt_CompareFiles.
fmt_Comparison exo_CompareFiles(const cow_String& first, const cow_String& second, double tolerance);
