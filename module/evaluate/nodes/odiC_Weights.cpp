#include "odiC_Weights.h"

#include <CoreGeometry/shp_Shape.h>
#include <algorithm>

namespace {
constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }

shp_Weights Ones(std::size_t numRows, std::size_t numColumns) {
  return {numRows, numColumns,
          std::vector<double>(numRows * numColumns,
                              1 / static_cast<double>(std::max<std::size_t>(1, numColumns))),
          numColumns > 1};
}

/// From the points of a set that has weights of its own to the centroid.
shp_Weights ByIntegration(std::span<const double> weights) {
  double sum = 0;
  for (const double weight : weights) sum += weight;
  shp_Weights mean{1, weights.size(), {}, false};
  for (const double weight : weights) mean.values.push_back(weight / sum);
  return mean;
}
} // namespace

shp_Weights odiC_WeightsOf(const odiC_LayoutBlock& block, const bme_ElementClass& type,
                           const std::function<const odiC_PointSet&(int)>& pointSet, shp_Target target) {
  const shp_Shape* shape = type.Shape();
  const std::size_t numPlaces = target == shp_Target::Nodes   ? At(type.NumNodesPerElem())
                                : target == shp_Target::Faces ? At(shape ? shape->NumFaces() : 0)
                                                              : 1;
  const std::size_t count = At(block.valuesPerEntity);
  if (block.position == res_WHOLE_ELEMENT || block.position == res_ELEMENT_CENTROID || !shape)
    return Ones(numPlaces, count);
  if (block.position == res_ELEMENT_NODAL) return shp_WeightsOfNodes(*shape, target);
  if (block.pointSet < 0) return shp_WeightsOfIntPts(*shape, target);
  const odiC_PointSet& points = pointSet(block.pointSet);
  if (target == shp_Target::Centroid && points.weights.size() == count) return ByIntegration(points.weights);
  std::vector<shp_IsoPoint> places(points.isoCoordinates.size() / 3);
  for (std::size_t k = 0; k < places.size(); ++k)
    places[k] = {points.isoCoordinates[3 * k], points.isoCoordinates[3 * k + 1],
                 points.isoCoordinates[3 * k + 2]};
  return shp_WeightsOfPoints(*shape, count, places, target);
}
