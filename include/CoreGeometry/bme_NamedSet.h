// bme_NamedSet.h: a set of a mesh under the name that files and pictures give it
#pragma once

#include <CoreGeometry/rgnC_Region.h>

/// Contents of a set with its name and kind.
struct bme_NamedSet {
  cow_String name; ///< no two of a mesh are alike
  rgnC_SetType kind = rgnC_NONE;
  rgnC_SetData data;
};
