#include "EntityMeshes.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_Quality.h>
#include <CoreGeometry/chk_Findings.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <cmath>
#include <limits>
#include <numbers>

namespace {
constexpr double kNo = -999;

/// A cell with places in 64ths, and its measures from size to taper as vtkMeshQuality (9.7) computes them; VTK's
/// warpage is 1 minus the one of the report, and its angles of tetrahedra leave out the edge of nodes 1 and 3.
struct Cell {
  const char* type;
  std::vector<int> places;
  std::array<double, 9> values;
};
const Cell kCells[] = {
    {"S3",
     {7, -4, 11, 63, 10, 11, 8, 68, -12},
     {0.5165601400054912, 1.4409130758643558, 1.2283571358650565, 0.7771767614538114, 42.3032772676544,
      75.88624177974879, kNo, kNo, kNo}},
    {"S3",
     {19, -9, -34, 44, -26, 7, 20, 55, 8},
     {0.46921729002175083, 1.6585157140635602, 1.3450512164297188, 0.686213387152634, 36.461195533558026,
      80.27158086069645, kNo, kNo, kNo}},
    {"S4",
     {5, -9, 6, 59, -12, 11, 58, 65, -4, -7, 76, 0},
     {1.1753901151058248, 1.5843514419236104, 1.272917774564253, 0.9513861063322161, 72.69038288726418,
      101.51484748590896, 0.9252355463529058, 0.1953561697583078, 0.13611119402487537}},
    {"S4",
     {-20, -31, -23, 103, 39, 16, 40, 40, -40, -40, 50, -13},
     {1.4330794427903224, 1.7469904524192663, 2.5018183544717645, 0.22265903025574296, 37.15290939629911,
      119.57979363062827, -0.020468468649574377, 0.46937449472463394, 0.8952016392694597}},
    {"C3D4",
     {-7, -7, -3, 62, -6, 5, 9, 72, -6, -7, 10, 58},
     {0.21440505981445312, 1.4992932665932541, 1.26591860275425, 0.6878985898289764, 54.1892885267774, kNo,
      kNo, kNo, kNo}},
    {"C3D4",
     {9, -2, -38, 70, 13, -19, -22, 57, -32, 2, -2, 101},
     {0.3637396494547526, 2.2469957757531747, 1.8991499286750089, 0.2841438271017692, 40.90162768727336, kNo,
      kNo, kNo, kNo}},
    {"C3D6",
     {6, -12, 7, 73, 10, -2, -10, 61, -1, -3, 3, 74, 62, -7, 67, 3, 74, 57},
     {0.6008246739705403, 1.6551737721760231, kNo, 0.7164427412326442, kNo, kNo, kNo, kNo, kNo}},
    {"C3D6",
     {-33, -8, -38, 69, 11, -38, 30, 77, 6, 8, 34, 25, 81, -35, 47, 39, 49, 39},
     {0.638386090596517, 3.0823243808855434, kNo, 0.3363757829204785, kNo, kNo, kNo, kNo, kNo}},
    {"C3D8",
     {12, -5, 2, 63, 4, -1, 68, 60, 12, 2, 55, 6, 11, 12, 63, 61, -11, 65, 54, 58, 62, 4, 71, 63},
     {0.7272831598917642, 1.343454098158057, 1.123721404584215, 0.8203931471441164, kNo, kNo, kNo,
      0.17643172170222937, 0.24226025966113882}},
    {"C3D8",
     {-22, 3,  -5, 93, -29, -1,  64, 63, -18, -30, 104, -21,
      -1,  21, 44, 30, -30, 100, 92, 75, 28,  -10, 100, 68},
     {2.3150746027628584, 2.5666541517747583, 1.3486821008413237, -0.11389854830343328, kNo, kNo, kNo,
      0.3644056548836451, 0.3203980500647732}},
};

std::vector<bme_QualityMeasure> AllMeasures() {
  std::vector<bme_QualityMeasure> all;
  for (std::size_t i = 0; i < bme_QualityMeasures().size(); ++i)
    all.push_back(static_cast<bme_QualityMeasure>(i));
  return all;
}

/// Elements of one type with nodes of their own.
std::unique_ptr<bme_Mesh> MeshOf(const cow_String& type, std::vector<float> xyz) {
  MeshMaker maker;
  maker.xyz = std::move(xyz);
  const shp_Shape* shape = thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(type);
  std::vector<int> rows(maker.xyz.size() / 3);
  for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = static_cast<int>(i);
  return maker.Class(type, static_cast<std::size_t>(shape->NumNodes()), rows).Make();
}

class bme_QualityTest : public testing::Test {
  const DDB_CoreGeometry library_;
};
} // namespace

TEST_F(bme_QualityTest, LinearCellsAreAsInVtk) {
  for (const Cell& cell : kCells) {
    std::vector<float> xyz;
    for (int copy = 0; copy < 9; ++copy) // more than one block of lanes
      for (const int place : cell.places) xyz.push_back(static_cast<float>(place) / 64);
    const auto mesh = MeshOf(cell.type, xyz);
    const auto values = bme_Quality(*mesh, 0, AllMeasures());
    for (std::size_t m = 0; m < cell.values.size(); ++m) {
      SCOPED_TRACE(cell.type + cow_String(" ") + bme_QualityMeasures()[m].name);
      if (cell.values[m] == kNo) continue;
      const double wanted = m == 6 ? 1 - cell.values[m] : cell.values[m];
      ASSERT_EQ(values[m].size(), 9U);
      for (const double value : values[m])
        EXPECT_NEAR(value, wanted, 1e-12 * std::max(1.0, std::abs(wanted)));
    }
  }
}

TEST_F(bme_QualityTest, EveryShapeHasTheBestValuesAndNeverNoNumber) {
  const auto& dictionary = thr_ThreadSingleton<shp_ShapeDictionary>::Instance();
  const std::vector<bme_QualityMeasure> all = AllMeasures();
  const auto index = [](bme_QualityMeasure measure) { return static_cast<std::size_t>(measure); };
  for (const auto& [name, key] : dictionary.LabelTable()) {
    const shp_Shape& shape = *dictionary.GetShape(name);
    if (shape.NodeCoordinates().empty() || shape.NumRings() > 1) continue;
    SCOPED_TRACE(name);
    // as it is, mirrored, in one point, and without a place
    std::vector<float> xyz;
    for (int kind = 0; kind < 4; ++kind)
      for (const shp_IsoPoint& at : shape.NodeCoordinates())
        for (std::size_t axis = 0; axis < 3; ++axis)
          xyz.push_back(kind == 3   ? std::numeric_limits<float>::quiet_NaN()
                        : kind == 2 ? 0
                                    : static_cast<float>(at[axis] * (kind == 1 && axis == 0 ? -1 : 1)));
    const auto values = bme_Quality(*MeshOf(name, xyz), 0, all);
    for (std::size_t m = 0; m < all.size(); ++m) {
      if (values[m].empty()) continue;
      ASSERT_EQ(values[m].size(), 4U);
      for (const double value : values[m]) EXPECT_FALSE(std::isnan(value)) << bme_QualityMeasures()[m].name;
      EXPECT_EQ(values[m][3], bme_QualityMeasures()[m].limit) << bme_QualityMeasures()[m].name;
    }
    const auto& jacobian = values[index(bme_QualityMeasure::ScaledJacobian)];
    if (shape.NumGeomDims() < 2) continue;
    ASSERT_EQ(jacobian.size(), 4U);
    EXPECT_GT(jacobian[0], 0.49);
    EXPECT_LE(jacobian[0], 1 + 1e-6);
    if (shape.NumGeomDims() == shape.NumSpatialDims()) {
      EXPECT_LT(jacobian[1], 0);
    }
    EXPECT_EQ(jacobian[2], 0);
    for (const auto measure :
         {bme_QualityMeasure::Warpage, bme_QualityMeasure::Skew, bme_QualityMeasure::Taper,
          bme_QualityMeasure::MidNodeOffset, bme_QualityMeasure::MidNodeHeight})
      if (!values[index(measure)].empty()) {
        EXPECT_NEAR(values[index(measure)][0], 0, 1e-6) << bme_QualityMeasures()[index(measure)].name;
      }
  }
  EXPECT_EQ(bme_FindQualityMeasure("taper"), bme_QualityMeasure::Taper);
  EXPECT_FALSE(bme_FindQualityMeasure("Taper"));
}

TEST_F(bme_QualityTest, MidNodesAndConcaveCorners) {
  // mid nodes of a quadrilateral: one a tenth of the chord off along it, one a fifth above it
  const auto eight =
      MeshOf("S8R", {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0.6F, 0, 0, 1, 0.5F, 0.2F, 0.5F, 1, 0, 0, 0.5F, 0});
  const auto values = bme_Quality(*eight, 0, AllMeasures());
  EXPECT_NEAR(values[9][0], 0.1, 1e-6);
  EXPECT_NEAR(values[10][0], 0.2, 1e-6);
  EXPECT_LT(values[3][0], 0.9);
  const auto arrow = MeshOf("CPS4", {0, 0, 0, 2, 0, 0, 0.5F, 0.5F, 0, 0, 2, 0});
  const auto concave = bme_Quality(*arrow, 0, AllMeasures());
  EXPECT_NEAR(concave[5][0], 360 - std::acos(-0.6) * 180 / std::numbers::pi, 1e-9);
  EXPECT_LT(concave[3][0], 0);
}

TEST_F(bme_QualityTest, AdviceOnFoldedElementsSaysWhatIsWrongWithTheWorst) {
  const std::pair<std::vector<float>, const char*> cases[] = {
      {{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0.9F, 0, 0, 1, 0.5F, 0, 0.5F, 1, 0, 0, 0.5F, 0},
       "; of the worst: move its mid node back to the middle of the edge"},
      {{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0.5F, 1.4F, 0, 1, 0.5F, 0, 0.5F, 1, 0, 0, 0.5F, 0},
       "; of the worst: move its mid node nearer to the edge"}};
  for (const auto& [places, advice] : cases) {
    std::vector<chk_Finding> found;
    chk_Findings findings("m", found);
    chk_Elements(*MeshOf("CPS8", places), findings);
    ASSERT_EQ(found.size(), 1U) << advice;
    EXPECT_TRUE(found[0].advice.ends_with(advice)) << found[0].advice;
  }
}
