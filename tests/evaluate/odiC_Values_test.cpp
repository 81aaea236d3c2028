#include "ThrownBy.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/dtu_DatumCsys.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Expression.h>
#include <CoreGeometry/odiC_Integral.h>
#include <CoreGeometry/odiC_OverFrames.h>
#include <CoreGeometry/odiC_Reduce.h>
#include <CoreGeometry/odiC_Rotation.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <CoreGeometry/shp_Shape.h>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <numeric>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>
#include <set>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;
constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
constexpr int kCubes = 6, kShells = 3;

/// Six cubes in a row (C3D8), and three shells on top of the first ones (S4, category "skin").
bme_Mesh Body() {
  std::vector<float> xyz;
  for (int i = 0; i <= kCubes; ++i)
    for (const auto& [y, z] : {std::pair{0.F, 0.F}, {1.F, 0.F}, {1.F, 1.F}, {0.F, 1.F}})
      xyz.insert(xyz.end(), {static_cast<float>(i), y, z});
  bme_MeshBuilder builder(xyz);
  std::vector<int> cubes, shells;
  for (int i = 0; i < kCubes; ++i)
    for (const int k : {0, 4, 5, 1, 3, 7, 6, 2}) cubes.push_back(4 * i + k);
  for (int i = 0; i < kShells; ++i)
    for (const int k : {3, 7, 6, 2}) shells.push_back(4 * i + k);
  builder.Add({"C3D8", cubes});
  builder.Add({.type = "S4", .connectivity = shells, .category = "skin"});
  return builder.Build();
}

template<class T> cow_ArrayCOW<T> Array(const std::vector<T>& values) {
  cow_ArrayCOW<T> array;
  array.Append(std::span<const T>(values));
  return array;
}

/// The quaternion of an element's axes in a frame; that of frame 1 has the other sign, which means the same turn.
std::array<double, 4> Turn(int frame, int element) {
  const double half = 0.1 * element + 0.02 * frame, sign = frame == 1 ? -1 : 1;
  return {sign * std::sin(half), 0, 0, sign * std::cos(half)};
}

/// A number for each row, frame and component, the same whenever it is asked for.
double Number(int frame, int row, int component) {
  return std::sin(12.9898 * row + 78.233 * component + 3.7 * frame) * 10;
}

class Values : public testing::Test {
protected:
  Values() : mesh_(Body()) {
    file_ = fs::temp_directory_path() / ("values" + std::to_string(::getpid()) + ".cgdb");
    fs::remove(file_);
    cls_Database model = cls_Database::Create(file_.string());
    cls_WritePass pass(model);
    pass.Put("meshes/Body", mesh_);
    bme_PutSet(pass, "Body", "ends", bme_FEMNodeList(mesh_, {0, 1, 2, 3, 4, 5, 6, 7, 27}).ToSet());
    bme_PutSet(pass, "Body", "middle", bme_FEMElemList(mesh_, {2, 3, 7}).ToSet());
    bme_PutSet(pass, "Body", "left",
               bme_FEMFaceList(mesh_, {bme_FaceWord(0, 2, false), bme_FaceWord(1, 0, false)}).ToSet());
    for (const bool isBack : {false, true})
      bme_PutSet(pass, "Body", isBack ? "below" : "above",
                 bme_FEMFaceList(mesh_, {bme_FaceWord(kCubes, 0, isBack)}).ToSet());
    const dtu_DatumCsys axis(0, 0, gsl_Point(0, 0.5, -1), gsl_Vector(1, 0, 0), gsl_Vector(0, 1, 0),
                             gsl_Vector(0, 0, 1), dtu_CYLINDRICAL);
    pass.Put("datums/axis", axis);
    pass.Commit();
    WriteRun(model);
  }
  ~Values() override { fs::remove(file_); }

  void WriteRun(cls_Database& model) {
    odiC_RunWriter run(model, "results/Body/a", mesh_);
    odiC_Category skin;
    skin.name = "skin";
    skin.elementCategories = {"skin"};
    skin.sectionPoints = {"top", "bottom"};
    skin.offsets = {1, -1};
    run.AddCategory(skin);
    odiC_Layout points = odiC_FullLayout(mesh_, res_INTEGRATION_POINT);
    odiC_LayoutBlock shells = points.blocks[1];
    points = {};
    points.Add(odiC_FullLayout(mesh_, res_INTEGRATION_POINT).blocks[0]);
    for (const int point : {0, 1}) {
      shells.category = 0;
      shells.sectionPoint = point;
      points.Add(shells);
    }
    points.completeness = res_FULL_FIELD;
    odiC_PointSet set;
    set.name = "two";
    set.elemTypeLabel = "C3D8";
    set.count = 2;
    set.isoCoordinates = {0, 0, 0, 0.5, -0.5, 0.25};
    odiC_LayoutBlock two = odiC_FullLayout(mesh_, res_INTEGRATION_POINT).blocks[0];
    two.pointSet = run.AddPointSet(set);
    two.valuesPerEntity = set.count;
    odiC_Layout ofSet;
    ofSet.Add(two);
    const int atPointSet = run.AddLayout(ofSet);
    const int atPoints = run.AddLayout(points), atNodes = run.AddLayout(odiC_FullLayout(mesh_, res_NODAL)),
              atElements = run.AddLayout(odiC_FullLayout(mesh_, res_WHOLE_ELEMENT));
    const int s = run.AddVariable(odiC_Variable("S", res_TENSOR_3D_FULL, "MPa")),
              u = run.AddVariable(odiC_Variable("U", res_VECTOR, "mm")),
              q = run.AddVariable(odiC_Variable("axes", res_QUATERNION_3D)),
              ofTwo = run.AddVariable(odiC_Variable("two", res_SCALAR)),
              count = run.AddVariable(odiC_Variable("N", res_INTEGER));
    odiC_Variable local("L", res_TENSOR_3D_FULL), wave("P", res_SCALAR);
    local.coordSystem = res_LOCAL;
    local.axes = "axes";
    wave.pair = res_MAGNITUDE_AND_PHASE;
    const int l = run.AddVariable(local), p = run.AddVariable(wave);
    const auto numbers = [](int frame, int rows, int width) {
      std::vector<double> all;
      for (int row = 0; row < rows; ++row)
        for (int k = 0; k < width; ++k) all.push_back(Number(frame, row, k));
      return all;
    };
    run.BeginStep("Pull", odiC_STATIC);
    for (int frame = 0; frame < 4; ++frame) {
      run.BeginFrame({.value = 0.1 * frame});
      std::vector<double> stress = numbers(frame, points.numRows, 6);
      if (frame == 2) stress[6 * 5] = kNone;
      run.PutField(s, atPoints, Array(stress));
      if (frame != 1) run.PutField(u, atNodes, Array(numbers(frame, 28, 3)));
      if (frame != 2) {
        std::vector<double> turns;
        for (int row = 0; row < kCubes + kShells; ++row)
          for (const double one : Turn(frame, row)) turns.push_back(one);
        run.PutField(q, atElements, Array(turns));
      }
      if (frame == 0) run.PutField(ofTwo, atPointSet, Array(numbers(0, ofSet.numRows, 1)));
      run.PutField(count, atElements, Array(std::vector<int>(kCubes + kShells, 10 * frame)));
      if (frame >= 2) run.PutField(l, atPoints, Array(numbers(9, points.numRows, 6)));
      std::vector<double> waves = numbers(frame, 28, 1);
      for (int row = 0; row < 28; ++row) waves.push_back(90 * frame); // degrees
      run.PutField(p, atNodes, Array(waves));
    }
    run.BeginStep("Modes", odiC_FREQUENCY, odiC_FREQUENCY_DOMAIN);
    for (int mode = 1; mode <= 2; ++mode) {
      run.BeginFrame({.value = 10.0 * mode, .mode = mode});
      run.PutField(u, atNodes, Array(numbers(mode + 10, 28, 3)));
    }
    run.Commit();
  }
  odiC_Run Open() {
    model_.emplace(cls_Database::Open(file_.string()));
    return odiC_Run::Open(*model_, "results/Body/a");
  }

  const DDB_CoreGeometry library_;
  bme_Mesh mesh_;
  fs::path file_;
  std::optional<cls_Database> model_;
};

std::vector<double> All(const odiC_Values& values, const odiC_When& when, std::vector<int>* rows = nullptr) {
  const odiC_SourcePointer source = values.Open(when);
  std::vector<double> all;
  odiC_ForEachRange(*source, [&](const odiC_Range& range) {
    const auto width = static_cast<std::size_t>(source->NumComponents());
    for (const odiC_RowRun& run : range.rows)
      for (int row = run.first; row < run.End(); ++row) {
        const auto first = range.values.begin() + (row - range.firstRow) * static_cast<std::ptrdiff_t>(width);
        all.insert(all.end(), first, first + static_cast<std::ptrdiff_t>(width));
        if (rows) rows->push_back(row);
      }
  });
  return all;
}
std::vector<int> RowsOf(const odiC_Values& values) {
  std::vector<int> rows;
  All(values, values.Frames().front(), &rows);
  return rows;
}

RC_GTEST_PROP(odiC_Places, SetOperationsAreThoseOfTheirRows, ()) {
  auto layout = std::make_shared<odiC_Layout>();
  for (int i = 0; i < 3; ++i) {
    odiC_LayoutBlock block;
    block.position = res_INTEGRATION_POINT;
    block.classIndex = i;
    block.numEntities = i == 1 ? 0 : 5;
    block.valuesPerEntity = i + 1;
    layout->Add(block);
  }
  const auto make = [&] {
    const auto isIn = *rc::gen::container<std::vector<bool>>(static_cast<std::size_t>(layout->numRows),
                                                             rc::gen::arbitrary<bool>());
    std::set<int> rows;
    odiC_Places places(layout);
    for (int row = 0; row < layout->numRows; ++row)
      if (isIn[static_cast<std::size_t>(row)]) {
        places.Add(row, 1);
        rows.insert(row);
      }
    return std::pair(places, rows);
  };
  const auto [a, rowsA] = make();
  const auto [b, rowsB] = make();
  const odiC_Places both = a.And(b), either = a.Or(b), rest = a.Without(b), whole = a.WholeEntities();
  for (int row = 0; row < layout->numRows; ++row) {
    const bool inA = rowsA.contains(row), inB = rowsB.contains(row);
    RC_ASSERT(both.Contains(row) == (inA && inB));
    RC_ASSERT(either.Contains(row) == (inA || inB));
    RC_ASSERT(rest.Contains(row) == (inA && !inB));
    const odiC_Place place = odiC_PlaceOf(*layout, row);
    bool hasOne = false;
    for (int point = 0; point < layout->blocks[static_cast<std::size_t>(place.block)].valuesPerEntity;
         ++point)
      hasOne = hasOne || rowsA.contains(row - place.point + point);
    RC_ASSERT(whole.Contains(row) == hasOne);
  }
}

TEST_F(Values, SelectionsNarrowInAnyOrderAndCombine) {
  const odiC_Run run = Open();
  const odiC_Selection last = odiC_Selection().Frame(3);
  gsl_BBox box(gsl_Point(0.5, -1, -1), gsl_Point(3.5, 2, 2));
  const auto rows = [&](const odiC_Selection& where, const char* variable = "S") {
    return RowsOf(odiC_Values(run, variable, where));
  };
  EXPECT_EQ(rows(last.Region("middle").Box(box)), rows(last.Box(box).Region("middle")));
  EXPECT_EQ(rows(last.Region("middle").Box(box)).size(),
            16U); // cube 2 and shell 7; cube 3 reaches x = 4
  // all nodes of an element in the set; nodes of the elements
  EXPECT_EQ(rows(last.Region("ends")), rows(last.Elements({0, 6})));
  EXPECT_EQ(rows(last.Region("node:ends"), "U").size(), 9U);
  EXPECT_EQ(rows(last.Region("middle").NodeLabels({1}, bme_Unknown::Skip), "U").size(), 0U);
  EXPECT_EQ(rows(last.Region("middle"), "U").size(), 14U); // two cubes have 12 nodes, shell 7 has 2 others
  EXPECT_EQ(rows(last.Class(1)), rows(last.Category("skin")));
  EXPECT_EQ(rows(last.Class(1).SectionPoint("top")), rows(last.Class(1).SectionPoint(res_USE_TOP)));
  EXPECT_NE(rows(last.Class(1).SectionPoint("top")), rows(last.Class(1).SectionPoint(res_USE_BOTTOM)));
  EXPECT_EQ(rows(last.Elements({1}).Points({8, 2, 8})), (std::vector<int>{9, 15}));
  EXPECT_EQ(rows(last.Elements({1}).Or(last.Elements({4}))), rows(last.Elements({1, 4})));
  EXPECT_EQ(rows(last.Without(odiC_Selection().Class(0))), rows(last.Class(1)));
  EXPECT_NE(ThrownBy([&] { rows(last.Region("midle")); }).find("did you mean middle"), std::string::npos);
  EXPECT_NE(ThrownBy([&] { rows(last.SectionPoint("tip")); }).find("no section point \"tip\""),
            std::string::npos);
  EXPECT_NE(ThrownBy([&] { rows(last.Class(2)); }).find("element class 2 of 2"), std::string::npos);
}

TEST_F(Values, AtNodesTheOrderOfInvariantAndMeanMatters) {
  const odiC_Run run = Open();
  for (const auto& [invariant, isLinear] :
       {std::pair{res_MISES, false}, {res_MAX_PRINCIPAL, false}, {res_PRESS, true}}) {
    std::vector<double> means[3];
    for (const odiC_Order order : {odiC_Order::Before, odiC_Order::After, odiC_Order::AtPoints}) {
      const odiC_Values s = odiC_Values(run, "S", odiC_Selection().Frame(3).Class(0)).Invariant(invariant);
      means[static_cast<int>(order)] = All(s.AtNodes({.order = order}), s.Frames()[0]);
    }
    ASSERT_EQ(means[0].size(), 28U);
    double most = 0; // by which the invariant of the mean is below the mean of the invariant, which is convex
    for (std::size_t k = 0; k < 28; ++k) {
      EXPECT_GE(means[0][k], means[1][k] - 1e-12);
      most = std::max({most, means[0][k] - means[1][k], std::abs(means[0][k] - means[2][k])});
    }
    EXPECT_EQ(most < 1e-12, isLinear) << most;
  }
}

TEST_F(Values, FacesHaveTheMeanOfTheirNodesAndThoseOfASurfaceCanBeChosen) {
  const odiC_Run run = Open();
  const odiC_Values s = odiC_Values(run, "S", odiC_Selection().Frame(0).Class(0)).Component("xy");
  const odiC_When when = s.Frames()[0];
  const std::vector<double> corners = All(s.AtElementNodes(), when), faces = All(s.AtFaces(), when);
  ASSERT_EQ(faces.size(), 6U * kCubes);
  const shp_Shape& cube = *mesh_.ElementData().GetClass(0).Shape();
  for (std::size_t k = 0; k < faces.size(); ++k) {
    double mean = 0;
    for (const int node : cube.FaceNodes(static_cast<int>(k) % 6))
      mean += corners[k / 6 * 8 + static_cast<std::size_t>(node)] / 4;
    EXPECT_NEAR(faces[k], mean, 1e-12) << k;
  }
  // of both classes together the same; points of rows are those of their nodes and faces
  const odiC_Values both = odiC_Values(run, "S", odiC_Selection().Frame(0)).Component("xy");
  std::vector<double> all = All(both.AtElementNodes(), when);
  EXPECT_GT(all.size(), corners.size());
  all.resize(corners.size());
  EXPECT_EQ(all, corners);
  const odiC_Layout atNodes = odiC_FullLayout(mesh_, res_ELEMENT_NODAL),
                    atFaces = s.AtFaces().Open(when)->Layout();
  std::vector<double> ofNodes(3 * 8 * kCubes), ofFaces(3 * 6 * kCubes);
  odiC_PointsOf(run, atNodes.blocks[0], 0, ofNodes);
  odiC_PointsOf(run, atFaces.blocks[0], 0, ofFaces);
  for (std::size_t k = 0; k < ofNodes.size(); ++k) {
    const int node = mesh_.ElementData().GetClass(0).ElementConnectivity().Const()[k / 3];
    EXPECT_EQ(ofNodes[k], mesh_.NodeData().Coordinates().Const()[3 * static_cast<std::size_t>(node) + k % 3]);
  }
  for (std::size_t k = 0; k < ofFaces.size(); ++k) {
    double mean = 0;
    for (const int node : cube.FaceNodes(static_cast<int>(k / 3) % 6))
      mean += ofNodes[k / 18 * 24 + 3 * static_cast<std::size_t>(node) + k % 3] / 4;
    EXPECT_NEAR(ofFaces[k], mean, 1e-6) << k;
  }
  const odiC_Values left = odiC_Values(run, "S", odiC_Selection().Frame(0).Region("left")).Component("xy");
  EXPECT_EQ(All(left.AtFaces(), when), (std::vector<double>{faces[2], faces[6]}));
  EXPECT_EQ(odiC_Reduce(left.AtFaces())[0].count, 2);
}

TEST_F(Values, OnlyWhatIsSelectedIsRead) {
  const odiC_Run run = Open();
  const odiC_Values values(run, "S", odiC_Selection().Frame(0).Elements({1, 5}));
  int rowsRead = 0;
  const odiC_SourcePointer counted = odiC_Mapped(values.Open(values.Frames()[0]), 6,
                                                 [&](std::span<const double> rows, std::span<double> made) {
                                                   rowsRead += static_cast<int>(rows.size() / 6);
                                                   std::ranges::copy(rows, made.begin());
                                                 });
  int meant = 0;
  odiC_ForEachRange(*counted, [&](const odiC_Range& range) {
    for (const odiC_RowRun& rows : range.rows) meant += rows.count;
  });
  EXPECT_EQ(meant, 16);
  EXPECT_LE(rowsRead, 16 + 24); // cubes 2 to 4 lie between them
}

TEST_F(Values, GatheringKeepsThePlacesAndTheirValues) {
  const odiC_Run run = Open();
  const odiC_Selection parts[] = {{},
                                  odiC_Selection().Elements({1, 2, 4, 7}),
                                  odiC_Selection().Points({2, 3}),
                                  odiC_Selection().Elements({5, 6}).Points({4})};
  for (const odiC_Selection& where : parts) {
    const odiC_Values values(run, "S", where.Frame(0));
    const odiC_SourcePointer source = values.Open(values.Frames()[0]);
    const odiC_Gathered gathered = odiC_Gather(*source);
    EXPECT_EQ(odiC_WhatIsWrong(gathered.layout, mesh_), "");
    const auto layout = std::make_shared<const odiC_Layout>(gathered.layout);
    const odiC_SourcePointer there = odiC_OnLayout(odiC_Kept(odiC_Places::All(layout), 6, gathered.values),
                                                   source->Places().SharedLayout());
    odiC_ForEachRange(*source, [&](const odiC_Range& range) {
      std::vector<double> same(range.values.size());
      there->Read(range.firstRow, same);
      for (const odiC_RowRun& rows : range.rows)
        for (int k = 6 * (rows.first - range.firstRow); k < 6 * (rows.End() - range.firstRow); ++k)
          EXPECT_EQ(same[static_cast<std::size_t>(k)], range.values[static_cast<std::size_t>(k)]);
    });
  }
}

TEST_F(Values, LayoutsOfUnknownPositionsAndClassesAreWrong) {
  odiC_Layout layout = odiC_FullLayout(mesh_, res_NODAL);
  layout.blocks[0].classIndex = 3;
  EXPECT_NE(odiC_WhatIsWrong(layout, mesh_).find("element class 3"), std::string::npos);
  layout.blocks[0].position = static_cast<res_OutputPositionEnm>(13); // in memory, without a text
  EXPECT_NE(odiC_WhatIsWrong(layout, mesh_).find("no position 13"), std::string::npos);
}

TEST_F(Values, LayoutsThatDoNotFitTheMeshAreDamage) {
  {
    cls_Database model = cls_Database::Open(file_.string(), cls_Database::Mode::ReadWrite);
    const odiC_Run run = odiC_Run::Open(model, "results/Body/a");
    const int index = run.LayoutOf(0, 0, run.VariableIndex("U"));
    odiC_LayoutBlock block = run.Layout(index)->blocks[0];
    std::vector<int> nodes(28);
    std::iota(nodes.begin(), nodes.end(), 0);
    nodes.back() = 99;
    block.entities = Array(nodes);
    odiC_Layout wrong;
    wrong.Add(block);
    cls_WritePass pass(model);
    pass.Put(odiC_LayoutRoot("results/Body/a", index), wrong);
    pass.Commit();
  }
  const odiC_Run run = Open();
  const std::string text = ThrownBy([&] { odiC_Max(odiC_Values(run, "U").Component("x")); });
  EXPECT_NE(
      text.find("does not fit meshes/Body: layout block 0 (NODAL): entity 99 is outside the 28 of the mesh"),
      std::string::npos)
      << text;
}

TEST_F(Values, FramesAreFoundByNumberValueAndMode) {
  const odiC_Run run = Open();
  const auto frames = [&](const odiC_Selection& where) { return odiC_Values(run, "U", where).Frames(); };
  const odiC_Selection pull = odiC_Selection().Step("Pull");
  EXPECT_EQ(frames({}).size(), 5U); // frame 1 has no U
  EXPECT_EQ(frames(odiC_Selection().Frame(-1))[0].step, 1);
  // the last step has no S: an envelope that is stored in a step of its own does not hide other variables
  EXPECT_EQ(odiC_Values(run, "S", odiC_Selection().Frame(-1)).Frames()[0].frame, 3);
  EXPECT_EQ(odiC_Values(run, "S", odiC_Selection().Value(0.1)).Frames()[0].frame, 1);
  EXPECT_EQ(frames(odiC_Selection().Mode(2))[0].frame, 1);
  EXPECT_EQ(frames(pull.Frames(0, -1, 2)).size(), 2U);
  EXPECT_EQ(frames(pull.Value(0.1))[0].frame, 0); // a tie between frames 0 and 2
  EXPECT_EQ(frames(pull.Value(0.3 + 1e-11, odiC_AtValue::Exact))[0].frame, 3);
  const std::pair<odiC_Selection, const char*> wrong[] = {
      {pull.Frame(4), "frame 4 of step \"Pull\": 0 to 3 exist"},
      {pull.Frame(1), "frames that have it: 0, 2, 3"},
      {pull.Value(0.35, odiC_AtValue::Interpolated), "value 0.35 lies outside 0 to 0.3 of step \"Pull\""},
      {pull.Value(0.05, odiC_AtValue::Exact), "its neighbours are 0 and 0.2"},
      {odiC_Selection().Step("Modes").Value(15, odiC_AtValue::Interpolated), "modes cannot be interpolated"},
      {odiC_Selection().Value(0.1), "of which step"},
      {odiC_Selection().Mode(3), "mode 3"}};
  for (const auto& [where, text] : wrong)
    EXPECT_NE(ThrownBy([&, &chosen = where] { frames(chosen); }).find(text), std::string::npos) << text;

  // at the value of a frame its bits, between two frames a mean; complex values by real and imaginary parts
  const auto at = [&](const char* variable, double value) {
    const odiC_Values values(run, variable, pull.Value(value, odiC_AtValue::Interpolated));
    return All(values, values.Frames()[0]);
  };
  EXPECT_EQ(at("U", 0.1 * 2), All(odiC_Values(run, "U", pull.Frame(2)), {0, 2}));
  EXPECT_NEAR(at("U", 0.15)[4], 0.25 * Number(0, 1, 1) + 0.75 * Number(2, 1, 1), 1e-12);
  EXPECT_NEAR(at("P", 0.05)[3], 0.5 * Number(0, 3, 0), 1e-12); // frame 1 has the phase 90: real part 0
  EXPECT_EQ(at("N", 0.04)[0], 0);                              // integers are those of the nearer frame
  EXPECT_EQ(at("N", 0.06)[0], 10);
  EXPECT_NEAR(at("axes", 0.05)[4 * 3], std::sin(0.31), 1e-12); // half way between two turns about one axis
}

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
} // namespace
