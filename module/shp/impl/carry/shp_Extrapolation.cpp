// Carrying results between the places of an element.
#include "shp_ApplyEach.h"

#include <BasicUtils/wip_Executor.h>
#include <CoreGeometry/shp_MessageTypes.h>
#include <CoreGeometry/shp_Topology.h>
#include <algorithm>
#include <limits>

namespace {
constexpr std::size_t At(int index) { return static_cast<std::size_t>(index); }

float Clamped(double value) {
  constexpr auto kLargest = static_cast<double>(std::numeric_limits<float>::max());
  return static_cast<float>(std::clamp(value, -kLargest, kLargest));
}

/// Weighted sum of the values of places.
void Apply(std::span<const double> weights, const float* values, float* out, std::size_t numComponents) {
  for (std::size_t k = 0; k < numComponents; ++k) {
    double sum = 0;
    for (std::size_t place = 0; place < weights.size(); ++place)
      sum += weights[place] * static_cast<double>(values[place * numComponents + k]);
    out[k] = Clamped(sum);
  }
}
void Apply(const shp_WeightTables::Matrix& matrix, const float* values, float* out,
           std::size_t numComponents) {
  shp_ApplyEach(matrix, 1, numComponents, values, out);
}

/// Matrix times the mean of two blocks of values.
void ApplyToMean(const shp_WeightTables::Matrix& matrix, const float* values, float* out,
                 std::size_t numComponents) {
  const std::size_t numColumns = matrix.numColumns, block = numColumns * numComponents;
  for (std::size_t row = 0; row * numColumns < matrix.values.size(); ++row)
    for (std::size_t k = 0; k < numComponents; ++k) {
      double sum = 0;
      for (std::size_t column = 0; column < numColumns; ++column) {
        const float* value = values + column * numComponents + k;
        sum +=
            matrix.Row(row)[column] * (static_cast<double>(value[0]) + static_cast<double>(value[block])) / 2;
      }
      *out++ = Clamped(sum);
    }
}
} // namespace

bool shp_Topology::HasIntPtTables() const noexcept {
  return weights_ && NumBaseIntPts() > 0 && weights_->intPtsToNodes.numColumns == At(NumBaseIntPts());
}

/// The positions that every kind of place treats alike; true when it is one of them. An unknown one is
/// reported.
bool shp_Topology::ExtrapolateOthers(std::span<const float> values, res_OutputPositionEnm position,
                                     std::size_t numPlaces, std::span<float> out, std::size_t numComponents,
                                     const char* method) const {
  const std::span<float> all = out.first(numPlaces * numComponents);
  if (position == res_WHOLE_ELEMENT || position == res_ELEMENT_CENTROID) {
    for (std::size_t place = 0; place < numPlaces; ++place)
      std::ranges::copy(values.first(numComponents),
                        all.begin() + static_cast<std::ptrdiff_t>(place * numComponents));
    return true;
  }
  if (position == res_INTEGRATION_POINT || position == res_ELEMENT_NODAL) return false;
  shp_MessageTypes::ErrorUnsupportedPositionOnMethod(method, position);
  std::ranges::fill(all, 0.0F);
  return true;
}

namespace {
constexpr const char* kToNodes = "shp_Shape::ExtrapolateToNodes";
}

void shp_Topology::ExtrapolateToNodes(std::span<const float> values, res_OutputPositionEnm position,
                                      std::span<float> nodeValues, int numComponents) const {
  if (IsCaxaElement())
    CaxaExtrapToNodes(values, position, nodeValues, numComponents);
  else
    StdExtrapToNodes(values, position, nodeValues, numComponents);
}

void shp_Topology::StdExtrapToNodes(std::span<const float> values, res_OutputPositionEnm position,
                                    std::span<float> nodeValues, int numComponents) const {
  const std::size_t numNodes = At(NumBaseNodes()), components = At(numComponents);
  if (ExtrapolateOthers(values, position, numNodes, nodeValues, components, kToNodes)) return;
  if (position == res_ELEMENT_NODAL)
    std::copy_n(values.begin(), numNodes * components, nodeValues.begin());
  else if (HasIntPtTables())
    Apply(weights_->intPtsToNodes, values.data(), nodeValues.data(), components);
  else
    std::fill_n(nodeValues.begin(), numNodes * components, 0.0F);
}

void shp_Topology::CaxaExtrapToNodes(std::span<const float> values, res_OutputPositionEnm position,
                                     std::span<float> nodeValues, int numComponents) const {
  const std::size_t numNodes = At(NumNodes()), components = At(numComponents);
  if (ExtrapolateOthers(values, position, numNodes, nodeValues, components, kToNodes)) return;
  if (position == res_ELEMENT_NODAL) {
    std::copy_n(values.begin(), numNodes * components, nodeValues.begin());
    return;
  }
  if (!IsCaxaElement() || !HasIntPtTables())
    return StdExtrapToNodes(values, position, nodeValues, numComponents);
  for (std::size_t ring = 0; ring < At(NumRings()); ++ring)
    ApplyToMean(weights_->intPtsToNodes, values.data() + 2 * ring * At(NumBaseIntPts()) * components,
                nodeValues.data() + ring * At(NumBaseNodes()) * components, components);
}

void shp_Topology::ExtrapolateEachToNodes(int numElements, std::span<const float> values,
                                          res_OutputPositionEnm position, std::span<float> nodeValues,
                                          int numComponents) const {
  const std::size_t components = At(numComponents), out = At(NumNodes()) * components;
  const bool known = position == res_INTEGRATION_POINT || position == res_ELEMENT_NODAL
                     || position == res_WHOLE_ELEMENT || position == res_ELEMENT_CENTROID;
  if (!known) {
    shp_MessageTypes::ErrorUnsupportedPositionOnMethod(kToNodes, position);
    std::fill_n(nodeValues.begin(), At(numElements) * out, 0.0F);
    return;
  }
  const std::size_t in = components
                         * (position == res_INTEGRATION_POINT ? At(NumIntPts())
                            : position == res_ELEMENT_NODAL   ? At(NumNodes())
                                                              : 1);
  constexpr std::size_t kPiece = 8192; // elements
  const std::size_t count = At(numElements);
  const auto work = [&](std::size_t piece) {
    const std::size_t first = piece * kPiece, end = std::min(count, first + kPiece);
    if (position == res_INTEGRATION_POINT && HasIntPtTables() && !IsCaxaElement())
      return shp_ApplyEach(weights_->intPtsToNodes, end - first, components, values.data() + first * in,
                           nodeValues.data() + first * out);
    for (std::size_t element = first; element < end; ++element)
      ExtrapolateToNodes(values.subspan(element * in, in), position, nodeValues.subspan(element * out, out),
                         numComponents);
  };
  wip_RunPieces((count + kPiece - 1) / kPiece, std::ref(work)); // a reference: nothing is allocated
}

void shp_Topology::ExtrapolateToFaces(std::span<const float> values, res_OutputPositionEnm position,
                                      std::span<float> faceValues, int numComponents) const {
  const std::size_t numFaces = At(NumFaces()), components = At(numComponents);
  if (ExtrapolateOthers(values, position, numFaces, faceValues, components, "shp_Shape::ExtrapolateToFaces"))
    return;
  if (position == res_ELEMENT_NODAL && weights_)
    Apply(weights_->nodesToFaces, values.data(), faceValues.data(), components);
  else if (position == res_INTEGRATION_POINT && HasIntPtTables() && IsCaxaElement())
    ApplyToMean(weights_->intPtsToFaces, values.data(), faceValues.data(), components);
  else if (position == res_INTEGRATION_POINT && HasIntPtTables())
    Apply(weights_->intPtsToFaces, values.data(), faceValues.data(), components);
  else
    std::fill_n(faceValues.begin(), numFaces * components, 0.0F);
}

void shp_Topology::ExtrapolateFromFaceIntPtsToFaceNodes(std::span<const float> values,
                                                        std::span<float> nodeValues, int numComponents,
                                                        int face) const {
  if (!weights_) return;
  const std::size_t components = At(numComponents);
  if (weights_->facePtsToNodes.empty()) {
    // rows are both ends, then the middle: the order of a line's nodes; edges have the middle between
    const std::size_t numNodes =
        NumGeomDims() == 2 ? EdgeNodes(0, std::max(face, 0)).size() : FaceNodes(0).size();
    const auto& matrix = weights_->edgePtsToNodes;
    for (std::size_t node = 0; node < std::min(numNodes, std::size_t{3}); ++node) {
      const bool isMiddle = NumGeomDims() == 2 && numNodes == 3 && node == 1;
      const std::size_t row = NumGeomDims() == 1 ? node : isMiddle ? 2 : node == 0 ? 0 : 1;
      Apply(matrix.Row(row), values.data(), nodeValues.data() + node * components, components);
    }
    return;
  }
  const auto sizes = NodesPerFace();
  const std::size_t index =
      face >= 0 ? At(face) : static_cast<std::size_t>(std::ranges::max_element(sizes) - sizes.begin());
  if (index < weights_->facePtsToNodes.size())
    Apply(weights_->facePtsToNodes[index], values.data(), nodeValues.data(), components);
}

std::span<const float> shp_Topology::IntPtToNodeWeights() const noexcept {
  return HasIntPtTables() ? std::span<const float>(weights_->intPtsToNodes.rounded)
                          : std::span<const float>();
}
std::span<const float> shp_Topology::IntPtToFaceWeights() const noexcept {
  return HasIntPtTables() ? std::span<const float>(weights_->intPtsToFaces.rounded)
                          : std::span<const float>();
}
std::span<const float> shp_Topology::NodeToFaceWeights() const noexcept {
  return weights_ ? std::span<const float>(weights_->nodesToFaces.rounded) : std::span<const float>();
}
