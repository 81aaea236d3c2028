#include "shp_GaussPoints.h"

#include <cmath>
#include <numbers>

namespace {
struct Value {
  double value, slope;
};

/// Jacobi polynomial P_n^(a, 0) by its three-term recurrence.
Value Jacobi(int n, int a, double x) {
  Value before{1, 0}, now{(a + 1) + (a + 2) * (x - 1) / 2, (a + 2) / 2.0};
  for (int k = 2; k <= n; ++k) {
    const double c = 2.0 * k + a, scale = 2.0 * k * (k + a) * (c - 2);
    const double linear = (c - 1) * c * (c - 2) / scale, constant = (c - 1) * a * a / scale;
    const double back = 2.0 * (k + a - 1) * (k - 1) * c / scale;
    const Value next{(linear * x + constant) * now.value - back * before.value,
                     linear * now.value + (linear * x + constant) * now.slope - back * before.slope};
    before = now;
    now = next;
  }
  return now;
}
} // namespace

shp_GaussLine shp_GaussJacobi(int count, int power) {
  shp_GaussLine line;
  std::vector<double> roots; // on [-1, 1], by Newton's steps that avoid the roots found before
  for (int k = 0; k < count; ++k) {
    double x = -std::cos((2 * k + 1) * std::numbers::pi / (2 * count));
    if (k > 0) x = (x + roots.back()) / 2;
    for (int step = 0; step < 50; ++step) {
      const Value p = Jacobi(count, power, x);
      double others = 0;
      for (const double root : roots) others += 1 / (x - root);
      const double change = p.value / (p.slope - p.value * others);
      x -= change;
      if (std::abs(change) < 1e-15) break;
    }
    roots.push_back(x);
    const double slope = Jacobi(count, power, x).slope;
    line.points.push_back((1 + x) / 2);
    line.weights.push_back(1 / ((1 - x * x) * slope * slope));
  }
  return line;
}

std::vector<shp_WeightedPoint> shp_GaussPoints(const shp_Domain& domain, const std::array<int, 3>& counts) {
  std::vector<shp_WeightedPoint> points = {{{}, 1}};
  // of a simplex the share of the directions before is left
  std::vector<double> shares = {1};
  for (int d = 0; d < domain.numDims; ++d) {
    const bool inSimplex = d < domain.numSimplexDims;
    const shp_GaussLine line = shp_GaussJacobi(counts[d], inSimplex ? domain.numSimplexDims - 1 - d : 0);
    std::vector<shp_WeightedPoint> longer;
    std::vector<double> left;
    for (std::size_t p = 0; p < points.size(); ++p)
      for (std::size_t k = 0; k < line.points.size(); ++k) {
        shp_WeightedPoint point = points[p];
        const double u = line.points[k];
        point.at[d] = inSimplex ? u * shares[p] : 2 * u - 1;
        point.weight *= inSimplex ? line.weights[k] : 2 * line.weights[k];
        longer.push_back(point);
        left.push_back(shares[p] * (1 - u));
      }
    points = std::move(longer);
    shares = std::move(left);
  }
  return points;
}
