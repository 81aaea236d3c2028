// Commands on whole models: dump, diff, check, upgrade.
#include "ExodusWriter.h"
#include "ToolRun.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/rgnC_Region.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

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
    std::vector<float> xyz;
    std::vector<int> rows, labels;
    for (int i = 0; i < 12; ++i) {
      for (const int value : {-(i / 4), i % 4 / 2, (i % 4 + 1) / 2 % 2})
        xyz.push_back(static_cast<float>(value));
      labels.push_back(100 + i);
    }
    for (int i = 0; i < 16; ++i) rows.push_back(i / 8 * 4 + i % 8);
    const std::vector<int> elementLabels = {7, 8};
    bme_Mesh mesh = bme_MeshBuilder(xyz, labels).Add({"C3D8", rows, elementLabels}).Build();
    change(mesh.NodeDataToModify(), mesh.ElementDataToModify().GetClassToModify(0));
    const std::string file = At(name);
    cls_Database db = cls_Database::Create(file);
    cls_WritePass pass(db);
    pass.Put("meshes/row", mesh);
    pass.Commit();
    return file;
  }
  static void Nothing(bme_NodeData&, bme_ElementClass&) {}
  /// Names in the folder that begin like this.
  std::vector<fs::path> Named(const std::string& start) const {
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(folder_))
      if (entry.path().filename().string().starts_with(start)) found.push_back(entry.path());
    return found;
  }
  /// Waits for what another process is going to do; false when it has not done it in a minute.
  static bool Await(const std::function<bool()>& isSo) {
    for (int i = 0; i < 60000; ++i) {
      if (isSo()) return true; // which it need not be any more
      usleep(1000);
    }
    return false;
  }
  /// Whether the process has the file open for writing.
  static bool Writes(pid_t process, const std::string& file) {
    const fs::path folder = "/proc/" + std::to_string(process);
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(folder / "fd", error)) {
      if (fs::read_symlink(entry.path(), error) != file) continue;
      const std::string facts = Text(folder / "fdinfo" / entry.path().filename());
      const auto flags = facts.find("flags:");
      if (flags != std::string::npos && std::stoul(facts.substr(flags + 6), nullptr, 8) & O_RDWR) return true;
    }
    return false;
  }

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

/// What comes between the command's first look and its turn is in the backup, too; no backup without an
/// upgrade.
TEST_F(Models, AreUpgradedFromTheStateThatTheBackupHas) {
  const std::string file = At("old.cgdb");
  fs::copy_file(fs::path(TEST_FILES) / "bme_Mesh_203" / "model.cgdb", file);
  cls_Database model = cls_Database::Open(file, cls_Database::Mode::ReadWrite);
  pid_t tool = 0;
  {
    cls_WritePass pass(model);
    tool = StartTool({"upgrade", file});
    ASSERT_TRUE(Await([&] { return Writes(tool, file); }));
    const rgnC_Region region;
    pass.Put("late", region);
    pass.Commit();
  }
  EXPECT_EQ(WaitForTool(tool), 0);
  EXPECT_TRUE(cls_Database::Open(file + ".bak").Has("late"));
  EXPECT_TRUE(cls_Database::Open(file + ".bak").IsOutdated());
  EXPECT_FALSE(cls_Database::Open(file).IsOutdated());
  EXPECT_THROW(cls_Database::Open(file + ".bak", cls_Database::Mode::ReadWrite).Upgrade([] { throw 1; }),
               int);
  EXPECT_TRUE(cls_Database::Open(file + ".bak").IsOutdated());
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
  EXPECT_NE(again.err.find(".bak: exists already; name another file with --backup"), std::string::npos);
  EXPECT_EQ(RunTool({"upgrade", file, "--no-backup"}).exitCode, 0);
  EXPECT_EQ(RunTool({"upgrade", file, "--no-backup", "--backup", "x"}).exitCode, 2);
}

TEST_F(Models, OfTheFirstFileFormatAreUpgradedWhateverTheirLayouts) {
  const std::string file = At("first.cgdb");
  fs::copy_file(fs::path(TEST_FILES) / "meshes_0.1.0" / "model.cgdb", file);
  const auto format = [&] { return json::parse(RunTool({"info", file, "--json"}).out)["fileFormat"]; };
  const std::string text = file + ": every object is stored in its current layout";
  EXPECT_EQ(RunTool({"upgrade", file, "--dry-run"}).out, text + "; the file would get format 2\n");
  EXPECT_EQ(format(), 1);
  EXPECT_EQ(RunTool({"upgrade", file}).out,
            text + "; the file has format 2\nThe file as it was: " + file + ".bak\n");
  EXPECT_EQ(format(), 2);
  EXPECT_EQ(RunTool({"diff", file, file + ".bak"}).exitCode, 0);
  EXPECT_EQ(RunTool({"upgrade", file}).out, text + "\n");
}

/// What a model holds may change until the command has it to itself: another pass is open when it looks
/// first.
TEST_F(Models, AreChangedByWhatTheyHoldWhenItIsTheCommandsTurn) {
  const std::string file = Write("a.cgdb", Nothing), cube = At("cube.exo");
  OneHex().Write(cube);
  struct Case {
    std::vector<std::string> words;
    const char* root; ///< what the other pass stores
    int exitCode;
  };
  const Case cases[] = {{{"import", cube, "-o", file, "--name", "one"}, "meshes/one", 1},
                        {{"import", cube, "-o", file, "--name", "two"}, "meshes/other", 0},
                        {{"csys", file, "--name", "row", "--add", "c"}, "datums/row", 1}};
  for (const Case& one : cases) {
    cls_Database model = cls_Database::Open(file, cls_Database::Mode::ReadWrite);
    pid_t tool = 0;
    {
      cls_WritePass pass(model);
      tool = StartTool(one.words);
      ASSERT_TRUE(Await([&] { return Writes(tool, file); })) << one.words[0];
      int next = 0;
      for (const cow_String& root : model.Roots()) next += root.starts_with("meshes/");
      const bme_Mesh mesh(*model.Get<bme_Mesh>("meshes/row"), static_cast<unsigned>(next));
      pass.Put(one.root, mesh);
      pass.Commit();
    }
    EXPECT_EQ(WaitForTool(tool), one.exitCode) << one.root;
    EXPECT_EQ(model.TypeId(one.root), bme_Mesh::TypeId()) << "the winner's stays";
    std::set<int> ids;
    for (const cow_String& root : model.Roots())
      EXPECT_TRUE(!root.starts_with("meshes/") || ids.insert(model.Get<bme_Mesh>(root)->Id()).second) << root;
  }
  EXPECT_EQ(RunTool({"check", file}).exitCode, 0);
  const auto two = cls_Database::Open(file).Get<bme_Mesh>("meshes/two");
  EXPECT_EQ(two->ElementData().GetClass(0).MeshIndex(), two->Id());
}

/// The reader waits for a model that is locked, with its output begun.
TEST_F(Models, LeaveNoOutputWhenASignalEndsTheCommand) {
  const std::string file = Write("a.cgdb", Nothing), output = At("out.vtu");
  struct Case {
    int signal, times;
  };
  for (const Case& one : {Case{SIGINT, 1}, Case{SIGTERM, 1}, Case{SIGHUP, 1}, Case{SIGTERM, 2},
                          Case{SIGQUIT, 1}, Case{SIGKILL, 1}}) {
    const int lock = open(file.c_str(), O_RDWR);
    struct flock everything = {};
    everything.l_type = F_WRLCK;
    ASSERT_EQ(fcntl(lock, F_SETLK, &everything), 0);
    const pid_t tool = StartTool({"export", file, "-o", output});
    ASSERT_TRUE(Await([&] { return !Named(".coregeometry-").empty(); }));
    for (int i = 0; i < one.times; ++i) {
      usleep(20'000); // two at once are one
      kill(tool, one.signal);
    }
    if (one.times == 1 && one.signal != SIGQUIT && one.signal != SIGKILL) close(lock);
    EXPECT_EQ(WaitForTool(tool), 128 + one.signal);
    close(lock);
    EXPECT_EQ(Named("out").size(), 0U);
    EXPECT_EQ(Named(".coregeometry-").size(), one.signal == SIGKILL ? 1U : 0U) << one.signal;
  }
  EXPECT_EQ(RunTool({"export", file, "-o", output}).exitCode, 0);
}
