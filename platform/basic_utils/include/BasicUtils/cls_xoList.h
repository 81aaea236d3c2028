// cls_xoList.h: stored lists of objects
#pragma once

#include <BasicUtils/cls_Containers.h>

/// A value of three consecutive floats, which is stored as such.
template<class T>
concept cls_IsFloatTriple = std::is_trivially_copyable_v<T> && sizeof(T) == 3 * sizeof(float) && requires {
  typename T::FloatTriple;
};

/// Stored list of objects with a uid: a new list has a fresh one, a copy has that of its source. Persistent
/// classes are embedded one by one; triples of floats are stored as one array.
template<class T> class cls_xoList {
public:
  static constexpr cls_AttributeType kStoredAs =
      cls_IsFloatTriple<T> ? cls_AttributeType::FloatArray : cls_AttributeType::Object;
  static unsigned ElemTypeId() {
    if constexpr (cls_IsFloatTriple<T>)
      return 1;
    else
      return T::TypeId();
  }

  // make
  cls_xoList() : uid_(cls_Uid::AllocateUid()) {}
  explicit cls_xoList(cow_List<T> list) : list_(std::move(list)), uid_(cls_Uid::AllocateUid()) {}
  explicit cls_xoList(const cls_ReadVisitor& visitor) : uid_(cls_Uid::AllocateUid()) {
    if constexpr (cls_IsFloatTriple<T>) {
      const auto numbers = visitor.GetArray<float>();
      list_ = cow_List<T>(std::span(reinterpret_cast<const T*>(numbers.Const().data()), numbers.Size() / 3));
    } else {
      const std::size_t count = visitor.GetListSize();
      for (std::size_t i = 0; i < count; ++i) list_.Append(T(cls_ReadVisitor(visitor, i)));
    }
  }

  // ask
  const cow_List<T>& List() const noexcept { return list_; }
  int Size() const noexcept { return list_.Size(); }
  const T& ConstGet(int index) const { return list_.ConstGet(index); }
  const cls_Uid& Uid() const noexcept { return uid_; }
  void DBWrite(const cls_WriteVisitor& visitor) const {
    if constexpr (cls_IsFloatTriple<T>) {
      cow_ArrayCOW<float> numbers;
      list_.ForEachBlock([&](std::span<const T> block) {
        numbers.Append(std::span(reinterpret_cast<const float*>(block.data()), 3 * block.size()));
      });
      visitor.PutArray(numbers, 3);
    } else {
      visitor.PutList(static_cast<std::size_t>(list_.Size()));
      std::size_t index = 0;
      for (const T& element : list_) element.DBWrite(cls_WriteVisitor(visitor, index++));
    }
  }
  friend bool operator==(const cls_xoList& a, const cls_xoList& b) { return a.list_ == b.list_; }

  // change
  cow_List<T>& ListToModify() noexcept { return list_; }

private:
  cow_List<T> list_;
  cls_Uid uid_;
};

template<class T> using cls_xo1DArrayList = cls_xoList<T>;

template<class T> cls_xoList<T> cls_xoListFromCow(const cow_List<T>& list) { return cls_xoList<T>(list); }
