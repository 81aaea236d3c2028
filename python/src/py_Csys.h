// py_Csys.h: coordinate systems as immutable Python objects
#pragma once

#include "py_Errors.h"

#include <CoreGeometry/dtu_DatumCsys.h>

struct py_Csys {
  dtu_DatumCsys csys;
};

void py_BindCsys(nb::module_& module);
