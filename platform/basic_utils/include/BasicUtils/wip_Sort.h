// wip_Sort.h: sorting on lent threads
#pragma once

#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_Poll.h>
#include <span>

/// How many of the first `count` items of two sorted ranges, merged, are of the first range.
template<class T, class Less>
std::size_t wip_CountOfFirst(std::size_t count, std::span<const T> a, std::span<const T> b,
                             const Less& less) {
  std::size_t low = count > b.size() ? count - b.size() : 0, high = std::min(count, a.size());
  while (low < high) {
    const std::size_t middle = low + (high - low) / 2;
    if (less(b[count - middle - 1], a[middle]))
      high = middle;
    else
      low = middle + 1;
  }
  return low;
}

/// Sorts, on the executor that is lent to the calling thread if there is one: pieces first, which are then merged
/// two by two. `less` must tell any two different items apart, so that only one order is right.
///
/// Errors     wip_Cancelled when the host wants the work to stop.
/// Cost       room for as many items again when threads are lent.
template<class T, class Less> void wip_Sort(std::vector<T>& items, const Less& less) {
  constexpr std::size_t kPiece = std::size_t{1} << 15;
  const std::size_t count = items.size(), numPieces = (count + kPiece - 1) / kPiece;
  if (wip_NumThreads() == 1 || numPieces < 2) {
    wip_Poll poll(std::size_t{1} << 16);
    std::sort(items.begin(), items.end(), [&](const T& a, const T& b) {
      poll.Advance();
      return less(a, b);
    });
    return;
  }
  const auto endOf = [&](std::size_t piece) { return std::min(count, (piece + 1) * kPiece); };
  wip_RunPieces(numPieces, [&](std::size_t piece) {
    std::sort(items.begin() + static_cast<std::ptrdiff_t>(piece * kPiece),
              items.begin() + static_cast<std::ptrdiff_t>(endOf(piece)), less);
  });
  std::vector<T> merged(count);
  for (std::size_t width = kPiece; width < count; width *= 2) {
    wip_RunPieces(numPieces, [&](std::size_t piece) { // makes one piece of what is merged
      const std::size_t begin = piece * kPiece, base = begin / (2 * width) * (2 * width);
      const std::span<const T> all(items),
          a = all.subspan(base, std::min(width, count - base)),
          b = all.subspan(base + a.size(), std::min(width, count - base - a.size()));
      const std::size_t firstA = wip_CountOfFirst(begin - base, a, b, less),
                        endA = wip_CountOfFirst(endOf(piece) - base, a, b, less);
      const std::span<const T> fromA = a.subspan(firstA, endA - firstA),
                               fromB = b.subspan(begin - base - firstA, endOf(piece) - begin - fromA.size());
      std::merge(fromA.begin(), fromA.end(), fromB.begin(), fromB.end(),
                 merged.begin() + static_cast<std::ptrdiff_t>(begin), less);
    });
    items.swap(merged);
  }
}
