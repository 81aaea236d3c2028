#include <CoreGeometry/odiC_Values.h>

#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {
/// Places of the elements of one class.
class ElementPoints {
public:
  ElementPoints(const odiC_Run& run, const odiC_LayoutBlock& block)
      : block_(block), elements_(run.Mesh().ElementData().GetClass(static_cast<unsigned>(block.classIndex))),
        shape_(elements_.Shape()), coordinates_(run.Mesh().NodeData().Coordinates().Const()) {
    if (block.pointSet >= 0) iso_ = run.PointSet(block.pointSet).isoCoordinates;
  }

  /// Of all rows of an entity.
  void Add(int at, std::span<double> points) {
    const std::span<const int> nodes = elements_.Connectivity(block_.Entity(at));
    const auto isIn = [&](int node) {
      return node >= 0 && static_cast<std::size_t>(node) < coordinates_.size() / 3;
    };
    if (!shape_ || !std::ranges::all_of(nodes, isIn)) return;
    switch (block_.position) {
    case res_ELEMENT_NODAL:
      for (std::size_t k = 0; k < nodes.size() && 3 * k < points.size(); ++k)
        std::copy_n(Node(nodes[k]), 3, points.begin() + static_cast<std::ptrdiff_t>(3 * k));
      return;
    case res_INTEGRATION_POINT:
      if (block_.pointSet >= 0) return AddPointSet(nodes, points);
      return AddIntegrationPoints(nodes, points);
    case res_ELEMENT_FACE:
    case res_ELEMENT_FACE_INTEGRATION_POINT:
    case res_SURFACE_INTEGRATION_POINT:
      return AddFace(nodes, block_.faces.Const()[static_cast<std::size_t>(at)], points);
    default: {
      float centre[3];
      shape_->Centroid(nodes, coordinates_, centre);
      std::copy_n(centre, 3, points.begin());
    }
    }
  }

private:
  const float* Node(int node) const { return coordinates_.data() + 3 * static_cast<std::size_t>(node); }

  void AddIntegrationPoints(std::span<const int> nodes, std::span<double> points) {
    floats_.resize(3 * static_cast<std::size_t>(shape_->NumIntPts()));
    int count = 0;
    shape_->IntPtCoord(coordinates_, nodes, floats_, count);
    std::copy_n(floats_.begin(), std::min(points.size(), 3 * static_cast<std::size_t>(count)),
                points.begin());
  }
  void AddPointSet(std::span<const int> nodes, std::span<double> points) {
    std::vector<double> functions(static_cast<std::size_t>(shape_->NumBaseNodes()));
    for (std::size_t k = 0; 3 * k + 2 < iso_.size() && 3 * k < points.size(); ++k) {
      shape_->ShapeFunctions({iso_[3 * k], iso_[3 * k + 1], iso_[3 * k + 2]}, functions);
      for (std::size_t axis = 0; axis < 3; ++axis) {
        double sum = 0;
        for (std::size_t n = 0; n < functions.size() && n < nodes.size(); ++n)
          sum += functions[n] * static_cast<double>(Node(nodes[n])[axis]);
        points[3 * k + axis] = sum;
      }
    }
  }
  /// The centre of the face for each of its values.
  void AddFace(std::span<const int> nodes, int facetId, std::span<double> points) {
    const int face = rgnC_FacetOf(*shape_, facetId).face;
    if (face < 0 || face >= shape_->NumFaces()) return;
    std::vector<gsl_Point> corners;
    for (const int node : nodes) corners.emplace_back(Node(node)[0], Node(node)[1], Node(node)[2]);
    std::vector<int> own(nodes.size());
    for (std::size_t k = 0; k < own.size(); ++k) own[k] = static_cast<int>(k);
    const gsl_Point centre = shape_->GetFaceCentroid(face, corners, own);
    for (std::size_t k = 0; k < points.size(); k += 3) {
      for (std::size_t axis = 0; axis < 3; ++axis) points[k + axis] = centre[axis];
    }
  }

  const odiC_LayoutBlock& block_;
  const bme_ElementClass& elements_;
  const shp_Shape* shape_;
  std::span<const float> coordinates_;
  std::vector<double> iso_;
  std::vector<float> floats_;
};
} // namespace

void odiC_PointsOf(const odiC_Run& run, const odiC_LayoutBlock& block, int firstRow,
                   std::span<double> points) {
  std::ranges::fill(points, std::numeric_limits<double>::quiet_NaN());
  const auto each = static_cast<std::size_t>(block.valuesPerEntity);
  int at = (firstRow - block.firstRow) / block.valuesPerEntity;
  if (block.IsNodal()) {
    const std::span<const float> all = run.Mesh().NodeData().Coordinates().Const();
    for (std::size_t k = 0; k < points.size(); k += 3, ++at)
      std::copy_n(all.begin() + 3 * static_cast<std::ptrdiff_t>(block.Entity(at)), 3,
                  points.begin() + static_cast<std::ptrdiff_t>(k));
  } else if (block.classIndex >= 0) {
    ElementPoints elements(run, block);
    for (std::size_t k = 0; k < points.size(); k += 3 * each, ++at)
      elements.Add(at, points.subspan(k, 3 * each));
  }
}
