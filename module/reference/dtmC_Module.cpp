#include <CoreGeometry/dtmC_Module.h>

#include <ddb_Module.h>

namespace {
omi_CallCounter theCounter;
constexpr ddb_Module kModule{584, "dtmC", {}, {}, {}};
} // namespace

void dtmC_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void dtmC_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
