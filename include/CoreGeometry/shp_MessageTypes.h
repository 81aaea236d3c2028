// shp_MessageTypes.h: the messages of the element shapes
#pragma once

#include <CoreGeometry/CoreGeometryExport.h>
#include <CoreGeometry/res_OutputPosition.h>
#include <CoreUtils/cow_String.h>

/// Reports to the calling thread's work-in-progress channel.
class CORE_GEOMETRY_API shp_MessageTypes {
public:
  /// A position without a text is named by its number.
  static void ErrorUnsupportedPositionOnMethod(const cow_String& method, res_OutputPositionEnm position);
};
