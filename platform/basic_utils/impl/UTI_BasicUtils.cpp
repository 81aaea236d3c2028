#include <BasicUtils/UTI_BasicUtils.h>

#include <BasicUtils/cls_MetadataRegistrar.h>
#include <BasicUtils/omi_Singleton.h>
#include <BasicUtils/typ_ArchCompTable.h>
#include <CoreUtils/omi_CallCounter.h>

namespace {
omi_CallCounter theCounter;
}

void UTI_BasicUtils_initialize(int& tally) { theCounter.Up(tally); }

void UTI_BasicUtils_finalize(int& tally) {
  if (!theCounter.Down(tally)) return;
  omi_SingletonRegistry::RunFinalisers();
  omi_Singleton<cls_MetadataRegistrar>::Instance().Clear();
  typ_ArchCompTable::Clear();
}
