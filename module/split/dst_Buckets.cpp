#include "dst_Buckets.h"

#include <algorithm>

namespace {
constexpr std::size_t kLeastBlock = 256, kMostBlock = std::size_t{1} << 20; // words
} // namespace

dst_Buckets::dst_Buckets(cow_String file, std::size_t count, std::size_t memory)
    : file_(std::move(file)),
      blockWords_(
          std::clamp(memory / sizeof(unsigned) / std::max<std::size_t>(1, count), kLeastBlock, kMostBlock)),
      buckets_(count) {}

void dst_Buckets::Add(std::size_t bucket, std::span<const unsigned> record) {
  Bucket& target = buckets_[bucket];
  if (target.words.size() + record.size() > blockWords_ && !target.words.empty()) Spill(target);
  if (target.words.size() + record.size()
      > target.words.capacity()) // no more than a block: that is the limit
    target.words.reserve(
        std::max(target.words.size() + record.size(), std::min(blockWords_, 2 * target.words.capacity())));
  target.words.insert(target.words.end(), record.begin(), record.end());
}

void dst_Buckets::Spill(Bucket& bucket) {
  file_.WriteAt(end_, std::as_bytes(std::span(bucket.words)));
  bucket.extents.push_back({end_, static_cast<std::uint32_t>(bucket.words.size())});
  end_ += bucket.words.size() * sizeof(unsigned);
  bucket.words.clear();
}

std::uint64_t dst_Buckets::WordsOf(std::size_t bucket) const noexcept {
  std::uint64_t words = buckets_[bucket].words.size();
  for (const Extent& extent : buckets_[bucket].extents) words += extent.words;
  return words;
}

std::vector<unsigned> dst_Buckets::Take(std::size_t bucket) {
  const std::uint64_t words = WordsOf(bucket);
  Bucket taken = std::move(buckets_[bucket]);
  buckets_[bucket] = {};
  if (taken.extents.empty()) return std::move(taken.words);
  std::vector<unsigned> all(words);
  std::span<unsigned> left(all);
  for (const Extent& extent : taken.extents) {
    file_.ReadAt(extent.offset, std::as_writable_bytes(left.first(extent.words)));
    left = left.subspan(extent.words);
  }
  std::ranges::copy(taken.words, left.begin());
  return all;
}
