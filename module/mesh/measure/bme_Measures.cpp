#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_Measures.h>

#include <CoreGeometry/dtu_DatumCsys.h>
#include <CoreGeometry/dtu_Mapping.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <cmath>
#include <numeric>
#include <typeinfo>

namespace {
constexpr std::size_t kChunk = 256;         ///< elements that are measured together
constexpr std::size_t kPiece = 32 * kChunk; ///< elements that one thread measures

/// Coordinates of the nodes; `copy` keeps them for node data of a derived class.
std::span<const float> CoordinatesOf(const bme_NodeData& nodes, std::vector<float>& copy) {
  if (typeid(nodes) == typeid(bme_NodeData)) return nodes.Coordinates().Const();
  copy.resize(3 * static_cast<std::size_t>(nodes.NumNodes()));
  for (unsigned n = 0; n < nodes.NumNodes(); ++n)
    nodes.GetNodalCoord(n, copy[3 * n], copy[3 * n + 1], copy[3 * n + 2]);
  return copy;
}

/// Moments about the middle of this range lose no digits to the distance from the origin.
template<class Real> bme_CoordinateRange RangeOf(std::span<const Real> coordinates) {
  bme_CoordinateRange range;
  wip_InBlocks(coordinates.size(), std::size_t{1} << 21, [&](std::size_t first, std::size_t end) {
    for (std::size_t i = first; i < end; ++i) {
      const double x = static_cast<double>(coordinates[i]);
      if (!std::isfinite(x)) continue;
      range.low[i % 3] = std::min(range.low[i % 3], x);
      range.high[i % 3] = std::max(range.high[i % 3], x);
    }
  });
  return range;
}

std::array<double, 3> Minus(const std::array<double, 3>& a) { return {-a[0], -a[1], -a[2]}; }

/// Moments about a point instead of the origin.
void MoveReference(shp_Moments& moments, const std::array<double, 3>& p) {
  constexpr std::array<std::array<std::size_t, 2>, 6> kPairs = {
      {{0, 0}, {1, 1}, {2, 2}, {0, 1}, {0, 2}, {1, 2}}};
  const std::array<double, 3> d = Minus(p);
  for (std::size_t k = 0; k < 6; ++k) {
    const auto [a, b] = kPairs[k];
    moments.second[k] += moments.first[a] * d[b] + moments.first[b] * d[a] + moments.measure * d[a] * d[b];
  }
  for (std::size_t a = 0; a < 3; ++a) moments.first[a] += moments.measure * d[a];
}

bool StandsForABody(const shp_Shape& shape) {
  return !shape.IsRigid() && !shape.IsInteraction() && !shape.IsInternal() && !shape.IsSurface();
}

std::optional<double> Ask(const bme_ElementValue& value, const bme_ElementClass& type, int position) {
  const std::optional<double> answer = value ? value(type, position) : std::nullopt;
  return answer && std::isfinite(*answer) && *answer >= 0 ? answer : std::nullopt;
}

/// What all measuring of one call shares.
template<class Real> struct Question {
  const bme_ElementData& elements;
  std::span<const Real> coordinates;
  const bme_MeasureOptions& options;
  std::array<double, 3> origin; ///< that moments are about
  bool hasLabels;

  int LabelOf(const bme_ElementClass& type, int position) const {
    return hasLabels ? type.UserElementLabels()[static_cast<std::size_t>(position)]
                     : type.FirstElementIndex() + position + 1;
  }
};

/// Measures some elements of a class.
template<class Real> class PieceMeasurer {
public:
  PieceMeasurer(const Question<Real>& question, const bme_ElementClass& type, const shp_Shape& shape)
      : question_(question), type_(type), shape_(shape), coordinates_(question.coordinates),
        options_(question.options), origin_(question.origin), rule_(shape, options_.order) {
    result_.length = result_.area = result_.volume = result_.mass = bme_Moments(origin_);
    const bool isRevolved = (shape.IsAxiSymmetric() || shape.IsCaxaElement()) && shape.NumSpatialDims() == 2;
    if (isRevolved && StandsForABody(shape)) turn_.emplace(shape, options_.order, true);
  }

  bme_Measures Measure(std::span<const int> positions) {
    result_.numElements = static_cast<long long>(positions.size());
    if (shape_.Options().Family() == shp_Family::Point) {
      if (options_.density && !shape_.IsInternal() && !shape_.IsSurface() && !shape_.IsRigid())
        AddPoints(positions);
    } else if (rule_.IsEmpty()) {
      for (const int position : positions) result_.withoutShape.push_back(LabelOf(position));
    } else {
      wip_InBlocks(positions.size(), kChunk, [&](std::size_t first, std::size_t end) {
        MeasureChunk(positions.subspan(first, end - first));
      });
    }
    return std::move(result_);
  }

private:
  int LabelOf(int position) const { return question_.LabelOf(type_, position); }

  void AddPoints(std::span<const int> positions) {
    for (const int position : positions) {
      const int node = type_.Connectivity(position)[0];
      const auto mass = Ask(options_.pointMass, type_, position);
      if (!IsNode(node)) {
        result_.withoutNodes.push_back(LabelOf(position));
      } else if (!mass) {
        result_.noPointMass.push_back(LabelOf(position));
      } else {
        shp_Moments moments;
        moments.measure = 1;
        std::array<double, 3> p;
        for (std::size_t a = 0; a < 3; ++a)
          p[a] = static_cast<double>(coordinates_[3 * static_cast<std::size_t>(node) + a]) - origin_[a];
        MoveReference(moments, Minus(p));
        result_.mass.Add(moments, *mass);
      }
    }
  }

  bool IsNode(int node) const {
    return node >= 0 && 3 * static_cast<std::size_t>(node) < coordinates_.size();
  }

  void MeasureChunk(std::span<const int> positions) {
    const auto rowLength = static_cast<std::size_t>(type_.NumNodesPerElem());
    const std::span<const int> all = type_.ElementConnectivity().Const();
    rows_.clear();
    measured_.clear();
    for (const int position : positions) {
      const auto row = all.subspan(static_cast<std::size_t>(position) * rowLength, rowLength);
      bool isComplete = true;
      for (const int node : row) isComplete &= IsNode(node);
      if (isComplete) {
        rows_.insert(rows_.end(), row.begin(), row.end());
        measured_.push_back(position);
      } else {
        result_.withoutNodes.push_back(LabelOf(position));
      }
    }
    own_.resize(measured_.size());
    rule_.IntegrateEach(rows_, rowLength, coordinates_, origin_, own_);
    if (turn_) {
      turned_.resize(measured_.size());
      turn_->IntegrateEach(rows_, rowLength, coordinates_, {}, turned_);
      for (shp_Moments& moments : turned_) MoveReference(moments, origin_);
    }
    bme_Moments& total = rule_.NumDims() == 1   ? result_.length
                         : rule_.NumDims() == 2 ? result_.area
                                                : result_.volume;
    for (std::size_t k = 0; k < measured_.size(); ++k) {
      const double measure = own_[k].measure;
      if (!std::isfinite(measure)) {
        result_.withoutNodes.push_back(LabelOf(measured_[k]));
        continue;
      }
      total.Add(own_[k], 1);
      if (!(std::abs(measure) > own_[k].noise))
        result_.zero.push_back(LabelOf(measured_[k]));
      else if (measure < 0)
        result_.inverted.push_back(LabelOf(measured_[k]));
      if (StandsForABody(shape_))
        AddBody(measured_[k], rule_.NumDims(), own_[k], turn_ ? &turned_[k] : nullptr);
    }
  }

  /// Adds to the volume, unless that is the element's own, and to the mass.
  void AddBody(int position, int numDims, const shp_Moments& own, const shp_Moments* turned) {
    const bool isSolid = numDims == 3 || (numDims == 2 && turned);
    const bool isSection = numDims == 1 && !turned;
    const shp_Moments& moments = turned ? *turned : own;
    std::optional<double> size = 1.0;
    if (!isSolid) {
      size = Ask(isSection ? options_.sectionArea : options_.thickness, type_, position);
      if (!size) {
        (isSection ? result_.noSectionArea : result_.noThickness).push_back(LabelOf(position));
        return;
      }
    }
    const double thickness = isSolid || isSection ? 0 : *size;
    if (numDims < 3) result_.volume.Add(moments, *size, thickness);
    if (!options_.density) return;
    if (const auto density = Ask(options_.density, type_, position))
      result_.mass.Add(moments, *size * *density, thickness);
    else
      result_.noDensity.push_back(LabelOf(position));
  }

  const Question<Real>& question_;
  const bme_ElementClass& type_;
  const shp_Shape& shape_;
  std::span<const Real> coordinates_;
  const bme_MeasureOptions& options_;
  std::array<double, 3> origin_;
  shp_MeasureRule rule_;
  std::optional<shp_MeasureRule> turn_; ///< of a full turn, for bodies in a plane through their axis
  bme_Measures result_;
  // of the chunk at work
  std::vector<int> rows_, measured_;
  std::vector<shp_Moments> own_, turned_;
};

template<class Real> class Measurer {
public:
  Measurer(const bme_ElementData& elements, std::span<const Real> coordinates,
           const bme_MeasureOptions& options)
      : question_{
          elements, coordinates, options, {}, !options.listsIndices && elements.HasUserElementLabels()} {
    if (options.order != shp_MomentOrder::Measure)
      question_.origin = options.reference ? *options.reference : RangeOf(coordinates).Middle();
    result_.length = result_.area = result_.volume = result_.mass = bme_Moments(question_.origin);
  }

  bme_Measures All() {
    for (unsigned c = 0; c < question_.elements.NumClasses(); ++c) {
      const bme_ElementClass& type = question_.elements.GetClass(c);
      std::vector<int> positions(static_cast<std::size_t>(type.NumElements()));
      std::iota(positions.begin(), positions.end(), 0);
      Measure(type, positions);
    }
    return std::move(result_);
  }

  bme_Measures Some(std::span<const unsigned> list) {
    std::vector<unsigned> sorted(list.begin(), list.end());
    std::ranges::sort(sorted);
    sorted.erase(std::unique(sorted.begin(), sorted.end()), sorted.end());
    for (auto element = sorted.begin(); element != sorted.end();) {
      const bme_ElementClass& type = question_.elements.GetElemClass(*element);
      const auto first = static_cast<unsigned>(type.FirstElementIndex());
      const auto end =
          std::lower_bound(element, sorted.end(), first + static_cast<unsigned>(type.NumElements()));
      std::vector<int> positions;
      for (; element != end; ++element) positions.push_back(static_cast<int>(*element - first));
      Measure(type, positions);
    }
    return std::move(result_);
  }

private:
  void Measure(const bme_ElementClass& type, std::span<const int> positions) {
    const shp_Shape* shape = type.Shape();
    if (!shape) {
      result_.numElements += static_cast<long long>(positions.size());
      for (const int position : positions) result_.withoutShape.push_back(question_.LabelOf(type, position));
      return;
    }
    const auto measure = [&](std::size_t piece) {
      const std::size_t first = piece * kPiece;
      return PieceMeasurer<Real>(question_, type, *shape)
          .Measure(positions.subspan(first, std::min(kPiece, positions.size() - first)));
    };
    wip_MergePieces((positions.size() + kPiece - 1) / kPiece, measure,
                    [&](const bme_Measures& part) { Add(part); });
  }

  void Add(const bme_Measures& part) {
    result_.numElements += part.numElements;
    for (const auto moments :
         {&bme_Measures::length, &bme_Measures::area, &bme_Measures::volume, &bme_Measures::mass})
      (result_.*moments).Add(part.*moments);
    for (const auto labels :
         {&bme_Measures::inverted, &bme_Measures::zero, &bme_Measures::withoutShape,
          &bme_Measures::withoutNodes, &bme_Measures::noThickness, &bme_Measures::noSectionArea,
          &bme_Measures::noDensity, &bme_Measures::noPointMass})
      (result_.*labels).insert((result_.*labels).end(), (part.*labels).begin(), (part.*labels).end());
  }

  Question<Real> question_;
  bme_Measures result_;
};
bme_Measures MeasureOnly(const bme_Mesh& mesh, std::span<const unsigned> elements) {
  return bme_CalculateMeasures(mesh, elements, {.order = shp_MomentOrder::Measure});
}

double MeasurePart(const bme_Mesh& mesh, unsigned element,
                   const std::function<shp_MeasureRule(const shp_Shape&)>& makeRule) {
  const bme_ElementClass& type = mesh.ElementData().GetElemClass(element);
  const shp_Shape* shape = type.Shape();
  if (!shape) return 0;
  shp_MeasureRule rule = makeRule(*shape);
  const std::span<const int> row = type.Connectivity(static_cast<int>(element) - type.FirstElementIndex());
  for (const int node : rule.Nodes()) {
    const int meshNode = row[static_cast<std::size_t>(node)];
    if (meshNode < 0 || static_cast<unsigned>(meshNode) >= mesh.NodeData().NumNodes()) return 0;
  }
  std::vector<float> copy;
  shp_Moments moments;
  rule.IntegrateEach(row, row.size(), CoordinatesOf(mesh.NodeData(), copy), {}, {&moments, 1});
  return moments.measure;
}

/// Absolute measure of one element (or all for -1), when it is one of `numDims` dimensions.
double ClassMeasure(const bme_ElementClass& type, const bme_NodeData& nodes, int numDims, int element) {
  const bme_ElementData one = [&] {
    bme_ElementData data;
    data.AddElementClass(new bme_ElementClass(type));
    return data;
  }();
  std::vector<float> copy;
  const bme_MeasureOptions options{.order = shp_MomentOrder::Measure};
  Measurer<float> measurer(one, CoordinatesOf(nodes, copy), options);
  const unsigned index = static_cast<unsigned>(element);
  const bme_Measures measures = element < 0 ? measurer.All() : measurer.Some({&index, 1});
  return numDims == 2 ? measures.area.Total() : measures.volume.Total();
}
} // namespace

std::array<double, 3> bme_CoordinateRange::Middle() const noexcept {
  std::array<double, 3> middle{};
  for (std::size_t a = 0; a < 3; ++a)
    if (low[a] <= high[a]) middle[a] = low[a] + (high[a] - low[a]) / 2;
  return middle;
}
bme_CoordinateRange bme_FiniteRange(const bme_Mesh& mesh) {
  std::vector<float> copy;
  return RangeOf(CoordinatesOf(mesh.NodeData(), copy));
}

bme_Measures bme_CalculateMeasures(const bme_Mesh& mesh, const bme_MeasureOptions& options) {
  std::vector<float> copy;
  return Measurer<float>(mesh.ElementData(), CoordinatesOf(mesh.NodeData(), copy), options).All();
}
bme_Measures bme_CalculateMeasures(const bme_Mesh& mesh, std::span<const unsigned> elements,
                                   const bme_MeasureOptions& options) {
  std::vector<float> copy;
  return Measurer<float>(mesh.ElementData(), CoordinatesOf(mesh.NodeData(), copy), options).Some(elements);
}
bme_Measures bme_CalculateMeasures(const bme_ElementData& elements, std::span<const double> coordinates,
                                   const bme_MeasureOptions& options) {
  return Measurer<double>(elements, coordinates, options).All();
}

double bme_CalculateLength(const bme_Mesh& mesh, std::span<const unsigned> elements) {
  return MeasureOnly(mesh, elements).length.Total();
}
double bme_CalculateArea(const bme_Mesh& mesh, std::span<const unsigned> elements) {
  return MeasureOnly(mesh, elements).area.Total();
}
double bme_CalculateVolume(const bme_Mesh& mesh, std::span<const unsigned> elements) {
  return MeasureOnly(mesh, elements).volume.Total();
}
double bme_CalculateFaceArea(const bme_Mesh& mesh, unsigned element, int face) {
  return MeasurePart(mesh, element, [face](const shp_Shape& shape) {
    return shp_MeasureRule::OfFace(shape, face, shp_MomentOrder::Measure);
  });
}
double bme_CalculateEdgeLength(const bme_Mesh& mesh, unsigned element, int face, int edge) {
  return MeasurePart(mesh, element, [face, edge](const shp_Shape& shape) {
    return shp_MeasureRule::OfEdge(shape, face, edge, shp_MomentOrder::Measure);
  });
}

double bme_ElementClass::Area(const bme_NodeData& nodes) const { return ClassMeasure(*this, nodes, 2, -1); }
double bme_ElementClass::Area(const bme_NodeData& nodes, int element) const {
  CheckElement(element);
  return ClassMeasure(*this, nodes, 2, element);
}
double bme_ElementClass::Volume(const bme_NodeData& nodes) const { return ClassMeasure(*this, nodes, 3, -1); }
double bme_ElementClass::Volume(const bme_NodeData& nodes, int element) const {
  CheckElement(element);
  return ClassMeasure(*this, nodes, 3, element);
}

bool bme_GetFrame(const dtu_DatumCsys& csys, gsl_Matrix& frame) {
  // the local directions of a cartesian system are its axes
  const dtu_DatumCsys axes(0, 0, csys.Origin(), csys.Xaxis(), csys.Yaxis(), csys.Zaxis(), dtu_CARTESIAN);
  double rows[3][3];
  if (!dtu_LocalDirections(csys.Origin(), axes, rows)) return false;
  const gsl_Point& origin = csys.Origin();
  for (unsigned a = 0; a < 3; ++a) frame.SetColumn(a, gsl_Vector(rows[a][0], rows[a][1], rows[a][2]));
  frame.SetTranslation(gsl_Vector(origin[0], origin[1], origin[2]));
  return true;
}
