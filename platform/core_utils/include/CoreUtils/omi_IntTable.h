// omi_IntTable.h: unsigned key -> signed value
#pragma once

#include <CoreUtils/omi_UintTable.h>

/// An omi_UintTable whose values are signed.
class omi_IntTable {
public:
  // ask
  bool IsEmpty() const noexcept { return table_.IsEmpty(); }
  std::size_t Count() const noexcept { return table_.Count(); }
  bool Lookup(unsigned key, int& value) const noexcept {
    unsigned found = 0;
    if (!table_.Lookup(key, found)) return false;
    value = static_cast<int>(found);
    return true;
  }
  void Lookup(std::span<const unsigned> keys, std::span<int> out, int absent) const {
    table_.Lookup(keys, {reinterpret_cast<unsigned*>(out.data()), out.size()}, static_cast<unsigned>(absent));
  }

  // change
  void Clear() noexcept { table_.Clear(); }
  void Reserve(const omi_KeySurvey& coming) { table_.Reserve(coming); }
  void Insert(unsigned key, int value) { table_.Insert(key, static_cast<unsigned>(value)); }

private:
  omi_UintTable table_;
};
