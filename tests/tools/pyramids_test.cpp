// Pyramids, which are collapsed hexahedra, in every answer of the program.
#include "ExodusWriter.h"
#include "ToolRun.h"
#include "VtuReader.h"

#include <BasicUtils/cls_CreateModel.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/exo_Import.h>
#include <algorithm>
#include <array>
#include <exodusII.h>
#include <gtest/gtest.h>
#include <map>

namespace {
using nlohmann::json;
using Numbers = std::vector<std::int64_t>;

class Pyramids : public testing::Test {
protected:
  std::string Import(const ExodusMesh& mesh, const std::string& name) const {
    mesh.Write(folder_ / (name + ".exo"));
    std::string model = folder_ / (name + ".cgdb");
    const ToolRun run = RunTool({"import", folder_ / (name + ".exo"), "-o", model, "--name", "m"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("Everything in the file was carried over."), std::string::npos) << run.out;
    return model;
  }

  const DDB_CoreGeometry library_;
  const TestFolder folder_;
};

/// A unit cube cut into six pyramids that meet in its centre: 8 corners, the centre, and for 13 nodes the middles of
/// all edges. Node 1 to 8 are those of a hexahedron, 9 is the apex.
ExodusMesh SixPyramids(int numNodes) {
  ExodusMesh mesh;
  mesh.title = "cut/cube";
  mesh.xyz = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1, 0.5, 0.5, 0.5};
  std::map<std::pair<std::int64_t, std::int64_t>, std::int64_t> middles;
  const auto middle = [&](std::int64_t a, std::int64_t b) {
    const auto [at, isNew] = middles.try_emplace(std::minmax(a, b), mesh.xyz.size() / 3 + 1);
    for (std::size_t axis = 0; isNew && axis < 3; ++axis)
      mesh.xyz.push_back((mesh.xyz[3 * static_cast<std::size_t>(a - 1) + axis]
                          + mesh.xyz[3 * static_cast<std::size_t>(b - 1) + axis])
                         / 2);
    return at->second;
  };
  ExodusBlock block{3, numNodes == 5 ? "PYRAMID" : "PYRAMID13", numNodes, {}, "roof"};
  for (const auto& base : {std::array<std::int64_t, 4>{1, 2, 3, 4},
                           {5, 8, 7, 6},
                           {1, 5, 6, 2},
                           {2, 6, 7, 3},
                           {3, 7, 8, 4},
                           {1, 4, 8, 5}}) {
    Numbers row(base.begin(), base.end());
    row.push_back(9);
    for (std::size_t k = 0; numNodes == 13 && k < 4; ++k) row.push_back(middle(base[k], base[(k + 1) % 4]));
    for (std::size_t k = 0; numNodes == 13 && k < 4; ++k) row.push_back(middle(base[k], 9));
    block.nodes.insert(block.nodes.end(), row.begin(), row.end());
  }
  mesh.blocks = {block};
  return mesh;
}

TEST_F(Pyramids, AreWholeInEveryAnswer) {
  for (const int numNodes : {5, 13}) {
    SCOPED_TRACE(numNodes);
    ExodusMesh mesh = SixPyramids(numNodes);
    mesh.sets = {{EX_SIDE_SET, 1, "sides", {1, 1, 1, 1, 1, 2}, {1, 2, 3, 4, 5, 5}}};
    const std::string model = Import(mesh, "pyramids" + std::to_string(numNodes));
    const json type = ToolFacts({"info", model})["meshes"][0]["classes"][0];
    EXPECT_EQ(type["type"], numNodes == 5 ? "C3D8" : "C3D20");
    EXPECT_EQ(type["pyramidNodes"], numNodes);
    EXPECT_NE(RunTool({"info", model}).out.find("pyramids as collapsed C3D"), std::string::npos);
    const json measures = ToolFacts({"measure", model, "--density", "roof=2"})["groups"][0];
    EXPECT_NEAR(measures["mass"]["total"], 2, 1e-6);
    EXPECT_TRUE(measures["zero"].empty() && measures["inverted"].empty());
    const json checked = ToolFacts({"check", model});
    EXPECT_TRUE(checked["findings"].empty()) << checked;

    // inside one, on the face of two, the apex of all, in the box of others; outside, in the box of none
    const json points = ToolFacts(
        {"locate", model, "0.5,0.5,0.1", "0.5,0.25,0.25", "0.5,0.5,0.5", "0.3,0.2,0.1", "2,2,2"})["points"];
    const std::pair<const char*, std::size_t> kExpected[] = {
        {"inside", 1}, {"on boundary", 2}, {"on boundary", 6}, {"inside", 1}, {"outside", 0}};
    for (std::size_t k = 0; k < points.size(); ++k) {
      EXPECT_EQ(points[k]["verdict"], kExpected[k].first) << k;
      EXPECT_EQ(points[k]["elements"].size(), kExpected[k].second) << k;
    }

    json out = ToolFacts({"skin", model, "-o", folder_ / "skin.exo", "--force"});
    EXPECT_EQ(out["faces"], 6);
    EXPECT_TRUE(out["notCarried"].empty()) << out["notCarried"];
    out = ToolFacts({"skin", model, "-o", folder_ / "sides.exo", "--force", "--sets", "sides"});
    EXPECT_EQ(out["shells"], 6);
    const fmt_Import skin = exo_ReadMesh(folder_ / "sides.exo");
    ASSERT_EQ(skin.blocks.size(), 2U) << "triangles and bases";
    EXPECT_EQ(skin.blocks[0].numElements, 4);
    EXPECT_EQ(skin.blocks[0].label, numNodes == 5 ? "S3" : "STRI65");
    ToolFacts({"export", model, "-o", folder_ / "out.vtu", "--force"});
    const Vtu grid(folder_ / "out.vtu");
    EXPECT_EQ(grid.Values<unsigned char>("types"), std::vector<unsigned char>(6, numNodes == 5 ? 14 : 27));
    std::vector<int> cells(mesh.blocks[0].nodes.begin(), mesh.blocks[0].nodes.end());
    for (int& node : cells) --node;
    EXPECT_EQ(grid.Values<int>("connectivity"), cells);
    out = ToolFacts({"export", model, "-o", folder_ / "out.exo", "--force"});
    EXPECT_TRUE(out["notCarried"].empty()) << out["notCarried"];
    const std::string again = folder_ / ("again" + std::to_string(numNodes) + ".cgdb");
    ToolFacts({"import", folder_ / "out.exo", "-o", again, "--name", "m"});
    EXPECT_EQ(RunTool({"diff", model, again}).out, "no differences\n");

    ExodusMesh alone = mesh;
    alone.sets.clear();
    alone.blocks[0].nodes.resize(static_cast<std::size_t>(numNodes));
    const std::string one = Import(alone, "one" + std::to_string(numNodes));
    const json beside = ToolFacts({"locate", one, "0.05,0.5,0.4", "0.5,0.5,0.51"})["points"];
    for (const json& point : beside) EXPECT_EQ(point["verdict"], "outside") << point;
    EXPECT_NEAR(beside[1]["nearest"]["distance"].get<double>(), 0.01, 1e-6) << "of the apex";

    // flat, so that no place of it is any good
    for (std::size_t z = 2; z < mesh.xyz.size(); z += 3) mesh.xyz[z] = 0;
    const std::string flat = Import(mesh, "flat" + std::to_string(numNodes));
    EXPECT_NE(RunTool({"check", flat}).out.find("without length, area or volume"), std::string::npos);
  }
}

TEST_F(Pyramids, OfOldModelsGetTheirShapeInAnUpgrade) {
  const ExodusMesh six = SixPyramids(13);
  const std::string model = Import(six, "new"), old = folder_ / "old.cgdb";
  bme_Mesh mesh = *cls_Database::Open(model).Get<bme_Mesh>("meshes/m");
  cow_ArrayCOW<int> rows;
  for (const std::int64_t node : six.blocks[0].nodes) rows.Append(static_cast<int>(node - 1));
  bme_ElementClass unsupported("PYRA13", cls_xp2DArrayInt(13, rows));
  unsupported.SetCategoryLabel("cut/cube/roof");
  mesh.ElementDataToModify().GetClassToModify(0) = unsupported;
  cls_CreateModel(old, {}, [&](const cls_Database&, cls_WritePass& pass) { pass.Put("meshes/m", mesh); });

  EXPECT_EQ(ToolFacts({"locate", old, "0.5,0.5,0.1"})["noShape"], 6);
  EXPECT_EQ(RunTool({"measure", old, "--density", "2"}).exitCode, 1);
  EXPECT_EQ(ToolFacts({"upgrade", old, "--dry-run"})["pyramids"], 6);
  EXPECT_EQ(ToolFacts({"upgrade", old})["pyramids"], 6);
  EXPECT_EQ(ToolFacts({"upgrade", old})["pyramids"], 0);
  EXPECT_EQ(ToolFacts({"measure", old, "--density", "2"})["groups"][0]["mass"],
            ToolFacts({"measure", model, "--density", "2"})["groups"][0]["mass"]);
  EXPECT_EQ(ToolFacts({"info", old})["meshes"], ToolFacts({"info", model})["meshes"]);
}

TEST_F(Pyramids, WithBentEdgesAreTold) {
  ExodusMesh mesh = SixPyramids(13);
  const std::size_t middle =
      3 * static_cast<std::size_t>(mesh.blocks[0].nodes[5] - 1); // of edge 1 2, of two bases
  mesh.xyz[middle + 1] = 0.01;
  mesh.Write(folder_ / "bent.exo");
  const fmt_Ledger ledger = exo_ReadMesh(folder_ / "bent.exo").ledger;
  ASSERT_EQ(ledger.size(), 1U);
  EXPECT_EQ(ledger[0].count, 2);
}
} // namespace
