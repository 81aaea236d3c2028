// Classes that go, and classes and folders that get other names, when a database is upgraded.
#include "TestObjects.h"

#include <BasicUtils/cls_Check.h>
#include <ROM/dbc_OldClassVersion.h>

namespace {
struct Note : TestObject<Note, 9003> {
  static constexpr const char* kName = "Note";
  static constexpr int kVersion = 1;
  int number = 0;
  cow_COW<Bag> bag;
  Note() = default;
  explicit Note(const cls_ReadVisitor& visitor) { Read(visitor); }
  static constexpr auto StoredFields() {
    return cls_Fields{cls_Field{"number", &Note::number}, cls_Field{"bag", &Note::bag}};
  }
};

struct Binder : TestObject<Binder, 9004> {
  static constexpr const char* kName = "Binder";
  static constexpr int kVersion = 1;
  cow_COW<Note> note;
  mdl_MapInt2ObjCow<Note> notes;
  cls_xoList<Spot> spots;
  Binder() = default;
  explicit Binder(const cls_ReadVisitor& visitor) { Read(visitor); }
  static constexpr auto StoredFields() {
    return cls_Fields{cls_Field{"note", &Binder::note}, cls_Field{"notes", &Binder::notes},
                      cls_Field{"spots", &Binder::spots}};
  }
};

class Changes : public dbc_OldClassVersion {
  void InitializeMetadata(cls_ClassRegistrar&) override {}
  void SchemaChanges(dbc_DatabaseConverter&) override {}
  void ClassesToDelete(dbc_DatabaseConverter& converter) override {
    converter.DeleteClass(Note::TypeId());
    converter.DeleteClass(Spot::TypeId());
  }
  void ClassesToRename(dbc_DatabaseConverter& converter) override {
    converter.RenameClass("Folder", "Binder");
  }
  void TablesToRename(dbc_DatabaseConverter& converter) override {
    converter.RenameTable("old", "new/place");
  }
};

class SchemaChanges : public DatabaseTest {
protected:
  SchemaChanges() {
    auto& metadata = omi_Singleton<cls_MetadataRegistrar>::Instance();
    metadata.initClassMetadata(&Note::InitializeMetadata, 7);
    metadata.initClassMetadata(
        [](cls_ClassRegistrar& registrar) {
          cls_DescribeClass<Binder>(registrar, "Folder", 1, Binder::StoredFields());
        },
        7);
    Note note;
    note.number = 5;
    note.bag = cow_COW<Bag>(new Bag);
    Binder binder;
    binder.note = cow_COW<Note>(new Note(note));
    binder.notes.Insert(1, binder.note);
    binder.spots.ListToModify().Append(Spot(1, 2));
    Store("old/binder", binder);
    Store("old/note", note);
    Store("older/bag", Bag());
  }
  ~SchemaChanges() override {
    omi_Singleton<dbc_OldClassRegistrar>::Instance().Clear();
    omi_Singleton<cls_MetadataRegistrar>::Instance().Clear();
  }

  /// The program of today: another name for one class, and what its upgrade changes.
  static void ComeToday() {
    auto& metadata = omi_Singleton<cls_MetadataRegistrar>::Instance();
    metadata.Clear();
    for (const cls_MetadataFunction function : {&Spot::InitializeMetadata, &Bag::InitializeMetadata,
                                                &Note::InitializeMetadata, &Binder::InitializeMetadata})
      metadata.initClassMetadata(function, 7);
    auto& versions = omi_Singleton<dbc_OldClassRegistrar>::Instance();
    metadata.AddSource([](cls_ClassRegistrar& registrar) {
      omi_Singleton<dbc_OldClassRegistrar>::Instance().Describe(registrar);
    });
    versions.Register(new cow_CountedHld<dbc_OldClassVersion>(new Changes), 4);
  }
};
} // namespace

TEST_F(SchemaChanges, AreMadeByUpgradeInOneTransaction) {
  ComeToday();
  EXPECT_EQ(cls_Database::Open(file_).Get<Binder>("old/binder")->note->number, 5)
      << "a class under its former name is read, and deletion waits for the upgrade";
  cls_Database db = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
  EXPECT_TRUE(db.IsOutdated());
  db.Upgrade();
  EXPECT_FALSE(db.IsOutdated());
  EXPECT_EQ(db.Roots(), (cow_List<cow_String>{"new/place/binder", "older/bag"}));
  const auto binder = db.Get<Binder>("new/place/binder");
  EXPECT_TRUE(binder->note.IsNull());
  EXPECT_EQ(binder->notes.Count(), 0U);
  EXPECT_EQ(binder->spots.List().Size(), 0);
  EXPECT_EQ(Stored(db, "Binder"), 1);
  EXPECT_EQ(Stored(db, "Folder") + Stored(db, "Note") + Stored(db, "Spot"), 0);
  EXPECT_EQ(Stored(db, "Bag"), 1) << "what only the deleted objects needed goes with them";
  const auto findings = cls_Check(db);
  ASSERT_EQ(findings.size(), 1U) << "a bag cannot be without its spot";
  EXPECT_EQ(findings[0].className + "." + findings[0].field, "Bag.spot");
}

TEST_F(SchemaChanges, ThatCannotBeMadeChangeNothing) {
  Store("new/place/binder", Bag());
  ComeToday();
  cls_Database db = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
  EXPECT_NE(ThrownBy([&] { db.Upgrade(); }).find("root \"old/binder\" cannot become"), cow_String::npos);
  EXPECT_EQ(db.Get<Binder>("old/binder")->note->number, 5);
  EXPECT_TRUE(db.IsOutdated());
}
