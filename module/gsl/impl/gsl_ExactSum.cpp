#include <CoreGeometry/gsl_ExactSum.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

namespace {
constexpr int kMantissaBits = 52, kLeastExponent = -1074;
constexpr std::uint64_t kLow32 = 0xffffffffU;
} // namespace

void gsl_ExactSum::Add(double term) noexcept {
  const auto bits = std::bit_cast<std::uint64_t>(term);
  if (bits << 1U == 0) return;
  const auto exponent = static_cast<unsigned>(bits >> kMantissaBits & 0x7ffU);
  std::uint64_t mantissa = bits & ((std::uint64_t{1} << kMantissaBits) - 1);
  const bool isNegative = bits >> 63U != 0;
  if (exponent == 0x7ffU) {
    (mantissa != 0 ? hasNoNumber_ : isNegative ? hasMinusInfinity_ : hasPlusInfinity_) = true;
    return;
  }
  if (exponent != 0) mantissa |= std::uint64_t{1} << kMantissaBits;
  const unsigned shift = exponent == 0 ? 0 : exponent - 1, offset = shift % 32;
  const std::size_t word = shift / 32;
  const std::uint64_t low = mantissa << offset, high = offset == 0 ? 0 : mantissa >> (64 - offset);
  const std::int64_t sign = isNegative ? -1 : 1;
  words_[word] += sign * static_cast<std::int64_t>(low & kLow32);
  words_[word + 1] += sign * static_cast<std::int64_t>(low >> 32U);
  words_[word + 2] += sign * static_cast<std::int64_t>(high);
  if (++additions_ == kMostAdditions) Carry();
}

void gsl_ExactSum::Add(const gsl_ExactSum& other) noexcept {
  gsl_ExactSum carried = other;
  carried.Carry();
  Carry();
  for (std::size_t i = 0; i < kWords; ++i) words_[i] += carried.words_[i];
  additions_ = 2;
  hasNoNumber_ |= other.hasNoNumber_;
  hasPlusInfinity_ |= other.hasPlusInfinity_;
  hasMinusInfinity_ |= other.hasMinusInfinity_;
}

/// Leaves 32 bits in each word but the last one, which has the sign.
void gsl_ExactSum::Carry() noexcept {
  for (std::size_t i = 0; i + 1 < kWords; ++i) {
    words_[i + 1] += words_[i] >> 32U;
    words_[i] &= static_cast<std::int64_t>(kLow32);
  }
  additions_ = 1;
}

/// Those of the sum, and how many sums have a term that is no number or infinite.
std::array<std::int64_t, gsl_ExactSum::kNumWords> gsl_ExactSum::Words() const noexcept {
  static_assert(kNumWords == kWords + 3);
  gsl_ExactSum carried = *this;
  carried.Carry();
  std::array<std::int64_t, kNumWords> words{};
  std::ranges::copy(carried.words_, words.begin());
  words[kWords] = int{hasNoNumber_};
  words[kWords + 1] = int{hasPlusInfinity_};
  words[kWords + 2] = int{hasMinusInfinity_};
  return words;
}

gsl_ExactSum gsl_ExactSum::FromWords(std::span<const std::int64_t, kNumWords> words) noexcept {
  gsl_ExactSum sum;
  std::ranges::copy(words.first<kWords>(), sum.words_.begin());
  sum.Carry();
  sum.hasNoNumber_ = words[kWords] > 0;
  sum.hasPlusInfinity_ = words[kWords + 1] > 0;
  sum.hasMinusInfinity_ = words[kWords + 2] > 0;
  return sum;
}

double gsl_ExactSum::Value() const noexcept {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (hasNoNumber_ || (hasPlusInfinity_ && hasMinusInfinity_))
    return std::numeric_limits<double>::quiet_NaN();
  if (hasPlusInfinity_) return kInfinity;
  if (hasMinusInfinity_) return -kInfinity;
  gsl_ExactSum magnitude = *this;
  magnitude.Carry();
  const bool isNegative = magnitude.words_[kWords - 1] < 0;
  if (isNegative) {
    for (std::int64_t& word : magnitude.words_) word = -word;
    magnitude.Carry();
  }
  const auto& words = magnitude.words_;
  std::size_t top = kWords;
  while (top > 0 && words[top - 1] == 0) --top;
  if (top == 0) return 0;
  const auto bitAt = [&](int bit) { return words[static_cast<std::size_t>(bit) / 32] >> (bit % 32) & 1; };
  const int first = static_cast<int>(top - 1) * 32
                    + static_cast<int>(std::bit_width(static_cast<std::uint64_t>(words[top - 1]))) - 1;
  const int last = std::max(0, first - kMantissaBits);
  std::uint64_t mantissa = 0;
  for (int bit = first; bit >= last; --bit)
    mantissa = mantissa << 1U | static_cast<std::uint64_t>(bitAt(bit));
  if (last > 0 && bitAt(last - 1) != 0) {
    bool isAboveTie = (mantissa & 1U) != 0;
    for (int bit = last - 2; bit >= 0 && !isAboveTie; --bit) isAboveTie = bitAt(bit) != 0;
    if (isAboveTie) ++mantissa;
  }
  const double value = std::ldexp(static_cast<double>(mantissa), last + kLeastExponent);
  return isNegative ? -value : value;
}
