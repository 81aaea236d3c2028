#include <CoreGeometry/bdo_Module.h>

#include <ddb_Module.h>

namespace {
omi_CallCounter theCounter;
constexpr ddb_Module kModule{775, "bdo", {}, {}, {}};
} // namespace

void bdo_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void bdo_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
