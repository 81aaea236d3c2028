// cow_CountedHld.h: counted handle of a shared object
#pragma once

#include <memory>
#include <utility>

/// Counted handle: the last handle deletes the object, by the deleter it was made with.
/// A new handle has count 1; copying is O(1).
///
/// Threads    handles of one object may be copied and dropped on several threads.
template<class T> class cow_CountedHld {
public:
  cow_CountedHld() = default;                             ///< null
  explicit cow_CountedHld(T* object) : object_(object) {} ///< takes ownership; count 1
  explicit cow_CountedHld(std::shared_ptr<T> object) noexcept : object_(std::move(object)) {}
  /// A handle of a derived class is a handle of its base.
  template<class D>
  requires std::is_convertible_v<D*, T*> cow_CountedHld(const cow_CountedHld<D>& other)
  noexcept : object_(other.Shared()) {}

  // ask
  bool IsNull() const noexcept { return !object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }
  T* Get() const noexcept { return object_.get(); }
  T* operator->() const noexcept { return object_.get(); }
  T& operator*() const noexcept { return *object_; }
  long Count() const noexcept { return object_.use_count(); } ///< handles of the referent, 0 when null
  /// When false, this thread sees everything that the owners of the other handles did before they released
  /// them.
  bool IsShared() const noexcept {
    if (object_.use_count() > 1) return true;
    // the count is read without ordering; giving up a further handle orders this thread behind the others
    std::shared_ptr<T>(object_).reset();
    return false;
  }
  const std::shared_ptr<T>& Shared() const noexcept { return object_; }
  friend bool operator==(const cow_CountedHld&, const cow_CountedHld&) = default;

private:
  std::shared_ptr<T> object_;
};
