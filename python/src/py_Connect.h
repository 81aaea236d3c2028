// py_Connect.h: relations of nodes and elements
#pragma once

#include "py_Mesh.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_FEMConnect.h>

/// Rows of a relation; the pointer keeps alive what holds them.
struct py_Rows {
  std::shared_ptr<const bme_Adjacency> rows;
};

void py_BindConnect(nb::module_& module);
void py_BindLocate(nb::module_& module);
void py_BindMeasures(nb::module_& module);
void py_BindExtrapolate(nb::module_& module);
void py_BindFiles(nb::module_& module);
void py_BindShapes(nb::module_& module);
