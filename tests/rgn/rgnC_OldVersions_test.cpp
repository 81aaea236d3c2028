#include <BasicUtils/cls_Check.h>
#include <BasicUtils/cls_MetadataRegistrar.h>
#include <CoreGeometry/rgnC_Region.h>
#include <CoreGeometry/rgnC_RegionTable.h>
#include <ROM/dbc_OldClassVersion.h>
#include <StoredTest.h>
#include <algorithm>
#include <numeric>

namespace {
class rgnC_OldVersions : public StoredTest {
protected:
  /// The fields that every layout of a region has; the shortcut leads to "sets/Skin".
  static cls_Row Region(cls_WritePass& pass) {
    cls_Row path, shortcut, row;
    path.SetText("path", "sets/Skin");
    shortcut.SetOwned("impl", pass.PutRow(rgnC_SetDataIMPLSC::TypeId(), 1, path));
    row.SetText("name", "Skin").SetInt("internal", 1);
    row.SetEmbedded("setData", pass.PutRow(rgnC_SetDataShortcut::TypeId(), 1, shortcut));
    return row;
  }
  /// Checks what the root reads as: from the file as it is, and once more after an upgrade of it.
  template<class T, class Check> void ReadAndUpgrade(const cow_String& root, Check check) {
    check(*cls_Database::Open(file_).Get<T>(root));
    cls_Database db = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
    EXPECT_TRUE(db.IsOutdated());
    EXPECT_GE(db.Upgrade(), 1);
    EXPECT_FALSE(db.IsOutdated());
    check(*db.Get<T>(root));
  }
};

/// A load, which named its set by itself in its first version.
struct Load {
  static unsigned TypeId() { return 9302; }
  static void* Ctor(cls_ReadVisitor& visitor) { return new Load(visitor); }
  static void InitializeMetadata(cls_ClassRegistrar& registrar) {
    registrar.CreateClassMD("Load", TypeId(), 2, &Ctor, 1)
        .AddDtor([](void* load) { delete static_cast<Load*>(load); })
        .AddWriter([](const void* load, const cls_WriteVisitor& visitor) {
          static_cast<const Load*>(load)->DBWrite(visitor);
        })
        .AddAttribute("size", cls_AttributeType::Int, 1, cls_CollectionType::Single);
  }
  explicit Load(const cls_ReadVisitor& visitor) : size(visitor.GetInt("size")), uid(visitor.GetUid()) {}
  void DBWrite(const cls_WriteVisitor& visitor) const {
    if (visitor.StartWrite(TypeId(), uid) != 0) visitor.PutInt("size", size);
  }
  int size;
  cls_Uid uid;
};
constexpr dbc_OldField kLoad1[] = {{"size", cls_AttributeType::Int},
                                   {"setName", cls_AttributeType::String},
                                   {"setData", cls_AttributeType::Shortcut, 39059466}};
const dbc_OldLayout kLoadLayout1{
    "Load", 9302, 1, 2, 2, "Load", kLoad1, [](const dbc_Row& old, dbc_Row& row, int) -> void* {
      const bool added = rgnC_RegionTable::AddNewRegion(old, old.GetText("setName"));
      row.SetInt("size", row.GetInt("size") + (added ? 100 : 0));
      return nullptr;
    }};
} // namespace

TEST_F(rgnC_OldVersions, ConversionsAddRegionsInAnUpgradeAlone) {
  omi_Singleton<cls_MetadataRegistrar>::Instance().initClassMetadata(&Load::InitializeMetadata, 7);
  omi_Singleton<dbc_OldClassRegistrar>::Instance().Register(
      new cow_CountedHld<dbc_OldClassVersion>(new dbc_TabledOldVersion(kLoadLayout1)), 4);
  {
    cls_Database db = Create();
    cls_WritePass pass(db);
    for (const char* name : {"Skin", "Core"}) {
      cls_Row path, shortcut, row;
      path.SetText("path", cow_String("sets/") + name);
      shortcut.SetOwned("impl", pass.PutRow(rgnC_SetDataIMPLSC::TypeId(), 1, path));
      row.SetInt("size", 1).SetText("setName", name);
      row.SetEmbedded("setData", pass.PutRow(rgnC_SetDataShortcut::TypeId(), 1, shortcut));
      pass.PutRow(cow_String("loads/") + name, 9302, 1, row);
    }
    rgnC_Region there;
    there.SetSpace(7);
    pass.Put("regions/Core", there);
    pass.Commit();
  }
  cls_Database db = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
  EXPECT_EQ(db.Get<Load>("loads/Skin")->size, 1) << "reading adds nothing";
  EXPECT_FALSE(db.Has("regions/Skin"));
  EXPECT_EQ(db.Upgrade(), 2);
  EXPECT_FALSE(rgnC_RegionTable::AddNewRegion({}, "Late")) << "the upgrade is over";
  db.Compact();
  EXPECT_EQ(db.Get<Load>("loads/Skin")->size, 101);
  const auto region = db.Get<rgnC_Region>("regions/Skin");
  EXPECT_EQ(region->Name(), "Skin");
  EXPECT_EQ(region->GetSetData().Path(), "sets/Skin");
  EXPECT_FALSE(region->IsInternal());
  EXPECT_TRUE(region->OwnerNames().Size() == 0 && region->Space() == 0 && region->GetSetTypeBits() == 0);
  EXPECT_EQ(db.Get<rgnC_Region>("regions/Core")->Space(), 7) << "a region that is there stays";
  EXPECT_EQ(db.Roots().Size(), 4);
}

/// The other fields of these versions are in stored models.
TEST_F(rgnC_OldVersions, TheKindOfARegionBecomesItsBit) {
  for (const auto& [type, bits] : {std::pair{4, 16}, {0, 1}, {32, 0}, {31, -2147483647 - 1}, {-1, 0}}) {
    cls_Database db = Create();
    cls_WritePass pass(db);
    cls_Row row = Region(pass);
    pass.PutRow("it", rgnC_Region::TypeId(), 204, row.SetInt("_typeObsolete", type));
    pass.Commit();
    EXPECT_EQ(db.Get<rgnC_Region>("it")->GetSetTypeBits(), bits) << type;
    std::filesystem::remove(file_);
  }
}

TEST_F(rgnC_OldVersions, ASubsetOfSeveralSetsIsOfTheKindOfEach) {
  const std::pair<const char*, res_SetTypeEnm> sets[] = {{"NODE_SET", res_NODE_SET},
                                                         {"ELEMENT_SET", res_ELEMENT_SET},
                                                         {"SURFACE_ELEMENT", res_SURFACE_ELEMENT},
                                                         {"ELEMENT_SET", res_ELEMENT_SET}};
  const auto rootOf = [](std::size_t i) { return "sets/" + std::to_string(i); };
  std::vector<int> ids(5000); // as many as make an array of its own
  std::iota(ids.begin(), ids.end(), 3);
  {
    cls_Database db = Create();
    cls_WritePass pass(db);
    cls_Row subset;
    subset.SetInt("setIndex", 4).SetInt("subsetIndex", 0).SetInts("idArray", ids).SetInt("meshIndex", 2);
    subset.SetInt("classIndex", 3).SetInt("constructionOk", 1).SetInt("numItems", 5000);
    const std::pair<long long, long long> subsets[] = {
        {0, pass.PutRow("subset", rgnC_SubsetData::TypeId(), 203, subset)}};
    for (std::size_t i = 0; i < std::size(sets); ++i) {
      cls_Row set;
      set.SetInt("setIndex", 4).SetText("setLabel", "Skin").SetInt("numSubset", 1).SetInt("internalSet", 0);
      set.SetText("setType", sets[i].first).SetInt("constructionOk", 1).SetOwnedMap("subsetList", subsets);
      pass.PutRow(rootOf(i), rgnC_SetData::TypeId(), 203, set);
    }
    pass.Commit();
  }
  ReadAndUpgrade<rgnC_SubsetData>("subset", [&](const rgnC_SubsetData& alone) {
    EXPECT_EQ(alone.SubsetType(), res_NODE_SET);
    const cls_Database db = cls_Database::Open(file_);
    for (std::size_t i = 0; i < std::size(sets); ++i) {
      const auto set = db.Get<rgnC_SetData>(rootOf(i));
      EXPECT_EQ(set->SubSet(0).SubsetType(), sets[i].second) << i;
      EXPECT_TRUE(std::ranges::equal(set->SubSet(0).IdArray(), ids)) << i;
    }
  });
  const cls_Database db = cls_Database::Open(file_);
  for (const auto& type : db.Classes()) {
    if (type.name == "rgnC_SubsetData" && type.objects > 0) {
      EXPECT_EQ(type.objects, 3) << "what is of one kind stays shared";
    }
  }
  for (const cls_Finding& finding : cls_Check(db)) ADD_FAILURE() << finding.what;
}
