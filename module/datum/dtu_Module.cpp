#include <CoreGeometry/dtu_Module.h>

#include <ddb_Module.h>

namespace {
omi_CallCounter theCounter;
constexpr ddb_Module kModule{770, "dtu", {}, {}, {}};
} // namespace

void dtu_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void dtu_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
