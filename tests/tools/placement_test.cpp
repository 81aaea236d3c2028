// Meshes far from the origin, which keep an offset as their placement: every answer and export is in placed space.
#include "ExodusWriter.h"
#include "ThrownBy.h"
#include "ToolRun.h"

#include <BasicUtils/cls_Database.h>
#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_Placement.h>
#include <CoreGeometry/fmt_Format.h>
#include <CoreGeometry/gsl_Vector.h>
#include <gtest/gtest.h>

namespace {
constexpr double kFar[] = {1e7 + 0.25, -3e6, 16};

/// Two cubes of 0.5 beside each other, moved.
ExodusMesh Cubes(std::array<double, 3> by) {
  ExodusMesh mesh = OneHex();
  mesh.xyz.clear();
  for (int k = 0; k < 2; ++k)
    for (int j = 0; j < 2; ++j)
      for (int i = 0; i < 3; ++i)
        mesh.xyz.insert(mesh.xyz.end(), {by[0] + i * 0.5, by[1] + j * 0.5, by[2] + k * 0.5});
  mesh.blocks[0].nodes = {1, 2, 5, 4, 7, 8, 11, 10, 2, 3, 6, 5, 8, 9, 12, 11};
  return mesh;
}

class Placed : public testing::Test {
protected:
  /// Answers of one command on both models, with all coordinates of the far one brought back.
  void ExpectSame(std::vector<std::string> words, const std::vector<std::string>& points = {}) {
    nlohmann::json answers[2];
    for (const int isFar : {0, 1}) {
      std::vector<std::string> all = {words.front(), isFar != 0 ? far_ : near_};
      all.insert(all.end(), words.begin() + 1, words.end());
      all.insert(all.end(), points.begin(), points.end());
      for (std::string& word : all)
        if (word.starts_with("@")) word = Moved(word, isFar != 0);
      answers[isFar] = ToolFacts(all);
      if (isFar != 0) BringBack(answers[1]);
    }
    for (const char* key : {"file", "output", "placedAt"})
      for (nlohmann::json& answer : answers) answer.erase(key);
    for (const char* side : {"moving", "fixed"})
      for (nlohmann::json& answer : answers)
        if (answer.contains(side)) answer[side].erase("file");
    EXPECT_EQ(answers[0].flatten().size(), answers[1].flatten().size()) << answers[1].dump();
    const nlohmann::json near = answers[0].flatten(), far = answers[1].flatten();
    for (const auto& [key, value] : near.items()) {
      const nlohmann::json other = far.value(key, nlohmann::json());
      if (value.is_number_float() && other.is_number())
        EXPECT_NEAR(value.get<double>(), other.get<double>(), 1e-6) << words.front() << ' ' << key;
      else
        EXPECT_EQ(value, other) << words.front() << ' ' << key;
    }
  }

  /// "@x,y,z" moved to where the mesh is.
  static std::string Moved(const std::string& word, bool isFar) {
    double p[3];
    std::sscanf(word.c_str(), "@%lf,%lf,%lf", &p[0], &p[1], &p[2]);
    char text[120];
    for (int i = 0; i < 3; ++i) p[i] += isFar ? kFar[i] : 0;
    std::snprintf(text, sizeof text, "%.17g,%.17g,%.17g", p[0], p[1], p[2]);
    return text;
  }
  static void BringBack(nlohmann::json& facts) {
    for (auto& [key, value] : facts.items()) {
      const bool isPlace = key == "coordinates" || key == "min" || key == "max" || key == "point"
                           || key == "origin" || key == "global";
      if (isPlace && value.is_array())
        for (std::size_t i = 0; i < 3; ++i) value[i] = value[i].get<double>() - kFar[i];
      else if (value.is_structured())
        BringBack(value);
    }
  }

  TestFolder folder_;
  std::string near_ = folder_ / "near.cgdb", far_ = folder_ / "far.cgdb";
  const DDB_CoreGeometry library_;
};

TEST_F(Placed, AnswersAndExportsAreThoseOfTheFile) {
  Cubes({0, 0, 0}).Write(folder_ / "near.exo");
  Cubes({kFar[0], kFar[1], kFar[2]}).Write(folder_ / "far.exo");
  const std::string name[] = {"--name", "cubes"};
  ToolFacts({"import", folder_ / "near.exo", name[0], name[1]});
  const nlohmann::json facts =
      ToolFacts({"import", folder_ / "far.exo", name[0], name[1], "--offset", "auto"});
  EXPECT_EQ(facts["rounding"]["change"], 0) << facts.dump();
  ExpectSame({"csys", "--add", "a", "--kind", "cylindrical", "--origin"}, {"@0.5,0.5,0"});
  ExpectSame({"csys", "--add", "b", "--from-nodes", "2", "3", "5"});
  ExpectSame({"csys", "a", "--to-local"}, {"@0.75,0.5,0.25"});
  ExpectSame({"query", "--node", "1:12", "--element", "2"});
  ExpectSame({"locate"}, {"@0.3,0.2,0.1", "@0.5,0.1,0.1", "@2,0,0"});
  ExpectSame({"measure", "--density", "3", "--csys", "b"});
  for (const int isFar : {0, 1}) { // about its own origin, each
    const nlohmann::json volume = ToolFacts({"measure", isFar != 0 ? far_ : near_})["groups"][0]["volume"];
    EXPECT_NEAR(volume["centre"][0].get<double>(), 0.5 + isFar * kFar[0], 1e-6);
    EXPECT_NEAR(volume["inertiaAboutCentre"][0][0].get<double>(), 0.25 * 0.5 / 12, 1e-9);
  }
  for (const fmt_Format& format : fmt_Formats()) {
    if (!format.write || !format.read) continue;
    SCOPED_TRACE(format.name);
    std::vector<std::string> words = {"--format", std::string(format.name), "-o"};
    if (format.name == "stl")
      words.insert(words.begin(), {"--encoding", "ascii"}); // binary ones have single precision
    for (const std::string& model : {near_, far_}) {
      std::vector<std::string> all = {"export", model};
      all.insert(all.end(), words.begin(), words.end());
      all.push_back(model + format.suffixes[0]);
      all.emplace_back("--force");
      ToolFacts(all);
    }
    const fmt_Import back =
        fmt_ReadMesh(far_ + format.suffixes[0], {.offset = {{kFar[0], kFar[1], kFar[2]}}});
    const fmt_Import there = fmt_ReadMesh(near_ + format.suffixes[0]);
    EXPECT_TRUE(std::ranges::equal(back.mesh->NodeData().Coordinates().Const(),
                                   there.mesh->NodeData().Coordinates().Const()));
    EXPECT_EQ(back.mesh->ElementData().NumElements(), there.mesh->ElementData().NumElements());
  }
  // the near and the far one are as far apart as they say
  const nlohmann::json travel = ToolFacts({"travel", near_, far_, "--direction", Moved("@0,0,0", true)});
  EXPECT_TRUE(travel["meets"]);
  EXPECT_NEAR(travel["moving"]["point"][0].get<double>()
                  + travel["distance"].get<double>() * kFar[0] / std::hypot(kFar[0], kFar[1], kFar[2]),
              travel["fixed"]["point"][0].get<double>(), 1e-6);
}

TEST_F(Placed, ElementsThatSinglePrecisionSpoilsAreRefused) {
  Cubes({kFar[0], 0, 0}).Write(folder_ / "far.exo");
  const std::string refusal = ThrownBy([&] { fmt_ReadMesh(folder_ / "far.exo"); });
  EXPECT_NE(refusal.find("collapses or turns inside out 1 elements, the first of label 2"), std::string::npos)
      << refusal;
  const fmt_Import spoilt = fmt_ReadMesh(folder_ / "far.exo", {.acceptDamage = true});
  EXPECT_EQ(spoilt.rounding.damagedElements, (std::vector<int>{2}));
  EXPECT_EQ(spoilt.rounding.coarseNodes.size(), 12U);
  EXPECT_EQ(RunTool({"import", folder_ / "far.exo"}).exitCode, 1);
  // moved by a hundredth of an edge: a warning; by a thousandth of it: none
  for (const auto& [x, coarse] : {std::pair{1e5 + 0.003, 12U}, std::pair{1e3 + 0.0003, 0U}}) {
    Cubes({x, 0, 0}).Write(folder_ / "coarse.exo");
    const fmt_Rounding rounding = fmt_ReadMesh(folder_ / "coarse.exo").rounding;
    EXPECT_EQ(rounding.coarseNodes.size(), coarse) << x;
    EXPECT_TRUE(rounding.damagedElements.empty() && rounding.byNode.empty());
  }
  // an element that is inside out in the file stays one
  ExodusMesh mirrored = Cubes({1e5 + 0.003, 0, 0});
  std::swap_ranges(mirrored.blocks[0].nodes.begin(), mirrored.blocks[0].nodes.begin() + 4,
                   mirrored.blocks[0].nodes.begin() + 4);
  mirrored.Write(folder_ / "mirrored.exo");
  EXPECT_TRUE(fmt_ReadMesh(folder_ / "mirrored.exo").rounding.damagedElements.empty());
}

TEST_F(Placed, TurnedMeshesAnswerInTurnedAxes) {
  ExodusMesh cubes = Cubes({0, 0, 0});
  cubes.Write(folder_ / "near.exo");
  const fmt_Import read = fmt_ReadMesh(folder_ / "near.exo");
  gsl_Matrix turn; // a quarter about z: x becomes y
  turn.AxisRotation(gsl_Point(0, 0, 0), gsl_Vector(0, 0, 1), std::acos(0.0));
  turn.SetTranslation(gsl_Vector(100, 0, 0));
  const bme_Mesh placed(0, new bme_NodeData(read.mesh->NodeData()),
                        new bme_ElementData(read.mesh->ElementData()), bme_ORPHAN_MESH, &turn);
  {
    cls_Database model = cls_Database::Create(far_);
    cls_WritePass pass(model);
    pass.Put("meshes/turned", placed);
    pass.Commit();
  }
  const nlohmann::json box = ToolFacts({"info", far_})["meshes"][0]["box"];
  for (const auto& [corner, wanted] :
       {std::pair{"min", std::array{99.5, 0.0, 0.0}}, {"max", std::array{100.0, 1.0, 0.5}}})
    for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(box[corner][i].get<double>(), wanted[i], 1e-9);
  EXPECT_EQ(ToolFacts({"locate", far_, "99.9,0.75,0.1"})["points"][0]["elements"][0]["label"], 2);
  const nlohmann::json volume = ToolFacts({"measure", far_})["groups"][0]["volume"];
  EXPECT_NEAR(volume["centre"][1].get<double>(), 0.5, 1e-9);
  EXPECT_NEAR(volume["inertiaAboutCentre"][1][1].get<double>(), 0.25 * 0.5 / 12, 1e-9)
      << "long axis is y now";
  ToolFacts({"export", far_, "-o", folder_ / "turned.exo"});
  EXPECT_TRUE(fmt_ReadMesh(folder_ / "turned.exo").mesh->GetBBox().Max()[1] == 1.0);
  gsl_Matrix mirror;
  mirror.SetColumn(0, gsl_Vector(-1, 0, 0));
  EXPECT_NE(ThrownBy([&] { bme_Placement{&mirror}; }), kNothingThrown);
}
} // namespace
