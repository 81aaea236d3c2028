// coregeometry extract, combine, merge, clean, renumber, transform, order, split-elements, refine and quality, as a user
// runs them.
#include "ExodusWriter.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

namespace {
using nlohmann::json;
using Words = std::vector<std::string>;

TEST(Editing, ResultsAreSoundAndTheOldModelStaysUnlessItIsReplaced) {
  const TestFolder folder;
  const std::string model = folder / "bracket.cgdb";
  ASSERT_EQ(RunTool({"import", SAMPLE, "-o", model}).exitCode, 0);
  const json before = ToolFacts({"measure", model, "--thickness", "1", "--section-area", "1"});
  const Words edits[] = {{"clean"},
                         {"merge", "--tolerance", "1e-7"},
                         {"renumber", "--order", "curve", "--nodes-from", "10", "--step", "5"},
                         {"order", "--quadratic"},
                         {"split-elements"},
                         {"refine"},
                         {"orient", "--seed", "4001"},
                         {"transform", "--mirror", "1,0,0", "--rotate", "40", "--axis", "0,1,1"}};
  for (const Words& edit : edits) {
    const std::string made = folder / (edit[0] + ".cgdb");
    Words all{edit[0], model, "-o", made};
    all.insert(all.end(), edit.begin() + 1, edit.end());
    const json facts = ToolFacts(all);
    // of mirrored vectors, of integration points that elements have no more
    const bool hasNone =
        edit[0] == "clean" || edit[0] == "merge" || edit[0] == "renumber" || edit[0] == "orient";
    EXPECT_EQ(facts["remarks"].size(), hasNone ? 0U : 1U);
    EXPECT_EQ(RunTool({"check", made}).exitCode, 0) << edit[0];
    const json after = ToolFacts({"measure", made, "--thickness", "1", "--section-area", "1"});
    EXPECT_NEAR(after["groups"][0]["volume"]["total"].get<double>(),
                before["groups"][0]["volume"]["total"].get<double>(), 1e-9);
    EXPECT_GT(facts["sets"], 3);
  }
  // results and datums follow, also when the mesh is replaced
  const std::string turned = folder / "turned.cgdb";
  const auto worst = [](const std::string& file, const std::string& mesh) {
    return ToolFacts(
               {"fields", file, "stress", "--name", mesh, "--invariant", "mises", "--max"})["max"]["value"]
        .get<double>();
  };
  ASSERT_EQ(RunTool({"csys", model, "--add", "hole", "--from-nodes", "1010", "1012", "1018"}).exitCode, 0);
  const json made =
      ToolFacts({"transform", model, "--rotate", "90", "--axis", "1,0,0", "-o", turned, "--as", "t"});
  EXPECT_EQ(made["runs"], json::array({"results/t/bracket"}));
  EXPECT_NEAR(worst(turned, "t"), worst(model, "bracket"), 1000);
  EXPECT_EQ(RunTool({"renumber", turned, "--order", "curve", "--nodes-from", "7", "--replace"}).exitCode, 0);
  EXPECT_NEAR(worst(turned, "t"), worst(model, "bracket"), 1000);
  EXPECT_EQ(ToolFacts({"csys", turned})["datums"].size(), 1U);
  EXPECT_EQ(ToolFacts({"clean", turned, "--replace", "--no-results"})["runs"], json::array());
  EXPECT_EQ(RunTool({"check", turned}).exitCode, 0);
  const std::string two = folder / "two.cgdb";
  EXPECT_EQ(ToolFacts({"combine", model, folder / "clean.cgdb", "-o", two})["parts"].size(), 2U);
  EXPECT_GT(
      ToolFacts({"merge", two, "--tolerance", "1e-9", "--as", "one"})["merged"].get<std::string>().size(),
      2U);
  EXPECT_EQ(ToolFacts({"clean", two, "--name", "one", "--replace"})["result"], "meshes/one");
  EXPECT_EQ(RunTool({"check", two}).exitCode, 0);

  // surfaces to solids: a plate of the back, and a quarter of a ring of it, whose section half way is the back again
  const std::string swept = folder / "swept.cgdb", ring = folder / "ring.cgdb";
  const json plate = ToolFacts({"extrude", model, "--set", "back", "--thickness", "0.002", "-o", swept});
  EXPECT_EQ(plate["elements"], plate["elementsBefore"]);
  EXPECT_EQ(ToolFacts({"extrude", model, "--set", "back", "--direction", "-1,0,0", "--distance", "0.002",
                       "-o", folder / "vector.cgdb"})["nodes"],
            plate["nodes"]);
  const json turned4 = ToolFacts({"revolve", model, "--set", "back", "--about", "0,0,-0.05", "--axis",
                                  "0,1,0", "--angle", "90", "--layers", "4", "-o", ring});
  EXPECT_EQ(turned4["elements"], 4 * plate["elementsBefore"].get<int>());
  for (const std::string& file : {swept, ring}) EXPECT_EQ(RunTool({"check", file}).exitCode, 0);
  const json cut = ToolFacts({"section", ring, "--plane", "0,0,-0.05:1,0,-1", "-o", folder / "cut.cgdb"});
  EXPECT_NEAR(cut["area"].get<double>(), 0.00105, 1e-9);
  EXPECT_EQ(RunTool({"section", ring, "--plane", "0,0,0:1,0,0"}).exitCode, 0);

  // results of the coarse mesh on the fine one, and a load that keeps its resultant
  const std::string fine = folder / "refine.cgdb";
  const json mapped = ToolFacts(
      {"map", model, fine, "--field", "disp", "--frame", "last", "--as", "m", "-o", folder / "mapped.cgdb"});
  EXPECT_EQ(mapped["numUnmapped"], 0);
  EXPECT_NEAR(mapped["after"][0]["integrals"][2].get<double>(),
              mapped["before"][0]["integrals"][2].get<double>(), 1e-15);
  const json load = ToolFacts({"map",  model,        fine,       "--field",     "disp", "--component",
                               "z",    "--frame",    "last",     "--donor-set", "seat", "--set",
                               "seat", "--distance", "1e-4",     "--sides",     "same", "--conservative",
                               "--as", "load",       "--replace"})["loads"][0];
  EXPECT_NEAR(load["forceAfter"][2].get<double>(), load["forceBefore"][2].get<double>(), 1e-18);
  EXPECT_EQ(load["areaMissing"], 0);

  const json projected = ToolFacts({"order", model, "--quadratic", "--surface", fine, "--distance", "1e-5",
                                    "-o", folder / "projected.cgdb"});
  EXPECT_GT(projected["moved"], 0);
  EXPECT_NEAR(projected["largestMove"].get<double>(), 0, 1e-6);
  EXPECT_EQ(
      ToolFacts({"render", model, "--quality", "scaled_jacobian", "-o", folder / "q.png"})["quality"]["name"],
      "scaled_jacobian");

  struct Case {
    Words words;
    int exitCode;
    std::string told;
  };
  const Case cases[] = {
      {{"clean", model}, 2, "Give -o NEW.cgdb, --as NAME or --replace"},
      {{"clean", model, "--replace", "--as", "x"}, 2, "so there is no -o and no --as"},
      {{"clean", model, "--as", "bracket"}, 1, "choose another name with --as"},
      {{"clean", model, "-o", two}, 1, "two.cgdb"},
      {{"extract", model, "-o", folder / "n.cgdb", "--set", "nothing"}, 1, "has no set \"nothing\""},
      {{"transform", model, "-o", folder / "n.cgdb"}, 2, "give --translate"},
      {{"order", model, "-o", folder / "n.cgdb"}, 2, "give --quadratic or --linear"},
      {{"order", model, "-o", folder / "n.cgdb", "--quadratic", "--map", "C3D8"}, 2, "write TYPE=TYPE"},
      {{"orient", model, "-o", folder / "n.cgdb", "--reverse"}, 2, "--reverse needs --set"},
      {{"orient", model, "-o", folder / "n.cgdb", "--seed", "101"}, 1, "is a seed, but none of the shells"},
      {{"extrude", model, "-o", folder / "n.cgdb"}, 2, "give --vector"},
      {{"extrude", model, "-o", folder / "n.cgdb", "--set", "plate", "--vector", "1,0,0"}, 1, "no surface"},
      {{"revolve", model, "-o", folder / "n.cgdb", "--set", "back", "--angle", "370"}, 1, "none of a rev"},
      {{"render", model, "-o", folder / "n.png", "--quality", "beauty"}, 2, "give one of size edge_ratio"},
      {{"order", model, "-o", folder / "n.cgdb", "--quadratic", "--surface", fine}, 2, "belong together"},
      {{"map", model, fine, "--field", "disp"}, 2, "where shall the result go"},
      {{"map", model, fine, "--field", "disp", "--set", "seat", "--replace"},
       2,
       "both --donor-set and --set"},
      {{"map", model, fine, "--field", "disp", "--replace"}, 1, "choose another name with --as"},
      {{"section", model, "--plane", "0,0,0"}, 2, "write a point and a normal"},
      {{"combine", model, model, "-o", folder / "n.cgdb", "--labels", "keep"}, 1, "node label"},
      {{"quality", model, "--require", "beauty=1"}, 2, "no measure is called beauty"}};
  for (const Case& one : cases) {
    const ToolRun run = RunTool(one.words);
    EXPECT_EQ(run.exitCode, one.exitCode) << run.err;
    EXPECT_NE(run.err.find(one.told), std::string::npos) << run.err;
  }
  EXPECT_EQ(RunTool({"quality", model, "--require", "scaled_jacobian=-1"}).exitCode, 0);
  EXPECT_EQ(RunTool({"quality", model, "--require", "edge_ratio=1.0"}).exitCode, 1);
}
} // namespace
