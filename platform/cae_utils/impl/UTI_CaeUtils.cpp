#include <CaeUtils/UTI_CaeUtils.h>

#include <CaeUtils/omu_PrimEnum.h>
#include <CoreUtils/omi_CallCounter.h>

namespace {
omi_CallCounter theCounter;
}

void UTI_CaeUtils_initialize(int& tally) { theCounter.Up(tally); }

void UTI_CaeUtils_finalize(int& tally) {
  if (theCounter.Down(tally)) omu_EnumRegistrar::Clear();
}
