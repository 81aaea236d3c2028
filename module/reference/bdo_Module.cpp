#include <CoreGeometry/bdo_Module.h>

#include "bdo_Component.h"
#include <CoreGeometry/bdo_EOReference.h>
#include <CoreGeometry/bdo_Theory.h>

namespace {
omi_CallCounter theCounter;

constexpr cls_MetadataFunction kClasses[] = {&bdo_EOReference::InitializeMetadata,
                                             &bdo_Theory::InitializeMetadata};

constexpr omu_EnumRegistrar::Entry kEnumerations[] = {omu_EnumRegistrar::Of<bdo_Type>(),
                                                      omu_EnumRegistrar::Of<bdo_Space>(),
                                                      omu_EnumRegistrar::Of<bdo_Analysis>()};

constexpr ddb_Module kModule{bdo_kComponent, "bdo", kClasses, {}, kEnumerations};
} // namespace

void bdo_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void bdo_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
