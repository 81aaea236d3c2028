// cow_ArrayCOW.h: flat shared array, copied when it is changed
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <type_traits>

struct cow_ArrayStamp {
  unsigned long long uid[2] = {0, 0};
  long long id = 0;
};

template<class T> class cow_ArrayCOW {
  static_assert(std::is_trivially_copyable_v<T>);

public:
  std::size_t Size() const noexcept { return buffer_ ? buffer_->size : 0; }
  bool IsEmpty() const noexcept { return Size() == 0; }
  std::span<const T> Const() const noexcept {
    return buffer_ ? std::span<const T>(buffer_->data.get(), buffer_->size) : std::span<const T>();
  }
  std::span<T> Modify() {
    if (!buffer_) return {};
    if (buffer_.use_count() > 1) Reallocate(buffer_->size, buffer_->size);
    buffer_->stamp = {};
    return {buffer_->data.get(), buffer_->size};
  }
  void ResizeUninitialised(std::size_t n) {
    if (!buffer_ || buffer_.use_count() > 1 || n > buffer_->capacity) Reallocate(n, n);
    buffer_->size = n;
    buffer_->stamp = {};
  }
  void Append(std::span<const T> values) {
    const std::size_t old = Size();
    if (!buffer_ || buffer_.use_count() > 1 || old + values.size() > buffer_->capacity)
      Reallocate(old, std::max(old + values.size(), old + old / 2));
    buffer_->size = old + values.size();
    buffer_->stamp = {};
    std::copy(values.begin(), values.end(), buffer_->data.get() + old);
  }
  void Reserve(std::size_t) {}
  void Resize(std::size_t n) {
    const std::size_t old = Size();
    if (!buffer_ || buffer_.use_count() > 1 || n > buffer_->capacity) Reallocate(n, n);
    buffer_->size = n;
    buffer_->stamp = {};
    if (n > old) std::memset(buffer_->data.get() + old, 0, (n - old) * sizeof(T));
  }
  void Remove(std::size_t first, std::size_t count) {
    auto all = Modify();
    std::copy(all.begin() + static_cast<long>(first + count), all.end(),
              all.begin() + static_cast<long>(first));
    buffer_->size -= count;
  }
  const cow_ArrayStamp& Stamp() const {
    static const cow_ArrayStamp none;
    return buffer_ ? buffer_->stamp : none;
  }
  void SetStamp(const cow_ArrayStamp& stamp) const {
    if (buffer_) buffer_->stamp = stamp;
  }

private:
  struct Free {
    void operator()(T* p) const { ::operator delete (p, std::align_val_t{64}); }
  };
  struct Buffer {
    std::unique_ptr<T, Free> data;
    std::size_t size, capacity;
    cow_ArrayStamp stamp;
  };
  void Reallocate(std::size_t keep, std::size_t capacity) {
    auto made = std::make_shared<Buffer>();
    made->data.reset(static_cast<T*>(::operator new (capacity * sizeof(T), std::align_val_t{64})));
    made->capacity = capacity;
    made->size = std::min(keep, Size());
    if (made->size) std::memcpy(made->data.get(), buffer_->data.get(), made->size * sizeof(T));
    made->size = keep;
    buffer_ = made;
  }
  std::shared_ptr<Buffer> buffer_;
};
