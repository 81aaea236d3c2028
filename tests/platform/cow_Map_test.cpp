#include <BasicUtils/cow_Btree.h>
#include <BasicUtils/cow_Map.h>

#include <gtest/gtest.h>
#include <string>
#include <vector>

TEST(cow_Map, WalksInKeyOrderAndSharesUntilItIsChanged) {
  cow_Map<std::string, int> map;
  EXPECT_TRUE(map.IsEmpty() && !map.Find("a") && !map.Erase("a"));
  EXPECT_TRUE(map.Insert("b", 1) && map.Insert("C", 2) && map.Insert("a", 3));
  EXPECT_FALSE(map.Insert("b", 4)) << "the later value stays";

  const cow_Btree<std::string, int> witness = map;
  EXPECT_FALSE(map.Erase("x"));
  EXPECT_EQ(map.FindToModify("x"), nullptr);
  EXPECT_TRUE(map.SharesWith(witness)) << "nothing was changed";
  *map.FindToModify("b") = 5;
  EXPECT_FALSE(map.SharesWith(witness));
  EXPECT_TRUE(map.Erase(map.begin()->first));

  using Pairs = std::vector<std::pair<const std::string, int>>;
  EXPECT_EQ(Pairs(witness.begin(), witness.end()), (Pairs{{"C", 2}, {"a", 3}, {"b", 4}}));
  EXPECT_EQ(Pairs(map.begin(), map.end()), (Pairs{{"a", 3}, {"b", 5}}));
  EXPECT_FALSE(map == witness);
  map.Insert("C", 2);
  map.Insert("b", *witness.Find("b"));
  EXPECT_TRUE(map == witness && !map.SharesWith(witness));
  map.Clear();
  EXPECT_EQ(map.Size(), 0U);
  EXPECT_EQ(witness.Size(), 3U);
}
