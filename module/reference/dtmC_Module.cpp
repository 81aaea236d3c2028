#include <CoreGeometry/dtmC_Module.h>

#include "dtmC_Component.h"
#include "dtmC_OldVersions.h"
#include <CoreGeometry/dtmC_DatumRef.h>

namespace {
omi_CallCounter theCounter;

constexpr cls_MetadataFunction kClasses[] = {&dtmC_DatumRef::InitializeMetadata};

template<class Old> dbc_OldClassVersion* Make() { return new Old; }
constexpr ddb_OldVersion kOldVersions[] = {{Make<dtmC_DatumRef_209>, 4}, {Make<dtmC_DatumRef_203>, 4}};

constexpr ddb_Module kModule{dtmC_kComponent, "dtmC", kClasses, kOldVersions, {}};
} // namespace

void dtmC_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void dtmC_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
