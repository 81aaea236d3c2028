#include <CoreGeometry/rgnC_Module.h>

#include "rgnC_Component.h"
#include "rgnC_OldVersions.h"
#include <CoreGeometry/rgnC_RegionPair.h>

namespace {
omi_CallCounter theCounter;

constexpr cls_MetadataFunction kClasses[] = {
    &rgnC_Region::InitializeMetadata,
    &rgnC_RegionPair::InitializeMetadata,
    &rgnC_SetData::InitializeMetadata,
    &rgnC_SubsetData::InitializeMetadata,
    &rgnC_RegionListPropAttr::InitializeMetadata,
    &shp_AnalyticSurfaceSegmentListInAnalyticSurfaceShortcut::InitializeMetadata,
    &shp_AnalyticSurfaceSegmentInAnalyticSurfaceSegmentListShortcut::InitializeMetadata,
    &rgnC_SetDataInSetDataListShortcut::InitializeMetadata,
    &shp_AnalyticSurfaceShortcut::InitializeMetadata,
    &shp_AnalyticSurfaceSegmentListShortcut::InitializeMetadata,
    &shp_AnalyticSurfaceSegmentShortcut::InitializeMetadata,
    &rgnC_SetDataShortcut::InitializeMetadata,
    &shp_AnalyticSurfaceIMPLSC::InitializeMetadata,
    &shp_AnalyticSurfaceSegmentListIMPLSC::InitializeMetadata,
    &shp_AnalyticSurfaceSegmentIMPLSC::InitializeMetadata,
    &rgnC_SetDataIMPLSC::InitializeMetadata};

template<class Old> dbc_OldClassVersion* Make() { return new Old; }
constexpr ddb_OldVersion kOldVersions[] = {{Make<rgnC_Region_203>, 4},     {Make<rgnC_Region_204>, 4},
                                           {Make<rgnC_Region_331>, 5},     {Make<rgnC_Region_1004>, 5},
                                           {Make<rgnC_SetData_203>, 4},    {Make<rgnC_SubsetData_203>, 4},
                                           {Make<rgnC_SubsetData_303>, 4}, {Make<rgnC_SubsetData_316>, 4}};

constexpr omu_EnumRegistrar::Entry kEnumerations[] = {omu_EnumRegistrar::Of<rgnC_SetType>(),
                                                      omu_EnumRegistrar::Of<rgnC_GroundEnum>()};

constexpr ddb_Module kModule{rgnC_kComponent, "rgnC", kClasses, kOldVersions, kEnumerations};
} // namespace

void rgnC_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void rgnC_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
