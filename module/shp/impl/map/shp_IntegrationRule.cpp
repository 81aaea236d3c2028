#include "shp_IntegrationRule.h"

#include "shp_AttributeBits.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace {
using enum shp_Family;

// Rules along layers (gasket and the like) lie in their plane, those of cylindrical elements about the axis.
// The two hexahedron rules that are no products have their number of points in all places.
constexpr int kCentreAndCorners = 5, kFacesAndCorners = 14;
constexpr shp_IntegrationRule kRules[] = {
    {Line, 1, {}, {1}},
    {Line, 2, {}, {2}},
    {Line, 3, {}, {3}},
    {Triangle, 1, {}, {1}},
    {Triangle, 3, {}, {3}},
    {Triangle, 6, {}, {6}},
    {Quadrilateral, 1, {}, {1, 1}},
    {Quadrilateral, 2, {shp_Bit::kCylindrical}, {1, 2}},
    {Quadrilateral, 2, {}, {2, 1}},
    {Quadrilateral, 3, {shp_Bit::kCylindrical}, {1, 3}},
    {Quadrilateral, 3, {}, {3, 1}},
    {Quadrilateral, 4, {}, {2, 2}},
    {Quadrilateral, 6, {}, {2, 3}},
    {Quadrilateral, 9, {}, {3, 3}},
    {Tetrahedron, 1, {}, {1}},
    {Tetrahedron, 4, {}, {4}},
    {Tetrahedron, 15, {}, {15}},
    {Wedge, 1, {}, {1, 1}},
    {Wedge, 2, {}, {1, 2}},
    {Wedge, 3, {shp_Bit::kCylindrical}, {1, 3}},
    {Wedge, 3, {}, {3, 1}},
    {Wedge, 6, {}, {6, 1}},
    {Wedge, 9, {}, {3, 3}},
    {Wedge, 18, {}, {6, 3}},
    {Hexahedron, 1, {}, {1, 1, 1}},
    {Hexahedron, 4, {}, {2, 2, 1}},
    {Hexahedron, 5, {}, {kCentreAndCorners, kCentreAndCorners, kCentreAndCorners}},
    {Hexahedron, 8, {}, {2, 2, 2}},
    {Hexahedron, 9, {}, {3, 3, 1}},
    {Hexahedron, 12, {}, {2, 2, 3}},
    {Hexahedron, 14, {}, {kFacesAndCorners, kFacesAndCorners, kFacesAndCorners}},
    {Hexahedron, 27, {}, {3, 3, 3}},
};

/// Gauss points of 1, 2 or 3 in [-1, 1]; 0 where there is no direction.
std::vector<double> Gauss(int count) {
  if (count == 2) return {-std::sqrt(1.0 / 3), std::sqrt(1.0 / 3)};
  if (count == 3) return {-std::sqrt(0.6), 0, std::sqrt(0.6)};
  return {0};
}

/// All points with one of these three coordinates.
std::vector<shp_IsoPoint> Product(const std::vector<double>& x, const std::vector<double>& y,
                                  const std::vector<double>& z) {
  std::vector<shp_IsoPoint> points;
  for (const double c : z)
    for (const double b : y)
      for (const double a : x) points.push_back({a, b, c});
  return points;
}

/// Point of a simplex from the weights of its corners, the first of which is implied.
shp_IsoPoint FromWeights(const std::array<double, 4>& weights) {
  return {weights[1], weights[2], weights[3]};
}

std::vector<shp_IsoPoint> TrianglePoints(int count) {
  std::vector<shp_IsoPoint> points;
  // one corner's weight, and the two others'
  const auto orbit = [&](double others, const std::array<std::size_t, 3>& corners) {
    for (const std::size_t corner : corners) {
      std::array<double, 4> weights = {others, others, others, 0};
      weights[corner] = 1 - 2 * others;
      points.push_back(FromWeights(weights));
    }
  };
  if (count == 3) {
    orbit(1.0 / 6, {0, 1, 2});
  } else if (count == 6) {
    orbit(0.091576213509770743460, {0, 1, 2});
    orbit(0.44594849091596488632, {2, 0, 1}); // near the middles: opposite to these corners
  } else {
    points.push_back({1.0 / 3, 1.0 / 3, 0});
  }
  return points;
}

std::vector<shp_IsoPoint> TetrahedronPoints(int count) {
  std::vector<shp_IsoPoint> points;
  const auto orbit = [&](double others) {
    for (std::size_t corner = 0; corner < 4; ++corner) {
      std::array<double, 4> weights = {others, others, others, others};
      weights[corner] = 1 - 3 * others;
      points.push_back(FromWeights(weights));
    }
  };
  if (count == 4) {
    orbit((5 - std::sqrt(5.0)) / 20);
    return points;
  }
  points.push_back({0.25, 0.25, 0.25});
  if (count == 1) return points;
  orbit((7 - std::sqrt(15.0)) / 34);
  orbit((7 + std::sqrt(15.0)) / 34);
  const double far = (5 - std::sqrt(15.0)) / 20;
  for (const auto& [a, b] : {std::array<std::size_t, 2>{0, 1}, {1, 2}, {2, 0}, {0, 3}, {1, 3}, {2, 3}}) {
    std::array<double, 4> weights = {far, far, far, far};
    weights[a] = weights[b] = 0.5 - far;
    points.push_back(FromWeights(weights));
  }
  return points;
}

/// The centre and four points of the plane zeta = 0, of degree three.
std::vector<shp_IsoPoint> CentreAndCornersOfPlane() {
  const double a = std::sqrt(0.6);
  std::vector<shp_IsoPoint> points = {{0, 0, 0}};
  for (const shp_IsoPoint& corner : kQuadrilateral.corners)
    points.push_back({a * corner[0], a * corner[1], 0});
  return points;
}

/// One point near each face, then one near each corner, of degree five.
std::vector<shp_IsoPoint> FacesAndCorners() {
  const double a = std::sqrt(19.0 / 30), b = std::sqrt(19.0 / 33);
  std::vector<shp_IsoPoint> points = {{0, 0, -a}, {0, 0, a}, {0, -a, 0}, {a, 0, 0}, {0, a, 0}, {-a, 0, 0}};
  for (const shp_IsoPoint& c : kHexahedron.corners) points.push_back({b * c[0], b * c[1], b * c[2]});
  return points;
}

/// Products of powers below the given ones.
void AppendProducts(std::vector<double>& functions, const shp_IsoPoint& p, const std::array<int, 3>& counts) {
  double z = 1;
  for (int c = 0; c < std::max(counts[2], 1); ++c, z *= p[2]) {
    double y = 1;
    for (int b = 0; b < std::max(counts[1], 1); ++b, y *= p[1]) {
      double x = 1;
      for (int a = 0; a < std::max(counts[0], 1); ++a, x *= p[0]) functions.push_back(x * y * z);
    }
  }
}

/// All powers in the first directions up to a total degree, times powers of the last.
void AppendComplete(std::vector<double>& functions, const shp_IsoPoint& p, int numDims, int degree) {
  for (int c = 0; c <= (numDims == 3 ? degree : 0); ++c)
    for (int b = 0; b <= degree - c; ++b)
      for (int a = 0; a <= degree - c - b; ++a)
        functions.push_back(std::pow(p[0], a) * std::pow(p[1], b) * std::pow(p[2], c));
}

int DegreeOfSimplexRule(int count) { return count == 1 ? 0 : count <= 4 ? 1 : 2; }
} // namespace

std::vector<shp_IsoPoint> shp_IntegrationRule::Points() const {
  const shp_Facts& facts = *shp_FindFacts(family);
  if (!facts.HasSimplex()) {
    if (counts[0] == kCentreAndCorners) return CentreAndCornersOfPlane();
    if (counts[0] == kFacesAndCorners) return FacesAndCorners();
    return Product(Gauss(counts[0]), Gauss(counts[1]), Gauss(counts[2]));
  }
  std::vector<shp_IsoPoint> inSimplex =
      facts.numSimplexDims == 2 ? TrianglePoints(counts[0]) : TetrahedronPoints(counts[0]);
  if (facts.IsSimplex()) return inSimplex;
  std::vector<shp_IsoPoint> points;
  for (const double zeta : Gauss(counts[1]))
    for (shp_IsoPoint point : inSimplex) {
      point[2] = zeta;
      points.push_back(point);
    }
  return points;
}

std::vector<double> shp_IntegrationRule::Functions(const shp_IsoPoint& p) const {
  const shp_Facts& facts = *shp_FindFacts(family);
  std::vector<double> functions;
  if (facts.HasSimplex()) {
    AppendComplete(functions, p, facts.numSimplexDims, DegreeOfSimplexRule(counts[0]));
    const std::vector<double> inSimplex = functions;
    for (int c = 1; !facts.IsSimplex() && c < counts[1]; ++c)
      for (const double value : inSimplex) functions.push_back(value * std::pow(p[2], c));
  } else if (counts[0] == kCentreAndCorners) {
    functions = {1, p[0], p[1], p[0] * p[1], p[0] * p[0] + p[1] * p[1]};
  } else if (counts[0] == kFacesAndCorners) {
    AppendComplete(functions, p, 3, 2);
    functions.push_back(p[0] * p[1] * p[2]);
  } else {
    AppendProducts(functions, p, counts);
  }
  return functions;
}

bool shp_HasIntPtsAtNodes(const shp_Options& options) noexcept {
  return options.HasBit(shp_Bit::kIntPtsAtNodes)
         || (options.HasBit(shp_Bit::kNodalIntegration) && options.NumIntPts() == options.NumNodes());
}

const shp_IntegrationRule* shp_FindIntegrationRule(const shp_Options& options) noexcept {
  if (shp_HasIntPtsAtNodes(options)) return nullptr;
  const auto found = std::ranges::find_if(kRules, [&](const shp_IntegrationRule& rule) {
    return rule.family == options.Family() && rule.numPoints == options.NumIntPts()
           && (rule.onlyWithBits.empty()
               || std::any_of(rule.onlyWithBits.begin(), rule.onlyWithBits.end(),
                              [&](int bit) { return options.HasBit(bit); }));
  });
  return found != std::end(kRules) ? &*found : nullptr;
}
