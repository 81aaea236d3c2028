// cow_Map.h: ordered map with shared, copy-on-write storage
#pragma once

#include <BasicUtils/cow_COW.h>
#include <map>

/// Map in ascending key order. Copies share everything; the first change of a shared map copies it.
///
/// Empty      a default map owns nothing.
/// Cost       copy O(1); find, insert and erase O(log n); a first change of a shared map O(n).
/// Threads    copies may be read, changed and dropped on several threads.
template<class Key, class Value, class Less = std::less<Key>> class cow_Map {
public:
  using Map = std::map<Key, Value, Less>;
  using const_iterator = typename Map::const_iterator;

  cow_Map() = default;

  // ask
  std::size_t Size() const noexcept { return Const().size(); }
  bool IsEmpty() const noexcept { return Const().empty(); }
  const Value* Find(const Key& key) const { ///< null when absent
    const auto found = Const().find(key);
    return found != Const().end() ? &found->second : nullptr;
  }
  const_iterator begin() const noexcept { return Const().begin(); } ///< pairs (key, value), ascending
  const_iterator end() const noexcept { return Const().end(); }
  bool SharesWith(const cow_Map& other) const noexcept { return &Const() == &other.Const(); }
  friend bool operator==(const cow_Map& a, const cow_Map& b) {
    return a.SharesWith(b) || a.Const() == b.Const();
  }

  // change
  /// Stores a value, in place of an earlier one of the key; true when the key is new.
  bool Insert(const Key& key, Value value) { return Own().insert_or_assign(key, std::move(value)).second; }
  Value* FindToModify(const Key& key) { ///< null when absent, which copies nothing
    return Find(key) ? &Own().find(key)->second : nullptr;
  }
  bool Erase(const Key& key) { ///< false when absent, which copies nothing
    return Find(key) && Own().erase(key) != 0;
  }
  void Clear() noexcept { map_ = {}; }

private:
  const Map& Const() const noexcept {
    static const Map theEmpty;
    return map_.IsNull() ? theEmpty : map_.Const();
  }
  Map& Own() {
    if (map_.IsNull()) map_ = cow_COW<Map>(new Map);
    return map_.Modify();
  }

  cow_COW<Map> map_;
};
