// cow_List.h: block list with shared, copy-on-write storage
#pragma once

#include <BasicUtils/cow_ListBlock.h>
#include <BasicUtils/nex_Exception.h>
#include <bit>
#include <climits>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <span>
#include <stdexcept>
#include <utility>

/// Argument that asks a container for a number of default elements.
enum class cow_Construct { Default };

/// List of elements in blocks of 2^shift; element i lies in block (i + start) >> shift.
///
/// Copies share table and blocks. A read never copies; a change first copies the shared table and those
/// shared blocks that it touches. A reference from Get() must not be used after the list was copied: it would
/// change both.
///
/// Empty      a default list owns nothing.
/// Errors     nex_OutOfRangeException for an index outside [0, Size()); std::length_error above INT_MAX
///            elements. A failed change leaves the elements as they were, provided moving them cannot throw.
/// Cost       copy O(1); both ends O(1) amortised; insert and remove move the elements of the shorter side.
///            Loops run block by block: ForEachBlock, BlockFrom, or range-for.
/// Threads    copies may be read, changed and dropped on several threads.
template<class T> class cow_List {
public:
  class Iterator;
  using value_type = T;
  using const_iterator = Iterator;

  cow_List() = default;
  cow_List(cow_Construct, int n) : cow_List() { ///< n default elements
    Initialize(n);
    Extend(n, ValueConstruct);
  }
  explicit cow_List(std::span<const T> elements) : cow_List() { InitializeFrom(elements); }
  cow_List(std::initializer_list<T> elements) : cow_List(std::span<const T>(elements)) {}
  cow_List(const cow_List& other) noexcept
      : table_(other.table_), count_(other.count_), start_(other.start_), shift_(other.shift_) {
    if (table_) table_->Share();
  }
  cow_List(cow_List&& other) noexcept { Swap(other); }
  cow_List& operator=(cow_List other) noexcept {
    Swap(other);
    return *this;
  }
  ~cow_List() { Table::Release(table_); }

  // ask
  int Size() const noexcept { return count_; }
  bool IsEmpty() const noexcept { return count_ == 0; }
  const T& ConstGet(int i) const {
    CheckIndex(i);
    return UncheckedConstGet(i);
  }
  const T& UncheckedConstGet(int i) const noexcept {
    const unsigned at = Position(i);
    return *std::as_const(*table_).Slot(at >> shift_)->At(at & Mask());
  }
  const T& Last() const { return ConstGet(count_ - 1); } ///< index -1 is raised when empty
  /// Elements from i to the end of its block, at most to the end of the list; i must be an index.
  std::span<const T> BlockFrom(int i) const noexcept {
    const unsigned room = (1U << shift_) - (Position(i) & Mask());
    return {&UncheckedConstGet(i), std::min(room, static_cast<unsigned>(count_ - i))};
  }
  template<class F> void ForEachBlock(F&& f) const { ///< f(std::span<const T>) in order
    for (int i = 0; i < count_;) {
      const std::span<const T> block = BlockFrom(i);
      f(block);
      i += static_cast<int>(block.size());
    }
  }
  Iterator begin() const noexcept { return Iterator(*this); }
  Iterator end() const noexcept { return Iterator(); }
  T* GetCArray(int& count) const; ///< copy by new[], owned by the caller; null when empty
  /// Elements [lo, hi), lo = max(a, 0), hi = min(max(b, lo), Size()), then lo = min(lo, hi). Shares the
  /// blocks of a slice that is at least a block long.
  cow_List Slice(int a, int b) const;
  friend bool operator==(const cow_List& a, const cow_List& b) { return a.IsEqual(b); }

  int BlockShift() const noexcept { return shift_; }
  int TableSlots() const noexcept { return table_ ? table_->Slots() : 0; }
  int SharedCount() const noexcept { return table_ ? table_->Count() : 1; } ///< lists on this storage

  // change
  T& Get(int i) {
    CheckIndex(i);
    return OwnElement(i);
  }
  cow_List& Put(int i, T value) {
    Get(i) = std::move(value);
    return *this;
  }
  cow_List& Append(T value);
  cow_List& Prepend(T value);
  cow_List& InsertIndex(int i, T value); ///< before element i; i = Size() appends
  cow_List& RemoveIndex(int i);
  T Pop();                 ///< removes and returns the last element; index -1 is raised when empty
  cow_List& Resize(int n); ///< new elements are default ones; the table is sized for n
  cow_List& Fill(int n, const T& value); ///< becomes n copies of a value
  cow_List& Concatenate(const cow_List& other);
  cow_List& SetFromArray(const T* array, int n) {
    if (n < 0) RaiseOutOfRange(n);
    return *this = cow_List(std::span(array, static_cast<std::size_t>(n)));
  }
  /// Empties the list and prepares it for n elements: blocks of 16, for n >= 256 of 2^(floor(log2 n) - 3).
  cow_List& Initialize(int n);
  /// Stores count elements from position first on: existing elements are overwritten, the others are
  /// appended. They must lie in one block.
  cow_List& InitializeBlock(const T* array, int first, int count);
  void Swap(cow_List& other) noexcept {
    std::swap(table_, other.table_);
    std::swap(count_, other.count_);
    std::swap(start_, other.start_);
    std::swap(shift_, other.shift_);
  }

  [[noreturn]] void RaiseOutOfRange(int i) const { throw nex_OutOfRangeException(i, count_); }

private:
  using Block = cow_ListBlock<T>;
  using Table = cow_ListTable<T>;
  struct Range {
    unsigned lo, hi;
  };
  static constexpr int kShift = 4, kSlots = 16;

  static void ValueConstruct(T* to, unsigned n) { std::uninitialized_value_construct_n(to, n); }
  static int RoundSlots(std::int64_t slots) {
    return static_cast<int>((slots + kSlots - 1) / kSlots * kSlots);
  }
  void CheckIndex(int i) const {
    if (i < 0 || i >= count_) RaiseOutOfRange(i);
  }
  unsigned Mask() const noexcept { return (1U << shift_) - 1; }
  unsigned Position(int i) const noexcept { return static_cast<unsigned>(i) + static_cast<unsigned>(start_); }
  unsigned BlockOf(int i) const noexcept { return Position(i) >> shift_; }
  std::int64_t BlocksFor(std::int64_t n) const noexcept { return (n + start_ + Mask()) >> shift_; }
  Range Live(unsigned block) const noexcept;
  bool IsEqual(const cow_List& other) const;

  void Rebuild(int slots, int offset = 0);
  void OwnTable() {
    if (table_ && table_->IsShared()) Rebuild(table_->Slots());
  }
  Block& OwnBlock(unsigned block);
  T& OwnElement(int i) {
    OwnTable();
    return *OwnBlock(BlockOf(i)).At(Position(i) & Mask());
  }
  void OwnRange(int first, int last);
  void RoomBehind(int n);
  void RoomBefore();
  template<class Make> void Extend(int n, Make make);
  void ExtendFrom(std::span<const T> elements);
  void InitializeFrom(std::span<const T> elements);
  void Tidy(unsigned block) noexcept;
  void Truncate(int n) noexcept;
  void MoveDown(int first, int last);
  void MoveUp(int first, int last);

  Table* table_ = nullptr;
  int count_ = 0, start_ = 0, shift_ = kShift;
};

#include <BasicUtils/cow_List.inl>
