#include <CoreGeometry/dtmC_DatumRef.h>
#include <StoredTest.h>

namespace {
class dtmC_References : public StoredTest {};
} // namespace

TEST_F(dtmC_References, AreEqualByOwnersOrByInstance) {
  const dtmC_DatumRef left(5, 1, "Left", 2), right(5, 1, "Right", 2), elsewhere(5, 7, "Left", 2);
  EXPECT_TRUE(left == right);
  EXPECT_TRUE(left == elsewhere);
  EXPECT_TRUE(right != elsewhere) << "equality is not transitive";
  EXPECT_TRUE(left != dtmC_DatumRef(5, 1, "Left", 3));
  EXPECT_TRUE(left != dtmC_DatumRef(6, 1, "Left", 2));
  EXPECT_TRUE(dtmC_DatumRef(5, 1, "", 0) == dtmC_DatumRef(5, 2, "", 0)) << "no owners are the same owners";
}

TEST_F(dtmC_References, AreNullWithoutADatum) {
  EXPECT_TRUE(dtmC_DatumRef().IsNullRef());
  EXPECT_TRUE(dtmC_DatumRef(0, 1, "Part", 2).IsNullRef());
  EXPECT_FALSE(dtmC_DatumRef(-1, 0, "", 0).IsNullRef());
}

TEST_F(dtmC_References, AnEmptyOwnerNameIsNoOwner) {
  EXPECT_TRUE(dtmC_DatumRef(5, 6, "Wing", 7).OwnerNames() == cow_List<cow_String>{"Wing"});
  EXPECT_EQ(dtmC_DatumRef(5, 6, "", 7).OwnerNames().Size(), 0);
}
