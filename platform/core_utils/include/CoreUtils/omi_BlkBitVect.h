// omi_BlkBitVect.h: growable set of marks, one bit each
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <cstddef>
#include <cstdint>
#include <vector>

/// Marks of the positions 0 to Size() - 1, kept in words of 64.
///
/// Empty      a default vector has no positions; new positions are not marked.
/// Errors     std::out_of_range for a position outside the vector.
/// Cost       storage reaches to the last mark that was set: marks that are never set cost nothing.
///            Counting, erasing and appending run word by word.
class CORE_GEOMETRY_PLATFORM_API omi_BlkBitVect {
public:
  omi_BlkBitVect() = default;
  explicit omi_BlkBitVect(std::size_t size) : size_(size) {}

  // ask
  std::size_t Size() const noexcept { return size_; }
  bool IsEmpty() const noexcept { return size_ == 0; }
  bool Test(std::size_t i) const {
    CheckPosition(i);
    return Word(i / kBits) >> (i % kBits) & 1;
  }
  std::size_t Count() const noexcept; ///< marks that are set
  bool IsAnySet() const noexcept;
  std::size_t StorageBytes() const noexcept { return words_.capacity() * sizeof(std::uint64_t); }
  CORE_GEOMETRY_PLATFORM_API friend bool operator==(const omi_BlkBitVect& a,
                                                    const omi_BlkBitVect& b) noexcept;

  // change
  void Resize(std::size_t size);
  void Set(std::size_t i);
  void Set(std::size_t i, bool mark) { mark ? Set(i) : Clear(i); }
  void Clear(std::size_t i);
  void ClearAll() noexcept; ///< keeps the size
  void Append(bool mark) { AppendBits(mark, 1); }
  void Append(const omi_BlkBitVect& other);
  void Erase(std::size_t i);             ///< later marks move down by one
  void Keep(const omi_BlkBitVect& keep); ///< drops the positions not marked in a vector of the same size

private:
  static constexpr std::size_t kBits = 64;

  void CheckPosition(std::size_t i) const {
    if (i >= size_) RaiseOutOfRange(i);
  }
  [[noreturn]] void RaiseOutOfRange(std::size_t i) const;
  std::uint64_t Word(std::size_t w) const noexcept { return w < words_.size() ? words_[w] : 0; }
  void AppendBits(std::uint64_t bits, std::size_t n);

  std::size_t size_ = 0;
  std::vector<std::uint64_t> words_; ///< words behind the end, and bits behind size_, are zero
};
