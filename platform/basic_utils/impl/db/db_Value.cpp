#include "db_Value.h"

#include <cstring>

namespace {
std::vector<long long> Ids(const cls_Blob& blob, cls_ArrayKind kind) {
  const auto bytes = cls_DecodeArray(blob, kind);
  std::vector<long long> ids(bytes.size() / sizeof(long long));
  if (!ids.empty()) std::memcpy(ids.data(), bytes.data(), bytes.size());
  return ids;
}

db_Numbers NumbersOf(db_File& file, const cls_Cell& cell, cls_ArrayKind kind) {
  db_Numbers numbers{kind, 1, {}};
  if (const auto* blob = std::get_if<cls_Blob>(&cell)) {
    const auto bytes = cls_DecodeArray(*blob, kind, &numbers.width);
    numbers.bytes.assign(bytes.begin(), bytes.end());
    return numbers;
  }
  const db_Array array = file.LoadArray(std::get<long long>(cell));
  if (array.kind != kind) throw nex_TextException("is an array of another kind");
  numbers.width = array.width;
  numbers.bytes.resize(static_cast<std::size_t>(array.count) * db_ElementSize(kind));
  file.ReadChunks(array, db_ElementSize(kind), numbers.bytes.data());
  return numbers;
}

db_Children ChildrenOf(const cls_Cell& cell) {
  db_Children children{db_Children::Shape::One, {}};
  if (const auto* row = std::get_if<long long>(&cell)) {
    children.entries.emplace_back(0, *row);
    return children;
  }
  children.shape = db_Children::Shape::List;
  for (const long long row : Ids(std::get<cls_Blob>(cell), cls_ArrayKind::RowIds))
    children.entries.emplace_back(static_cast<long long>(children.entries.size()), row);
  return children;
}

db_Children MapOf(const cls_Cell& cell) {
  db_Children children{db_Children::Shape::Map, {}};
  const auto entries = Ids(std::get<cls_Blob>(cell), cls_ArrayKind::Map);
  for (std::size_t i = 0; i + 1 < entries.size(); i += 2)
    children.entries.emplace_back(entries[i], entries[i + 1]);
  return children;
}

db_Value RealOf(const cls_Cell& cell) {
  const auto* bits = std::get_if<cls_Blob>(&cell);
  if (!bits) return std::get<double>(cell);
  double value = 0;
  if (bits->size() != sizeof value) throw nex_TextException("is not a real number");
  std::memcpy(&value, bits->data(), sizeof value);
  return value;
}
} // namespace

db_Value db_ValueOf(db_Reader& reader, const std::shared_ptr<db_Object>& object, std::size_t field) {
  const cls_Cell& cell = object->cells[field];
  if (std::holds_alternative<std::monostate>(cell)) return {};
  db_File& file = reader.File();
  try {
    switch (object->record->Attributes()[field].type) {
    case cls_AttributeType::Bool:
    case cls_AttributeType::Uint:
    case cls_AttributeType::Int: return std::get<long long>(cell);
    case cls_AttributeType::Double: return RealOf(cell);
    case cls_AttributeType::String:
    case cls_AttributeType::Enum: return std::get<cow_String>(cell);
    case cls_AttributeType::StringList: return cls_DecodeTexts(std::get<cls_Blob>(cell));
    case cls_AttributeType::IntArray: return NumbersOf(file, cell, cls_ArrayKind::Int);
    case cls_AttributeType::UintArray: return NumbersOf(file, cell, cls_ArrayKind::Uint);
    case cls_AttributeType::FloatArray: return NumbersOf(file, cell, cls_ArrayKind::Float);
    case cls_AttributeType::DoubleArray: return NumbersOf(file, cell, cls_ArrayKind::Double);
    case cls_AttributeType::Object:
    case cls_AttributeType::Shortcut: return ChildrenOf(cell);
    case cls_AttributeType::ObjectMap: return MapOf(cell);
    }
    throw nex_TextException("is of an unknown kind");
  } catch (const std::bad_variant_access&) {
    auto place = reader.PlaceOf(object);
    place->cell = static_cast<int>(field);
    place->Fail("holds a value of another kind");
  } catch (const cls_BusyException&) {
    throw;
  } catch (const nex_TextException& failure) {
    auto place = reader.PlaceOf(object);
    place->cell = static_cast<int>(field);
    place->Fail(failure.Message());
  }
}
