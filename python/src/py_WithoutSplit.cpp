// A build without split models.
#include "py_Split.h"

void py_BindSplit(nb::module_& /*module*/) {}
