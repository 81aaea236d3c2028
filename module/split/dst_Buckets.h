// dst_Buckets.h: records of many kinds of destination, in bounded memory
#pragma once

#include "dst_WorkFile.h"

#include <vector>

/// Records sorted into buckets. They are kept in memory up to a limit, beyond it in one file of extents, so that
/// thousands of buckets need one descriptor.
///
/// Order      of a bucket: that in which its records were added.
/// Errors     nex_TextException naming the file and the system's reason.
class dst_Buckets {
public:
  /// The file is made when it is needed, and removed at the end; a bucket takes its share of the memory.
  dst_Buckets(cow_String file, std::size_t count, std::size_t memory);

  void Add(std::size_t bucket, std::span<const unsigned> record);
  /// All records of a bucket, which is empty afterwards.
  std::vector<unsigned> Take(std::size_t bucket);
  std::size_t Size() const noexcept { return buckets_.size(); }
  std::uint64_t WordsOf(std::size_t bucket) const noexcept; ///< of 4 bytes
  std::uint64_t BytesSpilled() const noexcept { return end_; }

private:
  struct Extent {
    std::uint64_t offset;
    std::uint32_t words;
  };
  struct Bucket {
    std::vector<unsigned> words;
    std::vector<Extent> extents;
  };
  void Spill(Bucket& bucket);

  dst_WorkFile file_;
  std::size_t blockWords_;
  std::vector<Bucket> buckets_;
  std::uint64_t end_ = 0; ///< of the file
};
