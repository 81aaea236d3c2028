#include <CoreUtils/omi_Duplicates.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

namespace {
using Spans = std::span<const std::span<const int>>;

template<class F> void ForEach(Spans spans, F&& visit) {
  std::size_t position = 0;
  for (const auto& labels : spans)
    for (const int label : labels)
      if (!visit(label, position++)) return;
}

std::size_t PositionOf(Spans spans, int wanted) {
  std::size_t found = 0;
  ForEach(spans, [&](int label, std::size_t position) {
    found = position;
    return label != wanted;
  });
  return found;
}

/// Notes each label in a bit of its own.
std::optional<omi_Duplicate> FindByBits(Spans spans, long long smallest, long long range) {
  std::vector<std::uint64_t> seen(static_cast<std::size_t>(range / 64 + 1));
  std::optional<omi_Duplicate> found;
  ForEach(spans, [&](int label, std::size_t position) {
    const auto bit = static_cast<unsigned long long>(label - smallest);
    std::uint64_t& word = seen[bit / 64];
    const std::uint64_t mask = std::uint64_t{1} << bit % 64;
    if ((word & mask) != 0) found = {label, PositionOf(spans, label), position};
    word |= mask;
    return !found;
  });
  return found;
}

std::optional<omi_Duplicate> FindBySorting(Spans spans, std::size_t count) {
  std::vector<std::pair<int, std::size_t>> sorted;
  sorted.reserve(count);
  ForEach(spans, [&](int label, std::size_t position) {
    sorted.emplace_back(label, position);
    return true;
  });
  std::ranges::sort(sorted);
  std::optional<omi_Duplicate> found;
  for (std::size_t i = 1; i < sorted.size(); ++i) {
    if (sorted[i].first != sorted[i - 1].first) continue;
    if (!found || sorted[i].second < found->second)
      found = {sorted[i].first, PositionOf(spans, sorted[i].first), sorted[i].second};
  }
  return found;
}
} // namespace

std::optional<omi_Duplicate> omi_FindDuplicate(Spans spans) {
  long long smallest = std::numeric_limits<long long>::max(), largest = std::numeric_limits<long long>::min();
  bool grows = true;
  std::size_t count = 0;
  ForEach(spans, [&](int label, std::size_t) {
    grows = grows && (count == 0 || label > largest);
    smallest = std::min<long long>(smallest, label);
    largest = std::max<long long>(largest, label);
    ++count;
    return true;
  });
  if (count == 0 || grows) return std::nullopt;
  const long long range = largest - smallest + 1;
  constexpr long long kBitsPerLabel = 64; // no more memory than the labels and their positions sorted
  if (range / kBitsPerLabel <= static_cast<long long>(count)) return FindByBits(spans, smallest, range);
  return FindBySorting(spans, count);
}
