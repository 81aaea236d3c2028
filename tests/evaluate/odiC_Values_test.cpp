// Which values are meant, where they stand and in which frames.
#include "ValuesModel.h"

#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Reduce.h>
#include <CoreGeometry/odiC_Rotation.h>
#include <CoreGeometry/shp_Shape.h>
#include <numeric>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>
#include <set>

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
