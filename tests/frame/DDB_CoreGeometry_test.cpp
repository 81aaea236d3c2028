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
#include <gtest/gtest.h>

TEST(DDB_CoreGeometry, CountsEveryPairThatReallyStartsAndStops) {
  int n = 0;
  DDB_CoreGeometry_initialize(n);
  EXPECT_EQ(n, 15);
  DDB_CoreGeometry_initialize(n);
  EXPECT_EQ(n, 15);
  DDB_CoreGeometry_finalize(n);
  EXPECT_EQ(n, 15);
  DDB_CoreGeometry_finalize(n);
  EXPECT_EQ(n, 0);
}

TEST(DDB_CoreGeometry, AModuleThatTheHostStartedFirstOnlyCountsUp) {
  int n = 0;
  bme_initialize(n);
  EXPECT_EQ(n, 1);
  DDB_CoreGeometry_initialize(n);
  EXPECT_EQ(n, 15);
  DDB_CoreGeometry_finalize(n);
  EXPECT_EQ(n, 1);
  bme_finalize(n);
  EXPECT_EQ(n, 0);
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
  for (int round = 0; round < 2; ++round) {
    const DDB_CoreGeometry library;
    const auto& registrar = omi_Singleton<dbc_OldClassRegistrar>::Instance();
    auto& metadata = omi_Singleton<cls_MetadataRegistrar>::Instance();
    EXPECT_EQ(typ_ArchCompTable::Entries().size(), 8U);
    EXPECT_STREQ(typ_ArchCompTable::Entries().at(812).prefix, "bme");
    ASSERT_EQ(registrar.Entries().size(), 16U);
    EXPECT_EQ(std::ranges::count(registrar.Entries(), 4U, &dbc_OldClassRegistrar::Entry::rank), 12);
    EXPECT_EQ(std::ranges::count(registrar.Entries(), 5U, &dbc_OldClassRegistrar::Entry::rank), 4);
    EXPECT_EQ(omu_EnumRegistrar::Entries().size(), 38U);
    EXPECT_EQ(metadata.NumFunctions(), 49U);
    EXPECT_EQ(registrar.Entries()[0].version.Count(), 1);
    const std::size_t functions = metadata.NumFunctions();
    const cls_ClassRegistrar& registry = metadata.Registry();
    EXPECT_EQ(metadata.NumFunctions(), functions);
    std::size_t current = 0;
    for (const auto& [key, record] : registry.Records()) {
      current += record.IsCurrent() ? 1 : 0;
      if (record.IsCurrent()) continue;
      const auto& next = record.Next();
      ASSERT_TRUE(next) << record.Name();
      EXPECT_NE(registry.Find(record.TypeId(), next->version), nullptr) << record.Name();
      EXPECT_NE(registrar.Converter().Find(record.TypeId(), record.Version()), nullptr);
    }
    EXPECT_EQ(current, functions);
    EXPECT_EQ(registry.FindByName("bme_ElemCtrlParams")->Attributes().size(), 19U);
    EXPECT_EQ(registry.FindByName("bme_Mesh")->Find("transform"), 5);
    EXPECT_TRUE(registrar.Converter().Converters().at(508).Upgrades().contains({"bem_Mesh", 53215233, 203}));
    EXPECT_TRUE(registrar.Converter().Converters().contains(203));
  }
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
  EXPECT_GE(omu_EnumRegistrar::Entries().size(), 9U);
  for (const auto& [name, table] : omu_EnumRegistrar::Entries()) {
    ASSERT_FALSE(table.empty()) << name;
    for (const omu_EnumEntry& entry : table) {
      EXPECT_EQ(omu_FindValue(table, entry.text)->value, entry.value) << name;
      EXPECT_STREQ(omu_FindText(table, entry.value), entry.text) << name;
    }
  }
}

TEST(omu_PrimEnum, RefusesWhatIsNotInTheTableWithTheMessageOfItsForm) {
  const auto message = [](auto&& make) {
    try {
      make();
    } catch (const omu_ValueErrorException& failure) {
      EXPECT_EQ(failure.Source(), "generated/include/omu_PrimEnum");
      return failure.Message();
    }
    return cow_String("(nothing was thrown)");
  };
  using Rate = omu_PrimEnum<bme_StressRate, 1>;
  EXPECT_EQ(Rate(cow_String("Spin")).Value(), bme_SPIN);
  EXPECT_EQ(message([] { Rate(cow_String("spin")); }),
            "omu_PrimEnum(const cow_String&) - str not allowed: spin  Permissible: Polar, Spin");
  EXPECT_EQ(message([] { Rate(static_cast<bme_StressRate>(0)); }),
            "omu_PrimEnum(Enum) - Enum value not allowed: 0  Permissible: Polar, Spin");
  const omu_PrimEnum<bme_ElemLibrary, 1> other(bme_EXPLICIT);
  EXPECT_EQ(message([&] { Rate{static_cast<const omu_PrimEnumBase&>(other)}; }),
            "omu_PrimEnum(const omu_PrimEnumBase&) - str not allowed: Explicit");
}
