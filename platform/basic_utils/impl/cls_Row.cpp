#include <BasicUtils/cls_Row.h>

#include <algorithm>
#include <cstring>

namespace {
// kind, three bytes of zero, width
constexpr std::size_t kHeader = 8;
} // namespace

cls_Blob cls_EncodeArray(cls_ArrayKind kind, unsigned width, std::span<const std::byte> elements) {
  cls_Blob cell(kHeader + elements.size());
  cell[0] = static_cast<std::byte>(kind);
  std::memcpy(cell.data() + 4, &width, sizeof width);
  if (!elements.empty()) std::memcpy(cell.data() + kHeader, elements.data(), elements.size());
  return cell;
}

std::span<const std::byte> cls_DecodeArray(const cls_Blob& cell, cls_ArrayKind kind, unsigned* width) {
  if (cell.size() < kHeader || cell[0] != static_cast<std::byte>(kind))
    throw nex_TextException("is not an array of the expected kind");
  unsigned rowLength = 0;
  std::memcpy(&rowLength, cell.data() + 4, sizeof rowLength);
  const std::span<const std::byte> elements(cell.data() + kHeader, cell.size() - kHeader);
  const std::size_t size =
      kind == cls_ArrayKind::String                                                               ? 1
      : kind == cls_ArrayKind::Int || kind == cls_ArrayKind::Uint || kind == cls_ArrayKind::Float ? 4
                                                                                                  : 8;
  if (rowLength == 0 || elements.size() % (rowLength * size) != 0)
    throw nex_TextException("has " + std::to_string(elements.size()) + " bytes, which are no whole rows");
  if (width) *width = rowLength;
  return elements;
}

cls_Blob cls_EncodeTexts(std::span<const cow_String> texts) {
  cls_Blob bytes;
  for (const cow_String& text : texts) {
    const auto length = static_cast<unsigned>(text.size());
    const auto prefix = std::as_bytes(std::span(&length, 1));
    bytes.insert(bytes.end(), prefix.begin(), prefix.end());
    const auto letters = std::as_bytes(std::span(text));
    bytes.insert(bytes.end(), letters.begin(), letters.end());
  }
  return cls_EncodeArray(cls_ArrayKind::String, 1, bytes);
}

std::vector<cow_String> cls_DecodeTexts(const cls_Blob& cell) {
  std::span<const std::byte> rest = cls_DecodeArray(cell, cls_ArrayKind::String);
  std::vector<cow_String> texts;
  while (!rest.empty()) {
    unsigned length = 0;
    if (rest.size() < sizeof length) throw nex_TextException("ends within a text");
    std::memcpy(&length, rest.data(), sizeof length);
    rest = rest.subspan(sizeof length);
    if (rest.size() < length) throw nex_TextException("ends within a text");
    texts.emplace_back(reinterpret_cast<const char*>(rest.data()), length);
    rest = rest.subspan(length);
  }
  return texts;
}

const cls_Cell* cls_Row::Find(std::string_view name) const noexcept {
  const auto found =
      std::find_if(cells_.begin(), cells_.end(), [&](const NamedCell& cell) { return cell.name == name; });
  return found == cells_.end() ? nullptr : &found->cell;
}

const cls_Cell& cls_Row::Get(std::string_view name) const {
  if (const cls_Cell* cell = Find(name)) return *cell;
  throw nex_TextException("a row of class " + std::to_string(typeId) + " has no field \"" + cow_String(name)
                          + "\"");
}

namespace {
template<class T> const T& As(const cls_Row& row, std::string_view name, const char* kind) {
  if (const auto* value = std::get_if<T>(&row.Get(name))) return *value;
  throw nex_TextException("field \"" + cow_String(name) + "\" is not " + kind);
}
} // namespace

long long cls_Row::GetInt(std::string_view name) const {
  return As<long long>(*this, name, "a whole number");
}
double cls_Row::GetDouble(std::string_view name) const { return As<double>(*this, name, "a real number"); }
const cow_String& cls_Row::GetText(std::string_view name) const {
  return As<cow_String>(*this, name, "a text");
}

cls_Row& cls_Row::Set(std::string_view name, cls_Cell cell) {
  const auto found =
      std::find_if(cells_.begin(), cells_.end(), [&](const NamedCell& known) { return known.name == name; });
  if (found == cells_.end())
    cells_.push_back({cow_String(name), std::move(cell)});
  else
    found->cell = std::move(cell);
  return *this;
}

cls_Row& cls_Row::SetInts(std::string_view name, std::span<const int> values, unsigned width) {
  return Set(name, cls_EncodeArray(cls_ArrayKind::Int, width, std::as_bytes(values)));
}

cls_Row& cls_Row::SetFloats(std::string_view name, std::span<const float> values, unsigned width) {
  return Set(name, cls_EncodeArray(cls_ArrayKind::Float, width, std::as_bytes(values)));
}

cls_Row& cls_Row::SetDoubles(std::string_view name, std::span<const double> values, unsigned width) {
  return Set(name, cls_EncodeArray(cls_ArrayKind::Double, width, std::as_bytes(values)));
}

cls_Row& cls_Row::SetTexts(std::string_view name, std::span<const cow_String> values) {
  return Set(name, cls_EncodeTexts(values));
}

cls_Row& cls_Row::SetEmbeddedList(std::string_view name, std::span<const long long> rows) {
  return Set(name, cls_EncodeArray(cls_ArrayKind::RowIds, 1, std::as_bytes(rows)));
}

cls_Row& cls_Row::SetOwnedMap(std::string_view name,
                              std::span<const std::pair<long long, long long>> keysAndRows) {
  std::vector<long long> flat;
  for (const auto& [key, row] : keysAndRows) flat.insert(flat.end(), {key, row});
  return Set(name, cls_EncodeArray(cls_ArrayKind::Map, 2, std::as_bytes(std::span(flat))));
}
