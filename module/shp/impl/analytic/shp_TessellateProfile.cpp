#include <CoreGeometry/shp_TessellateProfile.h>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {
using Segment = shp_AnalyticSurfaceSegment;
constexpr double kMostPieces = 65536;

shp_ProfilePoint At(const Segment& segment, int i) {
  const g3d_Point& point = segment.Data().ConstGet(i);
  return {point[0], point[1]};
}

int PiecesFor(double wanted) {
  return static_cast<int>(std::clamp(std::ceil(wanted), 1.0, kMostPieces)); // of curves that are finite
}

class Tessellation {
public:
  explicit Tessellation(double tolerance) : tolerance_(tolerance) {}

  void Add(const Segment& segment) {
    const bool begins = lines_.empty() || segment.Type() == Segment::START;
    if (Segment::NumPoints(segment.Type()) == 0) return;
    const shp_ProfilePoint end = At(segment, 0);
    if (begins) {
      lines_.push_back({end});
      return;
    }
    if (segment.Type() == Segment::CIRCLE) AddArc(end, At(segment, 1));
    if (segment.Type() == Segment::PARABOLA) AddParabola(end, At(segment, 1));
    lines_.back().push_back(end);
  }
  std::vector<shp_ProfileLine> Take() { return std::move(lines_); }

private:
  /// The points between the last one and the end.
  void AddArc(const shp_ProfilePoint& end, const shp_ProfilePoint& centre) {
    constexpr double kPi = std::numbers::pi, kHalfTurn = kPi - 1e-6; // single precision points
    const shp_ProfilePoint start = lines_.back().back();
    const double x0 = start[0] - centre[0], y0 = start[1] - centre[1];
    const double x1 = end[0] - centre[0], y1 = end[1] - centre[1];
    const double from = std::atan2(y0, x0), radius = std::hypot(x0, y0, 0),
                 growth = std::hypot(x1, y1, 0) - radius;
    double sweep = std::atan2(x0 * y1 - y0 * x1, x0 * x1 + y0 * y1); // -pi to pi
    if (sweep < -kHalfTurn) sweep += 2 * kPi;
    const double largest = std::max(radius, radius + growth);
    if (!(largest > 0) || !std::isfinite(largest) || !std::isfinite(growth + sweep)) return;
    const double step = std::min(kPi / 2, 2 * std::acos(1 - std::min(1.0, tolerance_ / largest)));
    const int pieces = PiecesFor(step > 0 ? std::fabs(sweep) / step : kMostPieces);
    for (int i = 1; i < pieces; ++i) {
      const double t = static_cast<double>(i) / pieces, angle = from + t * sweep, r = radius + t * growth;
      lines_.back().push_back({centre[0] + r * std::cos(angle), centre[1] + r * std::sin(angle)});
    }
  }

  void AddParabola(const shp_ProfilePoint& end, const shp_ProfilePoint& control) {
    const shp_ProfilePoint start = lines_.back().back();
    const double bend = std::hypot(start[0] - 2 * control[0] + end[0], start[1] - 2 * control[1] + end[1], 0);
    if (!std::isfinite(bend)) return;
    const int pieces = PiecesFor(std::sqrt(bend / (4 * tolerance_)));
    for (int i = 1; i < pieces; ++i) {
      const double t = static_cast<double>(i) / pieces, s = 1 - t;
      shp_ProfilePoint point;
      for (std::size_t k = 0; k < 2; ++k)
        point[k] = s * s * start[k] + 2 * s * t * control[k] + t * t * end[k];
      lines_.back().push_back(point);
    }
  }

  double tolerance_;
  std::vector<shp_ProfileLine> lines_;
};
} // namespace

std::vector<shp_ProfileLine> shp_TessellateProfile(const shp_AnalyticSurface& surface,
                                                   double chordTolerance) {
  if (!(chordTolerance > 0))
    throw nex_AssertionException("the chord tolerance " + std::to_string(chordTolerance)
                                 + " of a profile is not positive");
  Tessellation lines(chordTolerance);
  for (const Segment& segment : surface.Profile().List()) lines.Add(segment);
  return lines.Take();
}
