// LongKey.h: a set of small attribute numbers
#pragma once

#include <bitset>
#include <initializer_list>
#include <span>

/// Set of attribute bits 0 to 127.
class LongKey {
public:
  LongKey() = default;
  LongKey(std::initializer_list<int> bits) { setBits(static_cast<int>(bits.size()), bits.begin()); }

  // ask
  /// False for bits outside 0..127.
  bool hasBit(int bit) const noexcept {
    return bit >= 0 && bit < kSize && bits_[static_cast<std::size_t>(bit)];
  }
  friend bool operator==(const LongKey&, const LongKey&) = default;

  // change
  /// Adds the given bits; throws std::out_of_range for a bit outside 0..127.
  void setBits(int count, const int* bits) {
    for (const int bit : std::span(bits, static_cast<std::size_t>(count)))
      bits_.set(static_cast<std::size_t>(bit));
  }

private:
  static constexpr int kSize = 128;
  std::bitset<kSize> bits_;
};
