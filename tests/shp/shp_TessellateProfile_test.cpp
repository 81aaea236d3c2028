#include <CoreGeometry/shp_TessellateProfile.h>
#include <cmath>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace {
using Segment = shp_AnalyticSurfaceSegment;

g3d_Point At(double x, double y) { return {{static_cast<float>(x), static_cast<float>(y), 0}}; }
shp_ProfilePoint Flat(const g3d_Point& point) { return {point[0], point[1]}; }
double Apart(const shp_ProfilePoint& a, const shp_ProfilePoint& b) {
  return std::hypot(a[0] - b[0], a[1] - b[1]);
}
double Number(double bound) { return *rc::gen::inRange(-1000000, 1000001) * (bound / 1e6); }

shp_AnalyticSurface Surface(cow_List<Segment> profile) {
  shp_AnalyticSurface surface;
  surface.SetProfile(std::move(profile));
  return surface;
}

double FromPiece(const shp_ProfilePoint& p, const shp_ProfilePoint& a, const shp_ProfilePoint& b) {
  const double x = b[0] - a[0], y = b[1] - a[1], square = x * x + y * y;
  const double along = square > 0 ? ((p[0] - a[0]) * x + (p[1] - a[1]) * y) / square : 0,
               t = std::clamp(along, 0., 1.);
  return Apart(p, {a[0] + t * x, a[1] + t * y});
}
double FromLine(const shp_ProfilePoint& p, const shp_ProfileLine& line) {
  double least = 1e300;
  for (std::size_t i = 1; i < line.size(); ++i) least = std::min(least, FromPiece(p, line[i - 1], line[i]));
  return least;
}
} // namespace

RC_GTEST_PROP(shp_Profile, PointsLieOnTheArcAndTheArcNearThePolygon, ()) {
  const double angle = Number(3), sweep = Number(3), radius = 2 + Number(1),
               tolerance = std::pow(10, -2 + Number(1.5));
  const g3d_Point centre = At(Number(5), Number(5)),
                  start = At(centre[0] + radius * std::cos(angle), centre[1] + radius * std::sin(angle)),
                  end = At(centre[0] + radius * std::cos(angle + sweep),
                           centre[1] + radius * std::sin(angle + sweep));
  const auto lines = shp_TessellateProfile(
      Surface({{Segment::START, {start}}, {Segment::CIRCLE, {end, centre}}}), tolerance);
  RC_ASSERT(lines.size() == 1U);
  RC_ASSERT(Apart(lines[0].front(), Flat(start)) < 1e-6);
  RC_ASSERT(Apart(lines[0].back(), Flat(end)) < 1e-6);
  for (const shp_ProfilePoint& point : lines[0])
    RC_ASSERT(std::fabs(Apart(point, Flat(centre)) - radius) < 4e-6);
  for (int i = 0; i <= 500; ++i) {
    const double at = angle + sweep * i / 500;
    RC_ASSERT(FromLine({centre[0] + radius * std::cos(at), centre[1] + radius * std::sin(at)}, lines[0])
              < tolerance * 1.000001 + 4e-6);
  }
  // and not many more points than that takes
  RC_ASSERT(static_cast<double>(lines[0].size()) < 3 + std::fabs(sweep) / std::sqrt(2 * tolerance));
}

RC_GTEST_PROP(shp_Profile, AParabolaStaysNearThePolygonAndTouchesBothLines, ()) {
  const double tolerance = std::pow(10, -2 + Number(1.5));
  const g3d_Point start = At(Number(5), Number(5)), end = At(Number(5), Number(5)),
                  control = At(Number(9), Number(9));
  const auto line = shp_TessellateProfile(
      Surface({{Segment::START, {start}}, {Segment::PARABOLA, {end, control}}}), tolerance)[0];
  RC_ASSERT(Apart(line.front(), Flat(start)) < 1e-6);
  RC_ASSERT(Apart(line.back(), Flat(end)) < 1e-6);
  for (int i = 0; i <= 300; ++i) {
    const double t = i / 300.0, s = 1 - t;
    shp_ProfilePoint point;
    for (unsigned k = 0; k < 2; ++k) point[k] = s * s * start[k] + 2 * s * t * control[k] + t * t * end[k];
    RC_ASSERT(FromLine(point, line) < tolerance * 1.000001 + 1e-9);
  }
}

TEST(shp_Profile, IsDrawnFromEachStartWithExactEnds) {
  const auto lines = shp_TessellateProfile(Surface({{Segment::LINE, {At(1, 0)}},
                                                    {Segment::LINE, {At(3, 0)}},
                                                    {Segment::CIRCLE, {At(1, 0), At(2, 0)}},
                                                    {static_cast<Segment::TypeEnm>(9), {}},
                                                    {Segment::START, {At(7, 7)}},
                                                    {Segment::LINE, {At(7, 7)}},
                                                    {Segment::CIRCLE, {At(7, 7), At(7, 7)}}}),
                                           10);
  ASSERT_EQ(lines.size(), 2U);
  ASSERT_EQ(lines[0].size(), 4U) << "half a circle has a point between, however coarse";
  EXPECT_NEAR(lines[0][2][1], 1, 1e-12) << "counter-clockwise";
  EXPECT_EQ(lines[1], (shp_ProfileLine{{7, 7}, {7, 7}, {7, 7}}));
  EXPECT_TRUE(shp_TessellateProfile({}, 1).empty());
  const auto fine = shp_TessellateProfile(
      Surface({{Segment::START, {At(3, 0)}}, {Segment::CIRCLE, {At(1, 0), At(2, 0)}}}), 1e-300);
  EXPECT_EQ(fine[0].size(), 65537U);
  const double nan = std::nan("");
  for (const g3d_Point& odd : {At(nan, 0), At(0, nan), At(HUGE_VAL, 1)}) // where there is no curve
    for (const auto& [end, other] : {std::pair(odd, At(2, 0)), std::pair(At(2, 0), odd), std::pair(odd, odd)})
      for (const Segment::TypeEnm type : {Segment::CIRCLE, Segment::PARABOLA})
        EXPECT_EQ(shp_TessellateProfile(Surface({{Segment::START, {At(3, 0)}}, {type, {end, other}}}), 0.1)[0]
                      .size(),
                  2U);
  EXPECT_THROW(shp_TessellateProfile({}, 0), nex_AssertionException);
  EXPECT_THROW(
      shp_TessellateProfile(Surface({{Segment::START, {At(0, 0)}}, {Segment::CIRCLE, {At(1, 0)}}}), 1),
      nex_OutOfRangeException);
}
