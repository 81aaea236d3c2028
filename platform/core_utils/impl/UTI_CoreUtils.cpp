#include <CoreUtils/UTI_CoreUtils.h>

#include <CoreUtils/omi_CallCounter.h>

namespace {
omi_CallCounter theCounter;
}

void UTI_CoreUtils_initialize(int& tally) { theCounter.Up(tally); }
void UTI_CoreUtils_finalize(int& tally) { theCounter.Down(tally); }
