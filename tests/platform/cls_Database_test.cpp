#include "TestObjects.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <bit>
#include <cmath>
#include <fstream>
#include <limits>

namespace {
Bag FullBag() {
  Bag bag;
  bag.whole = std::numeric_limits<int>::min();
  bag.count = std::numeric_limits<unsigned>::max();
  bag.flag = true;
  bag.real = -0.0;
  bag.text = cow_String("a\0b\xc3\xa4", 5);
  bag.spot = Spot(std::numeric_limits<double>::denorm_min(), -std::numeric_limits<double>::infinity());
  bag.spots.ListToModify().Append(Spot(1, 2)).Append(Spot(3, 4));
  bag.texts.ListToModify().Append("").Append("two words");
  bag.labels = cls_xp1DArrayListInt(std::vector<int>{5, -5, std::numeric_limits<int>::max()});
  std::vector<unsigned> words(1'500'000);
  for (std::size_t i = 0; i < words.size(); ++i) words[i] = static_cast<unsigned>(i * 2654435761U);
  bag.words = cls_xp1DArrayListUint(words);
  cow_ArrayCOW<double> numbers;
  numbers.Append(std::vector<double>{1, 2, 3, 4, 5, 6});
  bag.table = cls_xp2DArrayDouble(3, numbers);
  for (int i = 0; i < 1000; ++i) bag.points.Append(float(i), 0.1F * float(i), -1);
  bag.inner = cow_COW<Bag>(new Bag);
  bag.bags.Insert(-4, cow_COW<Bag>(new Bag));
  bag.bags.Insert(7, bag.inner);
  return bag;
}

void ExpectSame(const Bag& a, const Bag& b) {
  EXPECT_EQ(a.whole, b.whole);
  EXPECT_EQ(a.count, b.count);
  EXPECT_EQ(a.flag, b.flag);
  EXPECT_EQ(std::bit_cast<std::uint64_t>(a.real), std::bit_cast<std::uint64_t>(b.real));
  EXPECT_EQ(a.text, b.text);
  EXPECT_EQ(a.colour, b.colour);
  EXPECT_EQ(a.spot, b.spot);
  EXPECT_EQ(a.spots, b.spots);
  EXPECT_EQ(a.texts, b.texts);
  EXPECT_EQ(a.labels, b.labels);
  EXPECT_EQ(a.words, b.words);
  EXPECT_EQ(a.table, b.table);
  EXPECT_EQ(a.points, b.points);
  EXPECT_EQ(a.inner.IsNull(), b.inner.IsNull());
  EXPECT_EQ(a.bags.Count(), b.bags.Count());
  EXPECT_EQ(a.uid, b.uid);
}
} // namespace

TEST_F(DatabaseTest, EveryKindOfValueComesBackBitForBit) {
  const Bag bag = FullBag();
  Store("bag", bag);
  Bag nan;
  nan.real = std::numeric_limits<double>::quiet_NaN();
  Store("empty", nan);
  const cls_Database db = cls_Database::Open(file_);
  const auto read = db.Get<Bag>("bag");
  ExpectSame(bag, *read);
  EXPECT_TRUE(read->other.IsNull());
  EXPECT_EQ(&*read->inner, &read->bags.Get(7)) << "one object held twice stays one";
  EXPECT_TRUE(std::isnan(db.Get<Bag>("empty")->real));
  EXPECT_EQ(db.Roots().Size(), 2);
  EXPECT_EQ(db.TypeId("bag"), 9002U);
  EXPECT_EQ(db.GetRange<unsigned>("bag.words", 1'048'570, 12)[11], bag.words.Const()[1'048'581]);
  EXPECT_EQ(db.GetRange<int>("bag.labels", 1, 1)[0], -5);
  EXPECT_NE(ThrownBy([&] { db.GetRange<int>("bag.labels", 3, 1); }).find("labels"), cow_String::npos);
}

TEST_F(DatabaseTest, SharedObjectsAreStoredOncePerPassAndSharedAgain) {
  const cow_COW<Bag> shared(new Bag);
  Bag first, second;
  first.inner = first.other = second.inner = shared;
  {
    cls_Database db = Create();
    cls_WritePass pass(db);
    pass.Put("first", first);
    pass.Put("second", second);
    pass.Put("shared", shared);
    pass.Put("shared too", shared.Holder());
    pass.Commit();
  }
  cls_Database db = cls_Database::Open(file_);
  EXPECT_EQ(Stored(db, "Bag"), 3);
  const auto read = db.Get<Bag>("first");
  EXPECT_EQ(&*read->inner, &*read->other);
  Bag& changed = const_cast<Bag&>(*read).inner.Modify();
  changed.whole = 9;
  EXPECT_EQ(read->other->whole, 0) << "a change detaches";
}

TEST_F(DatabaseTest, ObjectsPutByReferenceAreWrittenAnew) {
  cls_Database db = Create();
  cls_WritePass pass(db);
  Bag bag;
  for (bag.whole = 0; bag.whole < 10; ++bag.whole) pass.Put("bag" + std::to_string(bag.whole), bag);
  pass.Commit();
  for (int i = 0; i < 10; ++i) EXPECT_EQ(db.Get<Bag>("bag" + std::to_string(i))->whole, i);
}

TEST_F(DatabaseTest, EmbeddedObjectsAreNeverTakenForOneAnother) {
  Bag bag;
  bag.spots.ListToModify().Append(Spot(1, 1));
  Spot same = bag.spots.ConstGet(0); // a copy with the same uid
  same.x = 9;
  bag.spots.ListToModify().Append(same);
  Store("bag", bag);
  const auto read = cls_Database::Open(file_).Get<Bag>("bag");
  EXPECT_EQ(read->spots.ConstGet(0).x, 1);
  EXPECT_EQ(read->spots.ConstGet(1).x, 9);
}

TEST_F(DatabaseTest, AFailedPutLeavesThePassAsItWas) {
  cls_Database db = Create();
  cls_WritePass pass(db);
  Bag good, bad;
  good.whole = 1;
  bad.inner = cow_COW<Bag>(new Bag);
  bad.inner.Modify().spot.colour = static_cast<Colour>(99);
  pass.Put("good", good);
  EXPECT_NE(
      ThrownBy([&] { pass.Put("good", bad); }).find("Enum value not allowed: 99  Permissible: RED, GREEN"),
      cow_String::npos);
  const auto holder = cow_CountedHld<Bag>(new Bag);
  holder->inner = cow_COW<Bag>(holder);
  EXPECT_NE(ThrownBy([&] { pass.Put("loop", holder); }).find("owns itself"), cow_String::npos);
  holder->inner = {};
  pass.Put("after", holder);
  pass.Commit();
  EXPECT_EQ(db.Roots().Size(), 2);
  EXPECT_EQ(db.Get<Bag>("good")->whole, 1);
  EXPECT_EQ(Stored(db, "Bag"), 2);
}

TEST_F(DatabaseTest, AnUncommittedPassLeavesNothing) {
  cls_Database db = Create();
  { cls_WritePass(db).Put("bag", *std::make_unique<Bag>()); }
  EXPECT_EQ(db.Roots().Size(), 0);
  Store("bag", Bag());
  EXPECT_EQ(db.Get<Bag>("bag")->whole, 0);
}

TEST_F(DatabaseTest, UnmodifiedArraysAreReferredToAndNotWrittenAgain) {
  Bag bag = FullBag();
  Store("bag", bag);
  cls_Database db = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
  const long long size = db.FileSize();
  const auto read = db.Get<Bag>("bag");
  Bag copy = *read;
  copy.text = "renamed";
  Store("copy of what was read", copy);
  Store("copy of what was written", bag);
  EXPECT_LT(db.FileSize(), size + size / 20);
  copy.words.Modify()[0] = 77;
  Store("changed", copy);
  EXPECT_GT(db.FileSize(), 2 * size - size / 4);
  EXPECT_EQ(db.Get<Bag>("changed")->words.Const()[0], 77U);
  EXPECT_EQ(db.Get<Bag>("bag")->words, bag.words);
  {
    cls_WritePass pass(db);
    pass.Remove("bag");
    pass.Commit();
  }
  EXPECT_EQ(db.Get<Bag>("copy of what was read")->words, bag.words) << "what others share stays";
}

TEST_F(DatabaseTest, WhatNoRootReachesIsDropped) {
  Bag bag = FullBag();
  const cow_COW<Bag> shared(new Bag);
  {
    cls_Database db = Create();
    cls_WritePass pass(db);
    bag.other = shared;
    pass.Put("bag", bag);
    pass.Put("shared", shared);
    pass.Commit();
    cls_WritePass replace(db);
    replace.Put("bag", *std::make_unique<Bag>());
    replace.Commit();
    EXPECT_EQ(Stored(db, "Bag"), 2);
    EXPECT_EQ(Stored(db, "Spot"), 2) << "embedded objects go with their owner";
    const long long size = db.FileSize();
    db.Compact();
    EXPECT_LT(db.FileSize(), size / 10);
    cls_WritePass remove(db);
    remove.Remove("bag");
    remove.Remove("shared");
    EXPECT_THROW(remove.Remove("nothing"), nex_TextException);
    remove.Commit();
    EXPECT_EQ(Stored(db, "Bag"), 0);
    EXPECT_EQ(Stored(db, "Spot"), 0);
  }
}

TEST_F(DatabaseTest, PathsLeadToObjectsFieldsAndElements) {
  Bag bag;
  bag.spots.ListToModify().Append(Spot(1, 2)).Append(Spot(3, 4));
  bag.inner = cow_COW<Bag>(new Bag(bag));
  bag.bags.Insert(-4, bag.inner);
  Store("parts/a.b[1]", bag);
  const cls_Database db = cls_Database::Open(file_);
  EXPECT_EQ(db.Resolve("parts/a.b[1].inner").row, db.Resolve("parts/a.b[1].bags[-4]").row);
  EXPECT_GE(db.Resolve("parts/a.b[1].spots").field, 0);
  EXPECT_EQ(db.GetValue<cls_xoList<Spot>>(db.Resolve("parts/a.b[1].inner.spots")), bag.spots);
  for (const char* wrong :
       {"", "none", "parts/a.b[1].spots[2]", "parts/a.b[1].nothing", "parts/a.b[1].inner[0]",
        "parts/a.b[1].spots[x]", "parts/a.b[1].spots[", "parts/a.b[1].bags[0]"})
    EXPECT_NE(ThrownBy([&] { db.Resolve(wrong); }).find(wrong), cow_String::npos) << wrong;
}

TEST_F(DatabaseTest, RowsAreRefusedWithoutTheirFieldsAndOfVersionsThatAreNotKnown) {
  cls_Database db = Create();
  cls_WritePass pass(db);
  EXPECT_NE(ThrownBy([&] { pass.PutRow(9001, 2, cls_Row().SetDouble("_x", 6)); }).find("_y"),
            cow_String::npos);
  EXPECT_NE(ThrownBy([&] { pass.PutRow(9001, 8, cls_Row()); }).find("version 8"), cow_String::npos);
  cls_Row spot;
  pass.PutRow(9001, 2, spot.SetDouble("_x", 1).SetDouble("_y", 2).SetText("colour", "RED"));
  pass.Commit();
  EXPECT_EQ(Stored(db, "Spot"), 0) << "nothing reaches it";
}

namespace {
struct Watcher : wip_WIPBase {
  double last = 0;
  int calls = 0, stopAt = 1 << 30;
  bool wentBack = false;
  void Progress(double fraction) override {
    wentBack |= fraction < last;
    last = fraction;
    ++calls;
  }
  bool IsCancelled() override { return calls >= stopAt; }
};
} // namespace

TEST_F(DatabaseTest, LongWorkReportsProgressAndCanBeCancelled) {
  auto& channel = thr_ThreadSingleton<wip_WIP>::Instance();
  const Bag bag = FullBag();
  Watcher watcher;
  channel.SetSink(&watcher);
  Store("bag", bag);
  EXPECT_EQ(watcher.last, 1);
  EXPECT_GE(watcher.calls, 3);
  EXPECT_FALSE(watcher.wentBack);
  cls_Database db = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
  watcher = {};
  ExpectSame(*db.Get<Bag>("bag"), bag);
  EXPECT_EQ(watcher.last, 1);
  watcher = {};
  watcher.stopAt = 1;
  Bag changed = bag;
  changed.words.Modify()[0] = 1;
  {
    cls_WritePass pass(db);
    EXPECT_THROW(pass.Put("bag", changed), wip_Cancelled);
  }
  watcher = {};
  watcher.stopAt = 1;
  EXPECT_THROW(db.Get<Bag>("bag"), wip_Cancelled);
  channel.SetSink(nullptr);
  ExpectSame(*db.Get<Bag>("bag"), bag);
}
