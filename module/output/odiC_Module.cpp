#include <CoreGeometry/odiC_Module.h>

#include "odiC_Component.h"

#include <CoreGeometry/odiC_Exception.h>
#include <CoreGeometry/odiC_Field.h>
#include <CoreGeometry/odiC_Layout.h>
#include <CoreGeometry/odiC_Results.h>
#include <CoreGeometry/odiC_Step.h>
#include <CoreGeometry/res_Component.h>
#include <CoreGeometry/res_DataType.h>
#include <CoreGeometry/res_Field.h>
#include <CoreGeometry/res_Load.h>
#include <CoreGeometry/res_OutputPosition.h>
#include <CoreGeometry/res_SetType.h>

namespace {
omi_CallCounter theCounter;

constexpr cls_MetadataFunction kClasses[] = {
    &odiC_Exception::InitializeMetadata,   &odiC_Results::InitializeMetadata,
    &odiC_Step::InitializeMetadata,        &odiC_Variable::InitializeMetadata,
    &odiC_Category::InitializeMetadata,    &odiC_PointSet::InitializeMetadata,
    &odiC_LayoutBlock::InitializeMetadata, &odiC_Layout::InitializeMetadata,
    &odiC_Field::InitializeMetadata,       &odiC_History::InitializeMetadata};

template<class... Enums> constexpr auto kListOf = std::array{omu_EnumRegistrar::Of<Enums>()...};
constexpr auto kEnumerations =
    kListOf<res_OutputPositionEnm, res_DataTypeEnm, res_MatrixTypeEnm, res_CoordSystemEnm, res_ComponentEnm,
            res_InvariantEnm, res_FieldCompletenessEnm, res_ClampTypeEnm, res_StorageTypeEnm, res_PairEnm,
            res_ComplexDisplayEnm, res_SectionResultsEnm, res_LoadBCTypeEnm, res_SetTypeEnm,
            res_LoadDescriptorEnm, odiC_StepKindEnm, odiC_DomainEnm>;

constexpr ddb_Module kModule{odiC_kComponent, "odiC", kClasses, {}, kEnumerations};
} // namespace

void odiC_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void odiC_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
