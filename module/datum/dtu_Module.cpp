#include <CoreGeometry/dtu_Module.h>

#include "dtu_Component.h"
#include <CoreGeometry/dtu_6dofNodeDatumCsys.h>
#include <CoreGeometry/dtu_DatumAxis.h>
#include <CoreGeometry/dtu_DatumContainer.h>
#include <CoreGeometry/dtu_DatumPlane.h>
#include <CoreGeometry/dtu_DatumPoint.h>

namespace {
omi_CallCounter theCounter;

constexpr cls_MetadataFunction kClasses[] = {&dtu_Datum::InitializeMetadata,
                                             &dtu_DatumAxis::InitializeMetadata,
                                             &dtu_DatumCsys::InitializeMetadata,
                                             &dtu_DatumPlane::InitializeMetadata,
                                             &dtu_DatumPoint::InitializeMetadata,
                                             &dtu_DynamicDatumCsys::InitializeMetadata,
                                             &dtu_6dofNodeDatumCsys::InitializeMetadata,
                                             &dtu_NodesPackage::InitializeMetadata,
                                             &dtu_DatumContainer::InitializeMetadata};

constexpr omu_EnumRegistrar::Entry kEnumerations[] = {omu_EnumRegistrar::Of<dtu_DatumType>(),
                                                      omu_EnumRegistrar::Of<dtu_DatumCsysType>()};

constexpr ddb_Module kModule{dtu_kComponent, "dtu", kClasses, {}, kEnumerations};
} // namespace

void dtu_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void dtu_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
