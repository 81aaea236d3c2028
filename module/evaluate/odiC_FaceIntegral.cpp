#include <CoreGeometry/odiC_Integral.h>

#include "odiC_FacePoints.h"
#include "odiC_Stages.h"
#include "odiC_Where.h"

#include <CoreGeometry/gsl_ExactSum.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>
#include <limits>
#include <map>

namespace {
using Vector = std::array<double, 3>;

Vector Cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

class FaceIntegration {
public:
  FaceIntegration(const odiC_Values& values, const odiC_When& when, const bme_FEMFaceList& faces, bool isFlux)
      : mesh_(faces.Mesh()), source_(values.AtElementNodes().Open(when, res_USE_ENVELOPE)),
        width_(static_cast<std::size_t>(source_->NumComponents())), isFlux_(isFlux),
        sums_(isFlux ? 1 : width_) {
    if (odiC_HasSeveralSectionPoints(source_->Places()))
      throw odiC_Exception(values.Text() + ": there are values at several section points; choose one");
    if (isFlux && (values.Variable().dataType != res_VECTOR || width_ != 3))
      throw odiC_Exception(values.Text() + ": a flux is of vectors in space");
    result_.when = when;
    for (std::size_t i = 0; i < faces.Count(); ++i) Add(faces[i]);
    result_.area = area_.Value();
    for (const gsl_ExactSum& sum : sums_) result_.integrals.push_back(sum.Value());
  }
  const odiC_FaceIntegralOf& Result() const noexcept { return result_; }

private:
  void Add(unsigned word) {
    const unsigned element = bme_ElementOf(word);
    const auto face = static_cast<int>(bme_FaceOf(word));
    const unsigned classIndex = mesh_.ElementData().GetClassIndex(element);
    const bme_ElementClass& type = mesh_.ElementData().GetClass(classIndex);
    const shp_Shape* shape = type.Shape();
    if (!shape) return;
    auto [known, isNew] = points_.try_emplace({shape, face});
    if (isNew) known->second = odiC_PointsOfFace(*shape, face);
    const auto inClass = static_cast<int>(mesh_.ElementData().GetClassElemIndex(element));
    const std::span<const int> nodes = type.Connectivity(inClass);
    if (!ReadElement(static_cast<int>(classIndex), inClass, nodes)) {
      ++result_.notNumbers;
      return;
    }
    const std::span<const float> xyz = mesh_.NodeData().Coordinates().Const();
    const double side = bme_IsBack(word) ? -1 : 1;
    double area = 0;
    std::vector<double> integrals(sums_.size());
    for (const odiC_FacePoint& point : known->second) {
      Vector u{}, v{};
      std::vector<double> f(width_);
      for (const int node : shape->FaceNodes(face)) { // the functions of the others are 0 there
        const auto k = static_cast<std::size_t>(node);
        const float* x = xyz.data() + 3 * static_cast<std::size_t>(nodes[k]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
          u[axis] += point.alongU[k] * static_cast<double>(x[axis]);
          v[axis] += point.alongV[k] * static_cast<double>(x[axis]);
        }
        for (std::size_t c = 0; c < width_; ++c) f[c] += point.functions[k] * rows_[k * width_ + c];
      }
      const Vector normal = Cross(u, v);
      const double dA = std::sqrt(normal[0] * normal[0] + normal[1] * normal[1] + normal[2] * normal[2]);
      area += point.weight * dA;
      if (isFlux_)
        integrals[0] += point.weight * side * (f[0] * normal[0] + f[1] * normal[1] + f[2] * normal[2]);
      else
        for (std::size_t c = 0; c < width_; ++c) integrals[c] += point.weight * f[c] * dA;
    }
    if (std::ranges::any_of(integrals, [](double one) { return std::isnan(one); })) {
      ++result_.notNumbers;
      return;
    }
    ++result_.numFaces;
    area_.Add(area);
    for (std::size_t c = 0; c < integrals.size(); ++c) sums_[c].Add(integrals[c]);
  }

  /// Values at the nodes of an element; false when it has none.
  bool ReadElement(int classIndex, int inClass, std::span<const int> nodes) {
    rows_.assign(nodes.size() * width_, std::numeric_limits<double>::quiet_NaN());
    bool isThere = false;
    for (const odiC_LayoutBlock& block : source_->Layout().blocks) {
      if (block.IsNodal()) {
        for (std::size_t k = 0; k < nodes.size(); ++k)
          if (const int at = block.Find(nodes[k]); at >= 0) {
            source_->Read(block.firstRow + at, std::span(rows_).subspan(k * width_, width_));
            isThere = true;
          }
      } else if (block.classIndex == classIndex && block.position == res_ELEMENT_NODAL) {
        const int at = block.Find(inClass);
        if (at < 0) continue;
        source_->Read(block.firstRow + at * block.valuesPerEntity, rows_);
        isThere = true;
      }
    }
    return isThere;
  }

  const bme_Mesh& mesh_;
  odiC_SourcePointer source_;
  std::size_t width_;
  bool isFlux_;
  std::map<std::pair<const shp_Shape*, int>, std::vector<odiC_FacePoint>> points_;
  std::vector<gsl_ExactSum> sums_;
  gsl_ExactSum area_;
  std::vector<double> rows_;
  odiC_FaceIntegralOf result_;
};
} // namespace

std::vector<odiC_FaceIntegralOf> odiC_IntegrateFaces(const odiC_Values& values, const cow_String& surface,
                                                     bool flux) {
  const odiC_Entities chosen = odiC_EntitiesOfRegion(values.Run(), surface);
  if (!chosen.faces) throw odiC_Exception(values.Text() + ": \"" + surface + "\" is no surface");
  std::vector<odiC_FaceIntegralOf> all;
  for (const odiC_When& when : values.Frames())
    all.push_back(FaceIntegration(values, when, *chosen.faces, flux).Result());
  return all;
}
