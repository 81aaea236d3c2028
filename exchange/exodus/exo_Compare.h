// exo_Compare.h: two Exodus II files by what they hold
#pragma once

#include <CoreGeometry/fmt_Compare.h>

/// Within the plug-in; see fmt_CompareFiles.
fmt_Comparison exo_Compare(const cow_String& first, const cow_String& second, double tolerance);
