// cow_COW.h: one shared object, copied when it is changed
#pragma once

#include <BasicUtils/cow_CountedHld.h>

/// Copies a shared element by its copy constructor.
template<class T> struct cow_Direct {
  static T* Clone(const T& element) { return new T(element); }
};

/// Copies a shared element by its virtual Copy() const, so the copy keeps the dynamic class.
template<class T> struct cow_Virtual {
  static T* Clone(const T& element) { return static_cast<T*>(element.Copy()); }
};

/// Handle of one shared object: copies share it, Modify() copies it first when it is shared. May be null.
///
/// Cost       copy O(1); Const() never copies; Modify() copies the object when it is shared.
template<class T, class Policy = cow_Direct<T>> class cow_COW {
public:
  cow_COW() = default;                             ///< null
  explicit cow_COW(T* object) : object_(object) {} ///< takes ownership
  explicit cow_COW(cow_CountedHld<T> object) : object_(std::move(object)) {}

  // ask
  bool IsNull() const noexcept { return object_.IsNull(); }
  const T& Const() const noexcept { return *object_; } ///< must not be null
  const T& operator*() const noexcept { return *object_; }
  const T* operator->() const noexcept { return object_.Get(); }
  const cow_CountedHld<T>& Holder() const noexcept { return object_; }
  bool IsShared() const noexcept { return object_.IsShared(); }

  // change
  T& Modify() {
    if (IsShared()) object_ = cow_CountedHld<T>(Policy::Clone(*object_));
    return *object_;
  }

private:
  cow_CountedHld<T> object_;
};
