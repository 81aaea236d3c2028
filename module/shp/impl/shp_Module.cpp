#include <CoreGeometry/shp_Module.h>

#include <ddb_Module.h>

namespace {
omi_CallCounter theCounter;
const ddb_Module kModule{831, "shp", {}, {}, {}};
} // namespace

void shp_initialize(int& tally) { ddb_Initialize(theCounter, kModule, tally); }
void shp_finalize(int& tally) { ddb_Finalize(theCounter, tally); }
