#include <BasicUtils/cls_ClassRegistrar.h>

#include <BasicUtils/cls_MetadataRegistrar.h>
#include <algorithm>
#include <limits>

cls_ClassMetadata& cls_ClassMetadata::AddDtor(Deleter deleter) {
  deleter_ = deleter;
  return *this;
}

cls_ClassMetadata& cls_ClassMetadata::AddAttribute(const cls_FieldHandle& field, cls_AttributeType type,
                                                   unsigned elemTypeId, cls_CollectionType collection) {
  attributes_.push_back({cow_String(field.Name()), type, elemTypeId, collection});
  return *this;
}

cls_ClassMetadata& cls_ClassMetadata::AddBase(unsigned baseTypeId, Upcast upcast) {
  bases_.push_back({baseTypeId, upcast});
  return *this;
}

cls_ClassMetadata& cls_ClassMetadata::AddWriter(Writer writer) {
  writer_ = writer;
  return *this;
}

cls_ClassMetadata& cls_ClassMetadata::AddAlias(const cls_FieldHandle& alias, const cls_FieldHandle& field) {
  aliases_.emplace_back(alias.Name(), field.Name());
  return *this;
}

cls_ClassMetadata& cls_ClassMetadata::AddTimeStamp(const cls_FieldHandle& field) {
  timeStamp_ = field.Name();
  return *this;
}

int cls_ClassMetadata::Find(std::string_view field) const noexcept {
  const auto found = std::find_if(attributes_.begin(), attributes_.end(),
                                  [&](const Attribute& attribute) { return attribute.name == field; });
  return found == attributes_.end() ? -1 : static_cast<int>(found - attributes_.begin());
}

std::string_view cls_ClassMetadata::MemberField(std::string_view member) const noexcept {
  for (const auto& [alias, field] : aliases_)
    if (alias == member) return field;
  return member;
}

cls_ClassMetadata& cls_ClassRegistrar::CreateClassMD(const cow_String& name, unsigned typeId, int version,
                                                     cls_ClassMetadata::Factory factory, unsigned) {
  const auto key = std::pair(typeId, version);
  for (const auto& [known, record] : records_)
    if (known.second == version && known.first != typeId && record.Name() == name)
      throw nex_AssertionException("class " + name + " version " + std::to_string(version)
                                   + " has two type identifiers, " + std::to_string(known.first) + " and "
                                   + std::to_string(typeId));
  if (const auto found = records_.find(key); found != records_.end() && found->second.Name() != name)
    throw nex_AssertionException("classes " + found->second.Name() + " and " + name
                                 + " have the same type identifier " + std::to_string(typeId)
                                 + " and version " + std::to_string(version));
  return records_.insert_or_assign(key, cls_ClassMetadata(name, typeId, version, factory)).first->second;
}

const cls_ClassMetadata* cls_ClassRegistrar::Find(unsigned typeId, int version) const noexcept {
  const auto found = records_.find({typeId, version});
  return found == records_.end() ? nullptr : &found->second;
}

cls_ClassMetadata* cls_ClassRegistrar::FindToModify(unsigned typeId, int version) noexcept {
  const auto found = records_.find({typeId, version});
  return found == records_.end() ? nullptr : &found->second;
}

const cls_ClassMetadata* cls_ClassRegistrar::Current(unsigned typeId) const noexcept {
  for (auto at = records_.lower_bound({typeId, std::numeric_limits<int>::min()});
       at != records_.end() && at->first.first == typeId; ++at)
    if (at->second.IsCurrent()) return &at->second;
  return nullptr;
}

const cls_ClassMetadata* cls_ClassRegistrar::FindByName(std::string_view name) const noexcept {
  for (const auto& [key, record] : records_)
    if (record.IsCurrent() && record.Name() == name) return &record;
  return nullptr;
}

bool cls_ClassRegistrar::IsA(unsigned typeId, unsigned baseTypeId) const noexcept {
  if (typeId == baseTypeId) return true;
  const auto* record = Current(typeId);
  return record && std::any_of(record->Bases().begin(), record->Bases().end(), [&](const auto& base) {
           return IsA(base.typeId, baseTypeId);
         });
}

void* cls_ClassRegistrar::Upcast(void* object, unsigned typeId, unsigned baseTypeId) const noexcept {
  if (typeId == baseTypeId) return object;
  if (const auto* record = Current(typeId))
    for (const auto& base : record->Bases())
      if (void* const found = Upcast(base.upcast(object), base.typeId, baseTypeId)) return found;
  return nullptr;
}

void cls_MetadataRegistrar::initClassMetadata(cls_MetadataFunction function, unsigned) {
  functions_.push_back(function);
  SourceChanged();
}

void cls_MetadataRegistrar::AddSource(cls_MetadataFunction source) {
  if (std::find(sources_.begin(), sources_.end(), source) == sources_.end()) sources_.push_back(source);
  SourceChanged();
}

cls_ClassRegistrar& cls_MetadataRegistrar::Registry() {
  if (isUpToDate_.load(std::memory_order_acquire)) return registry_;
  const std::lock_guard lock(omi_GlobalLock());
  while (next_ < functions_.size()) functions_[next_++](registry_);
  for (const auto source : sources_) source(registry_);
  isUpToDate_.store(true, std::memory_order_release);
  return registry_;
}

void cls_MetadataRegistrar::Clear() {
  functions_.clear();
  next_ = 0;
  registry_.Clear();
  SourceChanged();
}

cls_Row cls_ClassRegistrar::ConvertOnce(const cls_Row& row) const {
  const cls_ClassMetadata* const record = Find(row.typeId, row.version);
  const cls_ClassMetadata* const target =
      record && record->Next() ? Find(row.typeId, record->Next()->version) : nullptr;
  if (!target)
    throw nex_TextException("objects of " + (record ? record->Name() : "class " + std::to_string(row.typeId))
                            + " version " + std::to_string(row.version)
                            + " cannot be converted: the layout names no known successor");
  cls_Row converted;
  converted.typeId = row.typeId;
  converted.version = target->Version();
  converted.uid = row.uid;
  converted.parent = row.parent;
  for (const auto& attribute : target->Attributes()) {
    const cls_Cell* const same = row.Find(attribute.name);
    converted.Set(attribute.name, same ? *same : cls_Cell(cls_DefaultValue{}));
  }
  if (const auto convert = record->Next()->convert) convert(row, converted, row.version);
  return converted;
}

const cow_String& cls_ClassRegistrar::PresentName(const cow_String& stored) const noexcept {
  for (const auto& renaming : changes_.renamedClasses)
    if (renaming.from == stored) return renaming.to;
  return stored;
}

void cls_ClassRegistrar::Clear() {
  records_.clear();
  changes_ = {};
}
