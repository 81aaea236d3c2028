// mdl_MapInt2ObjCow.h: ordered map from int to owned, shared objects
#pragma once

#include <BasicUtils/cls_Visitors.h>
#include <BasicUtils/cow_COW.h>
#include <map>

/// Ordered map from int to owned objects. Copies share everything: a change copies the shared table of
/// handles, and GetToModify also copies that one object when it is shared, as the policy says.
///
/// Cost       copy O(1); look-up O(log n).
template<class T, class Policy = cow_Direct<T>> class mdl_MapInt2ObjCow {
public:
  using Handle = cow_COW<T, Policy>;
  using Map = std::map<int, Handle>;
  static constexpr cls_AttributeType kStoredAs = cls_AttributeType::ObjectMap;
  static unsigned ElemTypeId() { return T::TypeId(); }

  // make
  mdl_MapInt2ObjCow() : map_(new Map) {}
  explicit mdl_MapInt2ObjCow(const cls_ReadVisitor& visitor) : map_(new Map) {
    for (auto& [key, object] : visitor.GetObjectMap<T>())
      map_.Modify().emplace(key, Handle(std::move(object)));
  }

  // ask
  int Count() const noexcept { return static_cast<int>(map_->size()); }
  bool Has(int key) const { return map_->contains(key); }
  const T& Get(int key) const { return *Find(key); }
  const Handle& Find(int key) const {
    const auto found = map_->find(key);
    if (found == map_->end()) throw nex_OutOfRangeException(key, Count());
    return found->second;
  }
  auto begin() const noexcept { return map_->begin(); } ///< (key, handle) pairs, keys ascending
  auto end() const noexcept { return map_->end(); }
  void DBWrite(const cls_WriteVisitor& visitor) const {
    std::vector<std::pair<int, cow_CountedHld<T>>> objects;
    objects.reserve(map_->size());
    for (const auto& [key, object] : *map_) objects.emplace_back(key, object.Holder());
    visitor.PutObjectMap<T>(objects);
  }

  // change
  void Insert(int key, Handle object) { map_.Modify().insert_or_assign(key, std::move(object)); }
  T& GetToModify(int key) {
    Find(key);
    return map_.Modify().find(key)->second.Modify();
  }
  bool Erase(int key) { return Has(key) && map_.Modify().erase(key) == 1; }

private:
  cow_COW<Map> map_;
};
