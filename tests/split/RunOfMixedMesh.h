// RunOfMixedMesh.h: results at every kind of place of the mixed mesh
#pragma once

#include "MixedMesh.h"

#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <cmath>
#include <limits>

/// Numbers, every eleventh of which is missing.
template<class T> cow_ArrayCOW<T> NumbersOf(int frame, std::size_t count) {
  cow_ArrayCOW<T> made;
  for (std::size_t i = 0; i < count; ++i) {
    T value = static_cast<T>(std::sin(12.9898 * static_cast<double>(i) + 3.7 * frame) * 10);
    if (i % 11 == 5) {
      if constexpr (std::is_same_v<T, int>)
        value = odiC_kMissingInteger;
      else
        value = std::numeric_limits<T>::quiet_NaN();
    }
    made.Append(value);
  }
  return made;
}

/// A block of some entities; of faces when there are as many.
inline odiC_LayoutBlock BlockOf(res_OutputPositionEnm position, int classIndex,
                                const std::vector<int>& entities, const std::vector<int>& faces = {}) {
  odiC_LayoutBlock block;
  block.position = position;
  block.classIndex = classIndex;
  block.numEntities = static_cast<int>(entities.size());
  block.entities = cow_ArrayCOW<int>(std::span<const int>(entities));
  block.faces = cow_ArrayCOW<int>(std::span<const int>(faces));
  return block;
}

/// Three frames: at all nodes, at some, at integration points and element nodes, of elements, on faces, of a region; a
/// complex variable, one that does not change, and histories.
inline void PutRunOfMixedMesh(cls_Database& model, const bme_Mesh& mesh, const cow_String& name = "a") {
  odiC_RunWriter run(model, "results/Wing/" + name, mesh);
  run.HeaderToDescribe().units = "mm";
  run.HeaderToDescribe().timeStamp = 12345.5;
  odiC_PointSet points;
  points.name = "two";
  points.elemTypeLabel = "C3D8";
  points.count = 2;
  odiC_Layout some, onFaces, ofRegion, atPoints;
  const odiC_Layout atNodes = odiC_FullLayout(mesh, res_NODAL),
                    ofElements = odiC_FullLayout(mesh, res_WHOLE_ELEMENT),
                    inside = odiC_FullLayout(mesh, res_INTEGRATION_POINT),
                    atElementNodes = odiC_FullLayout(mesh, res_ELEMENT_NODAL);
  some.Add(BlockOf(res_NODAL, -1, {0, 4, 17, 21, 60, 88, 89}));
  some.blocks[0].region = "any order";
  onFaces.Add(BlockOf(res_ELEMENT_FACE, 0, {0, 0, 3, 17}, {0, 3, 1, 2}));
  odiC_LayoutBlock region = BlockOf(res_WHOLE_REGION, -1, {0});
  region.entities = {};
  region.region = "skin";
  ofRegion.Add(region);
  odiC_LayoutBlock two = BlockOf(res_INTEGRATION_POINT, 0, {1, 2, 5, 16});
  two.pointSet = run.AddPointSet(points);
  two.valuesPerEntity = 2;
  atPoints.Add(two);
  const auto put = [&]<class T>(const odiC_Variable& variable, const odiC_Layout& layout, int frame, T) {
    const auto count = static_cast<std::size_t>(layout.numRows * variable.NumComponents());
    run.PutField(run.AddVariable(variable), run.AddLayout(layout),
                 NumbersOf<T>(frame, variable.IsComplex() ? 2 * count : count));
  };
  odiC_Variable wave("wave", res_SCALAR);
  wave.pair = res_MAGNITUDE_AND_PHASE;
  run.BeginStep("load", odiC_STATIC);
  for (int frame = 0; frame < 3; ++frame) {
    run.BeginFrame({.value = 0.5 * frame, .increment = frame, .description = frame == 1 ? "half" : ""});
    put(odiC_Variable("U", res_VECTOR), atNodes, frame, 0.0F);
    put(odiC_Variable("T", res_SCALAR), some, frame, 0.0);
    put(odiC_Variable("S", res_TENSOR_3D_FULL), inside, frame, 0.0F);
    put(odiC_Variable("E", res_VECTOR), atElementNodes, frame, 0.0);
    put(odiC_Variable("N", res_INTEGER), ofElements, 0, 0);
    put(odiC_Variable("P", res_SCALAR), onFaces, frame, 0.0);
    put(odiC_Variable("F", res_VECTOR), ofRegion, frame, 0.0F);
    if (frame == 1) put(odiC_Variable("Q", res_SCALAR), atPoints, frame, 0.0F);
    put(wave, atNodes, frame, 0.0);
  }
  odiC_History history;
  const int node = bme_FEMNodeList(mesh, {47}).Labels()[0];
  for (const auto& [label, position] :
       {std::pair(0, res_WHOLE_MODEL), {node, res_NODAL}, {1, res_WHOLE_ELEMENT}}) {
    history.name = "history " + std::to_string(label);
    history.position = position;
    history.label = label;
    history.domainValues = {0, 1};
    history.values = {2.5, 3.5};
    run.AddHistory(history);
  }
  run.Commit();
}
