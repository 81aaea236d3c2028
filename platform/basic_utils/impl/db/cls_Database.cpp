#include "db_Reader.h"
#include "db_Writer.h"

#include <BasicUtils/cls_MetadataRegistrar.h>
#include <BasicUtils/cls_RunningUpgrade.h>
#include <BasicUtils/cls_WritePass.h>
#include <BasicUtils/uti_OutputFile.h>
#include <algorithm>

cls_Database::cls_Database(std::unique_ptr<db_File> file) noexcept : file_(std::move(file)) {}
cls_Database::cls_Database(cls_Database&&) noexcept = default;
cls_Database& cls_Database::operator=(cls_Database&&) noexcept = default;
cls_Database::~cls_Database() = default;

cls_Database cls_Database::Create(const cow_String& file, const Options& options) {
  return cls_Database(db_File::Create(file, options));
}

cls_Database cls_Database::Open(const cow_String& file, Mode mode) {
  return cls_Database(db_File::Open(file, mode));
}

const cow_String& cls_Database::File() const noexcept { return file_->Connection().File(); }

cow_List<cow_String> cls_Database::Roots() const {
  const db_Reader session(*file_);
  cow_List<cow_String> names;
  for (const db_RootRow& root : file_->Roots()) names.Append(root.name);
  return names;
}

bool cls_Database::Has(const cow_String& root) const {
  const db_Reader session(*file_);
  return file_->FindRoot(root).has_value();
}

unsigned cls_Database::TypeId(const cow_String& root) const {
  const db_Reader session(*file_);
  return file_->ClassOf(file_->Root(root)).typeId;
}

std::vector<cow_String> cls_Database::RootsOf(std::initializer_list<unsigned> typeIds) const {
  const db_Reader session(*file_);
  std::vector<cow_String> names;
  for (db_RootRow& root : file_->Roots())
    if (std::ranges::count(typeIds, file_->ClassOf(root.object).typeId) > 0)
      names.push_back(std::move(root.name));
  return names;
}

std::vector<cls_Database::StoredClass> cls_Database::Classes() const {
  const db_Reader session(*file_);
  if (!file_->KnowsAllClasses()) file_->ReloadClasses();
  std::vector<StoredClass> result;
  for (const auto& type : file_->Classes()) {
    bool outdated = false;
    try {
      const auto& record = file_->RecordOf(*type);
      outdated = !record.IsCurrent() || record.Name() != type->name;
    } catch (
        const nex_TextException&) { // NOLINT(bugprone-empty-catch): an unknown class is listed all the same
    }
    result.push_back({type->name, type->typeId, type->version, file_->NumObjects(*type), outdated});
  }
  return result;
}

bool cls_Database::IsOutdated() const {
  for (const StoredClass& type : Classes())
    if (type.outdated && type.objects > 0) return true;
  return false;
}

int cls_Database::Format() const {
  const db_Reader session(*file_);
  return file_->Format();
}

long long cls_Database::FileSize() const { return file_->Size(); }

std::shared_ptr<void> cls_Database::ReadRoot(const cow_String& root, unsigned typeId) const {
  db_Reader session(*file_);
  const long long row = file_->Root(root);
  session.Expect(row);
  return session.Read(row, typeId);
}

std::shared_ptr<void> cls_Database::ReadObject(const cls_Location& location, unsigned typeId) const {
  db_Reader session(*file_);
  return session.Read(location.row, typeId, db_Reader::kAnyOwner);
}

cls_Location cls_Database::Resolve(const cow_String& path) const {
  db_Reader session(*file_);
  return session.Resolve(path);
}

cls_ReadVisitor cls_Database::FieldVisitor(const cls_Location& location) const {
  auto session = std::make_shared<db_Reader>(*file_);
  auto place = session->PlaceOf(location);
  place->session = std::move(session);
  return cls_ReadVisitor(std::move(place));
}

void cls_Database::ReadBytes(const cls_Location& field, cls_ArrayKind kind, std::size_t first,
                             std::span<std::byte> target, std::size_t elementSize) const {
  db_Reader session(*file_);
  const auto place = session.PlaceOf(field);
  const db_NumberArray numbers = place->Numbers(kind);
  const std::size_t wanted = target.size() / elementSize,
                    count = numbers.stored ? static_cast<std::size_t>(numbers.stored->count)
                                           : numbers.bytes.size() / elementSize;
  if (first > count || wanted > count - first)
    place->Fail("has " + std::to_string(count) + " numbers, not " + std::to_string(first) + " to "
                + std::to_string(first + wanted));
  if (numbers.stored)
    file_->ReadPart(*numbers.stored, elementSize, first, target);
  else
    std::ranges::copy(numbers.bytes.subspan(first * elementSize, target.size()), target.begin());
}

long long cls_Database::Upgrade(const std::function<void()>& before) {
  db_Writer writer(*file_, before);
  const cls_SchemaChanges changes = omi_Singleton<cls_MetadataRegistrar>::Instance().Registry().Changes();
  for (const auto& [from, to] : changes.renamedClasses) writer.RenameClass(from, to);
  const cls_RunningUpgrade running(*this, writer);
  std::vector<std::pair<long long, unsigned>> outdated;
  for (const auto& type : file_->Classes()) {
    if (std::ranges::count(changes.deletedClasses, type->typeId) > 0) continue;
    const auto& record = file_->RecordOf(*type);
    if (record.IsCurrent()) continue;
    db_Statement rows(file_->Connection(), "SELECT \"$object\", \"$sum\" FROM " + type->table);
    db_Total total;
    while (rows.Step()) {
      outdated.emplace_back(rows.Int(0), type->typeId);
      total.Add(rows.Int(1), 1);
    }
    file_->ExpectTotal(db_File::TableOf(*type), total);
  }
  writer.SplitByReferrer(outdated);
  for (const auto& [row, typeId] : outdated) writer.Rewrite(row, typeId);
  for (const unsigned typeId : changes.deletedClasses) writer.DeleteClass(typeId);
  for (const auto& [from, to] : changes.renamedTables) writer.RenameFolder(from, to);
  if (IsOutdated()) file_->Connection().Damaged("rows of superseded layouts belong to no object");
  writer.Commit();
  return static_cast<long long>(outdated.size());
}

void cls_Database::Compact() {
  {
    db_Writer writer(*file_);
    writer.CollectUnreferenced();
    writer.Commit();
  }
  file_->Connection().Vacuum();
}

void cls_Database::Backup(const cow_String& file) const {
  uti_OutputFile output(file, {.inputs = {File()}, .isModel = true});
  {
    db_Connection target(file, output.Path(), SQLITE_OPEN_READWRITE);
    file_->Connection().CopyTo(target);
  }
  output.Commit();
}

cls_Database cls_Database::Converted() const {
  cls_Database copy(db_File::CopyInMemory(*file_));
  copy.Upgrade();
  return copy;
}

void cls_Database::SetBusyTimeout(int milliseconds) {
  file_->Connection().SetTimeout(std::chrono::milliseconds(milliseconds));
}

void cls_Database::UseMemoryMap(bool on) {
  file_->Connection().Execute(on ? "PRAGMA mmap_size=1099511627776" : "PRAGMA mmap_size=0");
}

cls_WritePass::cls_WritePass(cls_Database& database)
    : writer_(std::make_unique<db_Writer>(*database.file_)) {}
cls_WritePass::~cls_WritePass() = default;
void cls_WritePass::Copy(const cls_Database& from, const cow_String& root) {
  const unsigned typeId = from.TypeId(root);
  const cls_ClassMetadata* record =
      omi_Singleton<cls_MetadataRegistrar>::Instance().Registry().Current(typeId);
  if (!record || !record->Write())
    throw nex_TextException(from.File() + ": \"" + root + "\" is of a class that this program does not know");
  PutShared(root, from.ReadRoot(root, typeId), record->Write());
}
void cls_WritePass::Remove(const cow_String& root) { writer_->Remove(root); }
void cls_WritePass::Commit() { writer_->Commit(); }

long long cls_WritePass::PutRow(unsigned typeId, int version, const cls_Row& row) {
  return writer_->PutRow(nullptr, typeId, version, row);
}

long long cls_WritePass::PutRow(const cow_String& root, unsigned typeId, int version, const cls_Row& row) {
  return writer_->PutRow(&root, typeId, version, row);
}

void cls_WritePass::PutReference(const cow_String& root, const void* object, WriteFunction write) {
  writer_->Put(root, object, write);
}

void cls_WritePass::PutShared(const cow_String& root, std::shared_ptr<const void> object,
                              WriteFunction write) {
  writer_->PutShared(root, std::move(object), write);
}
