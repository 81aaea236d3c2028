// Commands on whole models: dump, diff, check, upgrade.
#include "ToolRun.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/rgnC_Region.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>

namespace {
using nlohmann::json;
namespace fs = std::filesystem;

class Models : public testing::Test {
protected:
  Models() { fs::create_directories(folder_); }
  ~Models() override { fs::remove_all(folder_); }
  std::string At(const char* name) const { return (folder_ / name).string(); }
  static std::string Text(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  /// A model with a row of two hexahedra after some change of the mesh.
  std::string Write(const char* name, void (*change)(bme_NodeData&, bme_ElementClass&)) const {
    std::vector<float> nodes;
    std::vector<int> rows, labels;
    for (int i = 0; i < 12; ++i) {
      nodes.insert(nodes.end(), {static_cast<float>(-(i / 4)), static_cast<float>(i % 4 / 2),
                                 static_cast<float>((i % 4 + 1) / 2 % 2)});
      labels.push_back(100 + i);
    }
    for (int i = 0; i < 16; ++i) rows.push_back(i / 8 * 4 + i % 8);
    auto* const elements = new bme_ElementClass("C3D8", cls_xp2DArrayInt(8, cow_ArrayCOW<int>(rows)));
    elements->SetUserElementLabels(std::vector{7, 8});
    bme_ElementClass* classes[] = {elements};
    bme_Mesh mesh(0, new bme_NodeData(uti_CoordCont3D(cow_ArrayCOW<float>(nodes))),
                  new bme_ElementData(classes, 1), bme_NATIVE_MESH, nullptr);
    mesh.NodeDataToModify().SetUserNodeLabels(labels.data());
    change(mesh.NodeDataToModify(), mesh.ElementDataToModify().GetClassToModify(0));
    const std::string file = At(name);
    cls_Database db = cls_Database::Create(file);
    cls_WritePass pass(db);
    pass.Put("meshes/row", mesh);
    pass.Commit();
    return file;
  }
  static void Nothing(bme_NodeData&, bme_ElementClass&) {}

  const DDB_CoreGeometry library_;
  const fs::path folder_ = fs::temp_directory_path() / ("models_" + std::to_string(getpid()));
};
} // namespace

TEST_F(Models, AreDumpedAsTheSameTextEachTime) {
  const std::string first = Write("a.cgdb", Nothing), second = Write("b.cgdb", Nothing);
  const ToolRun dump = RunTool({"dump", first});
  EXPECT_EQ(dump.exitCode, 0) << dump.err;
  EXPECT_TRUE(dump.out.starts_with("meshes/row: bme_Mesh #1\n  id: 0\n  nodeData: bme_NodeData #2\n"
                                   "    coordinates: 36 numbers in rows of 3\n      0 0 0\n"))
      << dump.out.substr(0, 300);
  EXPECT_EQ(dump.out, RunTool({"dump", second}).out);
  EXPECT_EQ(RunTool({"diff", first, second}).out, "no differences\n");
}

TEST_F(Models, AreComparedWithATolerance) {
  const std::string first = Write("a.cgdb", Nothing), second = Write("b.cgdb", [](auto&nodes, auto&elements) {
                                                        nodes.SetNodalCoord(2, 0, 1.001F, 1);
                                                        nodes.SetNodalCoord(3, 0, 0.25F, 0);
                                                        elements.SetCategoryLabel("other");
                                                      });
  const ToolRun diff = RunTool({"diff", first, second});
  EXPECT_EQ(diff.exitCode, 1);
  EXPECT_EQ(diff.out,
            "meshes/row.nodeData.coordinates[7]: 1 against 1.001; 2 numbers differ, by at most 0.75\n"
            "meshes/row.elemData.classes[0].categoryLabel: \"\" against \"other\"\n");
  const json facts = json::parse(RunTool({"diff", first, second, "--tolerance", "0.01", "--json"}).out);
  ASSERT_EQ(facts["differences"].size(), 2U);
  EXPECT_EQ(facts["differences"][0]["place"], "meshes/row.nodeData.coordinates[10]");
  EXPECT_EQ(facts["differences"][0]["numbers"], 1);
  EXPECT_EQ(RunTool({"diff", first, At("none.cgdb")}).err,
            "coregeometry: " + At("none.cgdb") + ": does not exist\n");
}

TEST_F(Models, AreCheckedForWhatMakesNoSense) {
  EXPECT_EQ(RunTool({"check", Write("good.cgdb", Nothing)}).out, At("good.cgdb") + ": sound\n");
  const std::string bad = Write("bad.cgdb", [](bme_NodeData& nodes, bme_ElementClass& elements) {
    nodes.SetNodalCoord(4, 0, std::numeric_limits<float>::quiet_NaN(), 0);
    std::vector<int> labels(12, 100);
    labels[11] = 5;
    nodes.SetUserNodeLabels(labels.data());
    elements.ConnectivityToModify()[9] = 12;
    elements.SetUserElementLabels(std::vector{8, 8});
  });
  const ToolRun check = RunTool({"check", bad});
  EXPECT_EQ(check.exitCode, 1);
  EXPECT_NE(
      check.out.find("fault: meshes/row, bme_ElementClass, field DDBconnectivity: element class 0 (C3D8): "
                     "1 elements use nodes outside the 12 nodes of the mesh\n  labels: 8\n  advice: "),
      std::string::npos)
      << check.out;
  const json facts = json::parse(RunTool({"check", bad, "--json"}).out);
  EXPECT_EQ(facts["faults"], 4);
  std::string fields;
  for (const json& finding : facts["findings"]) fields += finding["field"].get<std::string>() + " ";
  EXPECT_EQ(fields, "coordinates userNodeLabels DDBconnectivity userLabels ");
}

TEST_F(Models, AreCheckedForSetsThatDoNotFitTheirMesh) {
  const std::string file = Write("sets.cgdb", Nothing);
  {
    const auto ids = [](std::vector<int> values) { return rgnC_SubsetData::Ids(values); };
    rgnC_SetData set;
    set.AppendSubset(rgnC_SubsetData(0, -1, 0, 0, res_NODE_SET, false, ids({0, 11, 12}), {}));
    set.AppendSubset(rgnC_SubsetData(0, 0, 1, 0, res_ELEMENT_SET, false, ids({1, 2}), {}));
    set.AppendSubset(rgnC_SubsetData(0, 0, 2, 0, res_SURFACE_FACET, false, ids({0, 1}), ids({5, 6})));
    set.AppendSubset(rgnC_SubsetData(0, 0, 3, 0, res_SURFACE_EDGE, false, ids({0, 1}), ids({23, 24})));
    set.AppendSubset(rgnC_SubsetData(9, 0, 4, 0, res_ELEMENT_SET, false, ids({0}), {}));
    rgnC_Region region;
    region.SetSetData(rgnC_SetDataShortcut("sets/none"));
    cls_Database db = cls_Database::Open(file, cls_Database::Mode::ReadWrite);
    cls_WritePass pass(db);
    pass.Put("sets/wrong", set);
    pass.Put("regions/dangling", region);
    pass.Commit();
  }
  const ToolRun check = RunTool({"check", file});
  EXPECT_EQ(check.exitCode, 1);
  for (const char* text :
       {"regions/dangling, rgnC_Region, field setData: ", "path \"sets/none\": no such root",
        "subset 0: 1 entries are nodes outside the mesh (listed by mesh index)\n  labels: 12\n",
        "subset 1: 1 entries are elements outside the mesh (listed by mesh index)\n  labels: 2\n",
        "subset 2: 1 entries are facets that the element does not have (listed by mesh index)\n  labels: 1\n",
        "subset 3: 1 entries are facets that the element does not have (listed by mesh index)\n  labels: 1\n",
        "subset 4: no mesh has the identifier 9", ": 6 faults\n"})
    EXPECT_NE(check.out.find(text), std::string::npos) << text << check.out;
}

TEST_F(Models, AreCheckedForDamage) {
  const std::string file = Write("a.cgdb", Nothing);
  const std::string good = Text(file);
  int faults = 0, sound = 0;
  for (std::size_t at = 100; at < good.size(); at += 7919) {
    std::string damaged = good;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
    std::ofstream(file, std::ios::binary | std::ios::trunc) << damaged;
    const ToolRun check = RunTool({"check", file});
    ASSERT_TRUE(check.exitCode == 0 || check.exitCode == 1) << check.exitCode << " at " << at;
    (check.exitCode == 0 ? sound : faults) += 1;
    if (check.exitCode == 0) {
      EXPECT_EQ(RunTool({"dump", file}).exitCode, 0) << "what is sound can be read, byte " << at;
    }
  }
  EXPECT_GT(faults, 0);
  EXPECT_GT(sound, 0) << "unused space";
}

TEST_F(Models, AreUpgradedWithABackup) {
  const std::string file = At("old.cgdb");
  const fs::path old = fs::path(TEST_FILES) / "bme_Mesh_203";
  fs::copy_file(old / "model.cgdb", file);
  const std::string before = Text(file);
  const ToolRun dry = RunTool({"upgrade", file, "--dry-run"});
  EXPECT_EQ(dry.out, "  bme_ElemCtrlParams version 203: 1 object\n  bme_ElementClass version 203: 1 object\n"
                     "  bme_ElementData version 203: 1 object\n  bme_Mesh version 203: 1 object\n"
                         + file + ": 4 objects would be rewritten in the current layout\n");
  EXPECT_EQ(Text(file), before);
  const json facts = json::parse(RunTool({"upgrade", file, "--json"}).out);
  EXPECT_EQ(facts["upgraded"], 4);
  EXPECT_EQ(facts["backup"], file + ".bak");
  EXPECT_EQ(RunTool({"dump", file}).out, Text(old / "dump.txt"));
  EXPECT_EQ(RunTool({"diff", file, file + ".bak"}).exitCode, 0);
  EXPECT_EQ(RunTool({"upgrade", file}).out, file + ": every object is stored in its current layout\n");
  fs::copy_file(file + ".bak", file, fs::copy_options::overwrite_existing);
  const ToolRun again = RunTool({"upgrade", file});
  EXPECT_EQ(again.exitCode, 1);
  EXPECT_NE(again.err.find(".bak: exists already"), std::string::npos);
  EXPECT_EQ(RunTool({"upgrade", file, "--no-backup"}).exitCode, 0);
  EXPECT_EQ(RunTool({"upgrade", file, "--no-backup", "--backup", "x"}).exitCode, 2);
}
