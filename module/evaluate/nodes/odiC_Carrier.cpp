#include <CoreGeometry/odiC_NodeAverage.h>

#include "odiC_CarryKernels.h"
#include "odiC_RowChecks.h"
#include "odiC_Weights.h"

#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/shp_Shape.h>
#include <tuple>

namespace {
constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }

const bme_ElementClass& ClassOf(const bme_Mesh& mesh, const odiC_LayoutBlock& block) {
  return mesh.ElementData().GetClass(static_cast<unsigned>(block.classIndex));
}
cow_String TextOf(res_OutputPositionEnm position) {
  return omu_FindText(omu_EnumTable<res_OutputPositionEnm>::entries, position);
}

/// The same elements at another position; each of them once for every face.
odiC_LayoutBlock Carried(const odiC_LayoutBlock& from, const bme_ElementClass& type, shp_Target target,
                         std::size_t numPlaces) {
  odiC_LayoutBlock block = from;
  block.pointSet = -1;
  block.position = target == shp_Target::Nodes ? res_ELEMENT_NODAL : res_ELEMENT_CENTROID;
  block.valuesPerEntity = static_cast<int>(numPlaces);
  if (target != shp_Target::Faces) return block;
  block.position = res_ELEMENT_FACE;
  block.valuesPerEntity = 1;
  std::vector<int> entities, faces;
  for (int at = 0; at < from.numEntities; ++at)
    for (std::size_t face = 0; face < numPlaces; ++face) {
      entities.push_back(from.Entity(at));
      faces.push_back(rgnC_FacetId(*type.Shape(), {static_cast<int>(face), false}));
    }
  block.numEntities = static_cast<int>(entities.size());
  block.entities = cow_ArrayCOW<int>(entities);
  block.faces = cow_ArrayCOW<int>(faces);
  return block;
}
} // namespace

odiC_Carrier::odiC_Carrier(const bme_Mesh& mesh, const odiC_Places& from,
                           const std::function<const odiC_PointSet&(int)>& pointSet, shp_Target target)
    : places_(std::make_shared<odiC_Layout>()) {
  const odiC_Layout& source = *from.SharedLayout();
  std::vector<int> order;
  for (std::size_t i = 0; i < source.blocks.size(); ++i) {
    const res_OutputPositionEnm position = source.blocks[i].position;
    if (position == res_INTEGRATION_POINT || position == res_WHOLE_ELEMENT || position == res_ELEMENT_CENTROID
        || position == res_ELEMENT_NODAL)
      order.push_back(static_cast<int>(i));
  }
  const auto key = [&](int block) {
    const odiC_LayoutBlock& one = source.blocks[At(block)];
    return std::tuple(one.classIndex, one.sectionPoint, one.region);
  };
  std::ranges::stable_sort(order, {}, key);
  odiC_Layout layout;
  std::vector<odiC_RowRun> runs;
  const odiC_Places whole = from.WholeEntities();
  for (std::size_t i = 0; i < order.size(); ++i) {
    const odiC_LayoutBlock& block = source.blocks[At(order[i])];
    const bme_ElementClass& type = ClassOf(mesh, block);
    if (i > 0 && key(order[i - 1]) == key(order[i]))
      throw odiC_Exception("element class " + std::to_string(block.classIndex) + " (" + type.ElemTypeLabel()
                           + ") has values at " + TextOf(source.blocks[At(order[i - 1])].position) + " and "
                           + TextOf(block.position) + ": choose one position");
    Carry carry{order[i], odiC_WeightsOf(block, type, pointSet, target), false};
    if (carry.weights.values.empty()) continue; // nothing there, as faces of points
    carry.isCopy = target == shp_Target::Nodes && block.position == res_ELEMENT_NODAL;
    areMeans_ |= carry.weights.areMeans;
    const int perElement = static_cast<int>(carry.weights.numRows), firstRow = layout.numRows;
    layout.Add(Carried(block, type, target, carry.weights.numRows));
    carries_.push_back(std::move(carry));
    for (const odiC_RowRun& run : whole.Runs()) {
      const int first = std::max(run.first, block.firstRow),
                end = std::min(run.End(), block.firstRow + block.NumRows());
      if (first < end)
        runs.push_back({firstRow + (first - block.firstRow) / block.valuesPerEntity * perElement,
                        (end - first) / block.valuesPerEntity * perElement});
    }
  }
  layout.completeness = layout.numRows == 0 ? res_EMPTY_FIELD : source.completeness;
  places_ = odiC_Places(std::make_shared<const odiC_Layout>(std::move(layout)));
  for (const odiC_RowRun& run : runs) places_.Add(run.first, run.count);
}

template<class T>
void odiC_Carrier::ApplyTo(int block, int numComponents, std::span<const T> rows,
                           std::span<T> carried) const {
  const Carry& carry = carries_[At(block)];
  const odiC_CarryJob job{carry.weights.values.data(), carry.weights.numRows, carry.weights.numColumns,
                          At(numComponents),
                          odiC_NumRows(rows.size(), carry.weights.numColumns * At(numComponents),
                                       carried.size(), carry.weights.numRows * At(numComponents))};
  if (carry.isCopy)
    std::ranges::copy(rows, carried.begin());
  else
    odiC_CarryRows(odiC_BestRowBody(), job, rows.data(), carried.data());
}
void odiC_Carrier::Apply(int block, int numComponents, std::span<const float> rows,
                         std::span<float> carried) const {
  ApplyTo(block, numComponents, rows, carried);
}
void odiC_Carrier::Apply(int block, int numComponents, std::span<const double> rows,
                         std::span<double> carried) const {
  ApplyTo(block, numComponents, rows, carried);
}
