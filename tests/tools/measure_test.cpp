// coregeometry measure, as a user runs it.
#include "ExodusWriter.h"
#include "ToolRun.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {
using nlohmann::json;

TEST(Measure, TellsTheMassOfWhatIsKnownAndListsTheRest) {
  const TestFolder folder;
  const std::string model = folder / "part.cgdb";
  ExodusMesh mesh;
  for (int i = 0; i < 8; ++i)
    mesh.xyz.insert(mesh.xyz.end(), {2.0 * (i & 1), 3.0 * (i >> 1 & 1), 4.0 * (i >> 2)});
  mesh.blocks = {{1, "HEX8", 8, {1, 2, 4, 3, 5, 6, 8, 7}, "block"}, {2, "SHELL4", 4, {5, 6, 8, 7}, "lid"}};
  mesh.elementLabels = {11, 12};
  mesh.title = "part";
  mesh.Write(folder / "part.exo");
  ASSERT_EQ(RunTool({"import", folder / "part.exo", "-o", model}).exitCode, 0);
  const auto measure = [&](std::vector<std::string> words, int exitCode) {
    words.insert(words.begin(), {"measure", model, "--json"});
    const ToolRun run = RunTool(words);
    EXPECT_EQ(run.exitCode, exitCode) << run.err;
    return json::parse(run.out, nullptr, false);
  };
  const json full =
      measure({"--by", "class", "--density", "2,lid=10", "--thickness", "lid=0.5"}, 0)["groups"];
  ASSERT_EQ(full.size(), 3U);
  EXPECT_NEAR(full[0]["volume"]["total"].get<double>(), 24.0, 1e-12);
  EXPECT_NEAR(full[0]["mass"]["principalMoments"][0].get<double>(), 48 * (4 + 9) / 12.0, 1e-9);
  EXPECT_NEAR(full[1]["area"]["total"].get<double>(), 6.0, 1e-12);
  EXPECT_NEAR(full[2]["mass"]["total"].get<double>(), 48 + 30.0, 1e-12);
  const json partial = measure({"--density", "block=2"}, 1)["groups"];
  EXPECT_EQ(partial[0]["noThickness"], json({12}));
  EXPECT_NEAR(partial[0]["mass"]["total"].get<double>(), 48.0, 1e-12);
  EXPECT_EQ(measure({}, 0)["groups"][0]["noThickness"], json({12})); // no mass was asked for
  EXPECT_EQ(measure({"--density", "block=2", "--thickness", "1"}, 1)["groups"][0]["noDensity"], json({12}));
  EXPECT_EQ(RunTool({"check", model}).exitCode, 0);
  EXPECT_EQ(ToolFacts({"skin", model, "-o", folder / "skin.exo"})["faces"], 6 + 1)
      << "of the solid, the shell";
  EXPECT_EQ(RunTool({"measure", model, "--density", "heavy"}).exitCode, 2);
  EXPECT_EQ(RunTool({"measure", model, "--csys", "none"}).exitCode, 1);
  EXPECT_NE(RunTool({"measure", model}).out.find("volume"), std::string::npos);
}
} // namespace
