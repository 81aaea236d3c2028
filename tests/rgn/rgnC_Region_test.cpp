#include <CoreGeometry/rgnC_RegionPair.h>
#include <StoredTest.h>

namespace {
class rgnC_Regions : public StoredTest {};

rgnC_Region Region(std::initializer_list<cow_String> owners, const cow_String& path = {}) {
  rgnC_Region region;
  region.SetName("Skin");
  region.SetInternal(true);
  region.SetOwnerNames(owners);
  region.SetSpace(2);
  region.SetSetTypeBits(1 << 4);
  if (!path.empty()) region.SetSetData(rgnC_SetDataShortcut(path));
  return region;
}

rgnC_SetData Set(int index) {
  rgnC_SetData set;
  set.SetIndex(index);
  const int ids[] = {index, index + 1};
  set.AppendSubset({0, 0, 0, index, res_NODE_SET, false, rgnC_SubsetData::Ids(ids), {}});
  return set;
}

} // namespace

TEST_F(rgnC_Regions, AnyAssemblyOwnsTheSame) {
  EXPECT_TRUE(Region({"Assembly"}) == Region({"MyAssembly"}));
  EXPECT_TRUE(Region({"SubAssembly-2"}) == Region({"rootAssembly"}));
  EXPECT_FALSE(Region({"Assembly"}) == Region({"assembly"}));
  EXPECT_FALSE(Region({"Assembly"}) == Region({"Part-1"}));
  EXPECT_FALSE(Region({"Part-1"}) == Region({"Part-2"}));
  EXPECT_TRUE(Region({"Part-1"}) == Region({"Part-1"}));
  EXPECT_FALSE(Region({"Assembly", "P"}) == Region({"MyAssembly", "P"})) << "two owners are compared each";
  EXPECT_FALSE(Region({"Assembly"}) == Region({"Assembly", "P"}));
  EXPECT_TRUE(Region({}) == Region({}));

  const rgnC_Region region = Region({"P"}, "sets/A");
  EXPECT_TRUE(region == Region({"P"}, "sets/B")) << "the contents do not matter";
  for (const auto change :
       {+[](rgnC_Region& r) { r.SetName("skin"); }, +[](rgnC_Region& r) { r.SetSpace(3); },
        +[](rgnC_Region& r) { r.SetSetTypeBits(1); }, +[](rgnC_Region& r) { r.SetInternal(false); }}) {
    rgnC_Region changed = region;
    change(changed);
    EXPECT_FALSE(changed == region);
  }
}

TEST_F(rgnC_Regions, LeadToTheirContentsInTheDatabaseOfTheThread) {
  {
    cls_Database db = Create();
    cls_WritePass pass(db);
    const rgnC_Region region = Region({"rootAssembly", "rootAssembly-1", "rootAssembly"}, "sets/Skin");
    const rgnC_SetData set = Set(7);
    pass.Put("regions/Skin", region);
    pass.Put("sets/Skin", set);
    pass.Commit();
  }
  cls_Database db = cls_Database::Open(file_);
  const auto region = db.Get<rgnC_Region>("regions/Skin");
  EXPECT_TRUE(region->OwnerNames() == (cow_List<cow_String>{"Assembly", "rootAssembly-1", "Assembly"}));
  EXPECT_TRUE(region->IsInternal());
  EXPECT_EQ(region->Space(), 2);
  EXPECT_EQ(region->GetSetTypeBits(), 16);
  EXPECT_THROW(region->ConstSet(), nex_TextException) << "no database";
  const ddr_DatabaseRoot::Scope here(db);
  EXPECT_TRUE(region->ConstSet() == Set(7));
  EXPECT_EQ(ThrownBy<nex_TextException>([] { rgnC_Region().ConstSet(); }),
            "Cannot retrieve set - shortcut is undefined");
  EXPECT_THROW(Region({}, "sets/Gone").ConstSet(), nex_TextException);
}

TEST_F(rgnC_Regions, PairsKeepTheirOrder) {
  const rgnC_Region a = Region({"A"}, "sets/A"), b = Region({"B"});
  const rgnC_RegionPair pair(a, b, true, false, false);
  EXPECT_FALSE(pair == rgnC_RegionPair(b, a, true, false, false));
  EXPECT_TRUE(pair == rgnC_RegionPair(a, b, true, false, false));
  EXPECT_FALSE(pair == rgnC_RegionPair(a, b, false, true, false));
  EXPECT_FALSE(pair == rgnC_RegionPair(a, b, true, false, true));
  EXPECT_TRUE(rgnC_RegionPair(a, a, false, false, true) == rgnC_RegionPair(a, a, false, false, true));
  const auto read = RoundTrip(pair);
  EXPECT_TRUE(*read == pair);
  EXPECT_EQ(read->Uid(), pair.Uid());
  EXPECT_EQ(read->Region1().GetSetData().Path(), "sets/A");
}

TEST_F(rgnC_Regions, ArePackedForTheInterface) {
  const rgnC_Region region = Region({"Assembly", "P"}, "sets/A");
  rgnC_Region unpacked;
  omu_Get(omu_ReturnPrim(region), unpacked);
  EXPECT_TRUE(unpacked == region);
  EXPECT_TRUE(unpacked.GetSetData() == region.GetSetData());
  rgnC_Region undefined = region;
  omu_Get(omu_ReturnPrim(rgnC_Region()), undefined);
  EXPECT_FALSE(undefined.GetSetData().IsDefined());

  omu_Prim wrong = omu_ReturnPrim(region);
  std::get<omu_Prim::Tuple>(wrong.value)[4] = omu_ReturnPrim("bits");
  EXPECT_THROW(omu_Get(wrong, unpacked), omu_ValueErrorException);
  std::get<omu_Prim::Tuple>(wrong.value).pop_back();
  EXPECT_THROW(omu_Get(wrong, unpacked), omu_ValueErrorException);
  EXPECT_TRUE(unpacked == region);

  rgnC_RegionPairList pairs;
  pairs.ListToModify().Append({region, {}, false, true, false});
  const omu_Prim packed = omu_ReturnPrim(pairs);
  const auto& pair = omu_GetTuple(omu_GetTuple(packed, 1)[0], 5);
  EXPECT_TRUE(pair[0] == omu_ReturnPrim(region));
  EXPECT_TRUE(pair[2] == omu_ReturnPrim(false) && pair[3] == omu_ReturnPrim(true));
}
