// Every layout that was ever stored is read, upgraded and converted step by step to the same model.
#include "OldModels.h"

#include <BasicUtils/cls_Check.h>
#include <BasicUtils/cls_Diff.h>
#include <BasicUtils/cls_Dump.h>
#include <BasicUtils/cls_MetadataRegistrar.h>
#include <CoreGeometry/bme_StoredMesh.h>
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
  for (const cls_Finding& finding : cls_Check(db))
    EXPECT_EQ(finding.weight, cls_Finding::Weight::Note) << finding.what;
  EXPECT_EQ(Bytes(golden), bytes);
}

TEST_P(OldLayout, GivesPartsOfMeshes) {
  const cls_Database db = cls_Database::Open((folder_ / "model.cgdb").string());
  for (const cow_String& root : db.RootsOf({bme_Mesh::TypeId()})) {
    const cow_CountedHld<bme_Mesh> mesh = db.Get<bme_Mesh>(root);
    const bme_StoredMesh stored(db, root);
    EXPECT_EQ(stored.NumNodes(), mesh->NodeData().NumNodes());
    for (unsigned element = 0; element < mesh->ElementData().NumElements(); ++element) {
      const bme_ElementClass& type = mesh->ElementData().GetElemClass(element);
      EXPECT_EQ(stored.ClassOf(element).kind.ElemTypeLabel(), type.ElemTypeLabel());
      EXPECT_EQ(stored.ClassOf(element).kind.GetElemControlParams(), type.GetElemControlParams());
      EXPECT_TRUE(std::ranges::equal(
          stored.Connectivity(element),
          type.Connectivity(static_cast<int>(mesh->ElementData().GetClassElemIndex(element)))));
    }
  }
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

namespace {
/// What a superseded layout holds and what its model becomes, written down by hand: nothing here comes from
/// the tables that write, read and convert.
struct Expected {
  const char *name, *fields;
  void (*copy)(const cls_Database& from, cls_WritePass& to); ///< by reading the objects
  std::vector<const char*> lines;                            ///< of the dump, in this order, others between
};

template<class T> void Copy(const cls_Database& from, cls_WritePass& to) {
  for (const cow_String& root : from.Roots()) to.Put(root, *from.Get<T>(root));
}
void CopyMesh(const cls_Database& from, cls_WritePass& to) {
  EXPECT_EQ(from.Get<bme_Mesh>("meshes/Wing")->TimeStamp(), 12.5) << "which dumps leave out";
  Copy<bme_Mesh>(from, to);
}

constexpr const char* kControls203 =
    "elemLib hrGlsStiffness bendingHrGls drillingHrGls kineSplit hrGlsControl weightFactor stressRate "
    "displHrGls rotHrGls OOPDispHrGls soAccuracy";
constexpr const char* kElements203 =
    "numElements firstElementIndex elemTypeLabel elemCtrlParams meshIndex classIndex regionClassIndex "
    "regionIndex categoryLabel DDBuserElementLabel DDBconnectivity";

/// The lines of control parameters, with the two that came in version 508.
std::vector<const char*> Controls(const char* distortion, const char* lengthRatio) {
  return {"elemLib: Standard",
          "hrGlsStiffness: 1.5",
          "bendingHrGls: 0",
          "drillingHrGls: 0",
          "kineSplit: Centroid",
          "hrGlsControl: Default Hourglass Control",
          "weightFactor: 0.5",
          "stressRate: Polar",
          "displHrGls: 1",
          "rotHrGls: 1",
          "OOPDispHrGls: 1",
          "soAccuracy: Accuracy off",
          distortion,
          lengthRatio,
          "elemDeletion: Default Element Deletion",
          "maxDegradation: 0",
          "viscosity: 0",
          "linearBulkVisk: 1",
          "quadraticBulkVisk: 1"};
}
const std::vector<const char*> kOldControls =
                                   Controls("distortionCtrl: Default Distortion Control", "lengthRatio: 0.1"),
                               kControls508 =
                                   Controls("distortionCtrl: Distortion Control ON", "lengthRatio: 0.3");
std::vector<const char*> Elements(const std::vector<const char*>& controls) {
  std::vector<const char*> lines = {"numElements: 2", "firstElementIndex: 0", "elemTypeLabel: \"C3D8R\""};
  lines.insert(lines.end(), controls.begin(), controls.end());
  for (const char* line :
       {"meshIndex: 0", "classIndex: 0", "regionClassIndex: 3", "regionIndex: 2",
        "categoryLabel: \"Part \\\"A\\\"\"", "orientationFreq: None", "locationLabel: 0 texts",
        "DDBuserElementLabel: 2 numbers in rows of 1", "100", "7", "DDBconnectivity: 16 numbers in rows of 8",
        "0 1 2 3 4 5 6 7", "4 5 6 7 8 9 10 11"})
    lines.push_back(line);
  return lines;
}
std::vector<const char*> Mesh() {
  std::vector<const char*> lines = {"meshes/Wing: bme_Mesh #1",
                                    "id: 0",
                                    "coordinates: 36 numbers in rows of 3",
                                    "1 0 0",
                                    "0 1 0.2",
                                    "userNodeLabels: 12 numbers in rows of 1",
                                    "-5",
                                    "105",
                                    "numDim: 3",
                                    "classes: 1 object"};
  const auto elements = Elements(kOldControls);
  lines.insert(lines.end(), elements.begin(), elements.end());
  for (const char* line : {"meshType: Native mesh", "_matrix: 16 numbers in rows of 4", "1 0 0 2.5",
                           "0 1 0 0", "0 0 1 0", "0 0 0 1"})
    lines.push_back(line);
  return lines;
}
/// The type bits are 1 << 4 of an obsolete type 4, or stored.
std::vector<const char*> Region(bool hasOwners) {
  std::vector<const char*> lines = {"regions/Skin: rgnC_Region #1", "name: \"Skin\"", "internal: 1"};
  const std::vector<const char*> own =
      hasOwners ? std::vector<const char*>{"_ownerNames: 2 texts", "\"Assembly\"", "\"Part-1\"", "_space: 3",
                                           "_setTypeBits: 6"}
                : std::vector<const char*>{"_ownerNames: 0 texts", "_space: 0", "_setTypeBits: 16"};
  lines.insert(lines.end(), own.begin(), own.end());
  lines.push_back("path: \"sets/Skin\"");
  return lines;
}
/// Subsets of version 203 have no facets and are of the kind of their set.
std::vector<const char*> Set(bool hasFacets) {
  std::vector<const char*> lines = {"sets/Skin: rgnC_SetData #1",
                                    "setIndex: 4",
                                    "setLabel: \"Skin\"",
                                    "subsetList: 1 object",
                                    "setIndex: 4",
                                    "subsetIndex: 0",
                                    "idArray: 3 numbers in rows of 1",
                                    "5",
                                    "6",
                                    "9"};
  const std::vector<const char*> own =
      hasFacets ? std::vector<const char*>{"facetIdArray: 3 numbers in rows of 1", "1", "2", "0",
                                           "subsetType: SURFACE_FACET"}
                : std::vector<const char*>{"facetIdArray: 0 numbers in rows of 1", "subsetType: ELEMENT_SET"};
  lines.insert(lines.end(), own.begin(), own.end());
  for (const char* line :
       {"unsorted: 0", "meshIndex: 2", "classIndex: 3", "constructionOk: 1", "numSubset: 1",
        "setType: ELEMENT_SET", "internalSet: 0", "unsorted: 0", "constructionOk: 1"})
    lines.push_back(line);
  return lines;
}
std::vector<const char*> Reference(const char* axis) {
  return {"reference: dtmC_DatumRef #1", "_ownerNames: 0 texts", "_datumId: 5", "_instanceId: 6", axis};
}

const Expected kExpected[] = {
    {"bme_Mesh_203", "id nodeData elemData meshType timeStamp transform", CopyMesh, Mesh()},
    {"bme_ElementData_203", "classes", Copy<bme_ElementData>, Elements(kOldControls)},
    {"bme_ElementClass_203", kElements203, Copy<bme_ElementClass>, Elements(kOldControls)},
    {"bme_ElemCtrlParams_203", kControls203, Copy<bme_ElemCtrlParams>, kOldControls},
    {"bme_ElemCtrlParams_204", kControls203, Copy<bme_ElementClass>, Elements(kOldControls)},
    {"bme_ElemCtrlParams_508", "= distortionCtrl lengthRatio", Copy<bme_ElementClass>,
     Elements(kControls508)},
    {"rgnC_Region_203", "name internal _type setData", Copy<rgnC_Region>, Region(false)},
    {"rgnC_Region_204", "name internal _typeObsolete setData", Copy<rgnC_Region>, Region(false)},
    {"rgnC_Region_331", "name internal _ownerNames _typeObsolete _space _setTypeBits setData",
     Copy<rgnC_Region>, Region(true)},
    {"rgnC_Region_1004", "name internal _ownerNames _space _setTypeBits setData", Copy<rgnC_Region>,
     Region(true)},
    {"rgnC_SetData_203", "setIndex setLabel numSubset setType internalSet constructionOk subsetList",
     Copy<rgnC_SetData>, Set(true)},
    {"rgnC_SubsetData_203", "setIndex subsetIndex idArray numItems meshIndex classIndex constructionOk",
     Copy<rgnC_SetData>, Set(false)},
    {"rgnC_SubsetData_303",
     "setIndex subsetIndex idArray facetIdArray subsetType numItems meshIndex classIndex constructionOk",
     Copy<rgnC_SetData>, Set(true)},
    {"rgnC_SubsetData_316",
     "setIndex subsetIndex idArray facetIdArray subsetType meshIndex classIndex constructionOk",
     Copy<rgnC_SetData>, Set(true)},
    {"dtmC_DatumRef_203", "_datumId _instanceId", Copy<dtmC_DatumRef>, Reference("_axisId: 0")},
    {"dtmC_DatumRef_209", "_datumId _instanceId _axisId", Copy<dtmC_DatumRef>, Reference("_axisId: 2")},
};

/// The first of the lines that the text does not have behind the one before; empty when it has all.
std::string FirstMissing(const std::string& text, const std::vector<const char*>& lines) {
  std::istringstream in(text);
  auto next = lines.begin();
  for (std::string line; next != lines.end() && std::getline(in, line);)
    if (line.substr(std::min(line.find_first_not_of(' '), line.size())) == *next) ++next;
  return next == lines.end() ? "" : *next;
}
} // namespace

TEST_F(StoredTest, EveryOldLayoutHasTheFieldsAndTheValuesThatAreWrittenDown) {
  std::set<std::string> names;
  for (const Expected& expected : kExpected) {
    const std::string name = expected.name;
    names.insert(name);
    for (const auto& [key, record] : omi_Singleton<cls_MetadataRegistrar>::Instance().Registry().Records()) {
      if (record.IsCurrent() || record.Name() + "_" + std::to_string(record.Version()) != name) continue;
      std::string fields;
      for (const auto& attribute : record.Attributes())
        fields += (fields.empty() ? "" : " ") + attribute.name;
      const std::string wanted = expected.fields;
      EXPECT_EQ(fields, wanted.starts_with("=") ? kControls203 + wanted.substr(1) : wanted) << name;
    }
    const fs::path golden = fs::path(TEST_FILES) / name / "model.cgdb";
    fs::remove(file_);
    {
      cls_Database copy = Create();
      cls_WritePass pass(copy);
      expected.copy(cls_Database::Open(golden.string()), pass);
      pass.Commit();
      EXPECT_EQ(FirstMissing(Dump(copy), expected.lines), "") << name << " as it reads";
    }
    fs::copy_file(golden, file_, fs::copy_options::overwrite_existing);
    fs::permissions(file_, fs::perms::owner_write, fs::perm_options::add);
    cls_Database db = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
    EXPECT_GE(db.Upgrade(), 1);
    EXPECT_EQ(FirstMissing(Dump(db), expected.lines), "") << name << " upgraded";
  }
  EXPECT_EQ(names.size(), OldModels().size());
}

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
    if (!name.starts_with("present_") && !name.starts_with("meshes_")) continue;
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
