// cls_Row.h: one stored object as named cells, without its C++ class
#pragma once

#include <BasicUtils/cls_Uid.h>
#include <BasicUtils/nex_Exception.h>
#include <cstddef>
#include <span>
#include <string_view>
#include <variant>
#include <vector>

/// Bytes of a cell: an array with its header (see cls_EncodeArray), or the bit pattern of a NaN.
using cls_Blob = std::vector<std::byte>;

/// A cell without a stored value: the field takes the value it has in a default-constructed object.
///
/// Not trivially copyable on purpose: libstdc++ 12 assumes that a variant of only trivial types, strings and
/// vectors always has a value, and destroys uninitialised memory when copying it runs out of memory.
struct cls_DefaultValue {
  cls_DefaultValue() = default;
  cls_DefaultValue(const cls_DefaultValue&) noexcept {} // NOLINT(modernize-use-equals-default)
  cls_DefaultValue& operator=(const cls_DefaultValue&) noexcept { return *this; }
  friend bool operator==(cls_DefaultValue, cls_DefaultValue) = default;
};

/// A cell that refers to another row: an embedded object belongs to the row, an owned one may be shared.
struct cls_RowLink {
  long long row = 0;
  bool embedded = false;
  friend bool operator==(cls_RowLink, cls_RowLink) = default;
};

using cls_Cell =
    std::variant<std::monostate, long long, double, cow_String, cls_Blob, cls_DefaultValue, cls_RowLink>;

/// Element type of a stored array. The values are part of the file format.
enum class cls_ArrayKind : unsigned char {
  Int = 1,
  Uint = 2,
  Float = 3,
  Double = 4,
  String = 5, ///< length-prefixed texts
  RowIds = 6, ///< rows of a list of embedded objects
  Map = 7     ///< (key, row) pairs of a map of owned objects, keys ascending
};

/// A small array as a cell: kind, width and the little-endian elements.
CORE_GEOMETRY_PLATFORM_API cls_Blob cls_EncodeArray(cls_ArrayKind kind, unsigned width,
                                                    std::span<const std::byte> elements);
CORE_GEOMETRY_PLATFORM_API cls_Blob cls_EncodeTexts(std::span<const cow_String> texts);

/// The elements of such a cell; throws nex_TextException when the cell is not an array of that kind.
CORE_GEOMETRY_PLATFORM_API std::span<const std::byte>
cls_DecodeArray(const cls_Blob& cell, cls_ArrayKind kind, unsigned* width = nullptr);
CORE_GEOMETRY_PLATFORM_API std::vector<cow_String> cls_DecodeTexts(const cls_Blob& cell);

/// One stored object as (field name -> cell), with its identity. Conversions of old layouts work on rows.
///
/// Errors     nex_TextException names the field that is missing or of another kind.
class CORE_GEOMETRY_PLATFORM_API cls_Row {
public:
  unsigned typeId = 0;
  int version = 0;
  cls_Uid uid;
  const cls_Row* parent = nullptr; ///< the row that embeds or refers to this one, during conversion

  // ask
  bool Has(std::string_view name) const noexcept { return Find(name) != nullptr; }
  const cls_Cell* Find(std::string_view name) const noexcept; ///< null when there is no such field
  const cls_Cell& Get(std::string_view name) const;
  long long GetInt(std::string_view name) const;
  double GetDouble(std::string_view name) const;
  const cow_String& GetText(std::string_view name) const;
  struct NamedCell {
    cow_String name;
    cls_Cell cell;
  };
  std::span<const NamedCell> Cells() const noexcept { return cells_; }

  // change
  cls_Row& Set(std::string_view name, cls_Cell cell); ///< adds the field or replaces its cell
  cls_Row& SetInt(std::string_view name, long long value) { return Set(name, value); }
  cls_Row& SetDouble(std::string_view name, double value) { return Set(name, value); }
  cls_Row& SetText(std::string_view name, cow_String value) { return Set(name, std::move(value)); }
  cls_Row& SetInts(std::string_view name, std::span<const int> values, unsigned width = 1);
  cls_Row& SetFloats(std::string_view name, std::span<const float> values, unsigned width = 1);
  cls_Row& SetDoubles(std::string_view name, std::span<const double> values, unsigned width = 1);
  cls_Row& SetTexts(std::string_view name, std::span<const cow_String> values);
  cls_Row& SetOwned(std::string_view name, long long row) { return Set(name, cls_RowLink{row, false}); }
  cls_Row& SetEmbedded(std::string_view name, long long row) { return Set(name, cls_RowLink{row, true}); }
  cls_Row& SetEmbeddedList(std::string_view name, std::span<const long long> rows);
  cls_Row& SetOwnedMap(std::string_view name, std::span<const std::pair<long long, long long>> keysAndRows);

private:
  std::vector<NamedCell> cells_;
};
