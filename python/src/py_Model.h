// py_Model.h: model files
#pragma once

#include "py_Errors.h"

void py_BindModel(nb::module_& module);
