// Results as pictures and pages of the tool.
#include "ExodusWriter.h"
#include "Picture.h"
#include "ToolRun.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <CoreGeometry/pic_Page.h>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>

namespace {
using nlohmann::json;

/// Two squares of a plate, from 0 to 2 in x: t = 10 x (frame + 1) at nodes, u = 0.01 (frame + 1) along z for x > 0,
/// e = 5 and 7 in the elements; a step of one mode with u alone.
class Contours : public testing::Test {
protected:
  Contours() {
    std::vector<float> xyz;
    for (const float x : {0, 1, 2})
      for (const float y : {0, 1}) xyz.insert(xyz.end(), {x, y, 0});
    const bme_Mesh mesh =
        bme_MeshBuilder(xyz, {11, 12, 13, 14, 15, 16})
            .Add({.type = "S4R", .connectivity = {0, 2, 3, 1, 2, 4, 5, 3}, .labels = {7, 8}})
            .Build();
    cls_Database model = cls_Database::Create(model_);
    {
      cls_WritePass pass(model);
      pass.Put("meshes/plate", mesh);
      pass.Commit();
    }
    odiC_RunWriter run(model, "results/plate/run", mesh);
    const auto layout = [&](res_OutputPositionEnm position, int classIndex, int count) {
      odiC_LayoutBlock block;
      block.position = position;
      block.classIndex = classIndex;
      block.numEntities = count;
      odiC_Layout made;
      made.completeness = res_FULL_FIELD;
      made.Add(block);
      return run.AddLayout(made);
    };
    const int nodes = layout(res_NODAL, -1, 6), elements = layout(res_WHOLE_ELEMENT, 0, 2);
    const int t = run.AddVariable(odiC_Variable("t", res_SCALAR, "K")),
              u = run.AddVariable(odiC_Variable("u", res_VECTOR, "m")),
              e = run.AddVariable(odiC_Variable("e", res_SCALAR));
    odiC_Variable wave("w", res_SCALAR);
    wave.pair = res_REAL_AND_IMAGINARY;
    const int w = run.AddVariable(wave);
    const auto put = [&](int variable, int where, const std::vector<double>& values) {
      run.PutField(variable, where, cow_ArrayCOW<double>(std::span<const double>(values)));
    };
    const auto moved = [](double by) {
      return std::vector<double>{0, 0, 0, 0, 0, 0, 0, 0, by, 0, 0, by, 0, 0, by, 0, 0, by};
    };
    run.BeginStep("Pull");
    for (int frame = 0; frame < 3; ++frame) {
      const double s = frame + 1;
      run.BeginFrame({.value = 0.5 * frame});
      put(t, nodes, {0, 0, 10 * s, 10 * s, 20 * s, 20 * s});
      put(u, nodes, moved(0.01 * s));
      put(e, elements, {5, 7});
    }
    put(w, nodes, {0, 0, 10, 10, 20, 20, 20, 20, 10, 10, 0, 0});
    run.BeginStep("Modes", odiC_FREQUENCY, odiC_FREQUENCY_DOMAIN);
    run.BeginFrame({.value = 12});
    put(u, nodes, moved(-0.5));
    run.Commit();
  }
  ToolRun Draw(std::vector<std::string> words, const std::string& file = "a.png") const {
    const bool isPage = file.ends_with(".html");
    std::vector<std::string> all{
        isPage ? "view" : "render", model_, "-o", folder_ / file, "--force", "--json"};
    if (!isPage) all.insert(all.end(), {"--size", "200x200", "--plain", "--view", "0,0,1"});
    all.insert(all.end(), words.begin(), words.end());
    return RunTool(all);
  }
  json Results(const std::vector<std::string>& words, const std::string& file = "a.png") const {
    const ToolRun run = Draw(words, file);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return run.exitCode == 0 ? json::parse(run.out)["results"] : json();
  }
  std::array<int, 3> PixelAt(const std::string& file, double x) const { // 86 pixels a unit
    const Picture picture(folder_ / file);
    const unsigned char* p =
        &picture.rgb[3 * static_cast<std::size_t>(100 * 200 + static_cast<int>(14 + 86 * x))];
    return {p[0], p[1], p[2]};
  }
  static std::array<int, 3> Viridis(double t) {
    const pic_Colour colour = pic_Scale{.bands = 0}.At(t);
    return {static_cast<int>(std::lround(255 * colour.red)),
            static_cast<int>(std::lround(255 * colour.green)),
            static_cast<int>(std::lround(255 * colour.blue))};
  }

  DDB_CoreGeometry library_;
  TestFolder folder_;
  std::string model_ = folder_ / "plate.cgdb";
};
} // namespace

TEST_F(Contours, OneRangeAndOneFactorServeAllFrames) {
  const auto isNear = [](const std::array<int, 3>& a, const std::array<int, 3>& b) {
    return std::abs(a[0] - b[0]) + std::abs(a[1] - b[1]) + std::abs(a[2] - b[2]) <= 9;
  };
  json facts = Results({"--field", "t", "--step", "Pull", "--frames", "all", "--bands", "smooth"});
  EXPECT_EQ(facts["frames"].size(), 3U);
  EXPECT_EQ(facts["low"], 0);
  EXPECT_EQ(facts["high"], 60);
  EXPECT_TRUE(isNear(PixelAt("a.png", 1.5), Viridis(0.25))) << "the first frame reaches a third of the range";
  Results({"--field", "t", "--step", "Pull", "--frames", "0:2:2", "--bands", "smooth"}, "p%02d.png");
  EXPECT_TRUE(isNear(PixelAt("p01.png", 1.5), Viridis(0.75)));
  EXPECT_FALSE(std::filesystem::exists(folder_ / "p02.png"));
  facts = Results({"--field", "e", "--step", "1", "--frame", "0"});
  EXPECT_TRUE(isNear(PixelAt("a.png", 0.5), Viridis(0.5 / 12)));
  EXPECT_TRUE(isNear(PixelAt("a.png", 1.5), Viridis(11.5 / 12)));
  // 0.1 times the diagonal of sqrt(5) over 0.03 is 7.45
  facts = Results({"--field", "t", "--deform", "u", "--step", "Pull", "--range", "50,", "--undeformed"});
  EXPECT_EQ(facts["factor"], 5);
  EXPECT_EQ(facts["frames"], json::parse(R"([{"step": "Pull", "frame": 2, "value": 1.0}])"));
  EXPECT_TRUE(isNear(PixelAt("a.png", 1), {89, 89, 89})) << "below the fixed range";
  facts = Results({"--field", "u", "--deform", "u=2", "--step", "Modes", "--cycle", "4"}, "m%d.png");
  EXPECT_EQ(facts["field"]["components"], json::array({"MAGNITUDE"})) << facts;
  EXPECT_NEAR(facts["low"].get<double>(), 0, 1e-12);
  EXPECT_EQ(facts["high"], 0.5);
  EXPECT_FALSE(isNear(PixelAt("m0.png", 1.5), PixelAt("m1.png", 1.5)));
  EXPECT_EQ(Picture(folder_ / "m0.png").rgb, Picture(folder_ / "m2.png").rgb)
      << "seen along the displacement";
  // complex: 10 x cos a - (20 - 10 x) sin a
  facts = Results({"--field", "w", "--step", "Pull", "--cycle", "4", "--bands", "smooth"}, "w%d.png");
  EXPECT_EQ(facts["low"], -20);
  EXPECT_EQ(facts["high"], 20);
  const double wanted[] = {15, -5, -15, 5};
  for (int k = 0; k < 4; ++k)
    EXPECT_TRUE(isNear(PixelAt("w" + std::to_string(k) + ".png", 1.5), Viridis((wanted[k] + 20) / 40))) << k;
  if (!pic_Page::IsBuilt()) return;
  facts = Results({"--field", "t", "--deform", "u", "--step", "Pull", "--frames", "all"}, "a.html");
  EXPECT_EQ(facts["frames"].size(), 3U);
}

TEST_F(Contours, DisplacementsTurnWithThePlacementOfTheMesh) {
  // a plate that stands, and one that lies in its own axes and is placed by a quarter turn about x
  constexpr double kTurn[4][4] = {{1, 0, 0, 0}, {0, 0, -1, 0}, {0, 1, 0, 0}, {0, 0, 0, 1}};
  const gsl_Matrix turn(kTurn);
  std::vector<unsigned char> pictures[2];
  for (const int isPlaced : {0, 1}) {
    std::vector<float> xyz;
    std::vector<double> u;
    for (const float x : {0.F, 1.F, 2.F})
      for (const float y : {0.F, 1.F}) {
        xyz.insert(xyz.end(), {x, isPlaced ? y : 0, isPlaced ? 0 : y});
        u.insert(u.end(), {0, isPlaced ? 0 : -x, isPlaced ? x : 0});
      }
    const bme_Mesh own = bme_MeshBuilder(xyz).Add({"S4R", {0, 2, 3, 1, 2, 4, 5, 3}}).Build();
    const bme_Mesh mesh(0, new bme_NodeData(own.NodeData()), new bme_ElementData(own.ElementData()),
                        bme_ORPHAN_MESH, isPlaced ? &turn : nullptr);
    const std::string file = folder_ / (isPlaced ? "placed.cgdb" : "standing.cgdb");
    cls_Database model = cls_Database::Create(file);
    cls_WritePass pass(model);
    pass.Put("meshes/plate", mesh);
    pass.Commit();
    odiC_RunWriter run(model, "results/plate/run", mesh);
    const int index = run.AddVariable(odiC_Variable("u", res_VECTOR));
    run.BeginStep("Pull");
    run.BeginFrame({});
    run.PutField(index, run.AddLayout(odiC_FullLayout(mesh, res_NODAL)), cow_ArrayCOW<double>(u));
    run.Commit();
    EXPECT_EQ(RunTool({"render", file, "-o", folder_ / "turned.png", "--force", "--size", "200x200",
                       "--plain", "--view", "1,2,3", "--deform", "u=0.5"})
                  .exitCode,
              0);
    pictures[isPlaced] = Picture(folder_ / "turned.png").rgb;
  }
  EXPECT_EQ(pictures[0], pictures[1]);
}

TEST_F(Contours, WhatCannotBeDrawnIsSaid) {
  struct Case {
    std::vector<std::string> words;
    int exitCode;
    const char* told;
  };
  for (const auto& [words, exitCode, told] : std::initializer_list<Case>{
           {{"--field", "t", "--range", "2,1"}, 2, "--range 2,1"},
           {{"--field", "t", "--range", ","}, 2, "give LOW,HIGH"},
           {{"--field", "t", "--bands", "0"}, 2, "--bands 0"},
           {{"--field", "t", "--colours", "red"}, 2, "--colours"},
           {{"--deform", "u=x"}, 2, "NAME=NUMBER"},
           {{"--undeformed"}, 2, "--deform"},
           {{"--field", "t", "--frames", "all", "--frame", "1"}, 2, "--frame"},
           {{"--field", "x"}, 1, "\"x\""},
           {{"--deform", "t", "--step", "1"}, 1, "no vector"},
           {{"--field", "t", "--step", "1", "--cycle", "3"}, 1, "modes and for complex"},
           {{"--field", "t", "--step", "1", "--node", "99"}, 1, "99"},
           {{"--field", "t", "--step", "1", "--position", "whole_element"}, 1, "no values"}}) {
    const ToolRun run = Draw(words);
    EXPECT_EQ(run.exitCode, exitCode) << words[1] << run.err;
    EXPECT_NE((run.err + run.out).find(told), std::string::npos) << told << ": " << run.err << run.out;
    EXPECT_FALSE(std::filesystem::exists(folder_ / "a.png"));
  }
}
