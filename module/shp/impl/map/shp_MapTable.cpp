#include "shp_MapTable.h"

#include "shp_NodePatternTable.h"

#include <cmath>
#include <set>

namespace {
using shp_PatternTable::kPatterns;
constexpr std::uint8_t kMiddle = 1, kNone = 3;

/// The full pattern, of first or second degree, whose functions contain those of a pattern.
const shp_NodePattern& FullPattern(const shp_NodePattern& pattern, std::size_t numCorners) {
  const shp_NodePattern* full = &pattern;
  if (static_cast<std::size_t>(pattern.numNodes) == numCorners) return pattern;
  for (const shp_NodePattern& other : kPatterns)
    if (other.family == pattern.family && other.numNodes > full->numNodes) full = &other;
  return *full;
}

/// Control points of the Bernstein form from nodal values of the full pattern. On [-1, 1], with the Bernstein
/// polynomials B0 = (1 - x)^2 / 4, B1 = (1 - x^2) / 2 and B2 = (1 + x)^2 / 4: the bubble is 1 - x^2 = 2 B1, and the
/// linear functions are (1 - x) / 2 = B0 + B1 / 2 and (1 + x) / 2 = B2 + B1 / 2 (Farin, Curves and Surfaces for CAGD).
/// Applying the corrections of the basis to these weights makes them weights of nodal values.
void FillControls(shp_MapTable& table, const shp_NodePattern& full, const shp_Basis& own) {
  const shp_Basis& basis = shp_BasisOf(full);
  const auto size = static_cast<std::size_t>(full.numNodes);
  for (std::size_t control = 0; control < size; ++control) {
    shp_Basis::Values weights, functions, ofNodes{};
    basis.Products(full.coordinates[control], weights);
    for (std::size_t k = 0; k < size; ++k) weights[k] *= std::exp2(basis.NumBubbles(k));
    for (const auto& [node, by, weight] : basis.Corrections()) weights[node] -= weight * weights[by];
    const auto append = [control](auto& terms, std::size_t source, double weight) {
      if (std::abs(weight) > 1e-14)
        terms.push_back({static_cast<std::uint8_t>(control), static_cast<std::uint8_t>(source), weight});
    };
    for (std::size_t k = 0; k < size; ++k) {
      append(table.controlsFromPlaces, k, weights[k]);
      own.Evaluate(full.coordinates[k], functions);
      for (std::size_t node = 0; node < table.numNodes; ++node) ofNodes[node] += weights[k] * functions[node];
    }
    for (std::size_t node = 0; node < table.numNodes; ++node)
      append(table.controlsFromNodes, node, ofNodes[node]);
  }
}

void FillNeighbours(shp_MapTable& table, const shp_Facts& facts, bool isLinear) {
  for (std::size_t axis = 0; axis < table.numDims; ++axis) {
    const bool isInSimplex = static_cast<int>(axis) < facts.numSimplexDims;
    const double distance = (isInSimplex ? 1.0 : 2.0) / (isLinear ? 1 : 2);
    for (std::size_t from = 0; from < table.controlPlaces.size(); ++from) {
      shp_IsoPoint wanted = table.controlPlaces[from];
      wanted[axis] += distance;
      for (std::size_t to = 0; to < table.controlPlaces.size(); ++to)
        if (table.controlPlaces[to] == wanted)
          table.neighbours.push_back({static_cast<std::uint8_t>(axis), static_cast<std::uint8_t>(from),
                                      static_cast<std::uint8_t>(to), 1 / distance});
    }
  }
}

shp_MapTable Make(const shp_NodePattern& pattern) {
  const shp_Facts& facts = *shp_FindFacts(pattern.family);
  const shp_Basis& basis = shp_BasisOf(pattern);
  shp_MapTable table{.family = pattern.family,
                     .numDims = static_cast<std::size_t>(facts.numDims),
                     .numNodes = static_cast<std::size_t>(pattern.numNodes),
                     .numCorners = facts.corners.size(),
                     .numSimplexCorners = static_cast<std::size_t>(basis.NumSimplexCorners())};
  for (const shp_IsoPoint& corner : facts.corners)
    for (std::size_t axis = 0; axis < 3; ++axis) table.centre[axis] += corner[axis] / facts.NumCorners();
  if (table.numNodes == table.numDims + 1)
    table.form = shp_MapTable::Form::Affine;
  else if (table.numNodes == table.numCorners)
    table.form = shp_MapTable::Form::Multilinear;
  else if (facts.IsSimplex())
    table.form = shp_MapTable::Form::Quadratic;
#ifdef __x86_64__
  table.isWide = __builtin_cpu_supports("avx2");
#endif

  const bool hasSimplex = table.numSimplexCorners > 0;
  std::array<std::set<int>, 3> places;
  for (std::size_t node = 0; node < table.numNodes; ++node)
    for (std::size_t axis = 0; axis < (hasSimplex ? 2U : 3U); ++axis)
      places[axis].insert(basis.PlacesOf(node)[axis]);
  const std::size_t gridSize =
      places[0].size() * places[1].size() * (hasSimplex ? std::size_t{1} : places[2].size());
  const bool isGrid = gridSize == table.numNodes;
  const auto placeOf = [&](std::size_t node, std::size_t axis) {
    const std::uint8_t place = basis.PlacesOf(node)[axis];
    return place == kNone && (axis > 0 || !hasSimplex) ? std::uint8_t{0} : place;
  };
  for (std::size_t node = 0; node < table.numNodes; ++node) {
    table.plane[node] =
        hasSimplex ? placeOf(node, 0) : static_cast<std::uint8_t>(3 * placeOf(node, 0) + placeOf(node, 1));
    table.layer[node] = placeOf(node, hasSimplex ? 1 : 2);
  }
  if (hasSimplex) {
    table.isParabolic = {isGrid && places[0].size() > table.numSimplexCorners, false,
                         isGrid && places[1].contains(kMiddle)};
    table.isAbsent[2] = places[1].contains(kNone);
  } else {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      table.isParabolic[axis] = isGrid && places[axis].contains(kMiddle);
      table.isAbsent[axis] = places[axis].contains(kNone);
    }
  }
  if (!isGrid) table.corrections.assign(basis.Corrections().rbegin(), basis.Corrections().rend());

  const shp_NodePattern& full = FullPattern(pattern, table.numCorners);
  table.controlPlaces = std::span(full.coordinates).first(static_cast<std::size_t>(full.numNodes));
  FillControls(table, full, basis);
  FillNeighbours(table, facts, &full == &pattern && table.numNodes == table.numCorners);
  return table;
}
} // namespace

const shp_MapTable& shp_MapTableOf(const shp_NodePattern& pattern) {
  static const std::vector<shp_MapTable> tables = [] {
    std::vector<shp_MapTable> all;
    all.reserve(kPatterns.size());
    for (const shp_NodePattern& each : kPatterns) all.push_back(Make(each));
    return all;
  }();
  return tables[static_cast<std::size_t>(&pattern - kPatterns.data())];
}
