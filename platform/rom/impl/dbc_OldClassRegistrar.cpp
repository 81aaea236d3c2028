#include <ROM/dbc_OldClassVersion.h>

#include <BasicUtils/cls_MetadataRegistrar.h>
#include <algorithm>

dbc_OldClassVersion::~dbc_OldClassVersion() = default;
void dbc_OldClassVersion::ClassesToDelete(dbc_DatabaseConverter&) {}
void dbc_OldClassVersion::ClassesToRename(dbc_DatabaseConverter&) {}
void dbc_OldClassVersion::TablesToRename(dbc_DatabaseConverter&) {}

dbc_TabledOldVersion::~dbc_TabledOldVersion() = default;

void dbc_TabledOldVersion::InitializeMetadata(cls_ClassRegistrar& registrar) {
  cls_ClassMetadata& record =
      registrar.CreateClassMD(layout_.className, layout_.typeId, layout_.version, nullptr, 1);
  for (const dbc_OldField& field : layout_.fields)
    record.AddAttribute(field.name, field.type, field.elemTypeId, field.collection);
  record.SetSuccessor(layout_.successor, layout_.convert);
}

void dbc_TabledOldVersion::SchemaChanges(dbc_DatabaseConverter& converter) {
  dbc_ClassConverter& upgrade =
      converter.GetConverter(layout_.release).Upgrade(layout_.upgradeName, layout_.typeId, layout_.version);
  if (layout_.convert) upgrade.BindConversionFunction(layout_.convert);
}

dbc_OldClassRegistrar::dbc_OldClassRegistrar() {
  omi_Singleton<cls_MetadataRegistrar>::Instance().AddSource([](cls_ClassRegistrar& registrar) {
    omi_Singleton<dbc_OldClassRegistrar>::Instance().Describe(registrar);
  });
}

void dbc_OldClassRegistrar::Register(cow_CountedHld<dbc_OldClassVersion>* version, unsigned rank) {
  const std::unique_ptr<cow_CountedHld<dbc_OldClassVersion>> holder(version);
  entries_.push_back({rank, *holder});
  omi_Singleton<cls_MetadataRegistrar>::Instance().SourceChanged();
}

void dbc_OldClassRegistrar::Describe(cls_ClassRegistrar& registrar) {
  std::vector<Entry> fresh(entries_.begin() + static_cast<std::ptrdiff_t>(described_), entries_.end());
  described_ = entries_.size();
  std::stable_sort(fresh.begin(), fresh.end(),
                   [](const Entry& a, const Entry& b) { return a.rank < b.rank; });
  for (const Entry& entry : fresh) {
    entry.version->InitializeMetadata(registrar);
    entry.version->SchemaChanges(converter_);
    entry.version->ClassesToDelete(converter_);
    entry.version->ClassesToRename(converter_);
    entry.version->TablesToRename(converter_);
  }
  if (!fresh.empty()) registrar.SetChanges(converter_.Changes());
}

void dbc_OldClassRegistrar::Clear() {
  entries_.clear();
  described_ = 0;
  converter_ = {};
}
