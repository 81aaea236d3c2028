#include <CoreUtils/atr_String.h>

#include <gtest/gtest.h>

TEST(atr_String, FillsBothFamiliesOfPlaceholders) {
  EXPECT_EQ(atr_Format("face %d of %s: %08x", {7LL, "C3D8", 0xffffLL}), "face 7 of C3D8: 0000ffff");
  EXPECT_EQ(atr_Format("%2$s before %1$s", {std::string("b"), std::string("a")}), "a before b");
  EXPECT_EQ(atr_Format("[%2d] [%03d] [%8.3f] 100%%", {5LL, -7LL, 2.5}), "[ 5] [-07] [   2.500] 100%");
  EXPECT_EQ(atr_Format("%08x", {-1LL}), "ffffffff");
}

TEST(atr_String, KeepsWhatItCannotFill) {
  EXPECT_EQ(atr_Format("%s and %s", {std::string("%d")}), "%d and %s");
  EXPECT_EQ(atr_Format("50% of %9$s %", {1LL}), "50% of %9$s %");
  EXPECT_EQ(atr_Format("%d", {std::string("text")}), "text");
}
