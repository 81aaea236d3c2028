// What is computed from values: extremes, sums, integrals, other axes, envelopes, formulas.
#include "ValuesModel.h"

#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Expression.h>
#include <CoreGeometry/odiC_Integral.h>
#include <CoreGeometry/odiC_OverFrames.h>
#include <CoreGeometry/odiC_Reduce.h>
#include <CoreGeometry/odiC_Rotation.h>
#include <CoreGeometry/shp_Shape.h>
#include <numeric>
#include <set>

TEST_F(Values, ExtremesAndSumsAreThoseOfAllRows) {
  const odiC_Run run = Open();
  const odiC_Values xx = odiC_Values(run, "S", odiC_Selection().Class(0)).Component("xx");
  double largest = -1e9, sum = 0;
  int frameOfLargest = -1, rowOfLargest = -1;
  for (int frame = 0; frame < 4; ++frame)
    for (int row = 0; row < 8 * kCubes; ++row) {
      const double value = Number(frame, row, 0);
      if (frame == 2 && row == 5) continue;
      if (frame == 2) sum += value;
      if (value > largest) {
        largest = value;
        frameOfLargest = frame;
        rowOfLargest = row;
      }
    }
  const std::optional<odiC_Extreme> worst = odiC_Max(xx);
  ASSERT_TRUE(worst);
  EXPECT_EQ(worst->value, largest);
  EXPECT_EQ(worst->when.frame, frameOfLargest);
  EXPECT_EQ(worst->place.Text(), "element " + std::to_string(rowOfLargest / 8 + 1) + ", point "
                                     + std::to_string(rowOfLargest % 8 + 1));
  const odiC_PlaceLabel corner = odiC_Max(xx.AtElementNodes())->place;
  EXPECT_EQ(corner.node, mesh_.ElementData().GetClass(0).Connectivity(
                             corner.label - 1)[static_cast<std::size_t>(corner.point - 1)]
                             + 1);
  EXPECT_NE(corner.Text().find(" (label " + std::to_string(corner.node) + ')'), std::string::npos);
  const odiC_Reduced frame = odiC_Reduce(xx)[2];
  EXPECT_NEAR(frame.sum, sum, 1e-12);
  EXPECT_EQ(frame.count, 8 * kCubes - 1);
  EXPECT_EQ(frame.notNumbers, 1);
  EXPECT_FALSE(
      odiC_Max(odiC_Values(run, "S", odiC_Selection().Frame(2).Elements({0}).Points({6})).Component("xx")));
  EXPECT_NE(ThrownBy([&] { odiC_Max(odiC_Values(run, "S")); }).find("xx, yy, zz, xy, xz, yz, "),
            std::string::npos);
  long long counted = 0;
  for (const long long count : odiC_HistogramOf(xx, 7).counts) counted += count;
  EXPECT_EQ(counted, 4 * 8 * kCubes - 1);

  // forces at nodes: moments about a point and about the origin differ by the arm's
  const odiC_Values u(run, "U", odiC_Selection().Step("Pull").Frame(3));
  const odiC_ResultantOf origin = odiC_Resultant(u, {0, 0, 0})[0], moved = odiC_Resultant(u, {1, 2, 3})[0];
  EXPECT_EQ(origin.force, moved.force);
  EXPECT_NEAR(moved.moment[0], origin.moment[0] - (2 * origin.force[2] - 3 * origin.force[1]), 1e-10);
  EXPECT_THROW(odiC_Resultant(xx, {0, 0, 0}), odiC_Exception);
}

TEST_F(Values, IntegralsOverFacesAreThoseOfTheirSquares) {
  const odiC_Run run = Open();
  const odiC_Values u(run, "U", odiC_Selection().Step("Pull").Frame(0));
  const auto mean = [](std::initializer_list<int> nodes, int component) {
    double sum = 0;
    for (const int node : nodes) sum += Number(0, node, component);
    return sum / 4;
  };
  // a side of cube 1 towards -y, the bottom of cube 2 towards -z
  const odiC_FaceIntegralOf left = odiC_IntegrateFaces(u, "left")[0],
                            flux = odiC_IntegrateFaces(u, "left", true)[0];
  EXPECT_NEAR(left.area, 2, 1e-12);
  for (int k = 0; k < 3; ++k)
    EXPECT_NEAR(left.integrals[static_cast<std::size_t>(k)], mean({0, 4, 7, 3}, k) + mean({4, 8, 9, 5}, k),
                1e-12);
  EXPECT_NEAR(flux.integrals[0], -mean({0, 4, 7, 3}, 1) - mean({4, 8, 9, 5}, 2), 1e-12);
  const double above = mean({3, 7, 6, 2}, 2);
  EXPECT_NEAR(odiC_IntegrateFaces(u, "above", true)[0].integrals[0], above, 1e-12);
  EXPECT_NEAR(odiC_IntegrateFaces(u, "below", true)[0].integrals[0], -above, 1e-12);
}

TEST_F(Values, PointsOfASetStandAtTheirIsoCoordinates) {
  const odiC_Run run = Open();
  const odiC_FieldReader field = run.Field(0, 0, run.VariableIndex("two"));
  std::vector<double> points(3 * 2 * kCubes);
  odiC_PointsOf(run, field.SharedLayout()->blocks[0], 0, points);
  for (int cube = 0; cube < kCubes; ++cube)
    for (const auto& [k, wanted] :
         {std::pair{0, cube + 0.5}, {1, 0.5}, {2, 0.5}, {3, cube + 0.75}, {4, 0.25}, {5, 0.625}})
      EXPECT_NEAR(points[static_cast<std::size_t>(6 * cube + k)], wanted, 1e-12) << cube << ' ' << k;
}

TEST_F(Values, TheEnvelopeTakesThePointFarthestFromZero) {
  const odiC_Run run = Open();
  const odiC_Values shells = odiC_Values(run, "S", odiC_Selection().Frame(0).Class(1)).Component("yy");
  const odiC_When when = shells.Frames()[0];
  const std::vector<double> both = All(shells, when);
  const odiC_SourcePointer envelope = shells.Open(when, res_USE_ENVELOPE);
  ASSERT_EQ(2 * envelope->Places().NumRows(), static_cast<long long>(both.size()));
  odiC_ForEachRange(*envelope, [&](const odiC_Range& range) {
    for (std::size_t i = 0; i < range.values.size(); ++i) {
      const double top = both[i], bottom = both[both.size() / 2 + i];
      EXPECT_EQ(range.values[i], std::abs(top) > std::abs(bottom) ? top : bottom);
      EXPECT_EQ(envelope->SectionPointOf(range.firstRow + static_cast<int>(i)),
                std::abs(top) > std::abs(bottom) ? 0 : 1);
    }
  });
  EXPECT_FALSE(odiC_Max(shells)->place.sectionPoint.empty());
}

TEST_F(Values, AxesAreThoseOfTheElementAndOfDatums) {
  const odiC_Run run = Open();
  const odiC_Values local(run, "L", odiC_Selection().Step("Pull"));
  const odiC_Rotation rotation(local.Variable());
  for (const odiC_When& when : local.Frames()) {
    const std::vector<double> stored = All(local, when), turned = All(local.System(res_GLOBAL), when);
    for (std::size_t row = 0; row < stored.size() / 6; ++row) {
      const int element = row < 8 * kCubes ? static_cast<int>(row) / 8
                                           : kCubes + (static_cast<int>(row) - 8 * kCubes) / 4 % kShells;
      const std::array<double, 4> turn = Turn(when.frame == 2 ? 1 : when.frame, element); // frame 2 has none
      std::array<double, 6> wanted{};
      rotation.FromLocal(turn, std::span(stored).subspan(6 * row, 6), wanted);
      for (std::size_t k = 0; k < 6; ++k) ASSERT_EQ(turned[6 * row + k], wanted[k]) << row;
    }
  }
  // node 28 stands at (6, 0, 1): from the axis along z through (0, 0.5), radius and angle by hand
  const odiC_Values u =
      odiC_Values(run, "U", odiC_Selection().Step("Pull").Frame(3).Nodes({27})).System("axis");
  const std::vector<double> rtz = All(u, u.Frames()[0]);
  const double angle = std::atan2(-0.5, 6), x = Number(3, 27, 0), y = Number(3, 27, 1);
  EXPECT_NEAR(rtz[0], x * std::cos(angle) + y * std::sin(angle), 1e-6);
  EXPECT_NEAR(rtz[1], y * std::cos(angle) - x * std::sin(angle), 1e-6);
  EXPECT_EQ(u.Components()[1], "t");
  EXPECT_NE(ThrownBy([&] { All(u.System("datums/axes"), u.Frames()[0]); }).find("did you mean"),
            std::string::npos);
  EXPECT_NE(ThrownBy([&] { All(u.System(res_LOCAL), u.Frames()[0]); }).find("no local axes"),
            std::string::npos);
}

TEST_F(Values, EnvelopesMeansAndCombinationsOverFrames) {
  const odiC_Run run = Open();
  const odiC_Values x = odiC_Values(run, "U", odiC_Selection().Step("Pull")).Component("x");
  const auto at = [&](odiC_OverFrames kind, int row) {
    const odiC_FramesResult result = odiC_Over(x, kind);
    double value = kNone;
    result.values->Read(row, std::span(&value, 1));
    return std::pair(value, result.frameOf[static_cast<std::size_t>(row)]);
  };
  for (const int row : {0, 11, 27}) {
    const double a = Number(0, row, 0), b = Number(2, row, 0), c = Number(3, row, 0); // frame 1 has no U
    const double most = std::max({a, b, c}), least = std::min({a, b, c});
    EXPECT_EQ(at(odiC_OverFrames::Max, row), (std::pair(most, most == a ? 0 : most == b ? 1 : 2)));
    EXPECT_EQ(at(odiC_OverFrames::Min, row).first, least);
    EXPECT_EQ(at(odiC_OverFrames::AbsMax, row).first, std::abs(most) > std::abs(least) ? most : least);
    EXPECT_EQ(at(odiC_OverFrames::Range, row), std::pair(most - least, -1));
    EXPECT_NEAR(at(odiC_OverFrames::Mean, row).first, (0.1 * (a + b) + 0.05 * (b + c)) / 0.3, 1e-12);
    EXPECT_NEAR(at(odiC_OverFrames::Rms, row).first,
                std::sqrt((0.1 * (a * a + b * b) + 0.05 * (b * b + c * c)) / 0.3), 1e-12);
  }
  const odiC_LoadCase cases[] = {{2, x, {0, 0}}, {-1, x, {0, 3}}};
  double sum = 0;
  odiC_Combination(cases)->Read(5, std::span(&sum, 1));
  EXPECT_EQ(sum, 2 * Number(0, 5, 0) - Number(3, 5, 0));
}

TEST(odiC_Formula, ComputesAsEngineersWrite) {
  const std::pair<const char*, double> cases[] = {{"1 + 2 * 3", 7},
                                                  {"-2^2", -4},
                                                  {"2^-1", 0.5},
                                                  {"2^3^2", 512},
                                                  {"8 / 4 / 2", 1},
                                                  {"10 - 4 - 3", 3},
                                                  {"(1 + 2) * 3", 9},
                                                  {"1e3 + .5", 1000.5},
                                                  {"1 < 2", 1},
                                                  {"2 <= 1", 0},
                                                  {"3 == 3", 1},
                                                  {"3 != 3", 0},
                                                  {"1 + 1 > 1", 1},
                                                  {"if(0, 1, 2)", 2},
                                                  {"max(1, min(5, 3))", 3},
                                                  {"sign(-3) * abs(-2)", -2},
                                                  {"cbrt(-27)", -3},
                                                  {"atan2(0, -1)", std::atan2(0, -1)},
                                                  {"sqrt(2)^2 - 2 < 1e-9", 1},
                                                  {"+4 - -4", 8}};
  for (const auto& [text, wanted] : cases) {
    double result = 0;
    odiC_Formula(text).Apply({}, std::span(&result, 1));
    EXPECT_EQ(result, wanted) << text;
  }
  const std::pair<const char*, const char*> wrong[] = {
      {"1 +", "here a number, a name or ( is missing:\n  1 +\n     ^"},
      {"(1", "here a ) is missing"},
      {"1 2", "does not belong to the formula:\n  1 2\n    ^"},
      {"sqr(4)", "no function sqr; did you mean sqrt"},
      {"max(1)", "here a , is missing"},
      {"\"S.xx", "this quote is not closed"},
      {"1e999", "is no number that can be held"},
      {"", "is missing"}};
  for (const auto& [text, message] : wrong)
    EXPECT_NE(ThrownBy([&, &formula = text] { odiC_Formula{formula}; }).find(message), std::string::npos)
        << text;
  EXPECT_THROW(odiC_Formula(cow_String(100000, '(')), odiC_Exception);
}

TEST_F(Values, ExpressionsTakeVariablesPlacesAndTimes) {
  const odiC_Run run = Open();
  const odiC_Expression all(run, "2 * U.x + \"U\".magnitude - X * T", odiC_Selection().Step("Pull"));
  EXPECT_EQ(all.Frames().size(), 3U);
  double value = 0;
  all.Open({0, 3, 0.3})->Read(17, std::span(&value, 1));
  const double x = Number(3, 17, 0), y = Number(3, 17, 1), z = Number(3, 17, 2);
  EXPECT_NEAR(value, 2 * x + std::sqrt(x * x + y * y + z * z) - 4 * 0.3, 1e-12);
  // values of whole elements stand at all their points, those of nodes in every group of elements
  const std::tuple<const char*, const char*, std::optional<odiC_ToNodes>> mixed[] = {
      {"N * 0 + S.xx", "S.xx", std::nullopt},
      {"U.x * 0 + S.xx", "S.xx", odiC_ToNodes{.borders = odiC_Borders::Class}}};
  for (const auto& [text, same, atNodes] : mixed) {
    const auto values = [&, &to = atNodes](const char* formula) {
      const odiC_SourcePointer source = odiC_Expression(run, formula, {}, to).Open({0, 3, 0.3});
      return odiC_Gather(*source).values;
    };
    const std::vector<double> found = values(text);
    EXPECT_GT(found.size(), 28U) << text;
    EXPECT_EQ(found, values(same)) << text;
  }
  const std::pair<const char*, const char*> wrong[] = {
      {"1 + V.x", "no variable \"V\""},
      {"U.x + U", "MAGNITUDE:\n  U.x + U\n        ^"},
      {"U.mises", "mises"},
      {"U.x * S.xx", "--at-nodes):\n  U.x * S.xx\n        ^"},
      {"1 + 1", "needs a variable"}};
  for (const auto& [text, message] : wrong)
    EXPECT_NE(ThrownBy([&, &formula = text] {
                odiC_Expression(run, formula).Open({0, 0, 0});
              }).find(message),
              std::string::npos)
        << text;
}
