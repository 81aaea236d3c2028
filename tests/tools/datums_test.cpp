// Datums of a model, as a user keeps, uses and draws them.
#include "ExodusWriter.h"
#include "Picture.h"
#include "ToolRun.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/dtu_DatumAxis.h>
#include <CoreGeometry/dtu_DatumContainer.h>
#include <CoreGeometry/dtu_DatumCsys.h>
#include <CoreGeometry/dtu_DatumPlane.h>
#include <CoreGeometry/dtu_DatumPoint.h>
#include <initializer_list>

namespace {
using nlohmann::json;

class Datums : public testing::Test {
protected:
  const TestFolder folder_;
  const std::string model_ = folder_ / "model.cgdb";
};

TEST_F(Datums, MapsPointsThroughCoordinateSystems) {
  ASSERT_EQ(RunTool({"import", SAMPLE, "-o", model_}).exitCode, 0);
  EXPECT_EQ(ToolFacts({"csys", model_})["datums"], json::array());
  EXPECT_EQ(RunTool({"csys", model_, "--to-local", "1,2,3"}).exitCode, 1) << "there is none yet";
  const json added = ToolFacts({"csys", model_, "--add", "hole", "--kind", "cylindrical", "--origin", "1,2,3",
                                "--x", "0,2,0", "--y", "0,1,5"});
  EXPECT_EQ(added["datums"][0],
            json::parse(R"({"datum": "datums/bracket/hole", "id": 1, "kind": "cylindrical system",
    "origin": [1.0, 2.0, 3.0], "x": [0.0, 1.0, 0.0], "y": [0.0, 0.0, 1.0], "z": [1.0, 0.0, 0.0]})"));
  EXPECT_EQ(RunTool({"csys", model_, "--add", "hole"}).exitCode, 1) << "not without --force";
  EXPECT_EQ(RunTool({"csys", model_, "--to-local", "5,2,5", "--to-local", "5,-1,3"}).out,
            "global (5.0, 2.0, 5.0) is local (2.0, 90.0, 4.0)\n"
            "global (5.0, -1.0, 3.0) is local (3.0, 180.0, 4.0)\n");
  const json radians = ToolFacts({"csys", model_, "--radians", "--to-local", "5,2,5"});
  EXPECT_NEAR(radians["points"][0]["local"][1].get<double>(), 1.5707963267948966, 1e-12);
  EXPECT_EQ(radians["degrees"], false);
  const json back = ToolFacts({"csys", model_, "hole", "--to-global", "2,90,4"})["points"][0]["global"];
  EXPECT_NEAR(back[1].get<double>(), 2, 1e-12);
  EXPECT_NEAR(back[2].get<double>(), 5, 1e-12);
  EXPECT_EQ(ToolFacts({"info", model_})["datums"], 1);
}

TEST_F(Datums, KeepsDatumsInTheContainerOfTheirMesh) {
  ASSERT_EQ(RunTool({"import", SAMPLE, "-o", model_}).exitCode, 0);
  {
    const DDB_CoreGeometry library;
    const dtu_DatumAxis axis(0, 0, {1, 2, 3}, {0, 0, 1});
    cls_Database model = cls_Database::Open(model_, cls_Database::Mode::ReadWrite);
    cls_WritePass pass(model);
    pass.Put("datums/single", axis); // as earlier versions of the program stored them
    pass.Commit();
  }
  struct Step {
    std::vector<std::string> words;
    int exitCode;
    const char* told; ///< in what is printed or refused
  };
  const Step steps[] = {
      {{"--add", "corner", "--from-nodes", "1010", "1100", "1500"},
       0,
       "datums/bracket/corner: cartesian system, origin (0.0025, 0.0, 0.0025), x (0.0, 1.0, 0.0), "
       "y (1.0, 0.0, 0.0), z (0.0, 0.0, -1.0), nodes (1010, 1100, 1500)\n"
       "datums/single: axis, point (1.0, 2.0, 3.0), direction (0.0, 0.0, 1.0)\n"},
      {{"--add", "round", "--on-circle", "--from-nodes", "1010,1100,1500", "--kind", "spherical"},
       0,
       "datums/bracket/round: spherical system"},
      {{"--add", "one", "--from-nodes", "1010", "1100", "77"}, 1, "bracket: node 77 is not in the mesh"},
      {{"--add", "one", "--from-nodes", "1010", "1100", "1100"}, 1, "nodes 1010, 1100, 1100 are on one line"},
      {{"--add", "one", "--from-nodes", "1010", "1100", "1500", "--x", "1,0,0"}, 2, "excludes"},
      {{"--add", "one", "--name", "brackets"}, 1, "no mesh \"brackets\""},
      {{"--add", "single"}, 1, "already holds datums/single"},
      {{"single", "--to-local", "1,2,3"}, 1, "no coordinate system \"single\"; there is corner, round"},
      {{"--to-local", "1,2,3"},
       1,
       "several coordinate systems (datums/bracket/corner, datums/bracket/round)"},
      {{"bracket/corner", "--to-local", "0.0025,1,0.0025"}, 0, "is local (1.0"},
      {{"--remove", "nothing"}, 1, "no datum \"nothing\"; there is corner, round"},
      {{"--remove", "round"}, 0, "datums/bracket/corner: cartesian"},
      {{"corners"}, 1, "no datum \"corners\"; did you mean corner?"},
      {{"--add", "single", "--force"}, 0, "datums/bracket/single: cartesian system"},
      {{"datums/single"}, 1, "no datum \"datums/single\""},
      {{"--add", "later"}, 0, "datums/bracket/later"}};
  for (const Step& step : steps) {
    std::vector<std::string> words{"csys", model_};
    words.insert(words.end(), step.words.begin(), step.words.end());
    const ToolRun run = RunTool(words);
    EXPECT_EQ(run.exitCode, step.exitCode) << testing::PrintToString(words) << run.err;
    EXPECT_NE((run.out + run.err).find(step.told), std::string::npos) << run.out << run.err;
  }
  EXPECT_EQ(ToolFacts({"csys", model_, "later"})["datums"][0]["id"], 4)
      << "2 was removed and 3 took its place";
  EXPECT_EQ(ToolFacts({"export", model_, "-o", folder_ / "out.vtu"})["notCarried"].back(),
            json::parse(R"({"what": "datums", "count": 3, "detail": "corner, single, later"})"));
  EXPECT_EQ(RunTool({"measure", model_, "--csys", "later"}).out.find("no datum"), std::string::npos);
  EXPECT_EQ(RunTool({"check", model_}).exitCode, 0);

  // a mesh that is replaced takes the systems that follow its nodes along
  OneHex().Write(folder_ / "bracket.exo");
  const ToolRun import = RunTool({"import", folder_ / "bracket.exo", "-o", model_, "--force"});
  EXPECT_EQ(import.exitCode, 0);
  EXPECT_NE(
      import.err.find("datums/bracket/corner keeps its frame: nodes 1010, 1100, 1500 are not in the mesh"),
      std::string::npos)
      << import.err;
  RunTool({"csys", model_, "--add", "corner", "--from-nodes", "7", "8", "6", "--force"});
  EXPECT_EQ(ToolFacts({"csys", model_, "corner"})["datums"][0]["origin"], json({1.0, 1.0, 1.0}));
  ExodusMesh moved = OneHex();
  for (double& x : moved.xyz) x += 4;
  moved.Write(folder_ / "bracket.exo");
  EXPECT_EQ(RunTool({"import", folder_ / "bracket.exo", "-o", model_, "--force"}).err, "");
  EXPECT_EQ(ToolFacts({"csys", model_, "corner"})["datums"][0]["origin"], json({5.0, 5.0, 5.0}));
}

TEST_F(Datums, PicturesShowDatumsBesideAndThroughThePart) {
  const DDB_CoreGeometry library;
  const std::string file = folder_ / "hex.png";
  OneHex().Write(folder_ / "hex.exo");
  ASSERT_EQ(RunTool({"import", folder_ / "hex.exo", "-o", model_, "--name", "m"}).exitCode, 0);
  const auto draw = [&](const char* view, bool hasDatums) {
    std::vector<std::string> all{"render", model_, "-o",     file,     "--force",
                                 "--view", view,   "--size", "800x600"};
    if (hasDatums) all.push_back("--datums");
    EXPECT_EQ(ToolFacts(all)["datums"], hasDatums ? json({"datums/m/it"}) : json::array());
    return Picture(file);
  };
  const Picture plainAbove = draw("0,0,1", false), plainBelow = draw("0,0,-1", false);
  const dtu_DatumPoint inside(0, 0, {0.5, 0.5, 0.5});
  const dtu_DatumAxis axis(0, 0, {0.5, 0.5, 0.5}, {1, 0, 0});
  const dtu_DatumPlane plane(0, 0, {0.5, 0.5, 0.5}, {1, 0, 1});
  const dtu_DatumCsys csys(0, 0, {0.5, 0.5, 0.5}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, dtu_CARTESIAN),
      far(0, 0, {50, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, dtu_CARTESIAN);
  for (const dtu_Datum* datum :
       std::initializer_list<const dtu_Datum*>{&inside, &axis, &plane, &csys, &far}) {
    dtu_DatumContainer container;
    container.Add(*datum, "it");
    {
      cls_Database db = cls_Database::Open(model_, cls_Database::Mode::ReadWrite);
      cls_WritePass pass(db);
      pass.Put("datums/m", container);
      pass.Commit();
    }
    const char* const kind = datum == &far ? "far" : typeid(*datum).name();
    const Picture above = draw("0,0,1", true), below = draw("0,0,-1", true);
    EXPECT_GT(above.CountReds(), plainAbove.CountReds() + 10) << kind;
    EXPECT_GT(below.CountReds(), plainBelow.CountReds() + 10) << kind;
    EXPECT_EQ(above.At(above.width / 2, above.height / 2) == "light", datum == &far) << kind;
  }
}
} // namespace
