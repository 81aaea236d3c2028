#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Module.h>
#include <CoreGeometry/res_Field.h>
#include <CoreGeometry/res_Load.h>
#include <CoreGeometry/res_OutputPosition.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

namespace {
class odiC_Stored : public testing::Test {
protected:
  static void SetUpTestSuite() { // once: a module that starts again registers again
    int tally = 0;
    odiC_initialize(tally);
  }
};

TEST_F(odiC_Stored, AnExceptionIsThrownStoredAndReadBack) {
  const cow_String file =
      (std::filesystem::temp_directory_path() / ("odiC_" + std::to_string(getpid()) + ".cgdb")).string();
  std::filesystem::remove(file);
  try {
    nex_Exception::Throw(odiC_Exception("frame 3: no field \"S\""), "reader", 7);
  } catch (const nex_Exception& failure) {
    const auto& thrown = dynamic_cast<const odiC_Exception&>(failure);
    EXPECT_EQ(thrown.Line(), 7);
    EXPECT_EQ(thrown.DynTypeId(), 44302337U);
    cls_Database db = cls_Database::Create(file);
    cls_WritePass pass(db);
    pass.Put("failure", thrown);
    pass.Commit();
  }
  const auto read = cls_Database::Open(file).Get<odiC_Exception>("failure");
  EXPECT_STREQ(read->what(), "frame 3: no field \"S\"");
  std::filesystem::remove(file);
}

/// Text and value of every row lead to each other, and no row hides another.
TEST_F(odiC_Stored, EveryRegisteredTextStandsForOneValue) {
  int numOurs = 0;
  for (const auto& [name, table] : omu_EnumRegistrar::Entries()) {
    if (!std::string_view(name).starts_with("res_")) continue;
    ++numOurs;
    std::set<int> values;
    for (const omu_EnumEntry& entry : table) {
      EXPECT_TRUE(values.insert(entry.value).second) << name << ' ' << entry.text;
      EXPECT_EQ(omu_FindValue(table, entry.text), &entry) << name;
    }
  }
  EXPECT_EQ(numOurs, 15);
}

TEST_F(odiC_Stored, OddTextsAreKeptAndTheirCorrectionsRefused) {
  EXPECT_EQ(omu_PrimEnum<res_ClampTypeEnm>(cow_String("MAXINUM_CLAMP")), 2);
  EXPECT_THROW(omu_PrimEnum<res_ClampTypeEnm>(cow_String("MAXIMUM_CLAMP")), omu_ValueErrorException);
  EXPECT_EQ(omu_PrimEnum<res_LoadDescriptorEnm>(cow_String("BODY FLUX")), 16);
  EXPECT_THROW(omu_PrimEnum<res_LoadDescriptorEnm>(static_cast<res_LoadDescriptorEnm>(14)),
               omu_ValueErrorException);
  EXPECT_EQ(omu_PrimEnum<res_LoadDescriptorEnm>::Table().size(), 36U);
  EXPECT_EQ(omu_PrimEnum<res_OutputPositionEnm>::Table()[2].value, 12);
}
} // namespace
