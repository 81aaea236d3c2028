// odiC_MeshSizes.h: what a run must know of its mesh
#pragma once

#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/odiC_Layout.h>
#include <vector>

class odiC_Results;
class shp_Shape;

/// Sizes and element types of a mesh, which need not be in memory itself.
struct CORE_GEOMETRY_API odiC_MeshSizes {
  struct Class {
    cow_String type; ///< element type label
    int numElements = 0, nodesPerElement = 0;
    const shp_Shape* shape = nullptr; ///< null for a type without one
  };
  odiC_MeshSizes() = default;
  odiC_MeshSizes(const bme_Mesh& mesh); ///< implicit: a mesh can stand for its sizes

  int meshId = 0, numNodes = 0;
  std::vector<Class> classes;
};

/// As the functions for a mesh in odiC_Run.h.
CORE_GEOMETRY_API cow_String odiC_WhatIsWrong(const odiC_Layout& layout, const odiC_MeshSizes& mesh,
                                              std::span<const int> pointSetCounts = {});
CORE_GEOMETRY_API bool odiC_IsOf(const odiC_Results& run, const odiC_MeshSizes& mesh);
