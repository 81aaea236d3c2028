// omi_UintTable.h: unsigned key -> unsigned value, for user labels
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <set>
#include <span>
#include <utility>
#include <vector>

/// Survey of the ranges of keys that will be inserted, so that a table chooses its storage once, in advance.
class CORE_GEOMETRY_PLATFORM_API omi_KeySurvey {
public:
  void Add(unsigned key) { Add(std::span(&key, 1)); }
  void Add(std::span<const unsigned> keys); ///< std::out_of_range for a key above omi_UintTable::kMaxKey

private:
  friend class omi_UintTable;
  template<class F> void ForEachBlock(F f) const;

  void Cover(unsigned firstBlock, unsigned lastBlock);

  std::vector<std::uint64_t> words_; ///< one bit for each block of keys, from block 64 * firstWord_ on
  unsigned firstWord_ = 0;
  std::size_t count_ = 0; ///< number of keys added, including repeated ones
};

/// Table of keys 0 to 2147483648, each with any 32-bit value. The last insertion of a key wins.
///
/// Two forms of storage, changed as keys are inserted: blocks of values while they are dense enough (at most
/// 16 bytes per key), where kNotFound marks an absent key; else open addressing in buckets of eight 8-byte
/// slots.
///
/// Errors     std::out_of_range for inserting a larger key; a failed insertion of a key changes nothing.
/// Cost       dense keys take 4 bytes each and one memory access per look-up, others 11 to 16 bytes.
///            Inserting a span surveys the keys first and builds in one pass.
/// Threads    const access from several threads is safe.
class CORE_GEOMETRY_PLATFORM_API omi_UintTable {
public:
  static constexpr unsigned kMaxKey = 2147483648U;
  static constexpr unsigned kNotFound = 4294967295U;

  omi_UintTable() = default;
  omi_UintTable(const omi_UintTable& other);
  omi_UintTable(omi_UintTable&& other) noexcept { Swap(other); }
  omi_UintTable& operator=(omi_UintTable other) noexcept {
    Swap(other);
    return *this;
  }
  ~omi_UintTable() = default;

  // ask
  bool IsEmpty() const noexcept { return count_ == 0; }
  std::size_t Count() const noexcept { return count_; } ///< distinct keys
  bool Lookup(unsigned key, unsigned& value) const noexcept {
    const unsigned found = Find(key);
    if (found == kNotFound && !IsMarkValued(key)) return false;
    value = found;
    return true;
  }
  /// The value, or kNotFound: the fastest form, for tables that do not hold kNotFound as a value.
  unsigned Find(unsigned key) const noexcept {
    const unsigned place = key - flatFirst_;
    return place < flatSize_ ? flat_[place] : FindFurther(key);
  }
  /// out[i] = value of keys[i], or absent; the spans must be of one length.
  void Lookup(std::span<const unsigned> keys, std::span<unsigned> out, unsigned absent) const;
  std::size_t StorageBytes() const noexcept;

  // change
  void Clear() noexcept { *this = omi_UintTable(); }
  /// Allocates memory for keys that will be inserted, in the form that suits all of them.
  void Reserve(const omi_KeySurvey& coming);
  void Insert(unsigned key, unsigned value);
  /// Inserts keys[i] with firstValue + i, in this order.
  void Insert(std::span<const unsigned> keys, unsigned firstValue);
  /// Inserts keys[i] with values[i], in this order, without a survey: for keys that were reserved.
  void Insert(std::span<const unsigned> keys, std::span<const unsigned> values);
  void Swap(omi_UintTable& other) noexcept;

private:
  friend class omi_KeySurvey;
  friend class omi_LabelTable;
  static constexpr std::size_t kAhead = 32; ///< prefetch distance, in keys
  static constexpr unsigned kShift = 10, kBlock = 1U << kShift, kMask = kBlock - 1;
  static constexpr unsigned kSlots = 8;
  struct Bucket { ///< one cache line; keys fill it from the front, 0: free
    unsigned keyPlusOne[kSlots], value[kSlots];
  };
  struct Plan {
    unsigned first, end; ///< of the directory
    std::size_t newBlocks;
  };
  struct Free {
    void operator()(void* memory) const noexcept { std::free(memory); }
  };

  [[gnu::pure]] unsigned FindFurther(unsigned key) const noexcept;
  [[gnu::pure, gnu::visibility("hidden")]] const unsigned* FindSlot(unsigned key,
                                                                    const Bucket* home) const noexcept;
  [[gnu::pure, gnu::visibility("hidden")]] unsigned FindFrom(const Bucket* home, unsigned key) const noexcept;
  [[gnu::pure]] bool IsMarkValued(unsigned key) const noexcept;
  Bucket* Home(unsigned key) const noexcept {
    __extension__ using Wide = unsigned __int128;
    std::uint64_t x = key * multiplier_; // one product alone would let regular labels clump
    x = (x ^ x >> 32) * 0x9e3779b97f4a7c15U;
    return buckets_ + static_cast<std::size_t>(Wide{x} * bucketCount_ >> 64);
  }
  const Bucket* Next(const Bucket* bucket) const noexcept {
    return ++bucket == buckets_ + bucketCount_ ? buckets_ : bucket;
  }
  unsigned* Cell(unsigned key) const noexcept {
    const std::size_t block = (key >> kShift) - firstBlock_;
    return block < directory_.size() && directory_[block] ? directory_[block] + (key & kMask) : nullptr;
  }
  bool HasBlock(unsigned block) const noexcept { return Cell(block << kShift) != nullptr; }

  /// Keys the buckets take before they grow: three quarters of the slots.
  std::size_t KeyLimit() const noexcept { return bucketCount_ * (kSlots - kSlots / 4); }

  Plan PlanBlocks(const omi_KeySurvey& survey) const;
  bool IsDense(const Plan& plan, std::size_t keys, std::size_t bytesPerKey) const;
  void MakeBlocks(const Plan& plan, const omi_KeySurvey& survey);
  void MakeBuckets(std::size_t keys, std::uint64_t multiplier);
  void PutInCell(unsigned* cell, unsigned key, unsigned value);
  void PutInBucket(unsigned key, unsigned value) noexcept;
  template<class ValueOf> void InsertAll(std::span<const unsigned> keys, ValueOf valueOf);
  template<class F> void ForEach(F f) const;

  // the longest run of blocks that lie side by side, for a look-up without the directory
  unsigned* flat_ = nullptr;
  unsigned flatFirst_ = 0, flatSize_ = 0; ///< keys
  // blocks; the directory is empty in the other form
  unsigned firstBlock_ = 0;
  std::vector<unsigned*> directory_; ///< blocks from firstBlock_ on, null where there are no keys
  std::vector<std::unique_ptr<unsigned[]>> chunks_;
  std::size_t blockCount_ = 0;    ///< blocks that exist
  std::set<unsigned> markValued_; ///< keys whose value in a block is kNotFound itself
  // buckets
  Bucket* buckets_ = nullptr;
  std::size_t bucketCount_ = 0;
  std::uint64_t multiplier_ = 0;
  std::unique_ptr<void, Free> bucketMemory_;

  std::size_t count_ = 0;
};
