#include "TestObjects.h"

#include <CaeUtils/mdl_PropAttr.h>
#include <DiagnosticExtractor/ddr_Shortcut.h>

using Spots = cls_xoList<Spot>;
using SpotsOfBag = ddr_MemberShortcut<Bag, Spots>;
using SpotOfSpots = ddr_SequenceShortcut<Spots, Spot>;

template<char letter> struct TestClass {
  static constexpr unsigned typeId = 9200U + letter;
  static constexpr char name[] = {'S', 'h', 'o', 'r', 't', 'c', 'u', 't', letter, 0};
};
template<> struct ddr_StoredClass<ddr_Shortcut<Bag>> : TestClass<'A'> {};
template<> struct ddr_StoredClass<ddr_ShortcutImpl<Bag>> : TestClass<'B'> {};
template<> struct ddr_StoredClass<ddr_Shortcut<Spots>> : TestClass<'C'> {};
template<> struct ddr_StoredClass<ddr_ShortcutImpl<Spots>> : TestClass<'D'> {};
template<> struct ddr_StoredClass<ddr_Shortcut<Spot>> : TestClass<'E'> {};
template<> struct ddr_StoredClass<ddr_ShortcutImpl<Spot>> : TestClass<'F'> {};
template<> struct ddr_StoredClass<SpotsOfBag> : TestClass<'G'> {};
template<> struct ddr_StoredClass<SpotOfSpots> : TestClass<'H'> {};
template<> struct mdl_StoredPropAttr<Spots> : TestClass<'I'> {};

namespace {
/// An object that refers to others by shortcuts.
struct Signpost : TestObject<Signpost, 9100> {
  static constexpr const char* kName = "Signpost";
  static constexpr int kVersion = 1;
  ddr_Shortcut<Bag> bag, none;
  ddr_Shortcut<Spot> spot;
  Signpost() = default;
  explicit Signpost(const cls_ReadVisitor& visitor) { Read(visitor); }
  static constexpr auto StoredFields() {
    return cls_Fields{cls_Field{"bag", &Signpost::bag}, cls_Field{"none", &Signpost::none},
                      cls_Field{"spot", &Signpost::spot}};
  }
};

class ShortcutTest : public DatabaseTest {
protected:
  ShortcutTest() {
    auto& metadata = omi_Singleton<cls_MetadataRegistrar>::Instance();
    for (const auto describe :
         {&Signpost::InitializeMetadata, &ddr_Shortcut<Bag>::InitializeMetadata,
          &ddr_ShortcutImpl<Bag>::InitializeMetadata, &ddr_Shortcut<Spots>::InitializeMetadata,
          &ddr_ShortcutImpl<Spots>::InitializeMetadata, &ddr_Shortcut<Spot>::InitializeMetadata,
          &ddr_ShortcutImpl<Spot>::InitializeMetadata, &SpotsOfBag::InitializeMetadata,
          &SpotOfSpots::InitializeMetadata, &mdl_PropAttr<Spots>::InitializeMetadata})
      metadata.initClassMetadata(describe, 7);
  }
};
} // namespace

TEST_F(ShortcutTest, LeadsToObjectsListsAndElementsAfterBeingStored) {
  Bag bag;
  bag.spots.ListToModify().Append(Spot(1, 2)).Append(Spot(3, 4));
  Signpost post;
  post.bag = ddr_Shortcut<Bag>("parts/bag");
  const ddr_Shortcut<Spots> list(new SpotsOfBag(post.bag, "spots"));
  post.spot = ddr_Shortcut<Spot>(new SpotOfSpots(list, 1));
  EXPECT_EQ(post.spot.Path(), "parts/bag.spots[1]");
  Store("parts/bag", bag);
  Store("post", post);

  cls_Database db = cls_Database::Open(file_);
  const auto read = db.Get<Signpost>("post");
  EXPECT_TRUE(read->spot == post.spot);
  EXPECT_FALSE(read->none.IsDefined());
  EXPECT_EQ(read->none.Path(), "");
  EXPECT_THROW(read->bag.Resolve(), nex_TextException) << "no database is bound";
  const ddr_DatabaseRoot::Scope here(db);
  EXPECT_EQ(read->bag.Resolve()->spots, bag.spots);
  EXPECT_EQ(list.Resolve()->Size(), 2);
  EXPECT_EQ(read->spot.Resolve()->x, 3);
  EXPECT_THROW(read->none.Resolve(), nex_TextException);
  EXPECT_NE(
      ThrownBy([&] { ddr_Shortcut<Spot>(new SpotOfSpots(list, 2)).Resolve(); }).find("parts/bag.spots[2]"),
      cow_String::npos);
}

TEST_F(ShortcutTest, PropagatingAttributesKeepTheirListAndFlag) {
  mdl_PropAttr<Spots> attribute;
  attribute.value.ListToModify().Append(Spot(1, 2));
  EXPECT_EQ(attribute.Propagated().value.Size(), 0);
  attribute.propagate = true;
  Store("attribute", attribute);
  const auto read = cls_Database::Open(file_).Get<mdl_PropAttr<Spots>>("attribute");
  EXPECT_TRUE(*read == attribute);
  EXPECT_TRUE(read->Propagated() == attribute);
}
