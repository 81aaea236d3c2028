#include "db_Writer.h"

#include <BasicUtils/cls_MetadataRegistrar.h>
#include <BasicUtils/omi_Singleton.h>
#include <algorithm>

namespace {
[[noreturn]] void Refuse(const db_Draft& draft, std::string_view field, const char* what) {
  throw nex_AssertionException("field \"" + cow_String(field) + "\" of " + draft.type->name + " " + what);
}

cls_Cell& Claim(db_Draft& draft, int field, std::initializer_list<cls_AttributeType> types) {
  const auto index = static_cast<std::size_t>(field);
  const auto& attribute = draft.type->attributes[index];
  if (std::find(types.begin(), types.end(), attribute.type) == types.end())
    Refuse(draft, attribute.name, "stores another kind of value");
  if (draft.put[index]) Refuse(draft, attribute.name, "was written twice");
  draft.put[index] = true;
  return draft.cells[index];
}

void AppendNumbers(cls_Cell& cell, std::initializer_list<long long> numbers) {
  auto& blob = std::get<cls_Blob>(cell);
  const auto bytes = std::as_bytes(std::span(numbers.begin(), numbers.size()));
  blob.insert(blob.end(), bytes.begin(), bytes.end());
}
} // namespace

db_Draft& db_WritePlace::Object() const {
  if (!draft) throw nex_AssertionException("fields were written before StartWrite");
  return *draft;
}

cls_Cell& db_WritePlace::Field(std::string_view name, cls_AttributeType type) const {
  db_Draft& object = Object();
  const int field = object.record->Find(name);
  if (field < 0) Refuse(object, name, "does not exist");
  return Claim(object, field, {type});
}

cls_Cell& db_WritePlace::OwnCell(std::initializer_list<cls_AttributeType> types) const {
  if (!holder) throw nex_AssertionException("a value was written where an object is expected");
  return Claim(*holder, cell, types);
}

cls_WriteVisitor::cls_WriteVisitor(std::shared_ptr<db_WritePlace> place) : place_(std::move(place)) {}
cls_WriteVisitor::~cls_WriteVisitor() = default;

cls_WriteVisitor::cls_WriteVisitor(const cls_WriteVisitor& parent, const cls_FieldHandle& field)
    : place_(std::make_shared<db_WritePlace>()) {
  place_->writer = parent.place_->writer;
  place_->cell = 0;
  if (place_->writer->IsMeasuring()) return;
  place_->holder = &parent.place_->Object();
  place_->cell = place_->holder->record->Find(field.Name());
  if (place_->cell < 0) Refuse(*place_->holder, field.Name(), "does not exist");
}

cls_WriteVisitor::cls_WriteVisitor(const cls_WriteVisitor& parent, std::size_t /*index*/)
    : place_(std::make_shared<db_WritePlace>()) {
  place_->writer = parent.place_->writer;
  place_->holder = parent.place_->holder;
  place_->cell = parent.place_->cell;
  place_->element = true;
}

int cls_WriteVisitor::StartWrite(unsigned typeId, const cls_Uid& uid) const {
  db_WritePlace& place = *place_;
  place.started = true;
  const bool embedded = place.cell >= 0;
  if (place.writer->IsMeasuring()) return embedded || place.writer->MeasureOnce(uid) ? 1 : 0;
  if (!embedded) {
    place.writer->Start(place, typeId, uid);
    place.draft = place.owned.get();
    return place.draft ? 1 : 0;
  }
  auto draft = place.writer->NewDraft(typeId, uid, place.holder->id);
  place.draft = draft.get();
  const auto field = static_cast<std::size_t>(place.cell);
  if (place.element)
    AppendNumbers(place.holder->cells[field], {draft->id});
  else
    place.OwnCell({cls_AttributeType::Object, cls_AttributeType::Shortcut}) = cls_RowLink{draft->id, true};
  if (const unsigned wanted = place.holder->type->attributes[field].elemTypeId;
      wanted > 1 && !omi_Singleton<cls_MetadataRegistrar>::Instance().Registry().IsA(typeId, wanted))
    Refuse(*place.holder, place.holder->type->attributes[field].name, "holds objects of another class");
  place.holder->embedded.push_back(std::move(draft));
  return 1;
}

void cls_WriteVisitor::PutInt(const cls_FieldHandle& field, int value) const {
  if (!place_->writer->IsMeasuring())
    place_->Field(field.Name(), cls_AttributeType::Int) = static_cast<long long>(value);
}

void cls_WriteVisitor::PutUint(const cls_FieldHandle& field, unsigned value) const {
  if (!place_->writer->IsMeasuring())
    place_->Field(field.Name(), cls_AttributeType::Uint) = static_cast<long long>(value);
}

void cls_WriteVisitor::PutBool(const cls_FieldHandle& field, bool value) const {
  if (!place_->writer->IsMeasuring())
    place_->Field(field.Name(), cls_AttributeType::Bool) = static_cast<long long>(value);
}

void cls_WriteVisitor::PutDouble(const cls_FieldHandle& field, double value) const {
  if (!place_->writer->IsMeasuring()) place_->Field(field.Name(), cls_AttributeType::Double) = value;
}

void cls_WriteVisitor::PutString(const cls_FieldHandle& field, const cow_String& value) const {
  if (!place_->writer->IsMeasuring()) place_->Field(field.Name(), cls_AttributeType::String) = value;
}

void cls_WriteVisitor::PutObject(const cls_FieldHandle& field, std::shared_ptr<const void> object,
                                 WriteFunction write) const {
  db_Writer& writer = *place_->writer;
  if (writer.IsMeasuring()) {
    auto place = std::make_shared<db_WritePlace>();
    place->writer = &writer;
    if (object) write(object.get(), cls_WriteVisitor(place));
    return;
  }
  cls_Cell& cell = place_->Field(field.Name(), cls_AttributeType::Object);
  if (!object) return;
  const void* const raw = object.get();
  const long long row = writer.WriteOwned(raw, write, std::move(object));
  cell = cls_RowLink{row, false};
  writer.Refer(row);
}

void cls_WriteVisitor::PutText(const cow_String& text) const {
  if (!place_->writer->IsMeasuring()) place_->OwnCell({cls_AttributeType::Enum}) = text;
}

void cls_WriteVisitor::PutTexts(std::span<const cow_String> texts) const {
  if (!place_->writer->IsMeasuring())
    place_->OwnCell({cls_AttributeType::StringList}) = cls_EncodeTexts(texts);
}

void cls_WriteVisitor::WriteArray(const ArrayForm& form, std::span<const std::byte> bytes,
                                  cow_ArrayStamp& stamp) const {
  const auto& [kind, width, elementSize, chunkBytes] = form;
  db_Writer& writer = *place_->writer;
  const bool large = bytes.size() > db_File::kInlineBytes;
  if (writer.IsMeasuring()) {
    if (large) writer.Measure(bytes.size());
    return;
  }
  if (width == 0 || bytes.size() % (width * elementSize) != 0)
    Refuse(*place_->holder, place_->holder->type->attributes[static_cast<std::size_t>(place_->cell)].name,
           "is not in whole rows");
  const auto type = kind == cls_ArrayKind::Int     ? cls_AttributeType::IntArray
                    : kind == cls_ArrayKind::Uint  ? cls_AttributeType::UintArray
                    : kind == cls_ArrayKind::Float ? cls_AttributeType::FloatArray
                                                   : cls_AttributeType::DoubleArray;
  cls_Cell& cell = place_->OwnCell({type});
  if (!large) {
    cell = cls_EncodeArray(kind, width, bytes);
    return;
  }
  const long long row = writer.WriteArray(kind, width, bytes, elementSize, chunkBytes, stamp);
  cell = cls_RowLink{row, false};
  writer.Refer(row);
}

void cls_WriteVisitor::PutList(std::size_t count) const {
  if (place_->writer->IsMeasuring()) return;
  cls_Blob blob = cls_EncodeArray(cls_ArrayKind::RowIds, 1, {});
  blob.reserve(blob.size() + count * sizeof(long long));
  place_->OwnCell({cls_AttributeType::Object}) = std::move(blob);
}

void cls_WriteVisitor::StartMap(std::size_t count) const {
  if (place_->writer->IsMeasuring()) return;
  cls_Blob blob = cls_EncodeArray(cls_ArrayKind::Map, 2, {});
  blob.reserve(blob.size() + 2 * count * sizeof(long long));
  place_->OwnCell({cls_AttributeType::ObjectMap}) = std::move(blob);
}

void cls_WriteVisitor::PutMapEntry(int key, std::shared_ptr<const void> object, WriteFunction write) const {
  db_Writer& writer = *place_->writer;
  if (writer.IsMeasuring()) {
    auto place = std::make_shared<db_WritePlace>();
    place->writer = &writer;
    write(object.get(), cls_WriteVisitor(place));
    return;
  }
  const void* const raw = object.get();
  const long long row = writer.WriteOwned(raw, write, std::move(object));
  AppendNumbers(place_->holder->cells[static_cast<std::size_t>(place_->cell)], {key, row});
  writer.Refer(row);
}
