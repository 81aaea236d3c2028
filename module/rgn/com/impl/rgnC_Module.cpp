#include <CoreGeometry/rgnC_Module.h>

#include <ddb_Module.h>

namespace {
omi_CallCounter theCounter;
constexpr ddb_Module kModule{596, "rgnC", {}, {}, {}};
} // namespace

void rgnC_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void rgnC_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
