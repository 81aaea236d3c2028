#include <CoreUtils/omi_BlkBitVect.h>

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <string>

namespace {

/// The lowest n bits, n up to 64.
constexpr std::uint64_t LowBits(std::size_t n) {
  return n < 64 ? (std::uint64_t{1} << n) - 1 : ~std::uint64_t{0};
}

/// The bits of a word at the places set in mask, moved together to the low end.
std::uint64_t Gather(std::uint64_t word, std::uint64_t mask) {
  std::uint64_t gathered = 0;
  for (std::uint64_t rest = word & mask; rest != 0; rest &= rest - 1)
    gathered |=
        std::uint64_t{1} << std::popcount(mask & LowBits(static_cast<std::size_t>(std::countr_zero(rest))));
  return gathered;
}

} // namespace

void omi_BlkBitVect::RaiseOutOfRange(std::size_t i) const {
  throw std::out_of_range("omi_BlkBitVect: position " + std::to_string(i) + " is outside [0, "
                          + std::to_string(size_) + ")");
}

std::size_t omi_BlkBitVect::Count() const noexcept {
  std::size_t count = 0;
  for (const std::uint64_t word : words_) count += static_cast<std::size_t>(std::popcount(word));
  return count;
}

bool omi_BlkBitVect::IsAnySet() const noexcept {
  return std::any_of(words_.begin(), words_.end(), [](std::uint64_t word) { return word != 0; });
}

bool operator==(const omi_BlkBitVect& a, const omi_BlkBitVect& b) noexcept {
  if (a.size_ != b.size_) return false;
  for (std::size_t w = 0; w < std::max(a.words_.size(), b.words_.size()); ++w)
    if (a.Word(w) != b.Word(w)) return false;
  return true;
}

void omi_BlkBitVect::Resize(std::size_t size) {
  const std::size_t words = size / kBits + (size % kBits != 0);
  if (words <= words_.size()) {
    words_.resize(words);
    if (size % kBits != 0) words_.back() &= LowBits(size % kBits);
  }
  size_ = size;
}

void omi_BlkBitVect::Set(std::size_t i) {
  CheckPosition(i);
  if (words_.size() <= i / kBits) words_.resize(i / kBits + 1);
  words_[i / kBits] |= std::uint64_t{1} << (i % kBits);
}

void omi_BlkBitVect::Clear(std::size_t i) {
  CheckPosition(i);
  if (i / kBits < words_.size()) words_[i / kBits] &= ~(std::uint64_t{1} << (i % kBits));
}

void omi_BlkBitVect::ClearAll() noexcept { words_ = std::vector<std::uint64_t>(); }

/// Appends the low n bits, n up to 64; the others must be zero.
void omi_BlkBitVect::AppendBits(std::uint64_t bits, std::size_t n) {
  const std::size_t word = size_ / kBits, at = size_ % kBits;
  const std::uint64_t low = bits << at, high = at == 0 ? 0 : bits >> (kBits - at);
  const std::size_t words = high != 0 ? word + 2 : low != 0 ? word + 1 : 0;
  if (words > words_.size()) words_.resize(words);
  if (low != 0) words_[word] |= low;
  if (high != 0) words_[word + 1] |= high;
  size_ += n;
}

void omi_BlkBitVect::Append(const omi_BlkBitVect& other) {
  const std::size_t size = other.size_, words = other.words_.size(),
                    before = size_; // other may be this vector
  for (std::size_t w = 0; w < words; ++w) {
    const std::size_t n = std::min(kBits, size - w * kBits);
    AppendBits(other.words_[w] & LowBits(n), n);
  }
  size_ = before + size;
}

void omi_BlkBitVect::Erase(std::size_t i) {
  CheckPosition(i);
  for (std::size_t w = i / kBits; w < words_.size(); ++w) {
    const std::uint64_t stay = w == i / kBits ? LowBits(i % kBits) : 0;
    words_[w] = (words_[w] & stay) | (words_[w] >> 1 & ~stay) | Word(w + 1) << (kBits - 1);
  }
  Resize(size_ - 1);
}

void omi_BlkBitVect::Keep(const omi_BlkBitVect& keep) {
  if (keep.size_ != size_)
    throw std::invalid_argument("omi_BlkBitVect: " + std::to_string(keep.size_) + " keep marks for "
                                + std::to_string(size_) + " positions");
  omi_BlkBitVect kept;
  for (std::size_t w = 0; w < words_.size(); ++w) {
    const std::uint64_t mask = keep.Word(w);
    kept.AppendBits(Gather(words_[w], mask), static_cast<std::size_t>(std::popcount(mask)));
  }
  kept.size_ = keep.Count();
  *this = std::move(kept);
}
