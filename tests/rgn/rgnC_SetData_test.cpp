#include <BasicUtils/typ_ArchCompTable.h>
#include <CoreGeometry/rgnC_SetData.h>
#include <CoreUtils/aio_ostream.h>
#include <StoredTest.h>
#include <sstream>

namespace {
class rgnC_Sets : public StoredTest {
protected:
  ~rgnC_Sets() override {
    aio_SetDebugStream(nullptr);
    typ_DebugFlags::SetDebugFlags(596, 0);
  }
  template<class T> static std::string Printed(const T& object, int level) {
    std::ostringstream out;
    aio_SetDebugStream(&out);
    typ_DebugFlags::SetDebugFlags(596, level);
    object.Print();
    aio_SetDebugStream(nullptr);
    return out.str();
  }
};

using Ids = rgnC_SubsetData::Ids;
Ids Of(std::initializer_list<int> ids) { return Ids(std::span<const int>(ids.begin(), ids.size())); }

rgnC_SubsetData Subset(int mesh, int elementClass, res_SetTypeEnm type, std::initializer_list<int> ids) {
  return {mesh, elementClass, 0, 0, type, false, Of(ids), {}};
}
} // namespace

TEST_F(rgnC_Sets, FacetIdsAreNoneOrOneForEachId) {
  const auto made = [](std::initializer_list<int> ids, std::initializer_list<int> facets) {
    return ThrownBy<nex_TextException>(
        [&] { rgnC_SubsetData(1, 2, 3, 4, res_SURFACE_FACET, false, Of(ids), Of(facets)); });
  };
  const cow_String wrong = "Error - wrong facet ids array length.", fine = kNothingThrown;
  EXPECT_EQ(made({1, 2, 3}, {1, 2}), wrong);
  EXPECT_EQ(made({}, {1}), wrong);
  EXPECT_EQ(made({1, 2, 3}, {}), fine);
  EXPECT_EQ(made({1, 2, 3}, {4, 5, 6}), fine);

  cls_Row row;
  row.SetInt("setIndex", 0).SetInt("subsetIndex", 0).SetInt("unsorted", 0).SetInt("meshIndex", 0);
  row.SetInt("classIndex", 0).SetInt("constructionOk", 1).SetText("subsetType", "SURFACE_FACET");
  row.SetInts("idArray", std::vector{1, 2, 3}).SetInts("facetIdArray", std::vector{1, 2});
  StoreRow(rgnC_SubsetData::TypeId(), 405, row);
  EXPECT_NE(ThrownBy([&] {
              cls_Database::Open(file_).Get<rgnC_SubsetData>("it");
            }).find("has 2 facet ids for 3 ids"),
            cow_String::npos);
}

TEST_F(rgnC_Sets, IdsAreFoundByTheirFirstPosition) {
  const rgnC_SubsetData subset = Subset(0, 0, res_NODE_SET, {7, -3, 2147483647, 7, 0});
  EXPECT_EQ(subset.LookupIndex(7), 0);
  EXPECT_EQ(subset.LookupIndex(-3), 1);
  EXPECT_EQ(subset.LookupIndex(2147483647), 2);
  EXPECT_EQ(subset.LookupIndex(0), 4);
  EXPECT_EQ(subset.LookupIndex(8), 2147483647);
  const rgnC_SubsetData copy = subset; // with the table
  EXPECT_EQ(copy.LookupIndex(-3), 1);
  EXPECT_EQ(rgnC_SubsetData().LookupIndex(0), 2147483647);
}

TEST_F(rgnC_Sets, SubsetsAreFoundByPositionAndByKind) {
  rgnC_SetData set;
  set.AppendSubset(Subset(0, 1, res_SURFACE_FACET, {1}));
  set.AppendSubset(Subset(0, 1, res_SURFACE_SET, {2}));
  set.AppendSubset(Subset(0, 2, res_SURFACE_SET, {3}));
  EXPECT_EQ(set.SubSet(2).IdArray()[0], 3);
  EXPECT_EQ(ThrownBy<nex_TextException>([&] { set.SubSet(3); }), "Set data index outside range [0 - 3]: 3");
  EXPECT_EQ(ThrownBy<nex_TextException>([&] { set.SubSet(-1); }), "Set data index outside range [0 - 3]: -1");
  EXPECT_EQ(set.SubSet(0, 1, res_SURFACE_SET).IdArray()[0], 1) << "facets come first and answer";
  EXPECT_EQ(set.SubSet(0, 1, res_SURFACE_FACET).IdArray()[0], 1);
  EXPECT_EQ(ThrownBy<nex_TextException>([&] { set.SubSet(0, 2, res_SURFACE_FACET); }),
            "No set matching mesh index 0, class index 2 and type 4 was found.");
}

TEST_F(rgnC_Sets, AreEqualByTypeAndSubsetsAlone) {
  rgnC_SetData set;
  set.AppendSubset(Subset(0, 1, res_NODE_SET, {1, 2}));
  rgnC_SetData same = set;
  same.SetLabel("other");
  same.SetIndex(5);
  same.SetInternal(true);
  same.SetUnsorted(true);
  same.SetConstructionOk(true);
  EXPECT_TRUE(set.IsEqual(same));
  same.AppendSubset(Subset(0, 2, res_NODE_SET, {1}));
  EXPECT_FALSE(set.IsEqual(same));
  EXPECT_EQ(set.NumSubset(), 1) << "the copy had a list of its own";
  rgnC_SetData surface = set;
  surface.SetType(res_SURFACE_SET);
  EXPECT_FALSE(set.IsEqual(surface));

  const rgnC_SubsetData facets(1, 2, 3, 4, res_SURFACE_FACET, false, Of({1, 2}), Of({3, 4}));
  EXPECT_TRUE(facets == rgnC_SubsetData(1, 2, 9, 9, res_SURFACE_FACET, true, Of({1, 2}), Of({3, 4})));
  EXPECT_FALSE(facets == rgnC_SubsetData(1, 2, 3, 4, res_SURFACE_FACET, false, Of({1, 2}), Of({4, 3})));
  EXPECT_FALSE(facets == rgnC_SubsetData(1, 2, 3, 4, res_SURFACE_FACET, false, Of({2, 1}), Of({3, 4})));
  EXPECT_FALSE(facets == rgnC_SubsetData(1, 2, 3, 4, res_SURFACE_SET, false, Of({1, 2}), Of({3, 4})));
  EXPECT_FALSE(facets == rgnC_SubsetData(1, 3, 3, 4, res_SURFACE_FACET, false, Of({1, 2}), Of({3, 4})));
  EXPECT_FALSE(facets == rgnC_SubsetData(0, 2, 3, 4, res_SURFACE_FACET, false, Of({1, 2}), Of({3, 4})));
}

TEST_F(rgnC_Sets, PrintAsAlways) {
  rgnC_SetData set;
  set.SetLabel("Skin");
  set.SetIndex(4);
  set.SetType(res_SURFACE_SET);
  set.SetUnsorted(true);
  set.AppendSubset({1, 2, 3, 4, res_SURFACE_FACET, true, Of({1, 2}), Of({3, 4})});
  const std::string head = "Set Label               = Skin\nSet Index               = 4\n"
                           "Set Type             = Surface\nInternal Set            = False\n"
                           "Unsorted Set            = True\nNum subsets in this set = 1\n";
  EXPECT_EQ(Printed(set, 2), head);
  EXPECT_EQ(Printed(set, 3), head
                                 + "Set Index        = 4\nSubSet Index     = 3\nMesh Index       = 1\n"
                                   "Class Data Index = 2\nSubset Type      = 4\nUnsorted         = YES\n"
                                   "Faceted surface\nNum items in set = 2\n");
  set.SetType(res_ELEMENT_SET);
  EXPECT_NE(Printed(set, 0).find("\nSet Type             = Element\n"), std::string::npos);
  const char* const kinds[] = {"Unknown",           "Unknown",         "Unknown",
                               "Facetless surface", "Faceted surface", "Edge contact surface",
                               "Node surface"};
  for (int type = 0; type < 7; ++type)
    EXPECT_NE(Printed(Subset(0, 0, static_cast<res_SetTypeEnm>(type), {1}), 3)
                  .find(std::string("\n") + kinds[type] + "\n"),
              std::string::npos);

  set.AppendSubset(rgnC_SubsetData());
  EXPECT_EQ(ThrownBy<nex_TextException>([&] { Printed(set, 0); }), "Error - set not loaded.");
}
