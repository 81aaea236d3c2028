#include "db_Reader.h"

#include <BasicUtils/cls_MetadataRegistrar.h>
#include <BasicUtils/omi_Singleton.h>
#include <BasicUtils/wip_WIP.h>
#include <cstring>
#include <limits>

void db_ReadPlace::Fail(const cow_String& what) const {
  const cow_String& className = holder->record->Name();
  cow_String field;
  if (cell >= 0) field = holder->record->Attributes()[static_cast<std::size_t>(cell)].name;
  if (element >= 0) field += "[" + std::to_string(element) + "]";
  throw db_PlaceException(reader->File().Connection().File() + ": object " + std::to_string(holder->id)
                              + " of " + className + (field.empty() ? "" : ", field " + field) + ": " + what,
                          className, holder->id, field);
}

const cls_Cell& db_ReadPlace::Cell() const {
  if (cell < 0) Fail("is an object, not a value");
  return holder->cells[static_cast<std::size_t>(cell)];
}

int db_ReadPlace::FieldIndex(std::string_view name) const { return holder->record->Find(name); }

db_NumberArray db_ReadPlace::Numbers(cls_ArrayKind kind) const {
  if (const auto* blob = std::get_if<cls_Blob>(&Cell())) return {.bytes = cls_DecodeArray(*blob, kind)};
  const auto* id = std::get_if<long long>(&Cell());
  if (!id) Fail("is not an array");
  const db_Array array = reader->File().LoadArray(*id);
  if (array.kind != kind) Fail("is an array of another kind");
  return {.stored = array};
}

namespace {
std::vector<long long> RowIds(const db_ReadPlace& place, cls_ArrayKind kind) {
  const auto& cell = place.Cell();
  const auto* blob = std::get_if<cls_Blob>(&cell);
  if (!blob) place.Fail("is not a list of objects");
  std::vector<long long> ids;
  try {
    const auto bytes = cls_DecodeArray(*blob, kind);
    ids.resize(bytes.size() / sizeof(long long));
    if (!ids.empty()) std::memcpy(ids.data(), bytes.data(), ids.size() * sizeof(long long));
  } catch (const nex_TextException& failure) {
    place.Fail(failure.Message());
  }
  return ids;
}

db_ReadPlace At(const db_ReadPlace& place, const cls_FieldHandle& field) {
  db_ReadPlace at = place;
  at.embedded.reset();
  at.cell = place.FieldIndex(field.Name());
  if (at.cell < 0) {
    at.cell = -1;
    at.Fail("has no field \"" + cow_String(field.Name()) + "\"");
  }
  at.element = -1;
  return at;
}

long long Integer(const db_ReadPlace& place, long long low, long long high) {
  const auto* value = std::get_if<long long>(&place.Cell());
  if (!value) place.Fail("is not a whole number");
  if (*value < low || *value > high)
    place.Fail("is " + std::to_string(*value) + ", outside " + std::to_string(low) + " to "
               + std::to_string(high));
  return *value;
}
} // namespace

db_ReadPlace& db_ReadPlace::Object() {
  if (cell < 0) return *this;
  if (embedded) return *embedded;
  long long row = 0;
  if (element >= 0) {
    const auto ids = RowIds(*this, cls_ArrayKind::RowIds);
    if (static_cast<std::size_t>(element) >= ids.size())
      Fail("has only " + std::to_string(ids.size()) + " elements");
    row = ids[static_cast<std::size_t>(element)];
  } else {
    row = Integer(*this, 1, std::numeric_limits<long long>::max());
  }
  reader->Enter(row);
  struct Guard {
    db_Reader& reader;
    ~Guard() { reader.Leave(); }
  } guard{*reader};
  auto place = reader->PlaceOf(reader->LoadObject(row, holder->id, holder.get()));
  const unsigned wanted = holder->record->Attributes()[static_cast<std::size_t>(cell)].elemTypeId;
  const auto& registry = omi_Singleton<cls_MetadataRegistrar>::Instance().Registry();
  if (wanted > 1 && !registry.IsA(place->holder->record->TypeId(), wanted))
    Fail("holds an object of another class, " + place->holder->record->Name());
  embedded = std::move(place);
  return *embedded;
}

cls_ReadVisitor::cls_ReadVisitor(std::shared_ptr<db_ReadPlace> place) : place_(std::move(place)) {}
cls_ReadVisitor::~cls_ReadVisitor() = default;

cls_ReadVisitor::cls_ReadVisitor(const cls_ReadVisitor& parent, const cls_FieldHandle& field)
    : place_(std::make_shared<db_ReadPlace>(At(parent.place_->Object(), field))) {}

cls_ReadVisitor::cls_ReadVisitor(const cls_ReadVisitor& parent, std::size_t index)
    : place_(std::make_shared<db_ReadPlace>(*parent.place_)) {
  place_->embedded.reset();
  place_->element = static_cast<long long>(index);
}

bool cls_ReadVisitor::HasValue(const cls_FieldHandle& field) const {
  const db_ReadPlace& object = place_->Object();
  const int index = object.FieldIndex(field.Name());
  return index < 0
         || !std::holds_alternative<cls_DefaultValue>(object.holder->cells[static_cast<std::size_t>(index)]);
}

int cls_ReadVisitor::GetInt(const cls_FieldHandle& field) const {
  return static_cast<int>(
      Integer(At(place_->Object(), field), std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

unsigned cls_ReadVisitor::GetUint(const cls_FieldHandle& field) const {
  return static_cast<unsigned>(Integer(At(place_->Object(), field), 0, std::numeric_limits<unsigned>::max()));
}

bool cls_ReadVisitor::GetBool(const cls_FieldHandle& field) const {
  return Integer(At(place_->Object(), field), 0, 1) == 1;
}

double cls_ReadVisitor::GetDouble(const cls_FieldHandle& field) const {
  const db_ReadPlace place = At(place_->Object(), field);
  const cls_Cell& cell = place.Cell();
  if (const auto* value = std::get_if<double>(&cell)) return *value;
  if (const auto* bits = std::get_if<cls_Blob>(&cell); bits && bits->size() == sizeof(double)) {
    double value;
    std::memcpy(&value, bits->data(), sizeof value);
    if (value != value) return value;
  }
  place.Fail("is not a real number");
}

double cls_ReadVisitor::GetDouble(const cls_FieldHandle& field, double valueIfMissing) const {
  const db_ReadPlace& object = place_->Object();
  const int index = object.FieldIndex(field.Name());
  if (index < 0) return valueIfMissing;
  const cls_Cell& cell = object.holder->cells[static_cast<std::size_t>(index)];
  if (std::holds_alternative<std::monostate>(cell) || std::holds_alternative<cls_DefaultValue>(cell))
    return valueIfMissing;
  return GetDouble(field);
}

cow_String cls_ReadVisitor::GetString(const cls_FieldHandle& field) const {
  const db_ReadPlace place = At(place_->Object(), field);
  const auto* text = std::get_if<cow_String>(&place.Cell());
  if (!text) place.Fail("is not a text");
  return *text;
}

std::shared_ptr<void> cls_ReadVisitor::GetObject(const cls_FieldHandle& field, unsigned typeId) const {
  const db_ReadPlace place = At(place_->Object(), field);
  const cls_Cell& cell = place.Cell();
  if (std::holds_alternative<std::monostate>(cell)) return nullptr;
  return place.reader->Read(Integer(place, 1, std::numeric_limits<long long>::max()), typeId, 0,
                            place.holder.get());
}

void cls_ReadVisitor::Refuse(const cow_String& what) const { place_->Fail(what); }

void cls_ReadVisitor::WatchBytes(const cls_FieldHandle& field,
                                 std::function<void(std::span<const std::byte>)> see) const {
  const db_ReadPlace place = At(place_->Object(), field);
  place.holder->watches.emplace_back(place.cell, std::move(see));
}

cls_Uid cls_ReadVisitor::GetUid() const { return place_->Object().holder->uid; }

cow_String cls_ReadVisitor::GetText() const {
  const auto* text = std::get_if<cow_String>(&place_->Cell());
  if (!text) place_->Fail("is not a text");
  return *text;
}

std::vector<cow_String> cls_ReadVisitor::GetTexts() const {
  const auto* blob = std::get_if<cls_Blob>(&place_->Cell());
  if (!blob) place_->Fail("is not a list of texts");
  try {
    return cls_DecodeTexts(*blob);
  } catch (const nex_TextException& failure) {
    place_->Fail(failure.Message());
  }
}

void cls_ReadVisitor::ReadArray(cls_ArrayKind kind, unsigned& width, void* target, Allocate allocate,
                                SetStamp setStamp) const {
  db_File& file = place_->reader->File();
  const cls_Cell& cell = place_->Cell();
  const std::size_t elementSize = db_ElementSize(kind);
  db_SeeBytes see;
  for (const auto& [watched, watch] : place_->holder->watches)
    if (watched == place_->cell) see = watch;
  if (const auto* blob = std::get_if<cls_Blob>(&cell)) {
    std::span<const std::byte> bytes;
    try {
      bytes = cls_DecodeArray(*blob, kind, &width);
    } catch (const nex_TextException& failure) {
      place_->Fail(failure.Message());
    }
    std::byte* place = allocate(target, bytes.size() / elementSize);
    if (!bytes.empty()) std::memcpy(place, bytes.data(), bytes.size());
    if (see) see({place, bytes.size()});
    return;
  }
  const db_Array array = file.LoadArray(Integer(*place_, 1, std::numeric_limits<long long>::max()));
  if (array.kind != kind) place_->Fail("is an array of another kind");
  width = array.width;
  try {
    file.ReadChunks(array, elementSize, allocate(target, static_cast<std::size_t>(array.count)), see);
  } catch (const wip_Cancelled&) {
    throw;
  } catch (const cls_BusyException&) {
    throw;
  } catch (const nex_TextException& failure) {
    place_->Fail(failure.Message());
  }
  const auto uid = array.uid.Bytes();
  cow_ArrayStamp stamp;
  std::memcpy(stamp.uid, uid.data(), uid.size());
  stamp.id = array.id;
  setStamp(target, stamp);
  place_->reader->Done(static_cast<std::size_t>(array.count) * elementSize);
}

std::size_t cls_ReadVisitor::GetListSize() const { return RowIds(*place_, cls_ArrayKind::RowIds).size(); }

std::size_t cls_ReadVisitor::GetArraySize(cls_ArrayKind kind, std::size_t elementSize,
                                          unsigned* width) const {
  const cls_Cell& cell = place_->Cell();
  if (const auto* blob = std::get_if<cls_Blob>(&cell)) try {
      return cls_DecodeArray(*blob, kind, width).size() / elementSize;
    } catch (const nex_TextException& failure) {
      place_->Fail(failure.Message());
    }
  const db_Array array =
      place_->reader->File().LoadArray(Integer(*place_, 1, std::numeric_limits<long long>::max()));
  if (array.kind != kind) place_->Fail("is an array of another kind");
  if (width) *width = array.width;
  return static_cast<std::size_t>(array.count);
}

std::vector<std::pair<int, long long>> cls_ReadVisitor::MapEntries() const {
  const auto entries = RowIds(*place_, cls_ArrayKind::Map);
  std::vector<std::pair<int, long long>> result;
  result.reserve(entries.size() / 2);
  for (std::size_t i = 0; i + 1 < entries.size(); i += 2) {
    const long long key = entries[i];
    if (key < std::numeric_limits<int>::min() || key > std::numeric_limits<int>::max()
        || (i > 0 && key <= entries[i - 2]))
      place_->Fail("has key " + std::to_string(key) + " out of order or range");
    result.emplace_back(static_cast<int>(key), entries[i + 1]);
  }
  return result;
}

std::vector<int> cls_ReadVisitor::GetMapKeys() const {
  std::vector<int> keys;
  for (const auto& [key, row] : MapEntries()) keys.push_back(key);
  return keys;
}

std::vector<std::pair<int, std::shared_ptr<void>>> cls_ReadVisitor::GetObjectMap(unsigned typeId) const {
  std::vector<std::pair<int, std::shared_ptr<void>>> result;
  for (const auto& [key, row] : MapEntries())
    result.emplace_back(key, place_->reader->Read(row, typeId, 0, place_->holder.get()));
  return result;
}
