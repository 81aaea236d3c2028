#include "OneOfEachKind.h"

#include <BasicUtils/cls_Row.h>
#include <CoreGeometry/dtmC_DatumRef.h>
#include <CoreGeometry/dtu_DatumContainer.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <StoredTest.h>
#include <algorithm>
#include <functional>

namespace {
class dtu_Container : public StoredTest {};

/// Identifiers 1, 3, 5, ... 13, called "d1", "d3", ...
dtu_DatumContainer Filled() {
  dtu_DatumContainer all;
  all.SetOwnerNames({"Assembly", "Wing"});
  for (const DatumPtr& datum : OneOfEachKind())
    all.Add(*datum, cow_String("d").append(std::to_string(datum->GetOwnerFeatID())));
  return all;
}

int IdOf(const dtu_Datum* datum) { return datum ? static_cast<int>(datum->GetOwnerFeatID()) : 0; }
} // namespace

TEST_F(dtu_Container, ComesBackWithWhatWasChangedInIt) {
  dtu_DatumContainer all = Filled();
  EXPECT_EQ(all.Add(dtu_DatumPoint(0, 0, {7, 7, 7}), "fourteen"), 14);
  EXPECT_EQ(all.Add(dtu_DatumPoint(2, 0, {2, 2, 2}), "last of all"), 2);
  all.Remove(14);
  all.Rename(2, "a second one");
  all.Replace(3, dtu_DatumCsys(99, 4, {3, 2, 1}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}, dtu_CYLINDRICAL));
  const auto read = RoundTrip(all);
  EXPECT_TRUE(*read == all);
  EXPECT_EQ(read->Uid(), all.Uid());
  EXPECT_EQ(read->OwnerNames(), (cow_List<cow_String>{"Assembly", "Wing"}));
  EXPECT_EQ(read->NameOf(2), "a second one");
  EXPECT_EQ(read->IdOf("d3"), 3);
  EXPECT_EQ(IdOf(&read->Get(3)), 3);
  EXPECT_EQ(read->Get(3).DynTypeId(), dtu_DatumCsys::TypeId());
  EXPECT_EQ(read->OfKind(dtu_CSYS), (std::vector<int>{3, 9, 11, 13}));
  EXPECT_EQ(read->OfKind(dtu_POINT), std::vector<int>{2});
  EXPECT_EQ(read->Find("fourteen"), nullptr);
  EXPECT_EQ(read->Add(dtu_Datum(), "fourteen"), 15) << "an identifier never comes to another datum";
  EXPECT_FALSE(*read == all);
  for (const DatumPtr& datum : OneOfEachKind())
    EXPECT_EQ(all.Get(IdOf(datum.get())) == *datum, datum->GetOwnerFeatID() != 3);
}

TEST_F(dtu_Container, IsFoundByReferencesAsTheirRuleSays) {
  const dtu_DatumContainer all = Filled();
  const cow_List<cow_String> owners{"Assembly", "Wing"};
  struct Case {
    dtmC_DatumRef reference;
    int found;
  };
  const Case cases[] = {{dtmC_DatumRef(), 0},    {{9, 10, "", 0}, 9}, // by its instance
                        {{9, 10, "Tail", 2}, 9},                      // whatever the owners
                        {{9, 1, owners, 3}, 9},                       // by its owners, whatever the instance
                        {{9, 1, "Wing", 0}, 0},  {{9, 1, "", 0}, 0},
                        {{3, 4, owners, 0}, 3},  {{3, 4, owners, 1}, 0}, // a point has no axes
                        {{4, 4, owners, 0}, 0},  {{-9, 10, owners, 0}, 0}};
  for (const Case& one : cases)
    EXPECT_EQ(IdOf(all.Find(one.reference)), one.found) << &one - cases << ": " << one.reference.DatumId();
}

TEST_F(dtu_Container, NamesWhatIsWrongAndStaysAsItWas) {
  const dtu_DatumPoint point(0, 0, {});
  const dtu_NodesCoordPackage three{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}};
  struct Case {
    std::function<void(dtu_DatumContainer&)> call;
    const char* message;
  };
  const Case cases[] = {
      {[&](auto& all) { all.Add(dtu_DatumPoint(7, 0, {}), "new"); }, "datum 7 is there already, \"d7\""},
      {[&](auto& all) { all.Add(point, "d5"); }, "the name \"d5\" is that of datum 5"},
      {[&](auto& all) { all.Add(point, ""); }, "a datum needs a name"},
      {[&](auto& all) { all.Add(dtu_DatumPoint(2147483648U, 0, {}), "new"); },
       "datum 2147483648 is above the largest identifier, 2147483647"},
      {[&](auto& all) { all.Rename(3, "d5"); }, "the name \"d5\" is that of datum 5"},
      {[&](auto& all) { all.Rename(4, "new"); }, "there is no datum 4"},
      {[&](auto& all) { all.Replace(4, point); }, "there is no datum 4"},
      {[&](auto& all) { all.Remove(0); }, "there is no datum 0"},
      {[&](auto& all) { all.IdOf("nose"); }, "there is no datum \"nose\""},
      {[&](auto& all) { all.Regenerate(9, three, false); },
       "datum 9, \"d9\", is no coordinate system that follows three nodes"},
      {[&](auto& all) { all.Regenerate(11, dtu_6dofNodeCoord(), false); },
       "datum 11, \"d11\", is no coordinate system that follows one node"}};
  dtu_DatumContainer all = Filled();
  for (const Case& one : cases) {
    EXPECT_EQ(ThrownBy<nex_TextException>([&] { one.call(all); }), one.message);
    EXPECT_TRUE(all == Filled()) << one.message;
  }
  all.Rename(3, "d3"); // its own
  EXPECT_EQ(all.Add(dtu_DatumPoint(2147483647, 0, {}), "top"), 2147483647);
  EXPECT_EQ(ThrownBy([&] { all.Add(point, "beyond"); }),
            "no identifier is left above 2147483647 for the datum \"beyond\"");
}

TEST_F(dtu_Container, CopiesShareWhatNobodyChanges) {
  const dtu_DatumContainer first = Filled();
  gsl_Matrix shift;
  shift.SetTranslation({0, 0, 7});
  const dtu_NodesCoordPackage three{{{3, 0, 0}, {2, 1, 0}, {1, 0, 0}}};
  struct Case {
    std::function<void(dtu_DatumContainer&)> change;
    std::vector<int> own; ///< datums that the copy has for itself then
  };
  const Case cases[] = {{[](auto& all) { all.Rename(3, "other"); }, {}},
                        {[](auto& all) {
                           all.Replace(3, dtu_DatumPoint(0, 0, {9, 9, 9}));
                         },
                         {3}},
                        {[](auto& all) {
                           all.UpdateOutlines({{-8, -8, -8}, {9, 9, 9}});
                         },
                         {1, 5, 7}},
                        {[&](auto& all) { EXPECT_TRUE(all.Regenerate(11, three, false)); }, {11}},
                        {[&](auto& all) { all.TransformData(shift); }, {1, 3, 5, 7, 9, 11, 13}}};
  for (const Case& one : cases) {
    dtu_DatumContainer copy = first;
    one.change(copy);
    for (const auto& [id, datum] : first)
      EXPECT_EQ(copy.Find(id) != &*datum, std::ranges::count(one.own, id) == 1) << &one - cases << ", " << id;
    EXPECT_FALSE(copy == first) << &one - cases;
    EXPECT_TRUE(first == Filled()) << &one - cases;
  }
}

TEST_F(dtu_Container, RefusesRowsThatMakeNoSense) {
  struct Case {
    std::vector<std::pair<long long, unsigned>> keys; ///< with the identifier that the datum has itself
    std::vector<cow_String> names;
    const char* what;
  };
  const Case cases[] = {{{{3, 3}, {5, 5}}, {"a"}, "2 datums have 1 names"},
                        {{{3, 3}, {5, 4}}, {"a", "b"}, "datum 4 is kept by the identifier 5"},
                        {{{0, 0}}, {"a"}, "datum 0 is kept by the identifier 0"},
                        {{{3, 3}, {5, 5}}, {"a", ""}, "datum 5 has no name"},
                        {{{3, 3}, {5, 5}}, {"a", "a"}, "datum 5 has the name \"a\" of datum 3"},
                        {{{3, 3}, {5, 5}}, {"b", "a"}, ""}};
  for (const Case& one : cases) {
    std::filesystem::remove(file_);
    {
      cls_Database db = Create();
      cls_WritePass pass(db);
      std::vector<std::pair<long long, long long>> datums;
      for (const auto& [key, id] : one.keys) {
        cls_Row row;
        row.SetText("_datum_type", "POINT").SetInt("_feat_id", id).SetInt("_inst_feat_id", 0);
        datums.emplace_back(key, pass.PutRow(dtu_Datum::TypeId(), 203, row));
      }
      cls_Row row;
      row.SetTexts("_ownerNames", {}).SetOwnedMap("_datums", datums).SetTexts("_names", one.names);
      row.SetInt("_next_feat_id", 2); // too small
      pass.PutRow("it", dtu_DatumContainer::TypeId(), 203, row);
      pass.Commit();
    }
    const cls_Database db = cls_Database::Open(file_);
    if (const cow_String what = one.what; !what.empty()) {
      const cow_String thrown = ThrownBy<nex_TextException>([&] { db.Get<dtu_DatumContainer>("it"); });
      EXPECT_NE(thrown.find("dtu_DatumContainer"), cow_String::npos) << thrown;
      EXPECT_TRUE(thrown.ends_with(what)) << thrown;
    } else {
      EXPECT_EQ(db.Get<dtu_DatumContainer>("it")->Add(dtu_Datum(), "new"), 6);
    }
  }
}
