// The program as a user runs it: files in, text and exit codes out.
#include "ExodusWriter.h"
#include "ToolRun.h"

#include <BasicUtils/cls_Database.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace {
using nlohmann::json;
namespace fs = std::filesystem;

class Program : public testing::Test {
protected:
  const TestFolder folder_;
  const std::string model_ = folder_ / "model.cgdb";
};

TEST_F(Program, ImportsTheSampleAndAnswersFromTheStoredModel) {
  const std::string mesh = folder_ / "bracket.exo";
  fs::copy_file(SAMPLE, mesh);
  const ToolRun import = RunTool({"import", mesh});
  ASSERT_EQ(import.exitCode, 0) << import.err;
  EXPECT_EQ(import.err, ""); // no progress bar, this is no terminal
  for (const char* text :
       {"meshes/bracket", "1441 nodes, 945 elements in 6 classes",
        "  2 node sets\n  7 element sets\n  3 surfaces\n", "Everything in the file was carried over.",
        "3 frames of 2 variables", "No coordinate changed by rounding to single precision."})
    EXPECT_NE(import.out.find(text), std::string::npos) << text << '\n' << import.out;

  const std::string model = folder_ / "bracket.cgdb";
  const json info = ToolFacts({"info", model});
  const json& facts = info["meshes"][0];
  EXPECT_EQ(facts["mesh"], "meshes/bracket");
  EXPECT_EQ(facts["box"], json::parse(R"({"min": [0.0, 0.0, 0.0], "max": [0.04, 0.03, 0.035]})"));
  EXPECT_EQ(facts["nodeLabels"], json::parse(R"({"count": 1441, "smallest": 1000, "largest": 9438})"));
  EXPECT_EQ(facts["elementLabels"]["largest"], 6001);
  std::string labels;
  for (const json& type : facts["classes"]) labels += type["type"].get<std::string>() + " ";
  EXPECT_EQ(labels, "C3D8 C3D6 C3D20 S4 B31 MASS ");
  EXPECT_EQ(facts["classes"][4]["category"], "Angle bracket/stiffener");
  EXPECT_EQ(info["bytes"], fs::file_size(model));
  EXPECT_NE(RunTool({"info", model}).out.find("Mesh ID : 0\n  Number of nodes:           1441\n"),
            std::string::npos);

  const ToolRun query =
      RunTool({"query", model, "--node", "1010,4020", "--element", "104", "--node", "1000"});
  EXPECT_EQ(query.exitCode, 0) << query.err;
  EXPECT_EQ(query.out,
            "node 1010: (0.0025, 0.0, 0.0025)\n"
            "node 4020: (0.0025, 0.0025, 0.0125)\n"
            "node 1000: (0.0, 0.0, 0.0)\n"
            "element 104: class 0, C3D8, category \"Angle bracket/plate\", nodes 1008 1010 1012 1014 1016 "
            "1018 1020 1022\n");
  const json element = ToolFacts({"query", model, "--element", "5001"})["elements"][0];
  EXPECT_EQ(element["type"], "B31");
  EXPECT_EQ(element["class"], 4);
}

TEST_F(Program, PrintsSetsByUserLabelInCompactRanges) {
  ASSERT_EQ(RunTool({"import", SAMPLE, "-o", model_, "--name", "bracket"}).exitCode, 0);
  const std::string list = RunTool({"sets", model_}).out;
  for (const char* line : {"bracket/back: surface, 168 facets\n", "bracket/mass: element set, 1 element\n",
                           "bracket/fixed: node set, 221 nodes\n"})
    EXPECT_NE(list.find(line), std::string::npos) << list;
  EXPECT_EQ(RunTool({"sets", model_, "back"}).out,
            "regions/bracket/back: surface of meshes/bracket, 168 facets\n"
            "  class 0, C3D8, face 5: 101:170:3,1253:1682:3\n");
  EXPECT_EQ(RunTool({"sets", model_, "bracket/skin_outside"}).out,
            "regions/bracket/skin_outside: surface of meshes/bracket, 156 facets\n"
            "  class 3, S4, face 0: 4001:4430:3\n"
            "  class 3, S4, edge 1 of face 0: 4034:4430:36\n");
  EXPECT_EQ(RunTool({"sets", model_, "nope"}).exitCode, 1);

  // labels in ranges stand for the same labels one by one
  const std::string text = RunTool({"sets", model_, "regions/bracket/boss_top"}).out;
  std::vector<int> labels;
  std::istringstream ranges(text.substr(text.rfind(": ") + 2));
  for (std::string range; std::getline(ranges, range, ',');) {
    int first = 0, last = 0, step = 1;
    const int read = std::sscanf(range.c_str(), "%d:%d:%d", &first, &last, &step);
    for (int label = first; label <= (read == 1 ? first : last); label += step) labels.push_back(label);
  }
  const json facts = ToolFacts({"sets", model_, "boss_top"});
  EXPECT_EQ(facts["parts"][0]["labels"], json(labels));
  EXPECT_EQ(facts["items"], 65);
  EXPECT_EQ(facts["index"], 2);
  EXPECT_EQ(ToolFacts({"info", model_})["regions"],
            json::parse(R"({"element set": 7, "node set": 2, "surface": 3})"));
}

TEST_F(Program, ReportsUnknownLabelsAndAnswersTheOthers) {
  OneHex().Write(folder_ / "cube.exo");
  ASSERT_EQ(RunTool({"import", folder_ / "cube.exo", "-o", model_}).exitCode, 0);
  const ToolRun run = RunTool({"query", "--node", "9,7,-4", model_, "--element", "2"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.out, "node 7: (1.0, 1.0, 1.0)\n");
  const std::string where = "coregeometry: " + model_ + ", meshes/cube, ";
  EXPECT_EQ(run.err, where + "node 9: Invalid user node label.\n" + where
                         + "node -4: Invalid user node label.\n" + where
                         + "element 2: Invalid user element label.\n");
}

TEST_F(Program, KeepsWhatAModelHoldsUnlessToldOtherwise) {
  OneHex().Write(folder_ / "cube.exo");
  const std::vector<std::string> import = {"import", folder_ / "cube.exo", "-o", model_};
  const auto With = [](std::vector<std::string> words, std::initializer_list<const char*> more) {
    words.insert(words.end(), more.begin(), more.end());
    return words;
  };
  ASSERT_EQ(RunTool(import).exitCode, 0);
  const ToolRun again = RunTool(import);
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_EQ(again.err,
            "coregeometry: " + model_
                + ": already holds meshes/cube; choose another --name, or replace it with --force\n");
  ASSERT_EQ(RunTool(With(import, {"--name", "second", "--map", "HEX8=C3D8R"})).exitCode, 0);
  ASSERT_EQ(RunTool(With(import, {"--force", "--map", "HEX8=C3D8I"})).exitCode, 0);
  const json meshes = ToolFacts({"info", model_})["meshes"];
  ASSERT_EQ(meshes.size(), 2U);
  EXPECT_EQ(meshes[0]["classes"][0]["type"], "C3D8I");
  EXPECT_EQ(meshes[1]["classes"][0]["type"], "C3D8R");

  // a replaced mesh keeps its number, which no other has, and only its own regions go
  EXPECT_EQ(meshes[0]["id"], 0);
  EXPECT_EQ(meshes[1]["id"], 1);
  ExodusMesh other = OneHex();
  other.blocks[0].name = "other";
  other.Write(folder_ / "cube.exo");
  ASSERT_EQ(RunTool(With(import, {"--force"})).exitCode, 0);
  ASSERT_EQ(RunTool(With(import, {"--name", "third"})).exitCode, 0);
  const json info = ToolFacts({"info", model_});
  EXPECT_EQ(info["meshes"][0]["id"], 0);
  EXPECT_EQ(info["meshes"][2]["id"], 2);
  EXPECT_EQ(info["roots"],
            json::parse(R"(["meshes/cube", "meshes/second", "meshes/third", "regions/cube/other",
    "regions/second/block 7", "regions/third/other", "sets/cube/other", "sets/second/block 7", "sets/third/other"])"));
  EXPECT_EQ(RunTool({"sets", model_, "third/other"}).out,
            "regions/third/other: element set of meshes/third, 1 element\n  class 0, C3D8: 1\n");

  const ToolRun unnamed = RunTool({"query", model_, "--node", "1"});
  EXPECT_EQ(unnamed.exitCode, 1);
  EXPECT_NE(unnamed.err.find("meshes/cube, meshes/second"), std::string::npos) << unnamed.err;
  EXPECT_EQ(ToolFacts({"query", model_, "--name", "second", "--element", "1"})["elements"][0]["type"],
            "C3D8R");
}

TEST_F(Program, LeavesNothingBehindWhenAnImportFails) {
  ExodusMesh mesh = OneHex();
  mesh.blocks[0].nodes[3] = 90210;
  mesh.Write(folder_ / "bad.exo");
  const ToolRun run = RunTool({"import", folder_ / "bad.exo", "-o", model_});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.err, "coregeometry: " + folder_ / "bad.exo"
                         + ": block 7 (HEX8), element 1: node 90210 is outside 1..8\n");
  EXPECT_FALSE(fs::exists(model_));

  // a file that is no model stays as it is, even under --force
  std::ofstream(model_) << "notes of mine";
  OneHex().Write(folder_ / "good.exo");
  EXPECT_EQ(RunTool({"import", folder_ / "good.exo", "-o", model_, "--force"}).exitCode, 1);
  EXPECT_EQ(fs::file_size(model_), 13U);
  // nor is the mesh file itself overwritten
  EXPECT_EQ(RunTool({"import", folder_ / "good.exo", "-o", folder_ / "good.exo"}).exitCode, 2);
}

TEST_F(Program, TakesAssignmentsOfLabelsBeforeAndAfterTheFile) {
  const auto Labels = [&](std::vector<std::string> words) {
    words.insert(words.begin(), "import");
    words.insert(words.end(), {"-o", model_, "--force"});
    std::string labels;
    const json facts = ToolFacts(words);
    for (const json& type : facts["classes"]) labels += type["type"].get<std::string>() + " ";
    return labels;
  };
  const std::string wanted = "C3D8R C3D6 C3D20R S4 B31 MASS ";
  EXPECT_EQ(Labels({SAMPLE, "--map", "HEX8=C3D8R", "HEX20=C3D20R"}), wanted);
  EXPECT_EQ(Labels({"--map", "HEX8=C3D8R", "HEX20=C3D20R", SAMPLE}), wanted);
  EXPECT_EQ(Labels({"--map", "HEX8=C3D8R", SAMPLE, "--map", "HEX20=C3D20R"}), wanted);
}

TEST_F(Program, TellsWrongUsageFromWrongInput) {
  OneHex().Write(folder_ / "cube.exo");
  for (const std::vector<std::string>& wrong :
       std::vector<std::vector<std::string>>{{},
                                             {"frobnicate"},
                                             {"import"},
                                             {"import", folder_ / "cube.exo", "--map", "HEX8=C3D20"},
                                             {"import", folder_ / "cube.exo", "--map", "HEX8=NOSUCH"},
                                             {"import", folder_ / "cube.exo", folder_ / "cube.exo"},
                                             {"import", "--map", "HEX8=C3D8R"},
                                             {"query", model_},
                                             {"query", model_, "--node", "seven"},
                                             {"csys", model_, "--to-local", "1,2"},
                                             {"csys", model_, "--add", "a", "--y", "-3,0,0"},
                                             {"query", model_, "--node", "99999999999"},
                                             {"shapes"}}) {
    const ToolRun run = RunTool(wrong);
    EXPECT_EQ(run.exitCode, 2) << testing::PrintToString(wrong);
    EXPECT_TRUE(run.err.starts_with("coregeometry: ")) << run.err;
    EXPECT_TRUE(run.err.ends_with("--help\" to see how it is used.\n")) << run.err;
    EXPECT_EQ(run.out, "");
  }
  using Words = std::vector<std::string>;
  ASSERT_EQ(RunTool({"-q", "import", SAMPLE, "-o", model_}).out, "");
  for (const auto& [words, exitCode, meant] : std::vector<std::tuple<Words, int, std::string>>{
           {{"improt", SAMPLE}, 2, "improt: no such command; did you mean import?"},
           {{"info", model_, "--jsn"},
            2,
            "info: The following argument was not expected: --jsn; did you mean --json?"},
           {{"info", model_, "--name", "brakcet"}, 1, "no mesh \"brakcet\"; did you mean bracket?"},
           {{"sets", model_, "fixd"}, 1, "no set or surface \"fixd\"; did you mean fixed?"},
           {{"skin", model_, "-o", folder_ / "s.exo", "--sets", "plat,loaded"},
            1,
            "no set \"plat\"; did you mean plate?"},
           {{"measure", model_, "--density", "nonsense=5"}, 1, "no part \"nonsense\"; there is C3D8, plate"},
           {{"locate", model_, "0", "0"}, 2, "a point has 3 coordinates, 2 numbers are given"},
           {{"travel", model_, "--direction", "0,0"}, 2, "--direction 0,0: give three numbers, X,Y,Z"}}) {
    const ToolRun run = RunTool(words);
    EXPECT_EQ(run.exitCode, exitCode) << run.err;
    EXPECT_NE(run.err.find(meant), std::string::npos) << run.err;
  }
  const auto points = [&](const Words& words) { return ToolFacts(words)["points"]; };
  EXPECT_EQ(points({"locate", model_, "-.5,0,1", "1,2,-3"}),
            points({"locate", model_, "-.5", "0", "1", "1", "2", "-3"}));
  const json facts =
      json::parse(RunTool({"query", model_, "--node", "1010,1", "--json", "--element", "7"}).out);
  EXPECT_EQ(facts["unknown"], json::parse(R"({"nodes": [1], "elements": [7]})"));
  for (const char* command : {"info", "sets", "csys", "upgrade", "compact", "import"}) {
    const ToolRun run = RunTool({command, folder_ / "missing"});
    EXPECT_EQ(run.exitCode, 1) << command;
    EXPECT_NE(run.err.find(folder_ / "missing"), std::string::npos) << run.err;
  }
}

TEST_F(Program, TeachesEveryCommandWithAnExample) {
  EXPECT_NE(RunTool({"--help"}).out.find("coregeometry import part.exo"), std::string::npos);
  for (const std::string command :
       {"import", "info", "query", "sets", "csys", "upgrade", "compact", "shapes"}) {
    const ToolRun run = RunTool({command, "--help"});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.out.find("Example"), std::string::npos) << command;
    EXPECT_NE(run.out.find("\n  coregeometry " + command), std::string::npos) << command;
  }
}

TEST_F(Program, PrintsTheShapesAsTheLibraryDoes) {
  const DDB_CoreGeometry library;
  const auto& dictionary = thr_ThreadSingleton<shp_ShapeDictionary>::Instance();
  std::ostringstream table, script;
  dictionary.PrintShapeTable(table);
  dictionary.PrintLabelToNodecountTable(script);
  EXPECT_EQ(RunTool({"shapes", "--table"}).out, table.str());
  EXPECT_EQ(RunTool({"shapes", "--node-counts"}).out, script.str());
  EXPECT_EQ(ToolFacts({"shapes"}).size(), 695U);
}

TEST_F(Program, UpgradesAndCompactsAModel) {
  ASSERT_EQ(RunTool({"import", SAMPLE, "-o", model_}).exitCode, 0);
  ASSERT_EQ(RunTool({"import", SAMPLE, "-o", model_, "--name", "second"}).exitCode, 0);
  EXPECT_EQ(ToolFacts({"upgrade", model_})["upgraded"], 0);
  const json before = ToolFacts({"info", model_})["meshes"];
  const json compact = ToolFacts({"compact", model_});
  EXPECT_LE(compact["bytesAfter"], compact["bytesBefore"]);
  EXPECT_EQ(compact["bytesAfter"], fs::file_size(model_));
  EXPECT_EQ(ToolFacts({"info", model_})["meshes"], before);
}

TEST_F(Program, MakesTheSampleThatIsShipped) {
  const std::string made = folder_ / "bracket.exo", shipped = folder_ / "shipped.cgdb";
  ASSERT_EQ(RunProgram(MAKE_SAMPLE, {made}).exitCode, 0);
  const json ofMade = ToolFacts({"import", made, "-o", model_}),
             ofShipped = ToolFacts({"import", SAMPLE, "-o", shipped});
  EXPECT_EQ(RunTool({"diff", model_, shipped}).out, "no differences\n");
  EXPECT_EQ(ofMade["notCarried"], ofShipped["notCarried"]);
  EXPECT_LT(fs::file_size(SAMPLE), 2U << 20);
}

TEST_F(Program, LocatesPointsGivenOnTheCommandLineAndInAFile) {
  ASSERT_EQ(RunTool({"import", SAMPLE, "-o", model_}).exitCode, 0);
  std::ofstream(folder_ / "points.txt")
      << "# probes\n 0.0105, 0.0205  0.0021 # inside\n\n0.005 0.005 0.005\n";
  const json found =
      ToolFacts({"locate", model_, "0.01", "0.02", "-0.3", "--points", folder_ / "points.txt"});
  ASSERT_EQ(found["points"].size(), 3U);
  const json &outside = found["points"][0], &inside = found["points"][1], &shared = found["points"][2];
  EXPECT_EQ(outside["verdict"], "outside");
  EXPECT_EQ(outside["elements"].size(), 0U);
  EXPECT_NEAR(outside["nearest"]["distance"].get<double>(), 0.3, 1e-9);
  EXPECT_EQ(inside["verdict"], "inside");
  ASSERT_EQ(inside["elements"].size(), 1U);
  EXPECT_FALSE(inside.contains("nearest"));
  EXPECT_EQ(shared["verdict"], "on boundary");
  EXPECT_EQ(shared["elements"].size(), 7U);
  // the answer is that of the element's own nodes
  const json element = inside["elements"][0];
  const json query = ToolFacts({"query", model_, "--element", element["label"].dump()})["elements"][0];
  EXPECT_EQ(query["index"], element["index"]);
  EXPECT_EQ(query["type"], element["type"]);
  double low[3] = {1, 1, 1}, high[3] = {};
  for (const json& node : query["nodes"]) {
    const json at = ToolFacts({"query", model_, "--node", node.dump()})["nodes"][0]["coordinates"];
    for (std::size_t axis = 0; axis < 3; ++axis) {
      low[axis] = std::min(low[axis], at[axis].get<double>());
      high[axis] = std::max(high[axis], at[axis].get<double>());
    }
  }
  const double probe[] = {0.0105, 0.0205, 0.0021};
  for (std::size_t axis = 0; axis < 3; ++axis) // a box along the axes
    EXPECT_NEAR(element["iso"][axis].get<double>(),
                2 * (probe[axis] - low[axis]) / (high[axis] - low[axis]) - 1, 1e-6);
  EXPECT_EQ(
      RunTool({"locate", model_, "0.01", "0.02", "-0.3"}).out.find("point (0.01, 0.02, -0.3): outside\n"),
      0U);

  EXPECT_EQ(RunTool({"locate", model_, "1", "2"}).exitCode, 2);
  EXPECT_EQ(RunTool({"locate", model_, "1", "2", "nan"}).exitCode, 2);
  EXPECT_EQ(RunTool({"locate", model_}).exitCode, 2);
  std::ofstream(folder_ / "wrong.txt") << "1 2 3\n1 2 x\n";
  const ToolRun wrong = RunTool({"locate", model_, "--points", folder_ / "wrong.txt"});
  EXPECT_EQ(wrong.exitCode, 1);
  EXPECT_NE(wrong.err.find("wrong.txt, line 2: \"x\" is no coordinate"), std::string::npos) << wrong.err;
}

TEST_F(Program, PrintsEverythingAboutOneShape) {
  const json shape = ToolFacts({"shapes", "--label", "c3d27"});
  EXPECT_EQ(shape["exodus"], "HEX27");
  EXPECT_EQ(shape["vtk"], json::parse(R"({"name": "VTK_TRIQUADRATIC_HEXAHEDRON", "number": 29})"));
  // face centres and body centre: zeta, eta, xi here; the body first in Exodus II; xi, eta, zeta in VTK
  const int exodus[] = {21, 22, 25, 24, 26, 23, 20}, vtk[] = {24, 25, 22, 21, 23, 20, 26};
  for (std::size_t k = 0; k < 7; ++k) {
    EXPECT_EQ(shape["nodeTable"][20 + k]["exodus"], exodus[k]) << k;
    EXPECT_EQ(shape["nodeTable"][20 + k]["vtk"], vtk[k]) << k;
  }
  EXPECT_EQ(shape["edgeTable"].size(), 12U);
  EXPECT_EQ(shape["edgeTable"][0], json::parse(R"({"addresses": [[0, 0], [5, 2]], "nodes": [0, 11, 3]})"));
  EXPECT_EQ(shape["faceTable"][5]["centre"], json::parse("[-1.0, 0.0, 0.0]"));
  EXPECT_EQ(shape["integrationPointTable"].size(), 27U);
  EXPECT_TRUE(ToolFacts({"shapes", "--label", "CCL12"})["vtk"].is_null());

  const ToolRun text = RunTool({"shapes", "--label", "C3D20R"});
  for (const char* line : {"C3D20R: hexahedron, 20 nodes, 8 integration points, order 2, in 3-D space\n",
                           "  12          0         -1          1      16   12\n",
                           "Exodus II: HEX20; VTK: VTK_QUADRATIC_HEXAHEDRON (25)\n",
                           "   0  0 3 2 1 | 11 10 9 8\n", "    0.0 5.2   0 11 3\n"})
    EXPECT_NE(text.out.find(line), std::string::npos) << line << text.out;
  EXPECT_TRUE(
      RunTool({"shapes", "--label", "MASS"}).out.starts_with("MASS: point, 1 node, 1 integration point, "));
  EXPECT_TRUE(RunTool({"shapes", "--label", "C3D4"})
                  .out.starts_with("C3D4: tetrahedron, 4 nodes, 1 integration point, "));
  for (const auto& [label, key] : thr_ThreadSingleton<shp_ShapeDictionary>::Instance().LabelTable())
    if (label.size() == 5) {
      EXPECT_EQ(RunTool({"shapes", "--label", label}).exitCode, 0) << label;
    }
  EXPECT_EQ(RunTool({"shapes", "--label", "C3D21"}).exitCode, 1);
  EXPECT_EQ(RunTool({"shapes", "--label", "C3D8", "--table"}).exitCode, 2);
}
} // namespace
