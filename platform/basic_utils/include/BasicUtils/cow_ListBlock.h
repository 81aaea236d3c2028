// cow_ListBlock.h: the counted storage of cow_List: blocks of elements, and the table of blocks
#pragma once

#include <algorithm>
#include <atomic>
#include <memory>
#include <new>

/// Counted raw storage of a block; positions [Lo(), Hi()) hold elements. Starts with count 1 and no elements.
/// Only the single owner of a block may change it.
template<class T> class alignas(T) alignas(void*) cow_ListBlock {
public:
  static cow_ListBlock* Make(unsigned capacity, unsigned position) {
    return new (Allocator().allocate(Units(capacity))) cow_ListBlock(capacity, position);
  }

  /// A block of the same capacity with copies of the elements at [lo, hi).
  static cow_ListBlock* Copy(const cow_ListBlock& from, unsigned lo, unsigned hi) {
    cow_ListBlock* const copy = Make(from.capacity_, lo);
    try {
      std::uninitialized_copy_n(from.At(lo), hi - lo, copy->At(lo));
    } catch (...) {
      Release(copy);
      throw;
    }
    copy->hi_ = hi;
    return copy;
  }

  // ask
  bool IsShared() const noexcept { return count_.load(std::memory_order_acquire) > 1; }
  const T* At(unsigned position) const noexcept { return reinterpret_cast<const T*>(this + 1) + position; }

  // change
  T* At(unsigned position) noexcept { return reinterpret_cast<T*>(this + 1) + position; }
  void Share() noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
  /// Drops one reference; null is allowed. The last one destroys the elements.
  static void Release(cow_ListBlock* block) noexcept {
    if (!block || block->count_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    std::destroy(block->At(block->lo_), block->At(block->hi_));
    Allocator().deallocate(block, Units(block->capacity_));
  }
  /// Destroys the elements outside [lo, hi).
  void Trim(unsigned lo, unsigned hi) noexcept {
    std::destroy(At(lo_), At(std::clamp(lo, lo_, hi_)));
    std::destroy(At(std::clamp(hi, lo_, hi_)), At(hi_));
    lo_ = lo;
    hi_ = hi;
  }
  void GrewBack(unsigned elements) noexcept { hi_ += elements; } ///< constructed just behind the last one
  void GrewFront() noexcept { --lo_; }                           ///< constructed just before the first one

private:
  using Allocator = std::allocator<cow_ListBlock>;

  cow_ListBlock(unsigned capacity, unsigned position) noexcept
      : capacity_(capacity), lo_(position), hi_(position) {}

  /// Header and elements in units of the header, so that the allocator provides the alignment.
  static std::size_t Units(std::size_t capacity) {
    return 1 + (capacity * sizeof(T) + sizeof(cow_ListBlock) - 1) / sizeof(cow_ListBlock);
  }

  std::atomic<unsigned> count_{1};
  unsigned capacity_, lo_, hi_;
};

/// Counted array of block pointers; free slots are null. Holds one reference to each of its blocks.
/// Only the single owner of a table may change it.
template<class T> class cow_ListTable {
public:
  using Block = cow_ListBlock<T>;

  static cow_ListTable* Make(int slots) {
    auto* const table = new (Allocator().allocate(1 + static_cast<std::size_t>(slots))) cow_ListTable(slots);
    std::uninitialized_value_construct_n(&table->Slot(0), slots);
    return table;
  }

  // ask
  int Slots() const noexcept { return slots_; }
  int Count() const noexcept { return count_.load(std::memory_order_acquire); }
  bool IsShared() const noexcept { return Count() > 1; }
  const Block* Slot(std::size_t i) const noexcept { return reinterpret_cast<Block* const*>(this + 1)[i]; }

  // change
  Block*& Slot(std::size_t i) noexcept { return reinterpret_cast<Block**>(this + 1)[i]; }
  void Share() noexcept { count_.fetch_add(1, std::memory_order_relaxed); }
  /// Drops one reference; null is allowed. The last one releases the blocks.
  static void Release(cow_ListTable* table) noexcept {
    if (!table || table->count_.fetch_sub(1, std::memory_order_acq_rel) != 1) return;
    for (int i = 0; i < table->slots_; ++i) Block::Release(table->Slot(static_cast<std::size_t>(i)));
    Allocator().deallocate(table, 1 + static_cast<std::size_t>(table->slots_));
  }

private:
  using Allocator = std::allocator<cow_ListTable>;

  explicit cow_ListTable(int slots) noexcept : slots_(slots) {
    static_assert(sizeof(cow_ListTable) == sizeof(Block*));
  }

  alignas(void*) std::atomic<int> count_{1};
  int slots_;
};
