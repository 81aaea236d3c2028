// py_Split.h: split models
#pragma once

#include "py_Errors.h"

/// In a build without split models there is nothing to bind.
void py_BindSplit(nb::module_& module);
