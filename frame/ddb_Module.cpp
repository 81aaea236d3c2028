#include <ddb_Module.h>

#include <BasicUtils/typ_ArchCompTable.h>

namespace {
constexpr unsigned kMetadataNumber = 7;
}

bool ddb_Initialize(omi_CallCounter& counter, const ddb_Module& module, int& tally) {
  if (!counter.Up(tally)) return false;
  typ_ArchCompTable::InsertEntry(module.component, {module.prefix});
  auto& metadata = omi_Singleton<cls_MetadataRegistrar>::Instance();
  for (const auto describe : module.classes) metadata.initClassMetadata(describe, kMetadataNumber);
  auto& oldClasses = omi_Singleton<dbc_OldClassRegistrar>::Instance();
  for (const ddb_OldVersion& old : module.oldVersions)
    oldClasses.Register(new cow_CountedHld<dbc_OldClassVersion>(old.make()), old.rank);
  for (const auto& enumeration : module.enumerations) omu_EnumRegistrar::Register(enumeration);
  return true;
}

bool ddb_Finalize(omi_CallCounter& counter, int& tally) { return counter.Down(tally); }
