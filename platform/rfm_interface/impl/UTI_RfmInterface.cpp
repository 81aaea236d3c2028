#include <RfmInterface/UTI_RfmInterface.h>

#include <CoreUtils/omi_CallCounter.h>

namespace {
omi_CallCounter theCounter;
}

void UTI_RfmInterface_initialize(int& tally) { theCounter.Up(tally); }
void UTI_RfmInterface_finalize(int& tally) { theCounter.Down(tally); }
