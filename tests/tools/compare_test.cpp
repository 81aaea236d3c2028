// Everything that an Exodus II file says of a mesh is kept and written back, and every difference is found.
#include "ExodusWriter.h"
#include "ToolRun.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/exo_Export.h>
#include <CoreGeometry/exo_Import.h>
#include <CoreGeometry/fmt_Compare.h>
#include <ThrownBy.h>
#include <algorithm>
#include <exodusII.h>
#include <gtest/gtest.h>

namespace {
void PutTexts(int file, std::vector<std::string> names, std::vector<std::string> records,
              std::vector<std::string> lines) {
  const auto pointers = [](std::vector<std::string>& texts) {
    std::vector<char*> all;
    for (std::string& text : texts) all.push_back(text.data());
    return all;
  };
  ex_put_coord_names(file, pointers(names).data());
  ex_put_qa(file, static_cast<int>(records.size() / 4),
            reinterpret_cast<char*(*)[4]>(pointers(records).data()));
  ex_put_info(file, static_cast<int>(lines.size()), pointers(lines).data());
}
void PutProperty(int file, ex_entity_type of, const char* name, std::vector<std::int64_t> values) {
  ex_put_prop_array(file, of, name, values.data());
}
void PutMore(int file) {
  PutTexts(file, {"East", "north", "up"}, {"mesher", "1.2", "2026-11-22", "07:00:00", "cutter", "", "", ""},
           {"begin", "  mesh = 3", ""});
  PutProperty(file, EX_ELEM_BLOCK, "MATERIAL", {5, -6, 7, 0, 1});
  PutProperty(file, EX_SIDE_SET, "load case", {1, 2});
}

/// Blocks whose type names are not the ones that we write, sets whose entries go to and fro between the blocks.
ExodusMesh Everything() {
  ExodusMesh mesh = OneHex();
  mesh.xyz.insert(mesh.xyz.end(), {0.1, 0.2, 2, 1, 1, 3});
  mesh.title = "Trial/left";
  mesh.nodeLabels = {11, 12, 13, 14, 15, 16, 17, 18, 7, 8};
  mesh.elementLabels = {101, 102, 9, 8, 7, 6, 5};
  mesh.blocks[0].type = "hex";
  mesh.blocks[0].nodes.insert(mesh.blocks[0].nodes.end(), {1, 2, 3, 4, 5, 6, 7, 8});
  mesh.blocks[0].attributes = {0.1, 2, 1e30, 4}; // two columns; not all of them are single
  mesh.blocks[0].attributeNames = {"density", ""};
  mesh.blocks.push_back({3, "QUAD", 4, {1, 2, 3, 4, 5, 6, 7, 8}, "a/plate", {1, 2}});
  mesh.blocks.push_back({12, "BAR", 2, {1, 2}, "a/bar"});
  mesh.blocks.push_back({13, "PYRAMID", 5, {5, 6, 7, 8, 9}, "top"});
  mesh.blocks.push_back({14, "ROOF5", 5, {1, 2, 3, 4, 10}, "roof", {3}});
  mesh.sets = {{EX_NODE_SET, 5, "", {8, 1, 2}, {}, {0.1, 0.2, 0.3}},
               {EX_NODE_SET, 3, "wet", {1}},
               {EX_SIDE_SET, 3, "wet", {3, 1, 4, 6, 2, 5}, {1, 5, 4, 5, 6, 1}, {}},
               {EX_SIDE_SET, 9, "each", {6, 2, 1}, {1, 1, 2}, {1.5, 2.5, 3.5}},
               {EX_ELEM_SET, 6, "some", {7, 1, 3, 2}, {}, {1, 2, 3, 4}}};
  for (int i = 0; i < 2 + 4 + 2 + 4 + 4 + 2; ++i) mesh.sets[2].factors.push_back(i + 0.1);
  mesh.more = PutMore;
  return mesh;
}

struct Change {
  const char* what;
  void (*make)(ExodusMesh&);
  const char *place, *first, *second;
};
const Change kChanges[] = {
    {"title", [](ExodusMesh& m) { m.title = "Trial"; }, "title", "\"Trial/left\"", "\"Trial\""},
    {"node", [](ExodusMesh& m) { m.xyz[3 * 8 + 2] += 1e-6; }, "coordinates: z of node 9", "2", "2.000001"},
    {"nodes",
     [](ExodusMesh& m) {
       m.xyz.insert(m.xyz.end(), {0, 0, 0});
       m.nodeLabels.push_back(1);
     },
     "number of nodes", "10", "11"},
    {"node label", [](ExodusMesh& m) { m.nodeLabels[9] = 9; }, "label of node 10", "8", "9"},
    {"element label", [](ExodusMesh& m) { m.elementLabels[6] = 4; }, "label of element 7", "5", "4"},
    {"block", [](ExodusMesh& m) { m.blocks[2].id = 15; }, "block 12", "there", "absent"},
    {"block order", [](ExodusMesh& m) { std::swap(m.blocks[3].id, m.blocks[4].id); },
     "order of the blocks: id 4", "13", "14"},
    {"block name", [](ExodusMesh& m) { m.blocks[0].name = "cube"; }, "block 7 (hex): name", "\"\"",
     "\"cube\""},
    {"type", [](ExodusMesh& m) { m.blocks[1].type = "SHELL"; }, "block 3 (QUAD): type", "\"QUAD\"",
     "\"SHELL\""},
    {"connectivity", [](ExodusMesh& m) { m.blocks[1].nodes[6] = 10; },
     "block 3 (QUAD), connectivity: node 3 of element 2", "7", "10"},
    {"attribute", [](ExodusMesh& m) { m.blocks[0].attributes[0] = 0.100001; },
     "block 7 (hex): attribute 1 of element 1", "0.1", "0.100001"},
    {"attributes",
     [](ExodusMesh& m) {
       m.blocks[4].attributes = {3, 4};
     },
     "block 14 (ROOF5): attributes of an element", "1", "2"},
    {"attribute name", [](ExodusMesh& m) { m.blocks[0].attributeNames[1] = "T"; },
     "block 7 (hex): name of attribute 2", "\"\"", "\"T\""},
    {"set", [](ExodusMesh& m) { m.sets.pop_back(); }, "element set 6", "there", "absent"},
    {"set name", [](ExodusMesh& m) { m.sets[1].name = "dry"; }, "node set 3: name", "\"wet\"", "\"dry\""},
    {"entry", [](ExodusMesh& m) { std::swap(m.sets[0].entries[0], m.sets[0].entries[1]); },
     "node set 5: node 1", "8", "1"},
    {"side", [](ExodusMesh& m) { m.sets[2].sides[2] = 3; }, "side set 3: side 3", "4", "3"},
    {"factor", [](ExodusMesh& m) { m.sets[2].factors[17] = 0; }, "side set 3: distribution factor 18", "17.1",
     "0"},
    {"factors", [](ExodusMesh& m) { m.sets[3].factors.clear(); },
     "side set 9: number of distribution factors", "3", "0"},
    {"coordinate name",
     [](ExodusMesh& m) {
       m.more = [](int file) {
         PutMore(file);
         PutTexts(file, {"east", "north", "up"}, {}, {});
       };
     },
     "name of coordinate 1", "\"East\"", "\"east\""},
    {"records",
     [](ExodusMesh& m) {
       m.more = [](int file) {
         PutTexts(file, {"East", "north", "up"}, {"mesher", "1.2", "2026-11-22", "07:00:00"},
                  {"begin", "mesh = 3", ""});
         PutProperty(file, EX_ELEM_BLOCK, "MATERIAL", {5, -6, 7, 0, 1});
         PutProperty(file, EX_SIDE_SET, "load case", {1, 2});
       };
     },
     "record of a program, text 5", "\"cutter\"", "absent"},
    {"property",
     [](ExodusMesh& m) {
       m.more = [](int file) {
         PutMore(file);
         PutProperty(file, EX_SIDE_SET, "load case", {1, 3});
       };
     },
     "side set 9: property \"load case\"", "2", "3"},
    {"property name",
     [](ExodusMesh& m) {
       m.more = [](int file) {
         PutMore(file);
         PutProperty(file, EX_NODE_SET, "bc", {1, 3});
       };
     },
     "node sets: property \"bc\"", "absent", "there"},
    {"coordinate frame",
     [](ExodusMesh& m) {
       m.more = [](int file) {
         PutMore(file);
         const std::int64_t id = 1;
         double points[9] = {0, 0, 0, 0, 0, 1, 1, 0, 0};
         char tag = 'R';
         ex_put_coordinate_frames(file, 1, &id, points, &tag);
       };
     },
     "coordinate frames", "0", "1"},
};

class Compare : public testing::Test {
protected:
  std::string Write(const char* name, const ExodusMesh& mesh) {
    mesh.Write(folder_ / name);
    return folder_ / name;
  }

  const DDB_CoreGeometry library_;
  const TestFolder folder_;
};

TEST_F(Compare, FindsEveryDifferenceWithPlaceAndBothValues) {
  const std::string a = Write("a.exo", Everything());
  for (const Change& change : kChanges) {
    ExodusMesh mesh = Everything();
    change.make(mesh);
    const fmt_Comparison found = fmt_CompareFiles(a, Write("b.exo", mesh));
    const auto at = std::ranges::find(found.differences, change.place, &fmt_Difference::place);
    if (at == found.differences.end()) {
      ADD_FAILURE() << change.what << ": "
                    << (found.differences.empty() ? "none" : found.differences[0].place);
      continue;
    }
    EXPECT_EQ(at->first, change.first) << change.what;
    EXPECT_EQ(at->second, change.second) << change.what;
  }
  ExodusMesh same = Everything(); // spelling, rounding, the order of sets of a kind, time steps
  same.blocks[0].type = "HEX8";
  same.singlePrecision = true;
  std::swap(same.sets[0], same.sets[1]);
  same.more = [](int file) {
    PutMore(file);
    const double step = 0.5;
    ex_put_time(file, 1, &step);
    ex_put_variable_param(file, EX_NODAL, 2);
  };
  const std::string b = Write("b.exo", same);
  EXPECT_TRUE(fmt_CompareFiles(a, b).differences.empty());
  EXPECT_FALSE(fmt_CompareFiles(a, b, 0).differences.empty());
  EXPECT_EQ(ThrownBy([&] { fmt_CompareFiles(a, b, -1); }), "a tolerance of -1, not 0 or more");
}

TEST_F(Compare, SeesNothingLostByAnImportAndAnExport) {
  for (const int mode : {0, EX_NETCDF4 | EX_NOCLASSIC | EX_ALL_INT64_DB})
    for (const int dims : {3, 2}) {
      ExodusMesh mesh = Everything();
      mesh.mode = mode;
      if (dims == 2) {
        mesh = ExodusMesh{.dims = 2, .xyz = {0, 0, 1, 0, 1, 1, 0, 1}};
        mesh.blocks = {{1, "SHELL", 4, {1, 2, 3, 4}}, {2, "quad", 4, {1, 2, 3, 4}}, {3, "BAR2", 2, {1, 2}}};
        mesh.sets = {{EX_SIDE_SET, 1, "s", {2, 1, 1}, {3, 6, 1}, {1, 2, 3, 4, 5, 6, 7, 8}}};
      }
      const std::string first = Write("first.exo", mesh), model = folder_ / "model.cgdb";
      ToolRun run = RunTool({"import", first, "-o", model, "--force"});
      ASSERT_EQ(run.exitCode, 0) << run.err;
      run = RunTool({"export", model, "-o", folder_ / "again.exo", "--force"});
      ASSERT_EQ(run.exitCode, 0) << run.err;
      EXPECT_NE(run.out.find("Everything in the mesh was carried over"), std::string::npos) << run.out;
      run = RunTool({"compare", first, folder_ / "again.exo"});
      EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
      EXPECT_EQ(RunTool({"check", model}).exitCode, 0);
    }
  // the notes go with the mesh that they are of
  const std::string model = folder_ / "model.cgdb";
  RunTool({"import", Write("first.exo", Everything()), "-o", model, "--force"});
  EXPECT_NE(RunTool({"info", model}).out.find("notes/first"), std::string::npos);
  RunTool({"import", Write("first.exo", OneHex()), "-o", model, "--force"});
  EXPECT_EQ(RunTool({"info", model}).out.find("notes/first"), std::string::npos);
  EXPECT_EQ(RunTool({"compare", folder_ / "first.exo", folder_ / "again.exo"}).exitCode, 1);
}

TEST_F(Compare, NotesThatNoLongerFitAreListedAndNotWritten) {
  fmt_Import import = exo_ReadMesh(Write("a.exo", Everything()), {});
  const auto write = [&] {
    uti_OutputFile output(folder_ / "out.exo", {.force = true});
    return exo_WriteMesh(output, *import.mesh, import.sets, &import.notes);
  };
  EXPECT_TRUE(write().empty());
  bme_NamedSet& some = *std::ranges::find(import.sets, "some", &bme_NamedSet::name);
  some.data = rgnC_SetData();
  some.data.SetIndex(6);
  some.data.SetType(res_ELEMENT_SET);
  std::erase_if(import.sets, [](const bme_NamedSet& set) { return set.name == "each"; });
  const fmt_Ledger ledger = write();
  ASSERT_EQ(ledger.size(), 1U);
  EXPECT_EQ(ledger[0].what, "annotations");
  EXPECT_EQ(ledger[0].count, 2);
  // factors of entries that are not carried over go with them
  ExodusMesh mesh = OneHex();
  mesh.sets = {{EX_SIDE_SET, 1, "s", {1, 1, 1}, {1, 9, 2}, {1, 2, 3}},
               {EX_SIDE_SET, 2, "t", {1, 1}, {1, 2}, {1, 2, 3}}};
  import = exo_ReadMesh(Write("b.exo", mesh), {});
  ASSERT_EQ(import.notes.annotations.Size(), 1);
  const bme_Annotation note = import.notes.annotations.ConstGet(0);
  EXPECT_TRUE(std::ranges::equal(note.values.Const(), std::vector<double>{1, 3}));
  const auto lost = std::ranges::find(import.ledger, "distribution factors of sets", &fmt_LedgerEntry::what);
  ASSERT_NE(lost, import.ledger.end());
  EXPECT_EQ(lost->count, 1 + 3);
}

TEST_F(Compare, ComparesOtherFilesByWhatTheyAreReadAs) {
  fmt_Import a = exo_ReadMesh(Write("a.exo", Everything()), {}), b = exo_ReadMesh(folder_ / "a.exo", {});
  EXPECT_TRUE(fmt_CompareImports(a, b).differences.empty());
  ExodusMesh mesh = Everything();
  mesh.blocks[0].nodes[8] = 9;
  mesh.sets[0].entries[1] = 4;
  mesh.xyz[0] = 0.5;
  b = exo_ReadMesh(Write("b.exo", mesh), {});
  std::vector<std::string> places;
  for (const fmt_Difference& one : fmt_CompareImports(a, b).differences) places.push_back(one.place);
  EXPECT_EQ(places, (std::vector<std::string>{"coordinates: x of node 1", "class 0, connectivity: node 9",
                                              "set \"node set 5\", class -1: entry 2"}));
}
} // namespace
