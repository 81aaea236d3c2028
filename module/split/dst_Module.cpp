#include "dst_Component.h"

#include <CoreGeometry/dst_Index.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_Part.h>

namespace {
omi_CallCounter theCounter;

constexpr cls_MetadataFunction kClasses[] = {&dst_Index::InitializeMetadata, &dst_Part::InitializeMetadata,
                                             &dst_ClassRange::InitializeMetadata};

constexpr ddb_Module kModule{dst_kComponent, "dst", kClasses, {}, {}};
} // namespace

void dst_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void dst_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
