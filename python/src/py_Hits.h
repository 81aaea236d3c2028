// py_Hits.h: points in the elements of a mesh
#pragma once

#include "py_Mesh.h"

/// Of each point the element that contains it.
struct py_Hits {
  py_Mesh mesh;
  std::vector<bme_ElementHit> hits;
};

/// Points, (n, 3) or (3,), by the locator that the mesh keeps.
py_Hits py_LocateIn(const py_Mesh& mesh, nb::handle points);
