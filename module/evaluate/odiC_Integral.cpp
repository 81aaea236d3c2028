#include <CoreGeometry/odiC_Integral.h>

#include "odiC_Stages.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/gsl_ExactSum.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/shp_MeasureRule.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {
constexpr int kElements = 4096; ///< integrated at once

struct Sums {
  std::vector<gsl_ExactSum> integrals;
  gsl_ExactSum measure;
  odiC_IntegralOf of;
};

/// Adds the elements of one class, with their values at nodes.
class ClassIntegral {
public:
  ClassIntegral(const bme_Mesh& mesh, int classIndex, std::size_t width)
      : mesh_(mesh), type_(mesh.ElementData().GetClass(static_cast<unsigned>(classIndex))),
        rule_(*type_.Shape(), shp_MomentOrder::First), width_(width) {}

  bool IsEmpty() const { return rule_.IsEmpty(); }
  int NumDims() const { return rule_.NumDims(); }
  std::size_t NumNodes() const { return static_cast<std::size_t>(type_.NumNodesPerElem()); }

  /// `values` are those of all nodes of neighbouring elements.
  void Add(int first, int count, std::span<const double> values, Sums& sums) {
    const std::size_t numNodes = NumNodes(), numFunctions = rule_.Nodes().size();
    const std::span<const int> rows = type_.ElementConnectivity().Const().subspan(
        static_cast<std::size_t>(first) * numNodes, static_cast<std::size_t>(count) * numNodes);
    functions_.resize(static_cast<std::size_t>(count) * numFunctions);
    rule_.IntegrateFunctionsEach(rows, numNodes, mesh_.NodeData().Coordinates().Const(), functions_);
    for (std::size_t element = 0; element < static_cast<std::size_t>(count); ++element) {
      const double* own = functions_.data() + element * numFunctions;
      const double* at = values.data() + element * numNodes * width_;
      double measure = 0;
      bool isNumber = true;
      for (std::size_t k = 0; k < numFunctions; ++k) {
        measure += own[k];
        const auto node = static_cast<std::size_t>(rule_.Nodes()[k]);
        for (std::size_t c = 0; c < width_; ++c) isNumber = isNumber && !std::isnan(at[node * width_ + c]);
      }
      if (!isNumber || std::isnan(measure)) {
        ++sums.of.notNumbers;
        continue;
      }
      ++sums.of.numElements;
      sums.measure.Add(measure);
      if (measure < 0) sums.of.inverted.push_back(LabelOf(first + static_cast<int>(element)));
      for (std::size_t k = 0; k < numFunctions; ++k) {
        const auto node = static_cast<std::size_t>(rule_.Nodes()[k]);
        for (std::size_t c = 0; c < width_; ++c) sums.integrals[c].Add(own[k] * at[node * width_ + c]);
      }
    }
  }

private:
  int LabelOf(int element) const {
    return mesh_.ElementData().HasUserElementLabels()
               ? type_.UserElementLabels()[static_cast<std::size_t>(element)]
               : type_.FirstElementIndex() + element + 1;
  }

  const bme_Mesh& mesh_;
  const bme_ElementClass& type_;
  shp_MeasureRule rule_;
  std::size_t width_;
  std::vector<double> functions_;
};

/// All nodal values; not a number where there is none.
std::vector<double> NodalValues(odiC_Source& source, std::size_t numNodes) {
  const auto width = static_cast<std::size_t>(source.NumComponents());
  std::vector<double> all(numNodes * width, std::numeric_limits<double>::quiet_NaN());
  odiC_ForEachRange(source, [&](const odiC_Range& range) {
    for (const odiC_RowRun& rows : range.rows)
      for (int row = rows.first; row < rows.End(); ++row) {
        const auto node = static_cast<std::size_t>(odiC_PlaceOf(source.Layout(), row).entity);
        std::copy_n(range.values.begin()
                        + static_cast<std::ptrdiff_t>(row - range.firstRow)
                              * static_cast<std::ptrdiff_t>(width),
                    width, all.begin() + static_cast<std::ptrdiff_t>(node * width));
      }
  });
  return all;
}

class Integration {
public:
  Integration(const odiC_Values& values, const odiC_When& when)
      : run_(values.Run()), where_(values.Where()),
        source_(values.AtElementNodes().Open(when, res_USE_ENVELOPE)),
        width_(static_cast<std::size_t>(source_->NumComponents())) {
    if (odiC_HasSeveralSectionPoints(source_->Places()))
      throw odiC_Exception(values.Text() + ": there are values at several section points; choose one");
    for (Sums& sums : sums_) {
      sums.integrals.resize(width_);
      sums.of.when = when;
    }
    const bool isNodal = std::ranges::any_of(source_->Layout().blocks,
                                             [](const odiC_LayoutBlock& block) { return block.IsNodal(); });
    if (isNodal)
      AddElementsOfNodes();
    else
      AddElements();
  }

  std::vector<odiC_IntegralOf> Results() {
    std::vector<odiC_IntegralOf> results;
    for (int dims = 3; dims >= 1; --dims) {
      Sums& sums = sums_[dims];
      if (sums.of.numElements + sums.of.notNumbers == 0) continue;
      sums.of.dims = dims;
      sums.of.measure = sums.measure.Value();
      for (const gsl_ExactSum& one : sums.integrals) sums.of.integrals.push_back(one.Value());
      results.push_back(std::move(sums.of));
    }
    return results;
  }

private:
  /// Pieces of the runs of elements in a block.
  template<class Take>
  void ForEachPiece(const odiC_Places& places, const odiC_LayoutBlock& block, const Take& take) {
    const int each = block.valuesPerEntity, end = block.firstRow + block.NumRows();
    for (const odiC_RowRun& run : places.Runs()) {
      const int from = std::max(run.first, block.firstRow), to = std::min(run.End(), end);
      for (int row = from; row < to;) {
        const int at = (row - block.firstRow) / each, last = (to - block.firstRow) / each;
        int count = 1; // neighbours in the class, too
        while (count < kElements && at + count < last && block.Entity(at + count) == block.Entity(at) + count)
          ++count;
        wip_Poll::Now();
        take(row, block.Entity(at), count);
        row += count * each;
      }
    }
  }

  void AddElements() {
    const odiC_Layout& layout = source_->Layout();
    std::vector<double> values;
    for (const odiC_LayoutBlock& block : layout.blocks) {
      ClassIntegral integral(run_.Mesh(), block.classIndex, width_);
      if (integral.IsEmpty()) continue;
      ForEachPiece(source_->Places().WholeEntities(), block, [&](int row, int element, int count) {
        values.resize(static_cast<std::size_t>(count) * integral.NumNodes() * width_);
        source_->Read(row, values);
        integral.Add(element, count, values, sums_[integral.NumDims()]);
      });
    }
  }

  /// The elements that the selection means, all of whose nodes have values.
  void AddElementsOfNodes() {
    const bme_Mesh& mesh = run_.Mesh();
    const std::vector<double> nodal = NodalValues(*source_, mesh.NodeData().NumNodes());
    const auto layout = std::make_shared<const odiC_Layout>(odiC_FullLayout(mesh, res_ELEMENT_NODAL));
    const odiC_Places places = where_.PlacesIn(run_, layout).WholeEntities();
    std::vector<double> values;
    for (const odiC_LayoutBlock& block : layout->blocks) {
      ClassIntegral integral(mesh, block.classIndex, width_);
      if (integral.IsEmpty()) continue;
      const bme_ElementClass& type = mesh.ElementData().GetClass(static_cast<unsigned>(block.classIndex));
      ForEachPiece(places, block, [&](int, int element, int count) {
        values.clear();
        for (int k = 0; k < count; ++k)
          for (const int node : type.Connectivity(element + k)) {
            const auto first =
                nodal.begin() + static_cast<std::ptrdiff_t>(node) * static_cast<std::ptrdiff_t>(width_);
            values.insert(values.end(), first, first + static_cast<std::ptrdiff_t>(width_));
          }
        integral.Add(element, count, values, sums_[integral.NumDims()]);
      });
    }
  }

  const odiC_Run& run_;
  const odiC_Selection& where_;
  odiC_SourcePointer source_;
  std::size_t width_;
  Sums sums_[4]; ///< by dimension
};
} // namespace

std::vector<odiC_IntegralOf> odiC_Integrate(const odiC_Values& values) {
  std::vector<odiC_IntegralOf> all;
  for (const odiC_When& when : values.Frames())
    for (odiC_IntegralOf& one : Integration(values, when).Results()) all.push_back(std::move(one));
  return all;
}
