#include <ROM/dbc_Row.h>

#include <cstring>

void dbc_Utils::SetObj(dbc_Row& row, std::string_view field, long long object) const {
  row.Set(field, object);
}

std::vector<std::pair<long long, long long>>
dbc_Utils::GetAttributeMapFromInputDatabase(const dbc_Row& row, std::string_view field) const {
  std::vector<std::pair<long long, long long>> result;
  const cls_Cell* cell = row.Find(field);
  const auto* blob = cell ? std::get_if<cls_Blob>(cell) : nullptr;
  if (!blob) return result;
  const auto bytes = cls_DecodeArray(*blob, cls_ArrayKind::Map);
  result.resize(bytes.size() / sizeof(long long) / 2);
  const std::byte* at = bytes.data();
  for (auto& [key, object] : result) {
    std::memcpy(&key, at, sizeof key);
    std::memcpy(&object, at + sizeof key, sizeof object);
    at += 2 * sizeof key;
  }
  return result;
}

void dbc_Utils::SetNewAttributeListInOutputDatabase(dbc_Row& row, std::string_view field,
                                                    std::span<const long long> objects) const {
  row.SetEmbeddedList(field, objects);
}

void dbc_Utils::SetNewAttributeArrayDoubleInOutputDatabase(dbc_Row& row, std::string_view field,
                                                           std::span<const double> values,
                                                           unsigned width) const {
  row.SetDoubles(field, values, width);
}

void dbc_Utils::SetNewAttributeArrayIntInOutputDatabase(dbc_Row& row, std::string_view field,
                                                        std::span<const int> values, unsigned width) const {
  row.SetInts(field, values, width);
}
