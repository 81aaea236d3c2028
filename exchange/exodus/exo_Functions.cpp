#include "exo_Plugin.h"

#include "exo_Compare.h"
#include "exo_Read.h"

#include <CoreGeometry/fmt_Ranges.h>

const exo_Functions* coregeometry_exodus_functions() {
  static constexpr exo_Functions functions{exo_kTableVersion, CORE_GEOMETRY_VERSION, &exo_Read,
                                           &exo_Ranges,       &exo_CarryResults,     &exo_Write,
                                           &exo_Compare};
  return &functions;
}
