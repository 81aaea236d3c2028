// db_Value.h: stored fields as values, whatever their class, for dumping, comparing and checking
#pragma once

#include "db_Reader.h"

/// Numbers of an array field.
struct db_Numbers {
  cls_ArrayKind kind{};
  unsigned width = 1; ///< numbers in a row
  std::vector<std::byte> bytes;

  std::size_t Size() const { return bytes.size() / db_ElementSize(kind); }
  /// Calls `use` with a span of the elements in their own type.
  template<class Use> decltype(auto) Visit(const Use& use) const {
    const auto as = [&]<class T>(T) {
      return use(std::span(reinterpret_cast<const T*>(bytes.data()), bytes.size() / sizeof(T)));
    };
    switch (kind) {
    case cls_ArrayKind::Int: return as(int{});
    case cls_ArrayKind::Uint: return as(unsigned{});
    case cls_ArrayKind::Float: return as(float{});
    default: return as(double{});
    }
  }
};

/// Rows of the objects that a field holds, embedded ones and owned ones alike.
struct db_Children {
  enum class Shape { One, List, Map };
  Shape shape{};
  std::vector<std::pair<long long, long long>> entries; ///< (position or key, row)
};

using db_Value = std::variant<std::monostate, long long, double, cow_String, std::vector<cow_String>,
                              db_Numbers, db_Children>;

/// The value of a field of an object in its current layout. Arrays are read whole and their checksums
/// verified. Throws nex_TextException naming object and field.
db_Value db_ValueOf(db_Reader& reader, const std::shared_ptr<db_Object>& object, std::size_t field);
