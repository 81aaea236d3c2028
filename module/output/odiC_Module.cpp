#include <CoreGeometry/odiC_Module.h>

#include <ddb_Module.h>

namespace {
omi_CallCounter theCounter;
constexpr ddb_Module kModule{676, "odiC", {}, {}, {}};
} // namespace

void odiC_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void odiC_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
