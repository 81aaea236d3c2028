// coregeometry travel, as a user runs it.
#include "ExodusWriter.h"
#include "ToolRun.h"

#include <exodusII.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {
using nlohmann::json;

/// A cube of eight hexahedra, 2 wide, whose label 8 is at the top corner; a square lid 3 above it; a mass.
ExodusMesh Press() {
  ExodusMesh mesh;
  for (int i = 0; i < 27; ++i)
    mesh.xyz.insert(mesh.xyz.end(), {double(i % 3), double(i / 3 % 3), double(i / 9)});
  for (const double x : {0.5, 5.0})
    for (const double y : {0.5, 5.0}) mesh.xyz.insert(mesh.xyz.end(), {x, y, 5.0});
  ExodusBlock solid{1, "HEX8", 8, {}, "block"};
  for (int i = 0; i < 8; ++i) {
    const std::int64_t n = 1 + (i & 1) + 3 * (i >> 1 & 1) + 9 * (i >> 2);
    solid.nodes.insert(solid.nodes.end(), {n, n + 1, n + 4, n + 3, n + 9, n + 10, n + 13, n + 12});
  }
  mesh.blocks = {solid, {2, "SHELL4", 4, {28, 29, 31, 30}, "lid"}, {3, "SPHERE", 1, {1}, "mass"}};
  mesh.elementLabels = {11, 12, 13, 14, 15, 16, 17, 18, 500, 900};
  mesh.title = "press";
  mesh.sets = {{EX_SIDE_SET, 8, "top", {5, 6, 7, 8}, {6, 6, 6, 6}}, {EX_ELEM_SET, 7, "upper", {5, 6, 7, 8}}};
  return mesh;
}

TEST(Travel, FindsWherePartsAndModelsMeet) {
  const TestFolder folder;
  const std::string model = folder / "press.cgdb", other = folder / "other.cgdb";
  ExodusMesh mesh = Press();
  mesh.Write(folder / "press.exo");
  for (std::size_t i = 2; i < mesh.xyz.size(); i += 3) mesh.xyz[i] += 10;
  mesh.Write(folder / "other.exo");
  ASSERT_EQ(RunTool({"import", folder / "press.exo", "-o", model}).exitCode, 0);
  ASSERT_EQ(RunTool({"import", folder / "other.exo", "-o", other}).exitCode, 0);
  const auto travel = [](std::vector<std::string> words) {
    words.insert(words.begin(), "travel");
    return ToolFacts(std::move(words));
  };

  const json parts = travel({model, "--direction", "0", "0", "-2", "--part", "lid", "press/block"});
  EXPECT_EQ(parts["distance"], 3.0);
  EXPECT_EQ(parts["moving"]["label"], 500);
  EXPECT_EQ(parts["moving"]["triangles"], 2);
  EXPECT_EQ(parts["fixed"]["triangles"], 48); // of the outside alone
  EXPECT_GE(parts["fixed"]["label"], 15);
  EXPECT_EQ(parts["fixed"]["point"][2], 2.0);
  EXPECT_EQ(parts["moving"]["point"][2], 5.0);
  for (const auto& [part, triangles] : {std::pair{"top", 8}, {"upper", 32}}) {
    const json sets = travel({model, "--direction", "0", "0", "-2", "--part", "lid", part});
    EXPECT_EQ(sets["distance"], 3.0);
    EXPECT_EQ(sets["fixed"]["triangles"], triangles) << part;
  }
  const json never = travel({model, "--direction", "0", "0", "1", "--part", "lid", "C3D8"});
  EXPECT_EQ(never["meets"], false);
  EXPECT_FALSE(never.contains("distance"));
  // whole models: the block of the upper one comes down on the lid of the lower one
  const json models = travel({other, model, "--direction", "0", "0", "-1"});
  EXPECT_EQ(models["distance"], 5.0);
  EXPECT_EQ(models["fixed"]["label"], 500);
  EXPECT_EQ(travel({other, model, "--direction", "0", "0", "-1", "--part", "block", "block"})["distance"],
            8.0);

  EXPECT_EQ(
      RunTool({"travel", model, "--direction", "0", "0", "-1", "--part", "lid", "block"}).out.substr(0, 11),
      "distance 3\n");
  const ToolRun unknown = RunTool({"travel", model, "--direction", "0", "0", "-1", "--part", "lid", "tool"});
  EXPECT_EQ(unknown.exitCode, 1);
  EXPECT_NE(unknown.err.find("no part \"tool\"; there is C3D8, block"), std::string::npos) << unknown.err;
  const ToolRun mass = RunTool({"travel", model, "--direction", "0", "0", "-1", "--part", "mass", "block"});
  EXPECT_EQ(mass.exitCode, 1);
  EXPECT_NE(mass.err.find("part \"mass\": has no shells or solids"), std::string::npos) << mass.err;
  for (const std::vector<std::string>& wrong :
       std::vector<std::vector<std::string>>{{"travel", model, "--direction", "0", "0", "1"},
                                             {"travel", model, model, "--direction", "0", "0", "0"},
                                             {"travel", model, model, "--direction", "0", "1"},
                                             {"travel", model, model}})
    EXPECT_EQ(RunTool(wrong).exitCode, 2) << testing::PrintToString(wrong);
  EXPECT_NE(RunTool({"travel", "--help"}).out.find("\n  coregeometry travel"), std::string::npos);
}
} // namespace
