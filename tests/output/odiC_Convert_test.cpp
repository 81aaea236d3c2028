#include <CoreGeometry/odiC_Convert.h>

#include <gtest/gtest.h>
#include <map>

namespace {
auto Position(int value) { return static_cast<res_OutputPositionEnm>(value); }
auto DataType(int value) { return static_cast<res_DataTypeEnm>(value); }

TEST(odiC_Convert, EveryPositionHasACodeKnownOrNot) {
  const std::map<int, int> codes = {{1, 0x20},  {2, 0x80},    {3, 0x400},  {4, 0x100},  {5, 0x200},
                                    {6, 0x200}, {11, 0x1000}, {12, 0x800}, {13, 0x800}, {14, 0x1000}};
  for (int value = -3; value < 40; ++value) {
    const auto row = codes.find(value);
    EXPECT_EQ(odiC_ConvertResToOdm(Position(value)), row != codes.end() ? row->second : 0x10) << value;
  }
  const std::map<int, int> back = {{0x20, 1},  {0x80, 2},   {0x100, 4},  {0x200, 6},
                                   {0x400, 3}, {0x800, 13}, {0x1000, 14}};
  for (int code = -1; code < 0x3000; ++code) {
    const auto row = back.find(code);
    ASSERT_EQ(odiC_ConvertOdmToRes(static_cast<odm_PositionEnm>(code)), row != back.end() ? row->second : 0)
        << code;
  }
}

TEST(odiC_Convert, EveryDataTypeHasACodeKnownOrNot) {
  for (int value = -3; value < 40; ++value) {
    const int code = value == 3                  ? 1
                     : value == 4                ? 2
                     : value == 6 || value == 7  ? 4
                     : value >= 8 && value <= 13 ? 8
                                                 : 0;
    EXPECT_EQ(odiC_ConvertResToOdm(DataType(value)), code) << value;
  }
  const std::map<int, int> back = {{1, 3}, {2, 4}, {4, 7}, {8, 8}};
  for (int code = -1; code < 20; ++code) {
    const auto row = back.find(code);
    EXPECT_EQ(odiC_ConvertOdmToRes(static_cast<odm_DataTypeEnm>(code)), row != back.end() ? row->second : 15)
        << code;
  }
}

TEST(odiC_Convert, ThereAndBackLosesWhatTheDatabaseDoesNotTellApart) {
  const auto back = [](auto value) { return odiC_ConvertOdmToRes(odiC_ConvertResToOdm(value)); };
  EXPECT_EQ(back(res_WHOLE_ELEMENT), res_ELEMENT_CENTROID);
  EXPECT_EQ(back(res_SURFACE_NODAL), 13);
  EXPECT_EQ(back(res_WHOLE_MODEL), res_UNDEFINED_POSITION);
  EXPECT_EQ(back(res_QUATERNION_2D), res_QUATERNION_3D);
  EXPECT_EQ(back(res_MATRIX), 15);
}
} // namespace
