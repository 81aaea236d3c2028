#include <CoreGeometry/bme_Module.h>

#include "bme_Component.h"
#include "bme_OldVersions.h"

#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/bme_MeshNotes.h>

namespace {
omi_CallCounter theCounter;

constexpr cls_MetadataFunction kClasses[] = {
    &bme_ElementClass::InitializeMetadata, &bme_ElemCtrlParams::InitializeMetadata,
    &bme_ElementData::InitializeMetadata,  &bme_Mesh::InitializeMetadata,
    &bme_NodeData::InitializeMetadata,     &bme_Annotation::InitializeMetadata,
    &bme_MeshNotes::InitializeMetadata};

template<class Old> dbc_OldClassVersion* Make() { return new Old; }
constexpr ddb_OldVersion kOldVersions[] = {
    {Make<bme_Mesh_203>, 4},           {Make<bme_ElementData_203>, 4},  {Make<bme_ElemCtrlParams_203>, 4},
    {Make<bme_ElemCtrlParams_204>, 4}, {Make<bme_ElementClass_203>, 5}, {Make<bme_ElemCtrlParams_508>, 5}};

constexpr omu_EnumRegistrar::Entry kEnumerations[] = {
    omu_EnumRegistrar::Of<bme_MeshType>(),         omu_EnumRegistrar::Of<bme_OrientationFreqEnm>(),
    omu_EnumRegistrar::Of<bme_ElemLibrary>(),      omu_EnumRegistrar::Of<bme_KinematicSplit>(),
    omu_EnumRegistrar::Of<bme_HourglassControl>(), omu_EnumRegistrar::Of<bme_StressRate>(),
    omu_EnumRegistrar::Of<bme_SoAccuracy>(),       omu_EnumRegistrar::Of<bme_DistortionControl>(),
    omu_EnumRegistrar::Of<bme_ElemDeletion>(),     omu_EnumRegistrar::Of<bme_NotedEnm>()};

constexpr ddb_Module kModule{bme_kComponent, "bme", kClasses, kOldVersions, kEnumerations};
} // namespace

void bme_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void bme_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
