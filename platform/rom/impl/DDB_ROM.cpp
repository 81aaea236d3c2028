#include <ROM/DDB_ROM.h>

#include <CoreUtils/omi_CallCounter.h>
#include <ROM/dbc_OldClassVersion.h>

namespace {
omi_CallCounter theCounter;
}

void DDB_ROM_initialize(int& tally) { theCounter.Up(tally); }

void DDB_ROM_finalize(int& tally) {
  if (theCounter.Down(tally)) omi_Singleton<dbc_OldClassRegistrar>::Instance().Clear();
}
