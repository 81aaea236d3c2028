// cow_List.inl: iterator and larger members of cow_List
#pragma once

#include <BasicUtils/cow_List.h>

/// Reads a list in order, one block at a time. Invalid after a change of the list.
template<class T> class cow_List<T>::Iterator {
public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = T;
  using difference_type = std::ptrdiff_t;
  using pointer = const T*;
  using reference = const T&;

  Iterator() = default; ///< behind the last element of any list
  explicit Iterator(const cow_List& list) noexcept : list_(&list) { Enter(); }

  reference operator*() const noexcept { return *at_; }
  pointer operator->() const noexcept { return at_; }
  Iterator& operator++() noexcept {
    if (++at_ == end_) Enter();
    return *this;
  }
  Iterator operator++(int) noexcept {
    Iterator before = *this;
    ++*this;
    return before;
  }
  friend bool operator==(const Iterator& a, const Iterator& b) noexcept { return a.at_ == b.at_; }

private:
  void Enter() noexcept {
    at_ = end_ = nullptr;
    if (next_ >= list_->Size()) return;
    const std::span<const T> block = list_->BlockFrom(next_);
    at_ = block.data();
    end_ = at_ + block.size();
    next_ += static_cast<int>(block.size());
  }

  const cow_List* list_ = nullptr;
  const T *at_ = nullptr, *end_ = nullptr;
  int next_ = 0; ///< first index behind the current block
};

// ---- storage ----

/// The positions of a block that elements of this list take; an empty range lies where the next one goes.
template<class T> auto cow_List<T>::Live(unsigned block) const noexcept -> Range {
  const std::uint64_t first = std::uint64_t{block} << shift_, start = static_cast<unsigned>(start_);
  const std::uint64_t lo = std::max(start, first);
  const std::uint64_t hi = std::max(lo, std::min(start + static_cast<unsigned>(count_), first + Mask() + 1));
  return {static_cast<unsigned>(lo - first), static_cast<unsigned>(hi - first)};
}

/// Makes a private table of the given size; the block of slot i goes to slot i + offset, or is released when
/// there is no such slot.
template<class T> void cow_List<T>::Rebuild(int slots, int offset) {
  Table* const table = slots > 0 ? Table::Make(slots) : nullptr;
  const bool shared = table_ && table_->IsShared();
  const int first = std::max(0, -offset), end = std::min(TableSlots(), slots - offset);
  for (int i = first; i < end; ++i) {
    Block*& block = table_->Slot(static_cast<std::size_t>(i));
    const int target = i + offset;
    table->Slot(static_cast<std::size_t>(target)) = block;
    if (!shared)
      block = nullptr;
    else if (block)
      block->Share();
  }
  Table::Release(std::exchange(table_, table));
}

/// The block, private and holding exactly this list's elements. The table must be private.
template<class T> auto cow_List<T>::OwnBlock(unsigned block) -> Block& {
  Block*& slot = table_->Slot(block);
  const auto [lo, hi] = Live(block);
  if (!slot) {
    slot = Block::Make(Mask() + 1, lo);
  } else if (slot->IsShared()) {
    Block* const copy = Block::Copy(*slot, lo, hi);
    Block::Release(std::exchange(slot, copy));
  } else {
    slot->Trim(lo, hi);
  }
  return *slot;
}

/// Makes the blocks of elements [first, last) private.
template<class T> void cow_List<T>::OwnRange(int first, int last) {
  OwnTable();
  for (unsigned block = BlockOf(first); block <= BlockOf(last - 1); ++block) OwnBlock(block);
}

/// Private table with slots for n more elements at the end.
template<class T> void cow_List<T>::RoomBehind(int n) {
  if (n > INT_MAX - count_) throw std::length_error("cow_List: more than 2147483647 elements");
  const std::int64_t needed = BlocksFor(std::int64_t{count_} + n);
  const int have = TableSlots(), lead = start_ >> shift_;
  if (needed <= have) return OwnTable();
  if (lead > 0 && lead >= have / 2) { // used as a queue: take the free slots in front
    Rebuild(std::max(have, RoundSlots(needed - lead)), -lead);
    start_ -= lead << shift_;
  } else {
    Rebuild(std::max(RoundSlots(needed), RoundSlots(std::int64_t{have} + have / 8)));
  }
}

/// Private table with a slot for one more element at the front.
template<class T> void cow_List<T>::RoomBefore() {
  if (count_ == INT_MAX) throw std::length_error("cow_List: more than 2147483647 elements");
  if (start_ > 0) return OwnTable();
  const std::int64_t used = BlocksFor(count_);
  const int gap = static_cast<int>(std::clamp<std::int64_t>(used / 8, 1, INT_MAX >> shift_));
  Rebuild(std::max(TableSlots(), RoundSlots(used + gap)), gap);
  start_ = gap << shift_;
}

/// Appends n elements; make(T* to, unsigned k) constructs k of them or throws and constructs none.
template<class T> template<class Make> void cow_List<T>::Extend(int n, Make make) {
  RoomBehind(n);
  const int before = count_;
  try {
    while (n > 0) {
      const unsigned at = Position(count_) & Mask();
      const unsigned k = std::min(static_cast<unsigned>(n), Mask() + 1 - at);
      Block& block = OwnBlock(BlockOf(count_));
      make(block.At(at), k);
      block.GrewBack(k);
      count_ += static_cast<int>(k);
      n -= static_cast<int>(k);
    }
  } catch (...) {
    Truncate(before);
    throw;
  }
}

template<class T> void cow_List<T>::ExtendFrom(std::span<const T> elements) {
  if (elements.size() > static_cast<std::size_t>(INT_MAX - count_))
    throw std::length_error("cow_List: more than 2147483647 elements");
  const T* from = elements.data();
  Extend(static_cast<int>(elements.size()), [&from](T* to, unsigned k) {
    std::uninitialized_copy_n(from, k, to);
    from += k;
  });
}

template<class T> void cow_List<T>::InitializeFrom(std::span<const T> elements) {
  if (elements.size() > INT_MAX) throw std::length_error("cow_List: more than 2147483647 elements");
  Initialize(static_cast<int>(elements.size()));
  ExtendFrom(elements);
}

/// Gives up what a block holds beyond this list's elements. The table must be private.
template<class T> void cow_List<T>::Tidy(unsigned block) noexcept {
  Block*& slot = table_->Slot(block);
  const auto [lo, hi] = Live(block);
  if (lo == hi)
    Block::Release(std::exchange(slot, nullptr));
  else if (!slot->IsShared())
    slot->Trim(lo, hi);
}

/// Drops the elements from n on. The table must be private.
template<class T> void cow_List<T>::Truncate(int n) noexcept {
  const unsigned end = static_cast<unsigned>(std::min<std::int64_t>(BlocksFor(count_), TableSlots()));
  count_ = n;
  for (unsigned block = BlockOf(n); block < end; ++block) Tidy(block);
}

/// Element j takes the value of j + 1 for j in [first, last); the range must be private.
template<class T> void cow_List<T>::MoveDown(int first, int last) {
  while (first < last) {
    const unsigned at = Position(first) & Mask();
    const int k = static_cast<int>(std::min(static_cast<unsigned>(last - first), Mask() - at));
    T* const to = table_->Slot(BlockOf(first))->At(at);
    std::move(to + 1, to + 1 + k, to);
    first += k;
    if (first < last) to[k] = std::move(*table_->Slot(BlockOf(first + 1))->At(0));
    ++first;
  }
}

/// Element j takes the value of j - 1 for j in (first, last]; the range must be private.
template<class T> void cow_List<T>::MoveUp(int first, int last) {
  while (last > first) {
    const unsigned at = Position(last) & Mask();
    const int k = static_cast<int>(std::min(static_cast<unsigned>(last - first), at));
    T* const end = table_->Slot(BlockOf(last))->At(at) + 1;
    std::move_backward(end - 1 - k, end - 1, end);
    last -= k;
    if (last > first) end[-1 - k] = std::move(*table_->Slot(BlockOf(last - 1))->At(Mask()));
    --last;
  }
}

// ---- ask ----

template<class T> bool cow_List<T>::IsEqual(const cow_List& other) const {
  if (count_ != other.count_) return false;
  for (int i = 0; i < count_;) {
    const std::span<const T> mine = BlockFrom(i), its = other.BlockFrom(i);
    const std::size_t n = std::min(mine.size(), its.size());
    if (mine.data() != its.data() && !std::equal(mine.data(), mine.data() + n, its.data())) return false;
    i += static_cast<int>(n);
  }
  return true;
}

template<class T> T* cow_List<T>::GetCArray(int& count) const {
  std::unique_ptr<T[]> array;
  if (count_ > 0) array = std::make_unique<T[]>(static_cast<std::size_t>(count_));
  T* to = array.get();
  ForEachBlock([&to](std::span<const T> block) { to = std::copy(block.begin(), block.end(), to); });
  count = count_;
  return array.release();
}

template<class T> cow_List<T> cow_List<T>::Slice(int a, int b) const {
  int lo = std::max(a, 0);
  const int hi = std::min(std::max(b, lo), count_);
  lo = std::min(lo, hi);
  cow_List slice;
  if (lo == 0 && hi == count_) {
    slice = *this;
  } else if (static_cast<unsigned>(hi - lo) > Mask()) {
    const unsigned first = BlockOf(lo), last = BlockOf(hi - 1);
    slice.shift_ = shift_;
    slice.Rebuild(RoundSlots(std::int64_t{last} - first + 1));
    for (unsigned block = first; block <= last; ++block)
      (slice.table_->Slot(block - first) = table_->Slot(block))->Share();
    slice.start_ = static_cast<int>(Position(lo) & Mask());
    slice.count_ = hi - lo;
  } else {
    slice.Initialize(hi - lo);
    for (int i = lo; i < hi;) {
      std::span<const T> block = BlockFrom(i);
      block = block.first(std::min(block.size(), static_cast<std::size_t>(hi - i)));
      slice.ExtendFrom(block);
      i += static_cast<int>(block.size());
    }
  }
  return slice;
}

// ---- change ----

template<class T> cow_List<T>& cow_List<T>::Append(T value) {
  Extend(1, [&value](T* to, unsigned) { std::construct_at(to, std::move(value)); });
  return *this;
}

template<class T> cow_List<T>& cow_List<T>::Prepend(T value) {
  RoomBefore();
  const unsigned at = static_cast<unsigned>(start_) - 1;
  Block& block = OwnBlock(at >> shift_);
  std::construct_at(block.At(at & Mask()), std::move(value));
  block.GrewFront();
  --start_;
  ++count_;
  return *this;
}

template<class T> cow_List<T>& cow_List<T>::InsertIndex(int i, T value) {
  if (i < 0 || i > count_) RaiseOutOfRange(i);
  if (i == count_) return Append(std::move(value));
  if (i == 0) return Prepend(std::move(value));
  if (i < count_ / 2) {
    OwnRange(0, i);
    Prepend(std::move(value));
    T inserted = std::move(OwnElement(0));
    MoveDown(0, i);
    OwnElement(i) = std::move(inserted);
  } else {
    OwnRange(i, count_);
    Append(std::move(value));
    T inserted = std::move(OwnElement(count_ - 1));
    MoveUp(i, count_ - 1);
    OwnElement(i) = std::move(inserted);
  }
  return *this;
}

template<class T> cow_List<T>& cow_List<T>::RemoveIndex(int i) {
  CheckIndex(i);
  OwnTable();
  if (i < count_ / 2) {
    if (i > 0) OwnRange(0, i + 1);
    MoveUp(0, i);
    const unsigned block = BlockOf(0);
    ++start_;
    --count_;
    Tidy(block);
  } else {
    if (i < count_ - 1) OwnRange(i, count_);
    MoveDown(i, count_ - 1);
    Truncate(count_ - 1);
  }
  return *this;
}

template<class T> T cow_List<T>::Pop() {
  CheckIndex(count_ - 1);
  OwnTable();
  Block& block = *table_->Slot(BlockOf(count_ - 1));
  T& last = *block.At(Position(count_ - 1) & Mask());
  T result = block.IsShared() ? T(std::as_const(last)) : T(std::move(last));
  Truncate(count_ - 1);
  return result;
}

template<class T> cow_List<T>& cow_List<T>::Resize(int n) {
  if (n < 0) RaiseOutOfRange(n);
  const int slots = RoundSlots(BlocksFor(n));
  if (slots != TableSlots())
    Rebuild(slots);
  else
    OwnTable();
  if (n > count_)
    Extend(n - count_, ValueConstruct);
  else if (n < count_)
    Truncate(n);
  return *this;
}

template<class T> cow_List<T>& cow_List<T>::Fill(int n, const T& value) {
  if (n < 0) RaiseOutOfRange(n);
  cow_List filled;
  filled.Initialize(n);
  filled.Extend(n, [&value](T* to, unsigned k) { std::uninitialized_fill_n(to, k, value); });
  return *this = std::move(filled);
}

template<class T> cow_List<T>& cow_List<T>::Concatenate(const cow_List& other) {
  if (count_ == 0) return *this = other;
  const cow_List source = other; // keeps the elements in place when other is this list
  const int before = count_;
  RoomBehind(source.count_);
  try {
    source.ForEachBlock([this](std::span<const T> block) { ExtendFrom(block); });
  } catch (...) {
    Truncate(before);
    throw;
  }
  return *this;
}

template<class T> cow_List<T>& cow_List<T>::Initialize(int n) {
  if (n < 0) RaiseOutOfRange(n);
  cow_List ready;
  if (n >= 256) ready.shift_ = static_cast<int>(std::bit_width(static_cast<unsigned>(n))) - 1 - 3;
  const int raised = ready.shift_ > kShift ? static_cast<int>(ready.BlocksFor(n)) : 0;
  if (n != 0) ready.Rebuild(kSlots + raised);
  return *this = std::move(ready);
}

template<class T> cow_List<T>& cow_List<T>::InitializeBlock(const T* array, int first, int count) {
  if (first < 0 || first > count_) RaiseOutOfRange(first);
  const unsigned room = Mask() + 1 - (Position(first) & Mask());
  if (count < 0 || static_cast<unsigned>(count) > room) RaiseOutOfRange(count < 0 ? count : first + count);
  const int over = std::min(count, count_ - first);
  if (over > 0) std::copy_n(array, over, &OwnElement(first));
  ExtendFrom(std::span(array + over, static_cast<std::size_t>(count - over)));
  return *this;
}
