// py_Results.h: runs of results
#pragma once

#include "py_Arrays.h"
#include "py_Field.h"
#include "py_Mesh.h"
#include "py_Model.h"

/// A run whose model stays open.
struct py_OpenRun {
  std::shared_ptr<py_Database> model;
  odiC_Run run;
};

/// Without the GIL, and with the model for this thread alone.
template<class Call> auto py_UseRun(const py_OpenRun& self, Call call) {
  return py_UseModel(*self.model, [&](cls_Database&) { return call(self.run); });
}

void py_BindResults(nb::module_& module);
void py_BindReductions(nb::module_& module);
void py_BindMapping(nb::module_& module);
void py_BindRunWriter(nb::module_& module);
nb::dict py_WhenOf(const odiC_Run& run, const odiC_When& when);
