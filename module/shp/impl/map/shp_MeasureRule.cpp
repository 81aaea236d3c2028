#include "shp_Facts.h"
#include "shp_GaussPoints.h"

#include <CoreGeometry/shp_MeasureRule.h>
#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace {
/// Four elements at a time.
using Lanes [[gnu::vector_size(32)]] = double;
constexpr std::size_t kLanes = 4;
constexpr std::size_t kNumSums = 16; // measure, first, second, normals
constexpr std::size_t kMostNodes = 27;
constexpr int kMostPoints = 32;
constexpr double kSmallestChange = 1e-10;

/// Shape functions and their slopes in the directions of the domain, at the points.
struct Table {
  std::size_t numDims = 0;
  std::vector<double> weights;
  std::vector<double> values; ///< a row of nodes a point
  std::vector<double> slopes; ///< the same, numDims for each node
};

/// Where the points of a domain are in the element.
struct Place {
  shp_IsoPoint at{};
  std::array<shp_IsoPoint, 3> directions{};
};

/// Highest power of the map in a tensor direction, or in all directions of the simplex together.
std::array<int, 3> DegreesOf(std::span<const shp_IsoPoint> nodes, const shp_Domain& domain) {
  std::array<int, 3> degrees{};
  for (const shp_IsoPoint& node : nodes) {
    int numCorners = 0; // of the simplex, between which the node stands
    double rest = 1;
    for (int d = 0; d < domain.numSimplexDims; ++d) {
      numCorners += node[d] > 1e-12;
      rest -= node[d];
    }
    numCorners += rest > 1e-12;
    for (int d = 0; d < domain.numDims; ++d) {
      const int degree = d < domain.numSimplexDims ? numCorners : std::abs(node[d]) < 0.5 ? 2 : 1;
      degrees[d] = std::max(degrees[d], degree);
    }
  }
  return degrees;
}

/// Sums over the points; `c` holds x, y, z of each node against the first one. Of a revolved plane, x is the
/// distance from the axis.
template<int numDims>
[[gnu::always_inline]] inline void SumPoints(const Table& table, std::size_t numNodes, const Lanes* c,
                                             shp_MomentOrder order, bool revolved, Lanes* sums) {
  constexpr double kTurn = 2 * std::numbers::pi;
  for (std::size_t s = 0; s < kNumSums; ++s) sums[s] = Lanes{};
  const double* slope = table.slopes.data();
  for (std::size_t q = 0; q < table.weights.size(); ++q) {
    Lanes j[numDims][numDims] = {};
    for (std::size_t n = 0; n < numNodes; ++n, slope += numDims)
      for (std::size_t a = 0; a < numDims; ++a)
        for (std::size_t d = 0; d < numDims; ++d) j[a][d] += slope[d] * c[3 * n + a];
    Lanes volume = j[0][0] * j[1][1] - j[0][1] * j[1][0];
    if constexpr (numDims == 3)
      volume = j[0][0] * (j[1][1] * j[2][2] - j[1][2] * j[2][1])
               - j[0][1] * (j[1][0] * j[2][2] - j[1][2] * j[2][0])
               + j[0][2] * (j[1][0] * j[2][1] - j[1][1] * j[2][0]);
    volume *= table.weights[q];
    Lanes x[3] = {};
    if (order != shp_MomentOrder::Measure || revolved)
      for (std::size_t n = 0; n < numNodes; ++n)
        for (std::size_t a = 0; a < numDims; ++a) x[a] += table.values[q * numNodes + n] * c[3 * n + a];
    if (revolved) volume *= kTurn * x[0];
    sums[0] += volume;
    if (order == shp_MomentOrder::Measure) continue;
    if (!revolved) sums[1] += volume * x[0];
    sums[2] += volume * x[1];
    if (numDims == 3) sums[3] += volume * x[2];
    if (order == shp_MomentOrder::First) continue;
    sums[4] += volume * x[0] * x[0];
    sums[5] += volume * x[1] * x[1];
    if (!revolved) sums[7] += volume * x[0] * x[1];
    if constexpr (numDims == 3) {
      sums[6] += volume * x[2] * x[2];
      sums[8] += volume * x[0] * x[2];
      sums[9] += volume * x[1] * x[2];
    }
  }
  if (revolved) { // the mean of cos^2 over a turn
    sums[4] *= 0.5;
    sums[6] = sums[4];
  } else if (numDims == 2) {
    sums[12] = sums[0];
  }
}

using SumPointsBody = void (*)(const Table&, std::size_t, const Lanes*, shp_MomentOrder, bool, Lanes*);
template<int numDims>
void SumPointsPlain(const Table& t, std::size_t n, const Lanes* c, shp_MomentOrder order, bool revolved,
                    Lanes* sums) {
  SumPoints<numDims>(t, n, c, order, revolved, sums);
}
#ifdef __x86_64__
template<int numDims>
[[gnu::target("avx2")]] void SumPointsAvx2(const Table& t, std::size_t n, const Lanes* c,
                                           shp_MomentOrder order, bool revolved, Lanes* sums) {
  SumPoints<numDims>(t, n, c, order, revolved, sums);
}
#endif

template<int numDims> SumPointsBody BestBody() {
#ifdef __x86_64__
  if (__builtin_cpu_supports("avx2")) return SumPointsAvx2<numDims>;
#endif
  return SumPointsPlain<numDims>;
}

using Sums = std::array<double, kNumSums>;
constexpr std::array<std::array<std::size_t, 2>, 6> kPairs = {
    {{0, 0}, {1, 1}, {2, 2}, {0, 1}, {0, 2}, {1, 2}}};

/// The same for one surface or line in space.
Sums SumTangents(const Table& table, std::size_t numNodes, const double* c, bool revolved) {
  Sums sums{};
  for (std::size_t q = 0; q < table.weights.size(); ++q) {
    double x[3] = {}, t[2][3] = {};
    for (std::size_t n = 0; n < numNodes; ++n) {
      const std::size_t row = q * numNodes + n;
      for (std::size_t a = 0; a < 3; ++a) {
        x[a] += table.values[row] * c[3 * n + a];
        for (std::size_t d = 0; d < table.numDims; ++d)
          t[d][a] += table.slopes[row * table.numDims + d] * c[3 * n + a];
      }
    }
    double normal[3] = {t[0][1] * t[1][2] - t[0][2] * t[1][1], t[0][2] * t[1][0] - t[0][0] * t[1][2],
                        t[0][0] * t[1][1] - t[0][1] * t[1][0]};
    if (table.numDims == 1) {
      normal[0] = t[0][1], normal[1] = -t[0][0], normal[2] = revolved ? 0 : t[0][2];
    }
    const double length = std::hypot(normal[0], normal[1], normal[2]);
    double measure = length * table.weights[q];
    double first[3] = {x[0], x[1], x[2]};
    double second[6], normals[6] = {};
    for (std::size_t k = 0; k < 6; ++k) {
      const auto [a, b] = kPairs[k];
      second[k] = x[a] * x[b];
      if (length > 0 && (revolved || table.numDims == 2))
        normals[k] = normal[a] * normal[b] / (length * length);
    }
    if (revolved) { // means over a turn
      measure *= 2 * std::numbers::pi * x[0];
      first[0] = 0;
      for (double* pairs : {second, normals}) {
        pairs[0] = pairs[2] = pairs[0] / 2;
        pairs[3] = pairs[4] = pairs[5] = 0;
      }
    }
    sums[0] += measure;
    for (std::size_t k = 0; k < 3; ++k) sums[1 + k] += measure * first[k];
    for (std::size_t k = 0; k < 6; ++k) {
      sums[4 + k] += measure * second[k];
      sums[10 + k] += measure * normals[k];
    }
  }
  return sums;
}

/// Length, area or volume that a point stands for; `c` holds x, y, z of each node, x from the axis when revolved.
double MeasureAt(const Table& table, std::size_t q, std::size_t numNodes, const double* c, bool hasSign,
                 bool revolved) {
  double t[3][3] = {}, x = 0;
  for (std::size_t n = 0; n < numNodes; ++n) {
    const std::size_t row = q * numNodes + n;
    x += table.values[row] * c[3 * n];
    for (std::size_t d = 0; d < table.numDims; ++d)
      for (std::size_t a = 0; a < 3; ++a) t[d][a] += table.slopes[row * table.numDims + d] * c[3 * n + a];
  }
  const double normal[3] = {t[0][1] * t[1][2] - t[0][2] * t[1][1], t[0][2] * t[1][0] - t[0][0] * t[1][2],
                            t[0][0] * t[1][1] - t[0][1] * t[1][0]};
  double measure = table.numDims == 1   ? std::hypot(t[0][0], t[0][1], t[0][2])
                   : table.numDims == 3 ? normal[0] * t[2][0] + normal[1] * t[2][1] + normal[2] * t[2][2]
                   : hasSign            ? normal[2]
                                        : std::hypot(normal[0], normal[1], normal[2]);
  measure *= table.weights[q];
  return revolved ? 2 * std::numbers::pi * x * measure : measure;
}

/// Moments about the origin of sums about the point p. Only what was asked for is moved.
shp_Moments MomentsOf(const Sums& sums, const std::array<double, 3>& p, shp_MomentOrder order) {
  shp_Moments moments;
  moments.measure = sums[0];
  if (order != shp_MomentOrder::Measure)
    for (std::size_t a = 0; a < 3; ++a) moments.first[a] = sums[1 + a] + sums[0] * p[a];
  for (std::size_t k = 0; k < 6; ++k) {
    const auto [a, b] = kPairs[k];
    moments.normals[k] = sums[10 + k];
    if (order == shp_MomentOrder::Second)
      moments.second[k] = sums[4 + k] + sums[1 + a] * p[b] + sums[1 + b] * p[a] + sums[0] * p[a] * p[b];
  }
  return moments;
}
} // namespace

struct shp_MeasureRule::Impl {
  const shp_Topology* shape = nullptr;
  shp_Domain domain;
  std::vector<int> nodes;
  std::vector<shp_IsoPoint> corners; ///< of a face or edge, in iso coordinates; empty: the whole element
  shp_MomentOrder order = shp_MomentOrder::Measure;
  bool revolved = false;
  bool hasSign = false;
  bool isExact = false;      ///< by the first table
  std::vector<Table> tables; ///< one, or of 2, 4, 8 ... points in each direction
  SumPointsBody body = nullptr;
  Lanes lanes[3 * kMostNodes]; ///< coordinates of the elements at work

  Place PlaceOf(const shp_IsoPoint& p) const;
  void AddTable(const std::array<int, 3>& counts);
  void ChooseTables(std::span<const shp_IsoPoint> inDomain);
  Sums SumUntilSteady(const double* c);
  void SumFunctions(std::size_t level, const double* c, std::span<double> sums) const;
  void SumFunctionsUntilSteady(const double* c, std::span<double> sums);
  template<class Real>
  void Each(std::span<const int> rows, std::size_t nodesPerRow, std::span<const Real> points,
            const std::array<double, 3>& origin, std::span<shp_Moments> moments);
};

Place shp_MeasureRule::Impl::PlaceOf(const shp_IsoPoint& p) const {
  if (corners.empty()) return {p, {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}}};
  // weights of the corners and their slopes: an edge, a triangle or a quadrilateral
  std::array<double, 4> weight{}, slope[2]{};
  if (domain.numDims == 1) {
    weight = {(1 - p[0]) / 2, (1 + p[0]) / 2};
    slope[0] = {-0.5, 0.5};
  } else if (domain.numSimplexDims == 2) {
    weight = {1 - p[0] - p[1], p[0], p[1]};
    slope[0] = {-1, 1, 0};
    slope[1] = {-1, 0, 1};
  } else {
    constexpr double kXi[] = {-1, 1, 1, -1}, kEta[] = {-1, -1, 1, 1};
    for (std::size_t k = 0; k < 4; ++k) {
      const double a = 1 + kXi[k] * p[0], b = 1 + kEta[k] * p[1];
      weight[k] = a * b / 4;
      slope[0][k] = kXi[k] * b / 4;
      slope[1][k] = kEta[k] * a / 4;
    }
  }
  Place place;
  for (std::size_t k = 0; k < corners.size(); ++k)
    for (std::size_t axis = 0; axis < 3; ++axis) {
      place.at[axis] += weight[k] * corners[k][axis];
      for (std::size_t d = 0; d < 2; ++d) place.directions[d][axis] += slope[d][k] * corners[k][axis];
    }
  return place;
}

void shp_MeasureRule::Impl::AddTable(const std::array<int, 3>& counts) {
  Table table;
  table.numDims = static_cast<std::size_t>(domain.numDims);
  const auto numNodes = static_cast<std::size_t>(shape->NumBaseNodes());
  std::vector<double> values(numNodes);
  std::vector<shp_IsoPoint> slopes(numNodes);
  for (const shp_WeightedPoint& point : shp_GaussPoints(domain, counts)) {
    const Place place = PlaceOf(point.at);
    shape->ShapeFunctions(place.at, values);
    shape->ShapeDerivatives(place.at, slopes);
    table.weights.push_back(point.weight);
    for (const int node : nodes) {
      const shp_IsoPoint& s = slopes[static_cast<std::size_t>(node)];
      table.values.push_back(values[static_cast<std::size_t>(node)]);
      for (std::size_t d = 0; d < table.numDims; ++d) {
        const shp_IsoPoint& direction = place.directions[d];
        table.slopes.push_back(s[0] * direction[0] + s[1] * direction[1] + s[2] * direction[2]);
      }
    }
  }
  tables.push_back(std::move(table));
}

void shp_MeasureRule::Impl::ChooseTables(std::span<const shp_IsoPoint> inDomain) {
  const std::array<int, 3> degrees = DegreesOf(inDomain, domain);
  // a flat simplex of the first degree has constant tangents
  const bool isLine = domain.numDims == 1;
  isExact = hasSign || (degrees[0] == 1 && (isLine || domain.numSimplexDims == domain.numDims));
  if (!isExact) {
    AddTable({2, 2, 2});
    return;
  }
  const int factors = static_cast<int>(order) + (revolved ? 1 : 0);
  std::array<int, 3> counts{};
  for (int d = 0; d < domain.numDims; ++d) {
    // a slope takes one power away; in a simplex every slope does
    const int slopes = hasSign ? domain.numDims : 0;
    const int lost = !hasSign ? 0 : d < domain.numSimplexDims ? domain.numSimplexDims : 1;
    counts[d] = ((slopes + factors) * degrees[d] - lost) / 2 + 1;
  }
  AddTable(counts);
}

Sums shp_MeasureRule::Impl::SumUntilSteady(const double* c) {
  Sums sums = SumTangents(tables[0], nodes.size(), c, revolved);
  if (isExact) return sums;
  double size = 0;
  for (std::size_t i = 0; i < 3 * nodes.size(); ++i) size = std::max(size, std::abs(c[i]));
  for (std::size_t level = 1; (2 << level) <= kMostPoints; ++level) {
    if (tables.size() <= level) AddTable({2 << level, 2 << level, 2 << level});
    const Sums finer = SumTangents(tables[level], nodes.size(), c, revolved);
    const double most = kSmallestChange * std::abs(finer[0]);
    bool isSteady = true;
    for (std::size_t s = 0; s < kNumSums; ++s) {
      const double scale = s == 0 || s > 9 ? 1 : s < 4 ? size : size * size;
      if (!(std::abs(finer[s] - sums[s]) <= most * scale)) isSteady = false;
    }
    sums = finer;
    if (isSteady) break;
  }
  return sums;
}

void shp_MeasureRule::Impl::SumFunctions(std::size_t level, const double* c, std::span<double> sums) const {
  const Table& table = tables[level];
  std::ranges::fill(sums, 0.0);
  for (std::size_t q = 0; q < table.weights.size(); ++q) {
    const double measure = MeasureAt(table, q, sums.size(), c, hasSign, revolved);
    for (std::size_t n = 0; n < sums.size(); ++n) sums[n] += measure * table.values[q * sums.size() + n];
  }
}

void shp_MeasureRule::Impl::SumFunctionsUntilSteady(const double* c, std::span<double> sums) {
  SumFunctions(0, c, sums);
  std::array<double, kMostNodes> before;
  for (std::size_t level = 1; !isExact && (2 << level) <= kMostPoints; ++level) {
    if (tables.size() <= level) AddTable({2 << level, 2 << level, 2 << level});
    std::ranges::copy(sums, before.begin());
    SumFunctions(level, c, sums);
    double measure = 0, change = 0;
    for (std::size_t n = 0; n < sums.size(); ++n) {
      measure += sums[n];
      change = std::max(change, std::abs(sums[n] - before[n]));
    }
    if (change <= kSmallestChange * std::abs(measure)) return;
  }
}

template<class Real>
void shp_MeasureRule::Impl::Each(std::span<const int> rows, std::size_t nodesPerRow,
                                 std::span<const Real> points, const std::array<double, 3>& origin,
                                 std::span<shp_Moments> moments) {
  constexpr double kRounding = std::numeric_limits<Real>::epsilon() / 2;
  std::vector<double> single(3 * nodes.size());
  for (std::size_t block = 0; block < moments.size(); block += kLanes) {
    const std::size_t count = std::min(kLanes, moments.size() - block);
    std::array<std::array<double, 3>, kLanes> base{};
    std::array<double, kLanes> noise{};
    for (std::size_t k = 0; k < kLanes; ++k) {
      const int* row = rows.data() + (block + std::min(k, count - 1)) * nodesPerRow;
      const auto at = [&](std::size_t n, std::size_t axis) {
        return static_cast<double>(
            points[3 * static_cast<std::size_t>(row[static_cast<std::size_t>(nodes[n])]) + axis]);
      };
      const std::array<double, 3> first = {at(0, 0), at(0, 1), at(0, 2)};
      // of a revolved plane, x counts from the axis
      const std::array<double, 3> zero = {revolved ? origin[0] : first[0], first[1], first[2]};
      double size = 0;
      for (std::size_t n = 0; n < nodes.size(); ++n)
        for (std::size_t a = 0; a < 3; ++a) {
          const double x = at(n, a);
          lanes[3 * n + a][k] = x - zero[a];
          size = std::max(size, std::abs(x - first[a]));
        }
      for (std::size_t a = 0; a < 3; ++a) base[k][a] = zero[a] - origin[a];
      if (revolved) base[k][2] = 0;
      const double farthest = std::max({std::abs(first[0]), std::abs(first[1]), std::abs(first[2])}) + size;
      noise[k] = kRounding * farthest * (domain.numDims == 3 ? size * size : domain.numDims == 2 ? size : 1);
    }
    Lanes sums[kNumSums];
    if (hasSign) body(tables[0], nodes.size(), lanes, order, revolved, sums);
    for (std::size_t k = 0; k < count; ++k) {
      Sums own;
      if (hasSign) {
        for (std::size_t s = 0; s < kNumSums; ++s) own[s] = sums[s][k];
      } else {
        for (std::size_t i = 0; i < single.size(); ++i) single[i] = lanes[i][k];
        own = SumUntilSteady(single.data());
      }
      moments[block + k] = MomentsOf(own, base[k], order);
      moments[block + k].noise = noise[k];
    }
  }
}

shp_MeasureRule::shp_MeasureRule(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
shp_MeasureRule::shp_MeasureRule(shp_MeasureRule&& other) noexcept = default;
shp_MeasureRule& shp_MeasureRule::operator=(shp_MeasureRule&& other) noexcept = default;
shp_MeasureRule::~shp_MeasureRule() = default;

shp_MeasureRule::shp_MeasureRule(const shp_Topology& shape, shp_MomentOrder order, bool revolved)
    : impl_(std::make_unique<Impl>()) {
  Impl& rule = *impl_;
  rule.shape = &shape;
  rule.order = order;
  rule.revolved = revolved;
  if (shape.NodeCoordinates().empty()) return;
  const shp_Facts& facts = *shp_FindFacts(shape.Options().Family());
  rule.domain = {facts.numDims, facts.numSimplexDims};
  rule.hasSign = rule.domain.numDims == shape.NumSpatialDims();
  for (int node = 0; node < shape.NumBaseNodes(); ++node) rule.nodes.push_back(node);
  rule.ChooseTables(shape.NodeCoordinates());
  rule.body = rule.domain.numDims == 3 ? BestBody<3>() : BestBody<2>();
}

shp_MeasureRule shp_MeasureRule::OfFace(const shp_Topology& shape, int face, shp_MomentOrder order) {
  auto rule = std::make_unique<Impl>();
  rule->shape = &shape;
  rule->order = order;
  const std::span<const int> nodes = shape.FaceNodes(face);
  const int numCorners = nodes.empty() ? 0 : shape.CornersPerFace()[static_cast<std::size_t>(face)];
  if (numCorners >= 3) {
    rule->domain = {2, numCorners == 3 ? 2 : 0};
    rule->nodes.assign(nodes.begin(), nodes.end());
    for (std::size_t k = 0; k < static_cast<std::size_t>(numCorners); ++k)
      rule->corners.push_back(shape.NodeCoordinates()[static_cast<std::size_t>(nodes[k])]);
    // beyond the corners nothing but the centre of the domain need be known: it is not of the first degree
    std::vector<shp_IsoPoint> inDomain = {{0, 0, 0}};
    if (numCorners == 3 && nodes.size() > 3) inDomain.push_back({0.5, 0, 0});
    rule->ChooseTables(inDomain);
  }
  return shp_MeasureRule(std::move(rule));
}

shp_MeasureRule shp_MeasureRule::OfEdge(const shp_Topology& shape, int face, int edge,
                                        shp_MomentOrder order) {
  auto rule = std::make_unique<Impl>();
  rule->shape = &shape;
  rule->order = order;
  const std::span<const int> nodes = shape.EdgeNodes(face, edge);
  if (nodes.size() >= 2) {
    rule->domain = {1, 0};
    rule->nodes.assign(nodes.begin(), nodes.end());
    for (const int end : {nodes.front(), nodes.back()})
      rule->corners.push_back(shape.NodeCoordinates()[static_cast<std::size_t>(end)]);
    rule->ChooseTables(std::vector<shp_IsoPoint>{{nodes.size() > 2 ? 0.0 : 1.0, 0, 0}});
  }
  return shp_MeasureRule(std::move(rule));
}

bool shp_MeasureRule::IsEmpty() const noexcept { return impl_->nodes.empty(); }
bool shp_MeasureRule::HasSign() const noexcept { return impl_->hasSign; }
int shp_MeasureRule::NumDims() const noexcept { return impl_->domain.numDims; }
std::span<const int> shp_MeasureRule::Nodes() const noexcept { return impl_->nodes; }

shp_Moments shp_MeasureRule::Integrate(std::span<const double> coordinates) {
  std::vector<int> row(IsEmpty() ? 0 : static_cast<std::size_t>(impl_->shape->NumNodes()));
  for (std::size_t n = 0; n < Nodes().size(); ++n)
    row[static_cast<std::size_t>(Nodes()[n])] = static_cast<int>(n);
  shp_Moments moments;
  IntegrateEach(row, row.size(), coordinates, {}, {&moments, 1});
  return moments;
}

void shp_MeasureRule::IntegrateEach(std::span<const int> rows, std::size_t nodesPerRow,
                                    std::span<const float> points, const std::array<double, 3>& origin,
                                    std::span<shp_Moments> moments) {
  if (IsEmpty())
    std::ranges::fill(moments, shp_Moments());
  else
    impl_->Each(rows, nodesPerRow, points, origin, moments);
}
void shp_MeasureRule::IntegrateEach(std::span<const int> rows, std::size_t nodesPerRow,
                                    std::span<const double> points, const std::array<double, 3>& origin,
                                    std::span<shp_Moments> moments) {
  if (IsEmpty())
    std::ranges::fill(moments, shp_Moments());
  else
    impl_->Each(rows, nodesPerRow, points, origin, moments);
}

void shp_MeasureRule::IntegrateFunctionsEach(std::span<const int> rows, std::size_t nodesPerRow,
                                             std::span<const float> points, std::span<double> integrals) {
  if (IsEmpty()) {
    std::ranges::fill(integrals, 0.0);
    return;
  }
  const std::size_t numNodes = Nodes().size(), numRows = integrals.size() / numNodes;
  if (impl_->order == shp_MomentOrder::Measure || numRows * numNodes != integrals.size()
      || numRows * nodesPerRow != rows.size())
    throw nex_AssertionException("integrals of shape functions need a rule for first moments, and "
                                 + std::to_string(numNodes) + " numbers for each row");
  std::array<double, 3 * kMostNodes> c;
  for (std::size_t row = 0; row < numRows; ++row) {
    const int* nodes = &rows[row * nodesPerRow];
    const auto at = [&](std::size_t n, std::size_t axis) {
      return static_cast<double>(
          points[3 * static_cast<std::size_t>(nodes[static_cast<std::size_t>(Nodes()[n])]) + axis]);
    };
    for (std::size_t n = 0; n < numNodes; ++n)
      for (std::size_t a = 0; a < 3; ++a)
        c[3 * n + a] = at(n, a) - (impl_->revolved && a == 0 ? 0 : at(0, a));
    impl_->SumFunctionsUntilSteady(c.data(), integrals.subspan(row * numNodes, numNodes));
  }
}
