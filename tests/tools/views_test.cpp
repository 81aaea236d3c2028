// What leaves a model: files for other programs, outsides, pictures.
#include "ExodusWriter.h"
#include "Picture.h"
#include "ToolRun.h"
#include "VtuReader.h"

#include <BasicUtils/cls_CreateModel.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/exo_Export.h>
#include <CoreGeometry/exo_Import.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <algorithm>
#include <cmath>
#include <exodusII.h>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <nlohmann/json.hpp>
#include <numeric>
#include <random>
#include <sys/stat.h>

namespace {
using nlohmann::json;
using Numbers = std::vector<std::int64_t>;

class Views : public testing::Test {
protected:
  std::string Import(const ExodusMesh& mesh, const std::string& name) const {
    mesh.Write(folder_ / (name + ".exo"));
    return ImportFile(folder_ / (name + ".exo"), name);
  }
  std::string ImportFile(const std::string& file, const std::string& name) const {
    std::string model = folder_ / (name + ".cgdb");
    const ToolRun run = RunTool({"import", file, "-o", model, "--name", "m"});
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return model;
  }
  /// Exported, imported again and compared.
  void ExpectSameAfterRoundTrip(const std::string& model) const {
    const json out = ToolFacts({"export", model, "-o", folder_ / "again.exo", "--force"});
    EXPECT_TRUE(out["notCarried"].empty()) << out["notCarried"];
    const std::string again = ImportFile(folder_ / "again.exo", "again");
    EXPECT_EQ(RunTool({"diff", model, again}).out, "no differences\n");
    std::filesystem::remove(again);
  }

  const TestFolder folder_;
};

struct Type {
  const char* name;
  int numNodes;
  int numSides;
};
constexpr Type kInSpace[] = {{"HEX", 8, 6},    {"HEX", 20, 6},   {"HEX27", 27, 6}, {"TET4", 4, 4},
                             {"TETRA", 10, 4}, {"WEDGE", 6, 5},  {"WEDGE", 15, 5}, {"WEDGE", 18, 5},
                             {"SHELL", 4, 6},  {"SHELL8", 8, 6}, {"SHELL", 9, 6},  {"TRI", 3, 5},
                             {"TRI", 6, 5},    {"QUAD", 4, 4},   {"BEAM", 2, 2},   {"BEAM", 3, 2},
                             {"TRUSS", 2, 1},  {"BAR", 3, 1},    {"SPHERE", 1, 1}, {"PYRAMID", 5, 5},
                             {"PYRA", 13, 5},  {"ROOF", 5, 3}};
constexpr Type kInPlane[] = {{"QUAD", 4, 4}, {"QUAD", 8, 4}, {"TRI", 3, 3},   {"TRI", 6, 3},
                             {"BEAM", 2, 1}, {"BEAM", 3, 1}, {"TRUSS", 3, 1}, {"QUAD", 9, 2}};

/// Two elements of each type, a surface of all their sides, labels that are neither dense nor sorted.
ExodusMesh OneOfEach(int dims, std::span<const Type> types) {
  ExodusMesh mesh;
  mesh.dims = dims;
  mesh.title = "one / of each";
  constexpr int kNumNodes = 60;
  for (int i = 0; i < dims * kNumNodes; ++i) mesh.xyz.push_back(i * i % 97 / 8.0);
  for (int i = 0; i < kNumNodes; ++i) mesh.nodeLabels.push_back(1000 - 7 * i);
  ExodusSet sides{EX_SIDE_SET, 31, "all sides", {}, {}}, elements{EX_ELEM_SET, 4, "some", {}, {}};
  std::int64_t id = 70, element = 0;
  for (const Type& type : types) {
    ExodusBlock block{id -= 3, type.name, type.numNodes, {}, id % 2 ? "" : "part " + std::to_string(id)};
    for (int e = 0; e < 2; ++e) {
      ++element;
      for (int k = 0; k < type.numNodes; ++k) block.nodes.push_back((k * 7 + 29 * e) % kNumNodes + 1);
      for (int side = 1; side <= type.numSides; ++side) {
        sides.entries.push_back(element);
        sides.sides.push_back(side);
      }
      mesh.elementLabels.push_back(5 * element % 1000 + 300);
    }
    elements.entries.push_back(element);
    mesh.blocks.push_back(block);
  }
  mesh.blocks.push_back({900, types[0].name, types[0].numNodes, {}, "empty"});
  mesh.sets = {{EX_NODE_SET, 12, "corner", {9, 2, 5}}, {EX_NODE_SET, 3, "", {1}},
               {EX_NODE_SET, 5, "none", {}},           sides,
               {EX_SIDE_SET, 8, "corner", {1}, {1}},   elements};
  return mesh;
}

TEST_F(Views, ExportedFilesBecomeTheSameModelAgain) {
  ExpectSameAfterRoundTrip(ImportFile(SAMPLE, "sample"));
  ExpectSameAfterRoundTrip(Import(OneOfEach(3, kInSpace), "space"));
  ExpectSameAfterRoundTrip(Import(OneOfEach(2, kInPlane), "plane"));
}

/// Every label of the dictionary: what a reader makes of the file is the same element, or the ledger tells.
TEST_F(Views, ExportListsEveryElementTypeThatIsNotTheSameAfterwards) {
  const DDB_CoreGeometry library;
  auto& dictionary = thr_ThreadSingleton<shp_ShapeDictionary>::Instance();
  std::vector<bme_ElementClass*> classes;
  int most = 1;
  for (const auto& [label, key] : dictionary.LabelTable()) {
    const int numNodes = dictionary.GetShape(label)->NumNodes();
    if (numNodes < 1) continue;
    std::vector<int> nodes(static_cast<std::size_t>(numNodes));
    std::iota(nodes.begin(), nodes.end(), 0);
    classes.push_back(new bme_ElementClass(label, cls_xp2DArrayInt(nodes.size(), cow_ArrayCOW<int>(nodes))));
    most = std::max(most, numNodes);
  }
  const auto count = classes.size();
  ASSERT_GT(count, 600U);
  const std::vector<float> xyz(static_cast<std::size_t>(3 * most));
  const bme_Mesh mesh(0, new bme_NodeData(uti_CoordCont3D(cow_ArrayCOW<float>(xyz))),
                      new bme_ElementData(classes.data(), static_cast<unsigned>(count)), bme_NATIVE_MESH,
                      nullptr);
  std::string told;
  uti_OutputFile output(folder_ / "all.exo");
  for (const fmt_LedgerEntry& entry : exo_WriteMesh(output, mesh, {}))
    told += entry.what + ": " + entry.detail + "; ";
  const std::size_t unknown = told.find("element types unknown to the format");
  const fmt_Import again = exo_ReadMesh(folder_ / "all.exo");
  std::size_t same = 0;
  for (unsigned i = 0; i < count; ++i) {
    const bme_ElementClass &before = mesh.ElementData().GetClass(i),
                           &after = again.mesh->ElementData().GetClass(i);
    const bool isSame = before.ElemTypeLabel() == after.ElemTypeLabel()
                        && std::ranges::equal(before.Connectivity(0), after.Connectivity(0));
    const bool isTold = told.find(" " + before.ElemTypeLabel() + ", as ") != std::string::npos;
    EXPECT_NE(isSame, isTold) << before.ElemTypeLabel() << " -> " << after.ElemTypeLabel();
    EXPECT_TRUE(after.IsSupported()
                || told.find(" " + before.ElemTypeLabel() + ", as ", unknown) != std::string::npos)
        << before.ElemTypeLabel() << " -> " << after.ElemTypeLabel();
    // whole elements have each node where the shape of the new label has it
    if (after.IsSupported() && after.NumNodesPerElem() == before.NumNodesPerElem()) {
      const auto ours = before.Shape()->NodeCoordinates(), theirs = after.Shape()->NodeCoordinates();
      for (std::size_t k = 0; k < std::min(ours.size(), theirs.size()); ++k) {
        const auto node = static_cast<std::size_t>(after.Connectivity(0)[k]);
        EXPECT_EQ(theirs[k], node < ours.size() ? ours[node] : shp_IsoPoint())
            << before.ElemTypeLabel() << ' ' << k;
      }
    }
    same += isSame;
  }
  EXPECT_GT(same, 15U);
}

/// What a wrong output is told, by arguments after the command; nothing that is there changes.
TEST_F(Views, OutputsAreRefusedForWhatTheyWouldDestroyOrCannotBe) {
  const std::string model = Import(OneHex(), "hex"), other = Import(OneHex(), "other"),
                    pipe = folder_ / "pipe", text = folder_ / "text";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  std::ofstream(text) << "kept";
  std::filesystem::create_symlink(model, folder_ / "link.png");
  struct Case {
    const char* command;
    std::vector<std::string> words;
    int exitCode;
    std::string told;
  };
  const Case cases[] = {
      {"export", {"-o", folder_ / "hex.doc"}, 2, "; or give --format"},
      {"skin", {"-o", folder_ / "hex.vtu"}, 2, ".exo, .e or .g; or give --format"},
      {"render", {"-o", folder_ / "hex.jpg"}, 2, ".png; or give --format"},
      {"view", {"-o", folder_ / "hex.png"}, 2, ".html or .htm; or give --format"},
      {"render", {"-o", ""}, 2, "is empty"},
      {"render", {"-o", folder_ / "%04d.png"}, 2, "one file is written"},
      {"export", {"-o", "-"}, 2, "needs --format"},
      {"export", {"-o", folder_ / "no folder/hex.exo"}, 1, "no folder/hex.exo: its folder"},
      {"export", {"-o", folder_ / "no folder/hex.vtu"}, 1, "no folder/hex.vtu: its folder"},
      {"export",
       {"-o", folder_ / "hex.exo"},
       1,
       "hex.exo: exists already; name another file, or replace it with --force"},
      {"render", {"-o", model, "--format", "png", "--force"}, 1, "is read by this very work"},
      {"render", {"-o", folder_ / "link.png", "--force"}, 1, "is read by this very work"},
      {"skin", {"-o", other, "--format", "exodus", "--force"}, 1, "is a model"},
      {"skin", {"-o", pipe, "--format", "exodus", "--force"}, 1, "is not a regular file"},
      {"export", {"-o", "/dev/null", "--format", "vtu", "--force"}, 1, "is not a regular file"},
      {"render", {"-o", text + "/..", "--format", "png"}, 1, "is a folder"}};
  const auto content = [&] { return RunTool({"diff", model, other}).out; };
  for (const Case& one : cases) {
    std::vector<std::string> all{one.command, model};
    all.insert(all.end(), one.words.begin(), one.words.end());
    const ToolRun run = RunTool(all);
    EXPECT_EQ(run.exitCode, one.exitCode) << testing::PrintToString(all) << run.err;
    EXPECT_NE(run.err.find(one.told), std::string::npos) << one.told << '\n' << run.err;
    EXPECT_EQ(content(), "no differences\n");
  }
  // what no model, mesh or output can be; waiting for the pipe would be for ever
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{"info", pipe},
                                             {"info", "-"},
                                             {"info", "/dev/stdin"},
                                             {"import", pipe, "-o", folder_ / "new.cgdb"},
                                             {"import", "-", "-o", folder_ / "new.cgdb"},
                                             {"import", folder_ / "hex.exo", "-o", pipe},
                                             {"import", folder_ / "hex.exo", "-o", ":memory:"},
                                             {"import", folder_ / "hex.exo", "-o", ""},
                                             {"import", folder_ / "hex.exo", "-o", "-"}}) {
    const ToolRun run = RunTool(words);
    EXPECT_EQ(run.exitCode, 1) << testing::PrintToString(words);
    EXPECT_NE(run.err.find("must be a"), std::string::npos) << run.err;
  }
  const std::filesystem::directory_iterator all(folder_ / ".");
  EXPECT_EQ(std::distance(begin(all), end(all)), 7) << "two meshes, two models, the pipe, the text, the link";
  const ToolRun stream = RunTool({"render", model, "-o", "-"});
  ToolFacts({"render", model, "-o", folder_ / "hex.png"});
  std::ifstream picture(folder_ / "hex.png", std::ios::binary);
  EXPECT_EQ(stream.out, std::string(std::istreambuf_iterator<char>(picture), {}));
  EXPECT_NE(stream.err.find("is drawn in -"), std::string::npos);
}

ExodusMesh Cubes();

/// Coordinates that are no numbers, and names that are no text for a terminal.
TEST_F(Views, NothingOfWhatIsNotFiniteIsDrawnAndNothingOfANameReachesTheTerminalRaw) {
  ExodusMesh mesh = Cubes();
  const std::string name = "low\x1b[31m\xC2\x9B"
                           "1m\nso\tund";
  mesh.blocks[0].name = name;
  const std::string model = Import(mesh, "odd");
  const DDB_CoreGeometry library;
  const std::string file = folder_ / "broken.cgdb";
  for (const float value : {INFINITY, -INFINITY, NAN}) {
    const fmt_Import import = exo_ReadMesh(folder_ / "odd.exo");
    import.mesh->NodeDataToModify().SetNodalCoord(0, value, 0, 0); // of one cube
    std::filesystem::remove(file);
    cls_CreateModel(file, {},
                    [&](const cls_Database&, cls_WritePass& pass) { pass.Put("meshes/m", *import.mesh); });
    const json info = ToolFacts({"info", file})["meshes"][0];
    EXPECT_EQ(info["notFinite"], 1);
    EXPECT_EQ(info["box"]["max"], json({1, 1, 3}));
    const json drawn = ToolFacts({"render", file, "-o", folder_ / "b.png", "--force"}),
               skin = ToolFacts({"skin", file, "-o", folder_ / "b.exo", "--force"}),
               found = ToolFacts({"locate", file, "0.5", "0.5", "1.5", "0.5", "0.5", "0.5"}),
               measured = json::parse(RunTool({"measure", file, "--json"}).out, nullptr, false);
    EXPECT_EQ(drawn["notFinite"], 3) << value;
    EXPECT_EQ(skin["faces"], 14 - 3);
    EXPECT_EQ(skin["notCarried"][0]["count"], 3);
    EXPECT_EQ(found["notFinite"], 1);
    EXPECT_EQ(found["points"][0]["verdict"], "inside");
    EXPECT_EQ(found["points"][1]["verdict"], "outside");
    EXPECT_EQ(measured["groups"][0]["withoutNodes"], json({40}));
  }
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{"info", model},
                                             {"sets", model},
                                             {"sets", model, name},
                                             {"sets", model, name + "?"},
                                             {"dump", model},
                                             {"diff", model, file},
                                             {"measure", model, "--by", "class"}}) {
    const ToolRun run = RunTool(words);
    const bool isRefused = words.back() == name + "?";
    const std::string text = isRefused ? run.err : run.out, newLine = words[0] == "dump" ? "\\n" : "\\x0a",
                      shown = "low\\x1b[31m\\x9b1m" + newLine + "so\\x09und";
    EXPECT_EQ(text.find("\nso"), std::string::npos) << words[0];
    EXPECT_EQ(text.find_first_of("\x1b\x9B"), std::string::npos) << words[0];
    EXPECT_TRUE(words[0] == "diff" || text.find(shown) != std::string::npos) << words[0] << text;
    if (isRefused || words[0] == "dump" || words[0] == "diff") continue;
    std::vector<std::string> asJson = words;
    asJson.emplace_back("--json");
    const std::string facts = RunTool(asJson).out;
    EXPECT_EQ(facts.find_first_of("\x1b\x9B"), std::string::npos) << words[0];
    EXPECT_NE(facts.find("low\\u001b[31m\\u009b1m\\nso\\tund"), std::string::npos) << words[0];
  }
}

TEST_F(Views, VtuFilesHoldPointsCellsLabelsAndSets) {
  const std::string model = ImportFile(SAMPLE, "sample");
  ToolFacts({"export", model, "-o", folder_ / "sample.vtu"});
  const Vtu vtu(folder_ / "sample.vtu");
  EXPECT_EQ(vtu.NumPoints(), 1441U);
  EXPECT_EQ(vtu.NumCells(), 945U);
  EXPECT_EQ(std::ranges::count(vtu.Values<unsigned char>("types"), 2), 0) << "a cloud of points";
  const auto fixed = vtu.Values<signed char>("fixed");
  EXPECT_EQ(std::accumulate(fixed.begin(), fixed.end(), 0), 221);
}

/// Two cubes that share nothing, one above the other: different blocks. Around it a row of two that share a
/// face.
ExodusMesh Cubes() {
  ExodusMesh mesh;
  for (int k = 0; k < 4; ++k)
    for (int i = 0; i < 4; ++i)
      for (const int value : {(i + 1) / 2 % 2, i / 2, k}) mesh.xyz.push_back(value);
  mesh.blocks = {{1, "HEX", 8, {1, 2, 3, 4, 5, 6, 7, 8, 5, 6, 7, 8, 9, 10, 11, 12}, "low"},
                 {2, "HEX", 8, {9, 10, 11, 12, 13, 14, 15, 16}, "high"}};
  mesh.elementLabels = {40, 50, 60};
  for (int i = 0; i < 16; ++i) mesh.nodeLabels.push_back(500 - i);
  mesh.sets = {{EX_SIDE_SET, 1, "top", {3}, {6}}, {EX_NODE_SET, 1, "nodes", {1}}};
  return mesh;
}

Numbers MapOf(const std::string& name, int id, std::size_t count) {
  int real = 8, stored = 0;
  float version = 0;
  const int file = ex_open(name.c_str(), EX_READ, &real, &stored, &version);
  ex_set_int64_status(file, EX_ALL_INT64_API);
  Numbers map(count);
  EXPECT_EQ(ex_get_num_map(file, EX_ELEM_MAP, id, map.data()), 0);
  ex_close(file);
  return map;
}

TEST_F(Views, SkinsHaveTheFacesThatNoOtherElementHasWithTheirSources) {
  const std::string model = Import(Cubes(), "cubes"), skin = folder_ / "skin.exo";
  const json facts = ToolFacts({"skin", model, "-o", skin, "--edges"});
  EXPECT_EQ(facts["faces"], 14);
  EXPECT_EQ(facts["shells"], 14);
  EXPECT_EQ(facts["edges"], 24); // upright 3 on each of 4 lines, above and below 4 each, between blocks 4
  const fmt_Import import = exo_ReadMesh(skin);
  EXPECT_EQ(import.mesh->NodeData().GetMeshNodeIndex(500), 0U);
  EXPECT_EQ(import.mesh->ElementData().GetClass(0).ElemTypeLabel(), "S4");
  std::map<std::int64_t, int> facesOf;
  const Numbers elements = MapOf(skin, 1, 14 + facts["edges"].get<std::size_t>());
  for (std::size_t i = 0; i < 14; ++i) ++facesOf[elements[i]];
  EXPECT_EQ(facesOf, (std::map<std::int64_t, int>{{40, 5}, {50, 4}, {60, 5}}));
  EXPECT_EQ(ToolFacts({"skin", model, "-o", skin, "--force", "--sets", "top"})["faces"], 1);
  EXPECT_EQ(ToolFacts({"skin", model, "-o", skin, "--force", "--sets", "low"})["faces"], 10);
  const ToolRun run = RunTool({"skin", model, "-o", skin, "--force", "--sets", "nodes"});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_NE(run.err.find("is a set of nodes"), std::string::npos) << run.err;
}

TEST_F(Views, PicturesShowWhatIsInFrontInItsColour) {
  const std::string model = Import(Cubes(), "cubes"), file = folder_ / "cubes.png";
  const auto draw = [&](const std::vector<std::string>& more) {
    std::vector<std::string> all{"render", model, "-o", file, "--force", "--size", "200x100"};
    all.insert(all.end(), more.begin(), more.end());
    const ToolRun run = RunTool(all);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return Picture(file);
  };
  const auto plain = [&](std::vector<std::string> more) {
    more.push_back("--plain");
    return draw(more);
  };
  const Picture above = plain({"--view", "0,0,1"});
  EXPECT_EQ(above.width, 200);
  EXPECT_EQ(above.height, 100);
  EXPECT_EQ(above.At(100, 50), "orange");
  EXPECT_EQ(above.At(140, 50), "orange"); // the square is 86 wide
  EXPECT_EQ(above.At(150, 50), "light");
  EXPECT_LT(above.Sum(142, 50) + 60, above.Sum(140, 50)); // its edge
  EXPECT_EQ(plain({"--view", "0,0,-1"}).At(100, 50), "blue");
  const Picture side = plain({"--view", "0,-5,0"});
  EXPECT_EQ(side.At(100, 21), "orange");
  EXPECT_EQ(side.At(100, 50), "blue");
  EXPECT_EQ(side.At(100, 65), "blue"); // between two elements that share a face no edge is drawn
  EXPECT_EQ(plain({"--view", "0,-5,0", "--sets", "high,low"}).At(100, 50), "orange");
  EXPECT_EQ(draw({"--view", "1,1,1", "--edges"}).rgb, draw({"--view", "1,1,1", "--edges"}).rgb);
}

TEST_F(Views, PicturesHaveATitleALegendAScaleAndDotsOfNodes) {
  const std::string model = Import(Cubes(), "cubes"), file = folder_ / "cubes.png";
  const auto draw = [&](const std::vector<std::string>& more) {
    std::vector<std::string> all{"render", model,     "-o",     file,    "--force",
                                 "--size", "600x400", "--view", "0,-1,0"};
    all.insert(all.end(), more.begin(), more.end());
    EXPECT_EQ(RunTool(all).exitCode, 0);
    return Picture(file);
  };
  const auto count = [](const Picture& picture, int left, int right, int top, int bottom, auto isCounted) {
    int found = 0;
    for (int y = top; y < bottom; ++y)
      for (int x = left; x < right; ++x) found += isCounted(picture, x, y);
    return found;
  };
  const auto isDark = [](const Picture& picture, int x, int y) { return picture.Sum(x, y) < 600; };
  const auto isWhite = [](const Picture& picture, int x, int y) { return picture.Sum(x, y) == 765; };
  const Picture full = draw({"--background", "white"}), plain = draw({"--background", "white", "--plain"});
  const auto title = [&](const Picture& picture) { return count(picture, 0, 200, 0, 25, isDark); };
  const auto bar = [&](const Picture& picture) { return count(picture, 450, 600, 365, 400, isDark); };
  EXPECT_GT(title(full), 15);
  EXPECT_GT(title(draw({"--background", "white", "--title", "A longer title"})), 1.5 * title(full));
  EXPECT_EQ(title(plain), 0);
  EXPECT_GT(bar(full), 60);
  EXPECT_EQ(bar(plain), 0);
  // the axes, 3 times their length of 22 pixels wide, stand alone in their corner
  EXPECT_EQ(count(full, 64, 74, 330, 400, isWhite), 10 * 70);
  EXPECT_NE(count(full, 0, 64, 330, 400, isWhite), 64 * 70);
  const ToolRun dots = RunTool({"render", model, "-o", file, "--force", "--sets", "nodes", "--json"});
  const json groups = json::parse(dots.out)["groups"];
  EXPECT_EQ(groups[0]["name"], "mesh");
  EXPECT_EQ(groups[1]["name"], "nodes");
  EXPECT_GT(groups[1]["nodes"], 0);
  const auto isOrange = [](const Picture& picture, int x, int y) { return picture.At(x, y) == "orange"; };
  EXPECT_GT(count(draw({"--sets", "nodes", "--plain"}), 0, 600, 0, 400, isOrange), 10);
  png_image image = {};
  image.version = PNG_IMAGE_VERSION;
  draw({"--background", "transparent"});
  ASSERT_TRUE(png_image_begin_read_from_file(&image, file.c_str()));
  EXPECT_EQ(image.format & PNG_FORMAT_FLAG_ALPHA, unsigned{PNG_FORMAT_FLAG_ALPHA});
  png_image_free(&image);
}

TEST_F(Views, PicturesAreRefusedForWrongViewsSizesAndSets) {
  const std::string model = Import(Cubes(), "cubes"), file = folder_ / "cubes.png";
  const auto code = [&](const std::string& option, const std::string& value) {
    return RunTool({"render", model, "-o", file, option, value}).exitCode;
  };
  for (const char* size : {"200", "200x", "x100", "8x8", "200x99999", "20x30x40", "-20x30"})
    EXPECT_EQ(code("--size", size), 2) << size;
  EXPECT_EQ(code("--view", "0,0,0"), 2);
  EXPECT_EQ(code("--view", "nan,0,1"), 2);
  EXPECT_EQ(code("--sets", "nothing"), 1);
  EXPECT_FALSE(std::filesystem::exists(file));
}
/// Each fault once, by labels: a cube twice, once inside out; a flat tetrahedron; a hexahedron with a corner
/// pushed through, one that is a wedge; two triangles that go the same way along their edge; a node of
/// nobody.
TEST_F(Views, ChecksFindElementsAndNodesThatMakeNoSense) {
  ExodusMesh mesh = OneHex();
  const auto add = [&](const std::vector<double>& more) {
    mesh.xyz.insert(mesh.xyz.end(), more.begin(), more.end());
  };
  add({0, 0, 5, 1, 0, 5, 1, 1, 5, 0, 1, 5, 0, 0, 6, 1, 0, 6, -2, -2, 3, 0, 1, 6}); // 9 to 16
  add({0, 0, 8, 1, 0, 8, 1, 1, 8, 0, 0, 9, 1, 0, 9, 1, 1, 9});                     // 17 to 22
  add({0, 0, 8, 5, 0, 0, 6, 0, 0, 5, 1, 0, 5, -1, 0});                             // 23 to 27
  mesh.blocks = {{1, "HEX", 8, {5, 6,  7,  8,  1,  2,  3,  4,  1,  2,  3,  4,  5,  6,  7,  8,
                                9, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 19, 20, 21, 22, 22}},
                 {2, "TET", 4, {1, 2, 3, 4}},
                 {3, "TRI", 3, {24, 25, 26, 24, 25, 27}}};
  mesh.elementLabels = {10, 11, 13, 14, 12, 15, 16};
  const ToolRun run = RunTool({"check", Import(mesh, "bad"), "--json"});
  EXPECT_EQ(run.exitCode, 1);
  const json facts = json::parse(run.out, nullptr, false);
  EXPECT_EQ(facts["faults"], 3);
  const std::pair<const char*, std::vector<int>> expected[] = {
      {"inside out; the worst is 10, with -0.", {10}},
      {"folded", {13}},
      {"not positive at a node; the worst is 14, with 0 of", {14}},
      {"without length, area or volume", {12}},
      {"same nodes as another", {10, 11}},
      {"belong to no element", {23}},
      {"where another node is", {23}},
      {"edge that no other shell has", {15, 16}},
      {"normal points the other way", {15, 16}}};
  EXPECT_EQ(facts["findings"].size(), std::size(expected)) << facts["findings"].dump(1);
  for (const auto& [text, labels] : expected) {
    const auto found = std::ranges::find_if(facts["findings"], [&, t = text](const json& finding) {
      return finding["what"].get<std::string>().find(t) != std::string::npos;
    });
    ASSERT_NE(found, facts["findings"].end()) << text << '\n' << facts["findings"].dump(1);
    EXPECT_EQ((*found)["labels"], json(labels)) << text;
    EXPECT_NE((*found)["advice"], "");
  }
}

/// Hexahedra and tetrahedra pressed flat onto planes at any angle, by corners in any order, some far from the
/// origin; one thin brick at an angle is none of them.
TEST_F(Views, ChecksCallSolidsPressedFlatOntoSkewPlanesFlat) {
  std::mt19937 random(4);
  const auto number = [&] { return static_cast<double>(random() % 20001) / 10000 - 1; };
  ExodusMesh mesh;
  mesh.blocks = {{1, "HEX", 8, {}}, {2, "TET", 4, {}}};
  std::vector<int> flat;
  for (int element = 0; element < 20; ++element) {
    const double u[] = {number(), number(), number()}, v[] = {number(), number(), number()};
    const double away = element % 5 == 4 ? 1000 : 0;
    const std::size_t block = element < 10 ? 0 : 1, corners = block == 0 ? 8 : 4;
    for (std::size_t corner = 0; corner < corners; ++corner) {
      const double a = number(), b = number();
      for (int axis = 0; axis < 3; ++axis) mesh.xyz.push_back(away + a * u[axis] + b * v[axis]);
      mesh.blocks[block].nodes.push_back(static_cast<int>(mesh.xyz.size() / 3));
    }
    flat.push_back(element < 10 ? element + 1 : element + 2); // the thin brick is the last hexahedron
  }
  const double across[] = {2e-5, -1e-5, 1e-5}, u[] = {1, 1, -1}, v[] = {0, 1, 1};
  for (const double side : {0.0, 1.0})
    for (const auto& [a, b] : {std::pair{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}, {0.0, 1.0}}) {
      for (int axis = 0; axis < 3; ++axis)
        mesh.xyz.push_back(5 + a * u[axis] + b * v[axis] + side * across[axis]);
      mesh.blocks[0].nodes.push_back(static_cast<int>(mesh.xyz.size() / 3));
    }
  const json facts = json::parse(RunTool({"check", Import(mesh, "flat"), "--json"}).out, nullptr, false);
  std::vector<int> found;
  for (const json& finding : facts["findings"]) {
    if (finding["what"].get<std::string>().find(" elements ") == std::string::npos) continue;
    EXPECT_NE(finding["what"].get<std::string>().find("without length, area or volume"), std::string::npos)
        << finding.dump(1);
    for (const json& label : finding["labels"]) found.push_back(label);
  }
  EXPECT_EQ(found, flat) << facts.dump(1);
}

/// A cube beside two halves of one: the nodes between the halves hang on its side.
TEST_F(Views, ChecksFindHangingNodes) {
  ExodusMesh mesh = OneHex();
  for (const double x : {2.0, 1.0})
    for (const double z : {0.0, 1.0, 0.5})
      for (const double y : {0.0, 1.0})
        if (x == 2 || z == 0.5) mesh.xyz.insert(mesh.xyz.end(), {x, y, z}); // 9 to 16
  mesh.blocks = {
      {1, "HEX", 8, {1, 2, 3, 4, 5, 6, 7, 8, 2, 9, 10, 3, 15, 13, 14, 16, 15, 13, 14, 16, 6, 11, 12, 7}}};
  mesh.elementLabels = {1, 2, 3};
  const ToolRun run = RunTool({"check", Import(mesh, "hanging"), "--json"});
  EXPECT_EQ(run.exitCode, 0);
  const json facts = json::parse(run.out, nullptr, false);
  ASSERT_EQ(facts["findings"].size(), 1U) << facts["findings"].dump(1);
  EXPECT_EQ(facts["findings"][0]["labels"], json({15, 16}));
  EXPECT_NE(facts["findings"][0]["what"].get<std::string>().find("on the side of an element"),
            std::string::npos);
}

/// One far node does not make others coincide; what is pressed flat has no sides to hang on, and ends soon.
TEST_F(Views, ChecksTakeTheirToleranceFromEdges) {
  ExodusMesh mesh = Cubes();
  mesh.xyz.insert(mesh.xyz.end(), {1e10, 1e10, 1e10, 0.0, 0.0, 1e-6, 0.0, 0.0, 1e-3});
  mesh.nodeLabels.insert(mesh.nodeLabels.end(), {600, 601, 602});
  const auto found = [&](const ExodusMesh& checked, const char* name) {
    std::map<std::string, json> labels;
    const json facts = json::parse(RunTool({"check", Import(checked, name), "--json"}).out, nullptr, false);
    for (const json& one : facts["findings"]) {
      const std::string what = one["what"];
      labels[what.substr(what.find(' ') + 1)] = one["labels"];
    }
    return labels;
  };
  auto far = found(mesh, "far");
  EXPECT_EQ(far["nodes belong to no element"], json({600, 601, 602}));
  EXPECT_EQ(far["nodes are where another node is"], json({601}));
  for (std::size_t i = 2; i < mesh.xyz.size(); i += 3) mesh.xyz[i] = 0;
  const auto flat = found(mesh, "flat");
  EXPECT_FALSE(flat.contains("nodes lie on the side of an element that they do not belong to"));
}

/// Adds a x b x c hexahedra that fill a unit square from one height to another, on nodes of their own.
void AddLayer(ExodusMesh& mesh, int a, int b, int c, double low, double high) {
  const auto first = static_cast<std::int64_t>(mesh.xyz.size() / 3) + 1;
  for (int z = 0; z <= c; ++z)
    for (int y = 0; y <= b; ++y)
      for (int x = 0; x <= a; ++x)
        mesh.xyz.insert(mesh.xyz.end(), {double(x) / a, double(y) / b, low + (high - low) * z / c});
  ExodusBlock block{static_cast<std::int64_t>(mesh.blocks.size()) + 1, "HEX8", 8, {}};
  for (int i = 0; i < a * b * c; ++i)
    for (int k = 0; k < 8; ++k)
      block.nodes.push_back(first + i % a + (k + 1) / 2 % 2
                            + (a + 1) * (i / a % b + k / 2 % 2 + (b + 1) * (i / a / b + k / 4)));
  mesh.blocks.push_back(block);
}

/// Layers of a unit cube whose elements do not match share no nodes, so that each has an outside of its own.
TEST_F(Views, LayersThatDoNotMatchHaveTheSizesAndTheOutsideThatTheyShow) {
  ExodusMesh mesh;
  AddLayer(mesh, 6, 6, 2, 0, 0.5);
  AddLayer(mesh, 4, 3, 1, 0.5, 1);
  const std::string model = Import(mesh, "layers");
  EXPECT_NEAR(ToolFacts({"measure", model})["groups"][0]["volume"]["total"].get<double>(), 1, 1e-7);
  EXPECT_EQ(ToolFacts({"skin", model, "-o", folder_ / "skin.exo"})["faces"], 2 * (36 + 12 + 12 + 12 + 4 + 3));
  EXPECT_EQ(RunTool({"check", model}).exitCode, 0);
}
} // namespace
