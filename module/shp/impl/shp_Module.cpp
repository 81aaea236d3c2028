#include <CoreGeometry/shp_Module.h>

#include "shp_Component.h"
#include <CoreGeometry/shp_AnalyticRigidSurfaceData.h>
#include <CoreGeometry/shp_AnalyticSurface.h>

namespace {
omi_CallCounter theCounter;

constexpr cls_MetadataFunction kClasses[] = {
    &shp_AnalyticSurface::InitializeMetadata, &shp_AnalyticSurfaceSegment::InitializeMetadata,
    &shp_AnalyticRigidSurfaceData::InitializeMetadata, &shp_SuppDataPair::InitializeMetadata};

constexpr omu_EnumRegistrar::Entry kEnumerations[] = {
    omu_EnumRegistrar::Of<shp_AnalyticSurface::TypeEnm>(),
    omu_EnumRegistrar::Of<shp_AnalyticSurfaceSegment::TypeEnm>(),
    omu_EnumRegistrar::Of<shp_SuppDataPairEnm>(), omu_EnumRegistrar::Of<shp_AnalyticRigidSurfEnm>()};

constexpr ddb_Module kModule{shp_kComponent, "shp", kClasses, {}, kEnumerations};
} // namespace

void shp_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void shp_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
