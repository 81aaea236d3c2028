#include <CoreGeometry/DDB_CoreGeometry.h>

#include <BasicUtils/UTI_BasicUtils.h>
#include <BasicUtils/cls_MetadataRegistrar.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/typ_ArchCompTable.h>
#include <CaeUtils/omu_PrimEnum.h>
#include <CoreGeometry/bme_ElemCtrlParams.h>
#include <CoreGeometry/bme_Module.h>
#include <CoreGeometry/gsl_Module.h>
#include <CoreGeometry/gsl_Util.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <ROM/dbc_OldClassVersion.h>
#include <ThrownBy.h>
#include <gtest/gtest.h>

TEST(DDB_CoreGeometry, CountsEveryPairThatReallyStartsAndStops) {
  for (const bool isStartedByHost : {false, true}) {
    int n = 0;
    if (isStartedByHost) bme_initialize(n);
    EXPECT_EQ(n, isStartedByHost ? 1 : 0);
    DDB_CoreGeometry_initialize(n);
    const int all = n;
    EXPECT_GT(all, 8);
    DDB_CoreGeometry_initialize(n);
    DDB_CoreGeometry_finalize(n);
    EXPECT_EQ(n, all);
    DDB_CoreGeometry_finalize(n);
    EXPECT_EQ(n, isStartedByHost ? 1 : 0);
    if (isStartedByHost) bme_finalize(n);
    EXPECT_EQ(n, 0);
  }
}

TEST(DDB_CoreGeometry, AFinaliseWithoutStartWrapsAndTheNextStartDoesNothing) {
  int n = 0;
  bme_finalize(n);
  EXPECT_EQ(n, 0);
  bme_initialize(n);
  EXPECT_EQ(n, 0);
  bme_initialize(n);
  EXPECT_EQ(n, 1);
  bme_finalize(n);
  EXPECT_EQ(n, 0);
}

TEST(DDB_CoreGeometry, RegistersEverythingOnceAfterEachStart) {
  { const DDB_CoreGeometry library; } // clears what modules left that were started alone
  std::array<std::size_t, 4> counts[2];
  for (auto& count : counts) {
    const DDB_CoreGeometry library;
    const auto& registrar = omi_Singleton<dbc_OldClassRegistrar>::Instance();
    auto& metadata = omi_Singleton<cls_MetadataRegistrar>::Instance();
    count = {typ_ArchCompTable::Entries().size(), registrar.Entries().size(),
             omu_EnumRegistrar::Entries().size(), metadata.NumFunctions()};
    EXPECT_STREQ(typ_ArchCompTable::Entries().at(812).prefix, "bme");
    const cls_ClassRegistrar& registry = metadata.Registry();
    std::size_t current = 0;
    for (const auto& [key, record] : registry.Records()) {
      current += record.IsCurrent() ? 1 : 0;
      if (record.IsCurrent()) continue;
      const auto& next = record.Next();
      ASSERT_TRUE(next) << record.Name();
      EXPECT_NE(registry.Find(record.TypeId(), next->version), nullptr) << record.Name();
      EXPECT_NE(registrar.Converter().Find(record.TypeId(), record.Version()), nullptr);
    }
    EXPECT_EQ(current, metadata.NumFunctions());
    EXPECT_EQ(registry.FindByName("bme_Mesh")->Find("transform"), 5);
    EXPECT_TRUE(registrar.Converter().Converters().at(508).Upgrades().contains({"bem_Mesh", 53215233, 203}));
  }
  EXPECT_EQ(counts[0], counts[1]);
  EXPECT_TRUE(typ_ArchCompTable::Entries().empty());
  EXPECT_EQ(omi_Singleton<cls_MetadataRegistrar>::Instance().NumFunctions(), 0U);
}

TEST(DDB_CoreGeometry, FinaliseReleasesTolerancesAndShapes) {
  {
    const DDB_CoreGeometry library;
    omi_Singleton<gsl_Util>::Instance().SetTolerance(0.5);
    thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape("C3D8");
  }
  EXPECT_EQ(omi_Singleton<gsl_Util>::Instance().Tolerance(), 1e-6);
  EXPECT_EQ(thr_ThreadSingleton<shp_ShapeDictionary>::Instance().NumShapes(), 0);
  omi_Singleton<gsl_Util>::Release();
}

TEST(DDB_CoreGeometry, EveryRegisteredEnumerationGoesFromTextToValueAndBack) {
  const DDB_CoreGeometry library;
  EXPECT_GE(omu_EnumRegistrar::Entries().size(), 38U);
  for (const auto& [name, table] : omu_EnumRegistrar::Entries()) {
    ASSERT_FALSE(table.empty()) << name;
    for (const omu_EnumEntry& entry : table) {
      EXPECT_EQ(omu_FindValue(table, entry.text)->value, entry.value) << name;
      EXPECT_STREQ(omu_FindText(table, entry.value), entry.text) << name;
    }
  }
}

TEST(omu_PrimEnum, RefusesWhatIsNotInTheTableWithTheMessageOfItsForm) {
  using Rate = omu_PrimEnum<bme_StressRate, 1>;
  EXPECT_EQ(Rate(cow_String("Spin")).Value(), bme_SPIN);
  try {
    Rate(cow_String("spin"));
    FAIL();
  } catch (const omu_ValueErrorException& failure) {
    EXPECT_EQ(failure.Source(), "generated/include/omu_PrimEnum");
    EXPECT_EQ(failure.Message(),
              "omu_PrimEnum(const cow_String&) - str not allowed: spin  Permissible: Polar, Spin");
  }
  EXPECT_EQ(ThrownBy<omu_ValueErrorException>([] { Rate(static_cast<bme_StressRate>(0)); }),
            "omu_PrimEnum(Enum) - Enum value not allowed: 0  Permissible: Polar, Spin");
  const omu_PrimEnum<bme_ElemLibrary, 1> other(bme_EXPLICIT);
  EXPECT_EQ(ThrownBy<omu_ValueErrorException>([&] { Rate{static_cast<const omu_PrimEnumBase&>(other)}; }),
            "omu_PrimEnum(const omu_PrimEnumBase&) - str not allowed: Explicit");
}
