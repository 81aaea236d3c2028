// Models without measure: deep, circular and crowded ones end in a clear error or a result.
#include "TestObjects.h"

#include <BasicUtils/cls_Check.h>
#include <BasicUtils/cls_Dump.h>
#include <sstream>

namespace {
class Limits : public DatabaseTest {
protected:
  /// A row of Bag around another one.
  static cls_Row BagRow(cls_WritePass& pass, long long inner) {
    cls_Row spot, row;
    spot.SetDouble("_x", 0).SetDouble("_y", 0).SetText("colour", "RED");
    row.SetInt("id", 1).SetInt("count", 0).SetInt("flag", 0).SetDouble("real", 0).SetText("text", "");
    row.SetText("colour", "RED").SetEmbedded("spot", pass.PutRow(Spot::TypeId(), 2, spot));
    row.SetEmbeddedList("spots", {}).SetTexts("texts", {}).SetInts("labels", {});
    row.Set("words", cls_EncodeArray(cls_ArrayKind::Uint, 1, {})).SetDoubles("table", {});
    row.SetFloats("points", {}, 3).Set("other", {}).SetOwnedMap("bags", {});
    if (inner != 0)
      row.SetOwned("inner", inner);
    else
      row.Set("inner", {});
    return row;
  }
};
} // namespace

TEST_F(Limits, ChainsOfOwnedObjectsAreReadToACertainDepth) {
  constexpr int kDepth = 5000;
  {
    cls_Database db = Create();
    cls_WritePass pass(db);
    long long row = 0;
    for (int i = 1; i < kDepth; ++i) {
      row = pass.PutRow(Bag::TypeId(), 5, BagRow(pass, row));
      if (i == 400) pass.PutRow("near", Bag::TypeId(), 5, BagRow(pass, row));
    }
    pass.PutRow("far", Bag::TypeId(), 5, BagRow(pass, row));
    pass.Commit();
  }
  cls_Database db = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
  EXPECT_EQ(db.Get<Bag>("near")->inner->inner->whole, 1);
  const char* const tooDeep = "nested more than 500 levels";
  EXPECT_NE(ThrownBy([&] { db.Get<Bag>("far"); }).find(tooDeep), cow_String::npos);
  std::ostringstream out;
  EXPECT_NE(ThrownBy([&] { cls_Dump(db, out); }).find(tooDeep), cow_String::npos);
  const auto findings = cls_Check(db);
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_NE(findings[0].what.find(tooDeep), cow_String::npos);

  cow_String path = "far";
  for (int i = 1; i < kDepth; ++i) path += ".inner";
  EXPECT_GT(db.Resolve(path).row, 0) << "a path goes one object at a time";
  EXPECT_NE(ThrownBy([&] { db.Resolve(path + ".inner.inner"); }).find("follows a field that is no object"),
            cow_String::npos);
  const cow_String brackets(200000, '[');
  EXPECT_NE(ThrownBy([&] { db.Resolve(brackets); }).find("no such root"), cow_String::npos);
  {
    cls_WritePass pass(db);
    pass.Remove("far");
    pass.Commit();
  }
  EXPECT_EQ(Stored(db, "Bag"), 401);
}

TEST_F(Limits, CirclesAreNamed) {
  {
    cls_Database db = Create();
    cls_WritePass pass(db);
    const long long first = pass.PutRow(Bag::TypeId(), 5, BagRow(pass, 0));
    // a row's number follows that of its embedded spot
    EXPECT_EQ(pass.PutRow("circle", Bag::TypeId(), 5, BagRow(pass, first + 2)), first + 2);
    pass.Commit();
  }
  const cls_Database db = cls_Database::Open(file_);
  EXPECT_NE(ThrownBy([&] { db.Get<Bag>("circle"); }).find("owns itself"), cow_String::npos);
  std::ostringstream out;
  cls_Dump(db, out);
  EXPECT_NE(out.str().find("inner: = #1"), std::string::npos);
  EXPECT_NE(cls_Check(db).at(0).what.find("owns itself"), cow_String::npos);
}

TEST_F(Limits, ManyRootsAreOneObjectEach) {
  constexpr int kRoots = 20000;
  const auto bag = cow_CountedHld<Bag>(new Bag);
  {
    cls_Database db = Create();
    cls_WritePass pass(db);
    for (int i = 0; i < kRoots; ++i) pass.Put("root " + std::to_string(i), bag);
    pass.Commit();
  }
  cls_Database db = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
  EXPECT_EQ(db.Roots().Size(), kRoots);
  EXPECT_EQ(Stored(db, "Bag"), 1);
  EXPECT_EQ(cls_Check(db).size(), 0U);
  cls_WritePass pass(db);
  for (int i = 1; i < kRoots; ++i) pass.Remove("root " + std::to_string(i));
  pass.Commit();
  EXPECT_EQ(db.Get<Bag>("root 0")->whole, 0);
}
