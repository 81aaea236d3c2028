// bme_SeenTwice.h: which of many hashes came only once
#pragma once

#include <CoreUtils/omi_LargePages.h>
#include <bit>
#include <cstddef>
#include <cstdint>

/// Marks of one or more for hashes: 2 bits each, for so many slots that few different hashes share one.
class bme_SeenTwice {
public:
  explicit bme_SeenTwice(std::size_t count)
      : mask_(std::bit_ceil(8 * count + 4) - 1), marks_((mask_ + 1) / 4) {}
  void Add(std::uint64_t hash) {
    unsigned char& marks = marks_[Slot(hash) / 4];
    const unsigned shift = Shift(hash), before = marks >> shift & 3U;
    marks = static_cast<unsigned char>(marks | (before == 0 ? 1U : 2U) << shift);
  }
  void Prefetch(std::uint64_t hash) const { __builtin_prefetch(&marks_[Slot(hash) / 4], 1); }
  /// False only for a hash that was added at most once.
  bool MayBe(std::uint64_t hash) const { return (marks_[Slot(hash) / 4] >> Shift(hash) & 2U) != 0; }

private:
  std::size_t Slot(std::uint64_t hash) const { return static_cast<std::size_t>(hash) & mask_; }
  unsigned Shift(std::uint64_t hash) const { return static_cast<unsigned>(Slot(hash) % 4) * 2; }

  std::size_t mask_;
  omi_LargeVector<unsigned char> marks_;
};
