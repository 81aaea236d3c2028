// Every layout that was ever stored is read, upgraded and converted step by step to the same model.
#include "OldModels.h"

#include <BasicUtils/cls_Check.h>
#include <BasicUtils/cls_Diff.h>
#include <BasicUtils/cls_Dump.h>
#include <BasicUtils/cls_MetadataRegistrar.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/dtmC_DatumRef.h>
#include <CoreGeometry/rgnC_Region.h>
#include <StoredTest.h>
#include <fstream>
#include <set>
#include <sstream>

namespace {
namespace fs = std::filesystem;

std::string Dump(const cls_Database& db) {
  std::ostringstream out;
  cls_Dump(db, out);
  return out.str();
}

std::string Bytes(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

/// The file format, from the header of the file.
int FormatOf(const std::string& bytes) { return bytes.at(63); }

template<class T> void Copy(const cls_Database& from, cls_WritePass& to, const cow_String& root) {
  to.Put(root, *from.Get<T>(root));
}
/// How to read the roots of the models as objects.
constexpr std::pair<std::string_view, void (*)(const cls_Database&, cls_WritePass&, const cow_String&)>
    kCopies[] = {{"meshes/Wing", Copy<bme_Mesh>},     {"elements", Copy<bme_ElementData>},
                 {"class", Copy<bme_ElementClass>},   {"controls", Copy<bme_ElemCtrlParams>},
                 {"regions/Skin", Copy<rgnC_Region>}, {"sets/Skin", Copy<rgnC_SetData>},
                 {"reference", Copy<dtmC_DatumRef>}};

class OldLayout : public StoredTest, public testing::WithParamInterface<OldModel> {
protected:
  const fs::path folder_ = fs::path(TEST_FILES) / GetParam().name;
  const std::string dump_ = Bytes(folder_ / "dump.txt");
};
} // namespace

TEST_P(OldLayout, ReadsAsItsDumpAndStaysAsItIs) {
  const fs::path golden = folder_ / "model.cgdb";
  const std::string bytes = Bytes(golden);
  ASSERT_GT(bytes.size(), 0U) << golden;
  const cls_Database db = cls_Database::Open(golden.string());
  EXPECT_TRUE(db.IsOutdated());
  EXPECT_EQ(Dump(db), dump_);
  cls_Database copy = Create();
  cls_WritePass pass(copy);
  for (const auto& [root, put] : kCopies)
    if (db.Has(cow_String(root))) put(db, pass, cow_String(root));
  pass.Commit();
  EXPECT_EQ(Dump(copy), dump_) << "read as objects";
  if (db.Has("meshes/Wing")) {
    EXPECT_EQ(db.Get<bme_Mesh>("meshes/Wing")->TimeStamp(), 12.5) << "which dumps leave out";
  }
  for (const cls_Finding& finding : cls_Check(db))
    EXPECT_EQ(finding.weight, cls_Finding::Weight::Note) << finding.what;
  EXPECT_EQ(Bytes(golden), bytes);
}

TEST_P(OldLayout, UpgradesToTheSameModel) {
  fs::copy_file(folder_ / "model.cgdb", file_);
  fs::permissions(file_, fs::perms::owner_write, fs::perm_options::add);
  cls_Database db = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
  EXPECT_GE(db.Upgrade(), 1);
  EXPECT_FALSE(db.IsOutdated());
  EXPECT_EQ(Dump(db), dump_);
  EXPECT_EQ(cls_Diff(db, cls_Database::Open((folder_ / "model.cgdb").string())).size(), 0U);
  for (const cls_Finding& finding : cls_Check(db)) ADD_FAILURE() << finding.what;
  EXPECT_EQ(db.Upgrade(), 0);
}

TEST_P(OldLayout, ConvertedStepByStepIsTheSameModel) {
  for (int steps = 0; steps <= 3; ++steps) {
    fs::remove(file_);
    cls_Database db = Create();
    cls_WritePass pass(db);
    GetParam().write(pass, steps);
    pass.Commit();
    EXPECT_EQ(Dump(db), dump_) << steps << " steps";
  }
}

INSTANTIATE_TEST_SUITE_P(Every, OldLayout, testing::ValuesIn(OldModels().begin(), OldModels().end()),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(StoredTest, EverySupersededLayoutHasAModel) {
  std::set<std::string> layouts, models;
  for (const auto& [key, record] : omi_Singleton<cls_MetadataRegistrar>::Instance().Registry().Records())
    if (!record.IsCurrent()) layouts.insert(record.Name() + "_" + std::to_string(record.Version()));
  for (const OldModel& model : OldModels()) {
    models.insert(model.name);
    const cls_Database db = cls_Database::Open((fs::path(TEST_FILES) / model.name / "model.cgdb").string());
    bool holdsIt = false;
    for (const auto& stored : db.Classes())
      holdsIt |= stored.objects > 0 && stored.name + "_" + std::to_string(stored.version) == model.name;
    EXPECT_TRUE(holdsIt) << model.name;
  }
  EXPECT_EQ(models, layouts);
  EXPECT_EQ(layouts.size(), 16U);
}

TEST_F(StoredTest, ModelsOfEveryReleaseReadAsTheirDumps) {
  std::set<unsigned> stored;
  int models = 0;
  for (const auto& entry : fs::directory_iterator(TEST_FILES)) {
    const std::string name = entry.path().filename().string();
    if (!name.starts_with("present_") && !name.starts_with("datums_") && !name.starts_with("meshes_"))
      continue;
    fs::remove(file_);
    fs::copy_file(entry.path() / "model.cgdb", file_);
    fs::permissions(file_, fs::perms::owner_write, fs::perm_options::add);
    const std::string bytes = Bytes(file_);
    for (const bool isModern : {false, true}) { // as it was written, and after a write pass of today
      cls_Database db =
          cls_Database::Open(file_, isModern ? cls_Database::Mode::ReadWrite : cls_Database::Mode::ReadOnly);
      if (isModern) cls_WritePass(db).Commit();
      EXPECT_EQ(Dump(db), Bytes(entry.path() / "dump.txt")) << name;
      for (const cls_Finding& finding : cls_Check(db)) ADD_FAILURE() << name << ": " << finding.what;
      for (const auto& type : db.Classes())
        if (type.objects > 0) stored.insert(type.typeId);
      EXPECT_EQ(Bytes(file_) == bytes, !isModern || FormatOf(bytes) == 2) << name;
    }
    EXPECT_EQ(FormatOf(Bytes(file_)), 2);
    ++models;
  }
  EXPECT_GE(models, 3);
  for (const auto& [key, record] : omi_Singleton<cls_MetadataRegistrar>::Instance().Registry().Records())
    EXPECT_TRUE(!record.IsCurrent() || stored.contains(record.TypeId()))
        << record.Name() << " has no stored object";
}
