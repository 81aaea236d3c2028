#include <CoreGeometry/bdo_EOReference.h>
#include <CoreGeometry/bdo_Theory.h>
#include <StoredTest.h>

namespace {
class bdo_References : public StoredTest {};
} // namespace

TEST_F(bdo_References, ContainsLooksAtTheTypeAloneAndDeleteAtBoth) {
  using List = cow_List<bdo_EOReference>;
  List list{{"Part", "Wing"}, {"Set", "Skin"}, {"Part", "Wing"}, {"Part", "Flap"}};
  EXPECT_TRUE(bdo_EOReference::Contains(list, "Set"));
  EXPECT_FALSE(bdo_EOReference::Contains(list, "Skin"));
  EXPECT_FALSE(bdo_EOReference::Contains(list, "set"));
  EXPECT_FALSE(bdo_EOReference::Contains({}, "Set"));

  const List before = list;
  bdo_EOReference::Delete(list, "Wing", "Part");
  bdo_EOReference::Delete(list, "Part", "wing");
  EXPECT_EQ(list.SharedCount(), 2) << "an unchanged list stays shared";
  bdo_EOReference::Delete(list, "Part", "Wing"); // both of them
  EXPECT_TRUE(list == (List{{"Set", "Skin"}, {"Part", "Flap"}}));
  EXPECT_EQ(before.Size(), 4);
}

TEST_F(bdo_References, ADefaultTheoryCanBeStored) {
  EXPECT_TRUE(*RoundTrip(bdo_Theory()) == bdo_Theory()) << "the default is in the tables";
  bdo_Theory theory;
  theory.SetTwistDof(true);
  EXPECT_TRUE(theory == bdo_Theory(bdo_UNKNOWN_SPACE, bdo_UNKNOWN_TYPE, bdo_TYPE_NONE, true));
}

TEST_F(bdo_References, AWrongSpaceIsRefusedByItsText) {
  cls_Row row;
  row.SetText("space", "4D_SPACE").SetText("analysis", "EULERIAN").SetText("type", "TYPE_ODB");
  row.SetInt("twistDof", 0);
  StoreRow(bdo_Theory::TypeId(), 203, row);
  EXPECT_EQ(ThrownBy<omu_ValueErrorException>([&] { cls_Database::Open(file_).Get<bdo_Theory>("it"); }),
            "omu_PrimEnum(const cls_ReadVisitor&) - str not allowed: 4D_SPACE  Permissible: 3D_SPACE, "
            "2D_SPACE, AXISYMMETRIC_SPACE, UNKNOWN_SPACE");
  EXPECT_THROW(RoundTrip(bdo_Theory(bdo_3D_SPACE, bdo_EULERIAN, static_cast<bdo_Type>(0), false)),
               omu_ValueErrorException);
}
