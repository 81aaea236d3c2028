#include <CoreGeometry/odiC_Probe.h>

#include "odiC_Stages.h"

#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace {
bool IsNodal(const odiC_Layout& layout) {
  return std::ranges::any_of(layout.blocks, &odiC_LayoutBlock::IsNodal);
}
} // namespace

odiC_Probe::odiC_Probe(const odiC_Values& values, std::span<const double> points, bool nearest)
    : values_(odiC_AtElementNodes(values)), width_(values.NumComponents()), places_(points.size() / 3) {
  const bme_Mesh& mesh = values.Run().Mesh();
  const odiC_SourcePointer source = values_.Open(values_.Frames().front(), res_USE_ENVELOPE);
  std::vector<unsigned> classes;
  if (IsNodal(source->Layout())) {
    classes.resize(mesh.ElementData().NumClasses());
    std::iota(classes.begin(), classes.end(), 0U);
  } else { // elements without a value are not searched
    for (const odiC_RowRun& run : source->Places().Runs())
      for (int i = odiC_BlockOf(source->Layout(), run.first);
           i <= odiC_BlockOf(source->Layout(), run.End() - 1); ++i)
        classes.push_back(
            static_cast<unsigned>(source->Layout().blocks[static_cast<std::size_t>(i)].classIndex));
    std::ranges::sort(classes);
    classes.erase(std::unique(classes.begin(), classes.end()), classes.end());
  }
  const bme_ElementLocator locator(mesh, classes);
  std::vector<bme_ElementHit> hits(places_.size());
  locator.FindEach(points, hits);
  for (std::size_t i = 0; i < hits.size(); ++i) {
    if (hits[i].location == shp_Location::Inside || hits[i].location == shp_Location::OnBoundary)
      places_[i] = {hits[i].element, 0, hits[i].iso};
    else if (nearest)
      places_[i] = locator.FindNearest({points[3 * i], points[3 * i + 1], points[3 * i + 2]});
    else
      places_[i].distance = std::numeric_limits<double>::infinity();
  }
}

std::vector<double> odiC_Probe::Read(const odiC_When& when) const {
  const bme_Mesh& mesh = values_.Run().Mesh();
  const bme_ElementData& elements = mesh.ElementData();
  const odiC_SourcePointer source = values_.Open(when, res_USE_ENVELOPE);
  if (odiC_HasSeveralSectionPoints(source->Places()))
    throw odiC_Exception(values_.Text() + ": there are values at several section points; choose one");
  const odiC_Layout& layout = source->Layout();
  const bool isNodal = IsNodal(layout);
  const auto width = static_cast<std::size_t>(width_);
  std::vector<double> read(places_.size() * width, std::numeric_limits<double>::quiet_NaN()), functions, rows,
      row(width);
  // element by element in their order, so that each chunk of the file is read once
  std::vector<std::size_t> order;
  for (std::size_t i = 0; i < places_.size(); ++i)
    if (places_[i].element != bme_kNotFound) order.push_back(i);
  std::ranges::stable_sort(order, {}, [&](std::size_t i) { return places_[i].element; });
  unsigned last = bme_kNotFound;
  bool hasRows = false;
  for (const std::size_t i : order) {
    const unsigned element = places_[i].element, classIndex = elements.GetClassIndex(element);
    const bme_ElementClass& type = elements.GetClass(classIndex);
    const shp_Shape& shape = *type.Shape();
    const auto inClass = static_cast<int>(elements.GetClassElemIndex(element));
    const std::span<const int> nodes = type.Connectivity(inClass);
    if (element != last) {
      last = element;
      rows.assign(nodes.size() * width, std::numeric_limits<double>::quiet_NaN());
      hasRows = isNodal;
      for (const odiC_LayoutBlock& block : layout.blocks) {
        if (isNodal) {
          for (std::size_t k = 0; k < nodes.size(); ++k)
            if (const int at = block.IsNodal() ? block.Find(nodes[k]) : -1;
                at >= 0 && source->Places().Contains(block.firstRow + at)) {
              source->Read(block.firstRow + at, row);
              std::ranges::copy(row, rows.begin() + static_cast<std::ptrdiff_t>(k * width));
            }
        } else if (block.classIndex == static_cast<int>(classIndex)) {
          const int at = block.Find(inClass), first = block.firstRow + at * block.valuesPerEntity;
          if (at < 0 || !source->Places().Contains(first)) continue;
          source->Read(first, rows);
          hasRows = true;
        }
      }
    }
    if (!hasRows) continue;
    functions.resize(static_cast<std::size_t>(shape.NumBaseNodes()));
    shape.ShapeFunctions(places_[i].iso, functions);
    for (std::size_t c = 0; c < width; ++c) {
      double sum = 0;
      for (std::size_t k = 0; k < functions.size(); ++k) sum += functions[k] * rows[k * width + c];
      read[i * width + c] = sum;
    }
  }
  return read;
}

std::vector<double> odiC_LinePoints(const std::array<double, 3>& a, const std::array<double, 3>& b,
                                    int count) {
  if (count < 1) throw odiC_Exception("a line of " + std::to_string(count) + " points, not of 1 or more");
  std::vector<double> points;
  for (int k = 0; k < count; ++k) {
    const double share = count == 1 ? 0.5 : static_cast<double>(k) / (count - 1);
    for (std::size_t axis = 0; axis < 3; ++axis) points.push_back(a[axis] + (b[axis] - a[axis]) * share);
  }
  return points;
}
