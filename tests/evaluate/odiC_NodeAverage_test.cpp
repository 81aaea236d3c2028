#include "odiC_CarryKernels.h"

#include "ThrownBy.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_NodeAverage.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <map>

namespace {
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

odiC_Places AllOf(odiC_Layout layout) {
  return odiC_Places::All(std::make_shared<const odiC_Layout>(std::move(layout)));
}
std::vector<double> ReadAll(odiC_Source& source) {
  std::vector<double> values(static_cast<std::size_t>(source.Layout().numRows)
                                 * static_cast<std::size_t>(source.NumComponents()),
                             -1);
  odiC_ForEachRange(source, [&](const odiC_Range& range) {
    std::ranges::copy(range.values, values.begin() + range.firstRow * source.NumComponents());
  });
  return values;
}
const odiC_PointSet& NoSet(int) { throw std::logic_error("no point set is asked for"); }

/// A label of each integration rule; true when its points carry functions that are linear in every direction.
const std::map<const char*, bool> kShapes = {
    {"B31", false},   {"B23", true},      {"CPS3", false},   {"CPS6", true},   {"AC2D6", true},
    {"CPS4R", false}, {"CPS4", true},     {"CPS8", true},    {"GKPE4", false}, {"MCL9", true},
    {"C3D4", false},  {"C3D10", true},    {"AC3D10", true},  {"C3D6", false},  {"C3D15", true},
    {"AC3D15", true}, {"C3D8R", false},   {"C3D8", true},    {"C3D20", true},  {"C3D20R", true},
    {"C3D27R", true}, {"COH3D8P", false}, {"CAXA41", false}, {"CAXA82", true}};

TEST(odiC_NodeAverage, PatchFieldsAreExactAtElementNodesCentroidsAndFaces) {
  const shp_ShapeDictionary dictionary;
  for (const auto& [label, isLinear] : kShapes) {
    const shp_Shape& shape = *dictionary.GetShape(label);
    const auto family = shape.Options().Family();
    const bool isSimplex = family == shp_Family::Triangle || family == shp_Family::Tetrahedron;
    // a distorted element whose edges are straight: the field is linear in every direction of the element
    const auto value = [&, isLinear = isLinear](const shp_IsoPoint& p) {
      return isLinear
                 ? 3 + 2 * p[0] - p[1] + 0.5 * p[2]
                       + (isSimplex ? 0 : 0.3 * (family == shp_Family::Wedge ? p[0] * p[2] : p[0] * p[1]))
                 : 3;
    };
    std::vector<int> nodes(static_cast<std::size_t>(shape.NumNodes()));
    for (std::size_t k = 0; k < nodes.size(); ++k) nodes[k] = static_cast<int>(k);
    bme_MeshBuilder builder(std::vector<float>(3 * nodes.size()));
    const bme_Mesh mesh = builder.Add({label, nodes}).Build();
    const odiC_Places places = AllOf(odiC_FullLayout(mesh, res_INTEGRATION_POINT));
    const std::span<const shp_IsoPoint> points = shape.IntPtCoordinates();
    std::vector<double> rows;
    for (int k = 0; k < shape.NumIntPts(); ++k)
      for (const double factor : {1., -2., 3., 0.5, 7., 11., 13.}) // components
        rows.push_back(factor * value(points[static_cast<std::size_t>(k) % points.size()]));
    std::vector<shp_IsoPoint> centroid(1);
    for (int k = 0; k < shape.NumCorners(); ++k)
      for (std::size_t axis = 0; axis < 3; ++axis)
        centroid[0][axis] += shape.NodeCoordinates()[static_cast<std::size_t>(k)][axis] / shape.NumCorners();
    const std::pair<shp_Target, std::span<const shp_IsoPoint>> targets[] = {
        {shp_Target::Nodes, shape.NodeCoordinates()},
        {shp_Target::Faces, shape.FaceCentreCoordinates()},
        {shp_Target::Centroid, centroid}};
    for (const auto& [target, wanted] : targets) {
      const auto source = odiC_Carried(odiC_Kept(places, 7, rows), odiC_Carrier(mesh, places, NoSet, target));
      const std::vector<double> carried = ReadAll(*source);
      ASSERT_FALSE(carried.empty()) << label;
      std::vector<double> last(7); // one row: of faces a part of an element
      if (target == shp_Target::Faces) source->Read(source->Layout().numRows - 1, last);
      EXPECT_TRUE(target != shp_Target::Faces || std::ranges::equal(last, std::span(carried).last(7)))
          << label;
      for (std::size_t k = 0; k < carried.size() / 7; ++k) {
        EXPECT_NEAR(carried[7 * k], value(wanted[k % wanted.size()]), 1e-12) << label << " " << k;
        EXPECT_NEAR(carried[7 * k + 6], 13 * value(wanted[k % wanted.size()]), 1e-11) << label << " " << k;
      }
    }
    // the same points as a set of their own, with corner functions
    odiC_PointSet set;
    set.count = shape.NumIntPts();
    for (const shp_IsoPoint& p : points)
      set.isoCoordinates.insert(set.isoCoordinates.end(), p.begin(), p.end());
    if (shape.NumIntPts() != static_cast<int>(points.size())) continue;
    odiC_Layout layout = *places.SharedLayout();
    layout.blocks[0].pointSet = 0;
    const odiC_Places ofSet = AllOf(layout);
    for (const bool isPlaced : {true, false}) {
      if (!isPlaced) set.isoCoordinates.clear();
      const odiC_Carrier carrier(
          mesh, ofSet, [&](int) -> const odiC_PointSet& { return set; }, shp_Target::Nodes);
      double mean = 0;
      for (std::size_t k = 0; k < points.size(); ++k)
        mean += rows[7 * k] / static_cast<double>(points.size());
      const auto source = odiC_Carried(odiC_Kept(ofSet, 7, rows), carrier);
      const std::vector<double> carried = ReadAll(*source);
      for (std::size_t k = 0; k < carried.size() / 7; ++k)
        EXPECT_NEAR(carried[7 * k],
                    carrier.AreMeans() ? mean
                                       : value(shape.NodeCoordinates()[k % shape.NodeCoordinates().size()]),
                    1e-12)
            << label;
      if (isLinear || !isPlaced) {
        EXPECT_EQ(carrier.AreMeans(), !isPlaced) << label;
      }
    }
  }
}

/// Cubes in a row, each in a class of its own; the edges along x have the lengths given.
bme_Mesh Cubes(const std::vector<float>& lengths, const std::vector<cow_String>& categories = {}) {
  std::vector<float> xyz;
  float x = 0;
  for (std::size_t i = 0; i <= lengths.size(); ++i) {
    for (const auto& [y, z] : {std::pair{0.F, 0.F}, {1.F, 0.F}, {1.F, 1.F}, {0.F, 1.F}})
      xyz.insert(xyz.end(), {x, y, z});
    if (i < lengths.size()) x += lengths[i];
  }
  bme_MeshBuilder builder(xyz);
  for (int i = 0; i < static_cast<int>(lengths.size()); ++i) {
    std::vector<int> row;
    for (const int k : {0, 4, 5, 1, 3, 7, 6, 2}) row.push_back(4 * i + k);
    bme_Block block{"C3D8", row};
    if (!categories.empty()) block.category = categories[static_cast<std::size_t>(i)];
    builder.Add(block);
  }
  return builder.Build();
}

using Means = std::map<std::pair<int, cow_String>, double>; ///< by node and region

/// One number of each element, in the order of the classes, averaged; the same in doubles and floats.
Means MeansOf(const bme_Mesh& mesh, const std::vector<double>& values, const odiC_ToNodes& options,
              const std::vector<odiC_ElementGroup>& regions = {}, int* numSeveral = nullptr,
              long long* numNone = nullptr) {
  const odiC_Places places = AllOf(odiC_FullLayout(mesh, res_WHOLE_ELEMENT));
  odiC_NodeAverage average(mesh, places, options, regions);
  if (numSeveral) *numSeveral = average.NumNodesOfSeveral();
  Means means;
  const odiC_Layout& layout = *average.Places().SharedLayout();
  for (std::size_t block = 0; block < layout.blocks.size(); ++block) {
    const odiC_LayoutBlock& one = layout.blocks[block];
    average.Begin(average.GroupOf(static_cast<int>(block)), 1);
    for (const int source : average.BlocksOf(average.GroupOf(static_cast<int>(block)))) {
      const odiC_LayoutBlock& from = places.SharedLayout()->blocks[static_cast<std::size_t>(source)];
      const auto* first = &values[static_cast<std::size_t>(from.firstRow)];
      const std::vector<float> narrow(first, first + from.NumRows());
      average.Add(source, 0, narrow);
    }
    average.Finish();
    if (numNone) *numNone = average.NumNotNumbers();
    std::vector<double> rows(static_cast<std::size_t>(one.NumRows()));
    average.Read(one.firstRow, rows);
    for (int k = 0; k < one.numEntities; ++k)
      means[{one.Entity(k), one.region}] = rows[static_cast<std::size_t>(k)];
  }
  const auto source =
      odiC_Averaged(odiC_Kept(places, 1, values), odiC_NodeAverage(mesh, places, options, regions));
  const std::vector<double> again = ReadAll(*source);
  for (const odiC_LayoutBlock& one : layout.blocks)
    for (int k = 0; k < one.numEntities; ++k) {
      const double mean = means.at({one.Entity(k), one.region}),
                   other = again[static_cast<std::size_t>(one.firstRow + k)];
      EXPECT_TRUE(mean == other || (std::isnan(mean) && std::isnan(other))) << one.Entity(k);
    }
  return means;
}

TEST(odiC_NodeAverage, BordersAndWeightsDecideWhatIsAveraged) {
  const bme_Mesh mesh = Cubes({1, 3}, {"steel", "rubber"}), alike = Cubes({1, 3}, {"steel", "steel"});
  const std::vector<double> values = {2, 6};
  const std::vector<odiC_ElementGroup> regions = {{"left", {0}}, {"both", {0, 1}}}, one = {{"left", {0}}};
  struct Case {
    const char* what;
    const bme_Mesh& mesh;
    odiC_ToNodes options;
    std::span<const odiC_ElementGroup> regions;
    Means shared; ///< at a node of both
    int numSeveral;
  };
  using enum odiC_Borders;
  const Case cases[] = {
      {"none", mesh, {.borders = None}, {}, {{{4, ""}, 4}}, 0},
      {"none, by volume", mesh, {.borders = None, .weights = odiC_Weights::Measure}, {}, {{{4, ""}, 5}}, 0},
      {"class", mesh, {.borders = Class}, {}, {{{4, "C3D8 1"}, 2}, {{4, "C3D8 2"}, 6}}, 4},
      {"category", mesh, {}, {}, {{{4, "rubber"}, 6}, {{4, "steel"}, 2}}, 4},
      {"one category", alike, {}, {}, {{{4, ""}, 4}}, 0},
      {"regions", mesh, {.borders = Regions}, regions, {{{4, "left"}, 2}, {{4, "both"}, 6}}, 4},
      {"one region", mesh, {.borders = Regions}, one, {{{4, "left"}, 2}, {{4, "elsewhere"}, 6}}, 4},
      {"no region", mesh, {.borders = Regions}, {}, {{{4, ""}, 4}}, 0},
  };
  for (const Case& c : cases) {
    int numSeveral = -1;
    const Means means = MeansOf(c.mesh, values, c.options, {c.regions.begin(), c.regions.end()}, &numSeveral);
    EXPECT_EQ(means.size(), 12U + static_cast<std::size_t>(c.numSeveral)) << c.what;
    EXPECT_EQ(numSeveral, c.numSeveral) << c.what;
    for (const auto& [key, wanted] : c.shared) {
      ASSERT_TRUE(means.contains(key)) << c.what << " " << key.second;
      EXPECT_EQ(means.at(key), wanted) << c.what;
    }
    EXPECT_EQ(means.begin()->second, 2) << c.what; // node 0
  }
}

TEST(odiC_NodeAverage, NumbersThatAreNoneAreLeftOutAndCounted) {
  const bme_Mesh mesh = Cubes({1, 1, 1});
  long long numNone = 0;
  const Means means = MeansOf(mesh, {kNone, 6, 8}, {}, {}, nullptr, &numNone);
  EXPECT_EQ(numNone, 8);
  EXPECT_TRUE(std::isnan(means.at({0, ""})));
  EXPECT_EQ(means.at({4, ""}), 6);
  EXPECT_EQ(means.at({8, ""}), 7);
  // only what is selected contributes, and only its nodes have rows
  const odiC_Places all = AllOf(odiC_FullLayout(mesh, res_WHOLE_ELEMENT));
  odiC_Places places(all.SharedLayout());
  places.Add(1, 1);
  const auto source = odiC_Averaged(odiC_Kept(all, 1, {kNone, 6, 8}), odiC_NodeAverage(mesh, places, {}));
  EXPECT_EQ(ReadAll(*source), std::vector<double>(8, 6));
  EXPECT_EQ(source->Layout().blocks[0].Entity(0), 4);
  const odiC_Places points = AllOf(odiC_FullLayout(mesh, res_INTEGRATION_POINT));
  EXPECT_NE(ThrownBy<odiC_Exception>([&] {
              odiC_NodeAverage(mesh, points, {});
            }).find("values at INTEGRATION_POINT"),
            cow_String::npos);
  for (const odiC_ToNodes& wrong :
       {odiC_ToNodes{.normals = -1}, {.normals = 181}, {.threshold = 101}, {.threshold = kNone}})
    EXPECT_THROW(odiC_NodeAverage(mesh, all, wrong), odiC_Exception);
}

TEST(odiC_NodeAverage, ANodeCountsOnceForAnElementThatHasItSeveralTimes) {
  // two cubes, of which the second one is collapsed to a wedge: its nodes 1 and 3 are one, and so are 5 and 7
  std::vector<float> xyz(3 * 12);
  const bme_Mesh mesh =
      bme_MeshBuilder(xyz).Add({"C3D8", {0, 1, 2, 3, 4, 5, 6, 7, 1, 8, 1, 2, 5, 9, 5, 6}}).Build();
  EXPECT_EQ(MeansOf(mesh, {2, 6}, {}).at({1, ""}), 4);
  const odiC_Places places = AllOf(odiC_FullLayout(mesh, res_ELEMENT_NODAL));
  std::vector<double> values(16, 2);
  for (std::size_t k = 8; k < 16; ++k)
    values[k] = static_cast<double>(k); // 8 and 10 at node 1, 12 and 14 at 5
  for (const bool isPerElement : {false, true}) {
    const auto source = odiC_Averaged(odiC_Kept(places, 1, values),
                                      odiC_NodeAverage(mesh, places, {.isPerElement = isPerElement}));
    const std::vector<double> means = ReadAll(*source);
    if (isPerElement)
      EXPECT_EQ(means,
                (std::vector<double>{2, 5.5, 6.5, 2, 2, 7.5, 8.5, 2, 5.5, 9, 5.5, 6.5, 7.5, 13, 7.5, 8.5}));
    else
      EXPECT_EQ(means, (std::vector<double>{2, 5.5, 6.5, 2, 2, 7.5, 8.5, 2, 9, 13}));
  }
}

TEST(odiC_NodeAverage, NodesAboveTheThresholdKeepTheirElements) {
  const bme_Mesh mesh = Cubes({1, 1, 1});
  const odiC_Places places = AllOf(odiC_FullLayout(mesh, res_WHOLE_ELEMENT));
  // two components: of the second one all ranges are 0
  const std::vector<double> values = {2, 5, 6, 5, 10, 5};
  for (const double threshold : {0., 49., 50., 51., 99.}) { // each common node has half of the range
    const auto source = odiC_Averaged(
        odiC_Kept(places, 2, values),
        odiC_NodeAverage(mesh, places, {.borders = odiC_Borders::None, .threshold = threshold}));
    const std::vector<double> kept = ReadAll(*source);
    ASSERT_EQ(kept.size(), 48U);
    EXPECT_EQ(source->Layout().blocks[0].position, res_ELEMENT_NODAL);
    const bool isMean = threshold >= 50;
    const double wanted[3][2] = {
        {2, isMean ? 4. : 2.}, {isMean ? 4. : 6., isMean ? 8. : 6.}, {isMean ? 8. : 10., 10}};
    for (std::size_t row = 0; row < 24; ++row) {
      const std::size_t node = row % 8, isRight = node == 1 || node == 2 || node == 5 || node == 6;
      EXPECT_EQ(kept[2 * row], wanted[row / 8][isRight]) << threshold << ", row " << row;
      EXPECT_EQ(kept[2 * row + 1], 5);
    }
  }
}

TEST(odiC_NodeAverage, ShellsAreDividedWhereTheirNormalsTurn) {
  // two squares with a common edge, the second one standing up by an angle, and one that touches a corner only
  const auto shells = [](double degrees) {
    const double c = std::cos(degrees * 0.017453292519943295), s = std::sin(degrees * 0.017453292519943295);
    std::vector<float> xyz = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    for (const float y : {0.F, 1.F})
      xyz.insert(xyz.end(), {static_cast<float>(1 + c), y, static_cast<float>(s)});
    xyz.insert(xyz.end(), {-1, 0, 0, -1, -1, 0, 0, -1, 0});
    return bme_MeshBuilder(xyz).Add({"S4", {0, 1, 2, 3, 1, 4, 5, 2, 7, 8, 0, 6}}).Build();
  };
  struct Case {
    double fold, normals;
    std::size_t numRows;
    int numSeveral;
  };
  const Case cases[] = {{90, 30, 12, 3},   {90, 0, 9, 0},   {90, 90, 10, 1},   {90, 89, 12, 3},
                        {29.9, 30, 10, 1}, {30, 30, 10, 1}, {30.1, 30, 12, 3}, {0, 30, 10, 1}};
  for (const Case& one : cases) {
    int numSeveral = 0;
    const Means means = MeansOf(shells(one.fold), {2, 6, 9}, {.normals = one.normals}, {}, &numSeveral);
    EXPECT_EQ(means.size(), one.numRows) << one.fold << " " << one.normals;
    EXPECT_EQ(numSeveral, one.numSeveral) << one.fold << " " << one.normals;
    const bool isDivided = one.numSeveral == 3;
    EXPECT_EQ(means.at({1, ""}), isDivided ? 2 : 4);
    EXPECT_EQ(means.contains({1, "side 2"}), isDivided);
    if (isDivided) {
      EXPECT_EQ(means.at({2, "side 2"}), 6);
    }
    EXPECT_EQ(means.at({0, ""}), one.normals == 0 ? 5.5 : 2);
    if (one.normals > 0) {
      EXPECT_EQ(means.at({0, "side 2"}), 9);
    }
  }
  // solids and the shells on them are never averaged together
  bme_MeshBuilder builder(
      std::vector<float>{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1});
  builder.Add({"C3D8", {0, 1, 2, 3, 4, 5, 6, 7}})
      .Add({"S8R", {0, 1, 2, 3, 4, 5, 6, 7}}); // mid nodes as it happens
  const Means means = MeansOf(builder.Build(), {1, 5}, {.borders = odiC_Borders::None});
  EXPECT_EQ(means.at({0, "solids"}), 1);
  EXPECT_EQ(means.at({0, "surfaces"}), 5);
}

TEST(odiC_NodeAverage, EveryProcessorGivesTheSameBits) {
  std::vector<double> rows(7 * 11 * 9), weights(11 * 5);
  for (std::size_t k = 0; k < rows.size(); ++k) rows[k] = std::sin(static_cast<double>(k * k));
  rows[30] = kNone;
  for (std::size_t k = 0; k < weights.size(); ++k) weights[k] = std::cos(static_cast<double>(k));
  std::vector<int> targets(7 * 11), elements = {0, 2, 3, 6};
  for (std::size_t k = 0; k < targets.size(); ++k) targets[k] = static_cast<int>(k * 5 % 23) - 1;
  for (std::size_t components = 1; components <= 9; ++components) {
    std::vector<double> carried[2], sums[2];
    for (int k = 0; k < 2; ++k) {
      const auto body = k == 0 ? odiC_RowBody::Plain : odiC_BestRowBody();
      carried[k].resize(7 * 5 * components);
      odiC_CarryRows(body, {weights.data(), 5, 11, components, 7}, rows.data(), carried[k].data());
      for (double& value : carried[k]) value = std::isnan(value) ? 1e9 : value;
      sums[k].resize(22 * components);
      EXPECT_TRUE(odiC_ScatterRows(
          body, {targets.data(), elements.data(), weights.data(), 0, 4, 11, components, false}, rows.data(),
          sums[k].data()));
      EXPECT_FALSE(odiC_ScatterRows(body, {targets.data(), nullptr, nullptr, 1, 6, 11, components, true},
                                    rows.data() + 200, sums[k].data()));
    }
    EXPECT_EQ(carried[0], carried[1]) << components;
    EXPECT_EQ(sums[0], sums[1]) << components;
  }
}
} // namespace
