// TestObjects.h: small persistent classes for the tests of the database
#pragma once

#include <cls_Fields.h>

#include <BasicUtils/cls_WritePass.h>
#include <BasicUtils/cls_xoList.h>
#include <BasicUtils/uti_CoordCont3D.h>
#include <CaeUtils/mdl_MapInt2ObjCow.h>
#include <ThrownBy.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <random>
#include <unistd.h>

enum class Colour : int { Red = 3, Green = 7 };
template<> struct omu_EnumTable<Colour> {
  static constexpr const char* name = "Colour";
  static constexpr omu_EnumEntry entries[] = {{3, "RED"}, {7, "GREEN"}};
};

/// What every test class has in common; the fields are listed by the derived class.
template<class Derived, unsigned typeId> class TestObject {
public:
  static unsigned TypeId() { return typeId; }
  static void* Ctor(cls_ReadVisitor& visitor) { return new Derived(visitor); }
  void Read(const cls_ReadVisitor& visitor) {
    uid = visitor.GetUid();
    cls_ReadFields(visitor, static_cast<Derived&>(*this), Derived::StoredFields());
  }
  void DBWrite(const cls_WriteVisitor& visitor) const {
    cls_WriteFields(visitor, typeId, uid, static_cast<const Derived&>(*this), Derived::StoredFields());
  }
  static void InitializeMetadata(cls_ClassRegistrar& registrar) {
    cls_DescribeClass<Derived>(registrar, Derived::kName, Derived::kVersion, Derived::StoredFields());
  }
  cls_Uid uid = cls_Uid::AllocateUid();
};

struct Spot : TestObject<Spot, 9001> {
  static constexpr const char* kName = "Spot";
  static constexpr int kVersion = 2;
  double x = 0, y = 0;
  Colour colour = Colour::Red;
  Spot() = default;
  Spot(double x, double y) : x(x), y(y) {}
  explicit Spot(const cls_ReadVisitor& visitor) { Read(visitor); }
  static constexpr auto StoredFields() {
    return cls_Fields{cls_Field{"_x", &Spot::x}, cls_Field{"_y", &Spot::y},
                      cls_Field{"colour", &Spot::colour}};
  }
  bool operator==(const Spot& other) const { return x == other.x && y == other.y && colour == other.colour; }
};

struct Bag : TestObject<Bag, 9002> {
  static constexpr const char* kName = "Bag";
  static constexpr int kVersion = 5;
  int whole = 0;
  unsigned count = 0;
  bool flag = false;
  double real = 0;
  cow_String text;
  Colour colour = Colour::Green;
  Spot spot;
  cls_xoList<Spot> spots;
  cls_xpListString texts;
  cls_xp1DArrayListInt labels;
  cls_xp1DArrayListUint words;
  cls_xp2DArrayDouble table;
  uti_CoordCont3D points;
  cow_COW<Bag> inner, other;
  mdl_MapInt2ObjCow<Bag> bags;
  Bag() = default;
  explicit Bag(const cls_ReadVisitor& visitor) { Read(visitor); }
  static constexpr auto StoredFields() {
    return cls_Fields{
        cls_Field{"id", &Bag::whole},      cls_Field{"count", &Bag::count}, cls_Field{"flag", &Bag::flag},
        cls_Field{"real", &Bag::real},     cls_Field{"text", &Bag::text},   cls_Field{"colour", &Bag::colour},
        cls_Field{"spot", &Bag::spot},     cls_Field{"spots", &Bag::spots}, cls_Field{"texts", &Bag::texts},
        cls_Field{"labels", &Bag::labels}, cls_Field{"words", &Bag::words}, cls_Field{"table", &Bag::table},
        cls_Field{"points", &Bag::points}, cls_Field{"inner", &Bag::inner}, cls_Field{"other", &Bag::other},
        cls_Field{"bags", &Bag::bags}};
  }
};

/// Registers the test classes and gives each test a folder of its own.
class DatabaseTest : public ::testing::Test {
protected:
  DatabaseTest() {
    auto& metadata = omi_Singleton<cls_MetadataRegistrar>::Instance();
    metadata.initClassMetadata(&Spot::InitializeMetadata, 7);
    metadata.initClassMetadata(&Bag::InitializeMetadata, 7);
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    folder_ =
        std::filesystem::temp_directory_path() / ("cgdb_" + std::to_string(getpid()) + "_" + info->name());
    std::filesystem::create_directories(folder_);
    file_ = (folder_ / "model.cgdb").string();
  }
  ~DatabaseTest() override { std::filesystem::remove_all(folder_); }

  cls_Database Create() const { return cls_Database::Create(file_, {4096}); }
  template<class T> void Store(const cow_String& root, const T& object) const {
    cls_Database db =
        std::filesystem::exists(file_) ? cls_Database::Open(file_, cls_Database::Mode::ReadWrite) : Create();
    cls_WritePass pass(db);
    pass.Put(root, object);
    pass.Commit();
  }
  long long Stored(const cls_Database& db, const char* name) const {
    long long objects = 0;
    for (const auto& type : db.Classes())
      if (type.name == name) objects += type.objects;
    return objects;
  }

  std::filesystem::path folder_;
  cow_String file_;
};
