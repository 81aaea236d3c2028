#include <BasicUtils/cls_MetadataRegistrar.h>
#include <CoreGeometry/odiC_Convert.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/res_Field.h>
#include <CoreGeometry/res_Load.h>

#include <gtest/gtest.h>

namespace {
/// Every value near the enumeration, then every code near the other one, as what it becomes; the usual answer
/// of what is not known is left out.
template<class Res, class Odm> std::string Conversions(int lastCode, int unknownCode, int unknownValue) {
  std::string text;
  const auto add = [&](int from, int to, int unknown) {
    if (to != unknown) text += std::to_string(from) + ">" + std::to_string(to) + " ";
  };
  for (int value = -3; value < 40; ++value)
    add(value, odiC_ConvertResToOdm(static_cast<Res>(value)), unknownCode);
  text += "| ";
  for (int code = -1; code <= lastCode; ++code)
    add(code, odiC_ConvertOdmToRes(static_cast<Odm>(code)), unknownValue);
  return text;
}
} // namespace

TEST(odiC_Convert, EveryValueHasACodeAndEveryCodeAValueKnownOrNot) {
  EXPECT_EQ((Conversions<res_OutputPositionEnm, odm_PositionEnm>(0x3000, 0x10, 0)),
            "1>32 2>128 3>1024 4>256 5>512 6>512 11>4096 12>2048 13>2048 14>4096 | "
            "32>1 128>2 256>4 512>6 1024>3 2048>13 4096>14 ");
  EXPECT_EQ((Conversions<res_DataTypeEnm, odm_DataTypeEnm>(20, 0, 15)),
            "3>1 4>2 6>4 7>4 8>8 9>8 10>8 11>8 12>8 13>8 | 1>3 2>4 4>7 8>8 ");
}

TEST(res_Enumerations, OddTextsAreKeptAndTheirCorrectionsRefused) {
  EXPECT_EQ(omu_PrimEnum<res_ClampTypeEnm>(cow_String("MAXINUM_CLAMP")), 2);
  EXPECT_THROW(omu_PrimEnum<res_ClampTypeEnm>(cow_String("MAXIMUM_CLAMP")), omu_ValueErrorException);
  EXPECT_EQ(omu_PrimEnum<res_LoadDescriptorEnm>(cow_String("BODY FLUX")), 16);
  EXPECT_THROW(omu_PrimEnum<res_LoadDescriptorEnm>(static_cast<res_LoadDescriptorEnm>(14)),
               omu_ValueErrorException);
}

TEST(odiC_Exception, IsThrownAsWhatItIs) {
  try {
    nex_Exception::Throw(odiC_Exception("frame 3: no field \"S\""), "reader", 7);
  } catch (const nex_Exception& failure) {
    const auto& thrown = dynamic_cast<const odiC_Exception&>(failure);
    EXPECT_EQ(thrown.Line(), 7);
    EXPECT_EQ(thrown.DynTypeId(), 44302337U);
  }
}
