// fmt_Chunks.h: numbers whose count shows while they are read
#pragma once

#include <algorithm>
#include <memory>
#include <new>
#include <span>
#include <sys/mman.h>
#include <vector>

/// Gives large pieces back to the system at once, which the heap does not always do.
struct fmt_FreePiece {
  std::size_t mapped = 0; ///< bytes of whole pages; 0 for a piece of the heap
  template<class T> void operator()(T* piece) const noexcept {
    if (mapped > 0)
      munmap(piece, mapped);
    else
      delete[] piece;
  }
};
template<class T> using fmt_Piece = std::unique_ptr<T[], fmt_FreePiece>;

/// Uninitialised room for so many plain values.
template<class T> fmt_Piece<T> fmt_MakePiece(std::size_t count) {
  constexpr std::size_t kMapFrom = std::size_t{1} << 16;
  const std::size_t bytes = count * sizeof(T);
  if (bytes < kMapFrom) return fmt_Piece<T>(new T[count]);
  void* const pages = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (pages == MAP_FAILED) throw std::bad_alloc();
  return fmt_Piece<T>(static_cast<T*>(pages), {bytes});
}

/// Grows without copying, and becomes one array without holding everything twice: each piece goes as soon as it
/// is copied.
template<class T> class fmt_Chunks {
public:
  std::size_t Size() const noexcept { return size_; }
  /// Room for so many more in one piece, to be filled.
  std::span<T> Add(std::size_t count) {
    if (chunks_.empty() || chunks_.back().capacity - chunks_.back().used < count) {
      const std::size_t room = std::max(count, std::clamp(size_ / 2, kLeast, kMost));
      chunks_.push_back({fmt_MakePiece<T>(room), 0, room});
    }
    Chunk& last = chunks_.back();
    const std::span<T> added(last.numbers.get() + last.used, count);
    last.used += count;
    size_ += count;
    return added;
  }
  void Add(std::span<const T> values) { std::ranges::copy(values, Add(values.size()).begin()); }

  /// Each piece in order.
  template<class Each> void ForEach(Each each) const {
    for (const Chunk& chunk : chunks_) each(std::span<const T>(chunk.numbers.get(), chunk.used));
  }
  /// Each piece in order, which is gone afterwards.
  template<class Each> void Drain(Each each) {
    for (Chunk& chunk : chunks_) {
      each(std::span<const T>(chunk.numbers.get(), chunk.used));
      chunk.numbers.reset();
    }
    chunks_.clear();
    size_ = 0;
  }
  /// All of them to the front of a span that is long enough; answers the rest of it.
  std::span<T> DrainTo(std::span<T> target) {
    Drain([&](std::span<const T> part) {
      std::ranges::copy(part, target.begin());
      target = target.subspan(part.size());
    });
    return target;
  }

private:
  static constexpr std::size_t kLeast = 64, kMost = std::size_t{1} << 17;

  struct Chunk {
    fmt_Piece<T> numbers;
    std::size_t used, capacity;
  };
  std::vector<Chunk> chunks_;
  std::size_t size_ = 0;
};
