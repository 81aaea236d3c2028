// cow_ArrayCOW.h: flat array with shared, copy-on-write storage
#pragma once

#include <BasicUtils/cow_COW.h>
#include <BasicUtils/nex_Exception.h>
#include <CoreUtils/omi_LargePages.h>
#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>

/// Where an identical array is stored: a file and an array in it; all zero when it is not stored.
struct cow_ArrayStamp {
  unsigned long long uid[2] = {0, 0};
  long long id = 0;

  friend bool operator==(const cow_ArrayStamp&, const cow_ArrayStamp&) = default;
};

/// Growable array of plain values in one block of memory, for bulk data.
///
/// Copies share the block; a call that changes elements copies a shared block first and clears its stamp. A
/// span from Modify() must not be used after the array was copied, stamped or changed.
///
/// Empty      a default array, and one whose last element was removed, owns nothing.
/// Errors     std::length_error for a size that cannot be addressed, std::bad_alloc; nex_OutOfRangeException
///            for removing elements out of range. A failed change leaves the array as it was.
/// Cost       copy O(1) at any size; Append amortised O(1), other changes of size allocate exactly what they
///            need.
///            Elements are aligned to 64 bytes, to a page from 1 MiB on; large pages are asked for from 4 MiB on.
/// Threads    copies may be read, changed, stamped and dropped on several threads.
template<class T, class Policy = cow_Direct<T>> class cow_ArrayCOW {
  static_assert(std::is_trivially_copyable_v<T>);

public:
  using value_type = T;

  cow_ArrayCOW() = default;
  explicit cow_ArrayCOW(std::span<const T> elements) : cow_ArrayCOW() { Append(elements); }
  cow_ArrayCOW(const cow_ArrayCOW& other) noexcept : buffer_(other.buffer_) {
    if (buffer_) buffer_->count.fetch_add(1, std::memory_order_relaxed);
  }
  cow_ArrayCOW(cow_ArrayCOW&& other) noexcept : buffer_(std::exchange(other.buffer_, nullptr)) {}
  cow_ArrayCOW& operator=(cow_ArrayCOW other) noexcept {
    std::swap(buffer_, other.buffer_);
    return *this;
  }
  ~cow_ArrayCOW() { Release(buffer_); }

  // ask
  std::size_t Size() const noexcept { return buffer_ ? buffer_->size : 0; }
  bool IsEmpty() const noexcept { return Size() == 0; }
  std::span<const T> Const() const noexcept {
    return buffer_ ? std::span<const T>(buffer_->data, buffer_->size) : std::span<const T>();
  }
  bool SharesWith(const cow_ArrayCOW& other) const noexcept { return buffer_ && buffer_ == other.buffer_; }
  long SharedCount() const noexcept { ///< arrays on this block, 0 when nothing is owned
    return buffer_ ? buffer_->count.load(std::memory_order_acquire) : 0;
  }
  /// Arrays that share a block are equal whatever they hold; others are compared element by element.
  friend bool operator==(const cow_ArrayCOW& a, const cow_ArrayCOW& b) {
    const std::span<const T> x = a.Const(), y = b.Const();
    return x.size() == y.size() && (x.data() == y.data() || std::equal(x.begin(), x.end(), y.begin()));
  }
  cow_ArrayStamp Stamp() const noexcept {
    if (!buffer_) return {};
    const StampLock lock(*buffer_);
    return buffer_->stamp;
  }
  /// Records where the block is stored, for all arrays that share it; does nothing without a block.
  void SetStamp(const cow_ArrayStamp& stamp) const noexcept {
    if (!buffer_) return;
    const StampLock lock(*buffer_);
    buffer_->stamp = stamp;
  }

  // change
  std::span<T> Modify() {
    if (!buffer_) return {};
    Own(Size());
    return {buffer_->data, buffer_->size};
  }
  void Resize(std::size_t n) { ///< new elements are zero bytes
    const std::size_t before = Size();
    ResizeUninitialised(n);
    if (n > before) std::memset(static_cast<void*>(buffer_->data + before), 0, (n - before) * sizeof(T));
  }
  void ResizeUninitialised(std::size_t n) {
    if (n == Size()) return;
    if (n == 0) return Clear();
    Own(n);
    buffer_->size = n;
  }
  void Append(T element) {
    if (!buffer_ || buffer_->size == buffer_->capacity || IsShared())
      return Append(std::span<const T>(&element, 1));
    buffer_->stamp = {};
    buffer_->data[buffer_->size++] = element;
  }
  void Append(std::span<const T> elements); ///< they may be elements of this array
  void Remove(std::size_t first, std::size_t count);
  void Reserve(std::size_t n) { ///< changes no element, so the stamp stays
    if (n <= Size() || (!IsShared() && n <= Capacity())) return;
    Buffer* const larger = MakeLike(n, Size());
    larger->stamp = Stamp();
    Release(std::exchange(buffer_, larger));
  }
  void Clear() noexcept { Release(std::exchange(buffer_, nullptr)); }

private:
  struct Buffer {
    std::atomic<long> count{1};
    std::size_t size, capacity;
    T* data;
    cow_ArrayStamp stamp{};
    std::atomic_flag isStampBusy{};
  };
  /// Copies on other threads store the same block. The lock is held while three words are copied, so waiting
  /// spins.
  struct StampLock {
    explicit StampLock(Buffer& of) noexcept : buffer(of) {
      while (buffer.isStampBusy.test_and_set(std::memory_order_acquire)) {
      }
    }
    ~StampLock() { buffer.isStampBusy.clear(std::memory_order_release); }
    StampLock(const StampLock&) = delete;
    StampLock& operator=(const StampLock&) = delete;
    Buffer& buffer;
  };
  static constexpr std::size_t kLine = 64, kPage = 4096, kPageFrom = std::size_t{1} << 20;
  static constexpr std::size_t kMaxSize = (PTRDIFF_MAX - 2 * kPage) / sizeof(T);
  static_assert(sizeof(Buffer) <= kLine && alignof(T) <= kLine);

  static Buffer* Make(std::size_t capacity, std::size_t size) {
    if (capacity > kMaxSize)
      throw std::length_error("cow_ArrayCOW: " + std::to_string(capacity) + " elements");
    const std::size_t bytes = capacity * sizeof(T), alignment = bytes < kPageFrom ? kLine : kPage;
    const std::size_t all = (alignment + bytes + alignment - 1) / alignment * alignment;
    void* const memory = std::aligned_alloc(alignment, all);
    if (!memory) throw std::bad_alloc();
    omi_UseLargePages(memory, all);
    T* const data = reinterpret_cast<T*>(static_cast<std::byte*>(memory) + alignment);
    return new (memory) Buffer{.size = size, .capacity = capacity, .data = data};
  }
  /// A block with the first elements of this one.
  Buffer* MakeLike(std::size_t capacity, std::size_t size) const {
    Buffer* const made = Make(capacity, size);
    Copy(made->data, Const().first(size));
    return made;
  }
  static void Copy(T* to, std::span<const T> from) noexcept {
    if (!from.empty()) std::memcpy(static_cast<void*>(to), from.data(), from.size_bytes());
  }
  static void Release(Buffer* buffer) noexcept {
    if (buffer && buffer->count.fetch_sub(1, std::memory_order_acq_rel) == 1) std::free(buffer);
  }
  bool IsShared() const noexcept { return SharedCount() > 1; }
  std::size_t Capacity() const noexcept { return buffer_ ? buffer_->capacity : 0; }

  /// An unshared block, without stamp, for n elements; the first elements are kept.
  void Own(std::size_t n) {
    if (!buffer_ || IsShared() || n > buffer_->capacity)
      Release(std::exchange(buffer_, MakeLike(n, std::min(n, Size()))));
    buffer_->stamp = {};
  }

  Buffer* buffer_ = nullptr;
};

template<class T, class Policy> void cow_ArrayCOW<T, Policy>::Append(std::span<const T> elements) {
  if (elements.empty()) return;
  const std::size_t before = Size();
  if (elements.size() > kMaxSize - before)
    throw std::length_error("cow_ArrayCOW: " + std::to_string(before) + " elements and "
                            + std::to_string(elements.size()) + " more");
  const std::size_t n = before + elements.size();
  if (IsShared() || n > Capacity()) {
    Buffer* const larger = MakeLike(std::max(n, std::min(before + before / 2, kMaxSize)), before);
    Copy(larger->data + before, elements); // the old block may hold them: it goes last
    Release(std::exchange(buffer_, larger));
  } else {
    Copy(buffer_->data + before, elements);
  }
  buffer_->stamp = {};
  buffer_->size = n;
}

template<class T, class Policy> void cow_ArrayCOW<T, Policy>::Remove(std::size_t first, std::size_t count) {
  const std::span<const T> all = Const();
  if (first > all.size() || count > all.size() - first)
    throw nex_OutOfRangeException(static_cast<long long>(first > all.size() ? first : first + count),
                                  static_cast<long long>(all.size()));
  if (count == 0) return;
  if (count == all.size()) return Clear();
  const std::span<const T> rest = all.subspan(first + count);
  if (IsShared()) {
    Buffer* const smaller = MakeLike(all.size() - count, first);
    Copy(smaller->data + first, rest);
    Release(std::exchange(buffer_, smaller));
  } else if (!rest.empty()) {
    std::memmove(static_cast<void*>(buffer_->data + first), rest.data(), rest.size_bytes());
  }
  buffer_->stamp = {};
  buffer_->size = all.size() - count;
}
