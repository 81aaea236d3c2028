#include "dst_Buckets.h"

#include <BasicUtils/nex_Exception.h>
#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace {
constexpr std::size_t kLeastBlock = 256, kMostBlock = std::size_t{1} << 20; // words

[[noreturn]] void Fail(const cow_String& file, const char* what) {
  throw nex_TextException(file + ": " + what + ": " + std::generic_category().message(errno));
}
} // namespace

dst_Buckets::dst_Buckets(cow_String file, std::size_t count, std::size_t memory)
    : file_(std::move(file)),
      blockWords_(
          std::clamp(memory / sizeof(unsigned) / std::max<std::size_t>(1, count), kLeastBlock, kMostBlock)),
      buckets_(count) {}

dst_Buckets::~dst_Buckets() {
  if (descriptor_ < 0) return;
  close(descriptor_);
  unlink(file_.c_str());
}

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
  if (descriptor_ < 0) {
    descriptor_ = open(file_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (descriptor_ < 0) Fail(file_, "cannot be made");
  }
  const auto* bytes = reinterpret_cast<const char*>(bucket.words.data());
  std::size_t left = bucket.words.size() * sizeof(unsigned);
  bucket.extents.push_back({end_, static_cast<std::uint32_t>(bucket.words.size())});
  while (left > 0) {
    const ssize_t written = pwrite(descriptor_, bytes, left, static_cast<off_t>(end_));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) Fail(file_, "cannot be written");
    bytes += written;
    end_ += static_cast<std::uint64_t>(written);
    left -= static_cast<std::size_t>(written);
  }
  bucket.words.clear();
}

std::uint64_t dst_Buckets::WordsOf(std::size_t bucket) const noexcept {
  std::uint64_t words = buckets_[bucket].words.size();
  for (const Extent& extent : buckets_[bucket].extents) words += extent.words;
  return words;
}

std::vector<unsigned> dst_Buckets::Take(std::size_t bucket) {
  Bucket taken = std::move(buckets_[bucket]);
  buckets_[bucket] = {};
  if (taken.extents.empty()) return std::move(taken.words);
  std::uint64_t words = taken.words.size();
  for (const Extent& extent : taken.extents) words += extent.words;
  std::vector<unsigned> all(words);
  auto* bytes = reinterpret_cast<char*>(all.data());
  for (const Extent& extent : taken.extents) {
    std::uint64_t offset = extent.offset;
    std::size_t left = extent.words * sizeof(unsigned);
    while (left > 0) {
      const ssize_t read = pread(descriptor_, bytes, left, static_cast<off_t>(offset));
      if (read < 0 && errno == EINTR) continue;
      if (read <= 0) Fail(file_, "cannot be read");
      bytes += read;
      offset += static_cast<std::uint64_t>(read);
      left -= static_cast<std::size_t>(read);
    }
  }
  std::ranges::copy(taken.words, all.end() - static_cast<std::ptrdiff_t>(taken.words.size()));
  return all;
}
