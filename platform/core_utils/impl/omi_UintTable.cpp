#include <CoreUtils/omi_UintTable.h>

#include <CoreUtils/omi_LargePages.h>
#include <algorithm>
#include <bit>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

constexpr std::size_t kFewKeys = 32;          ///< not worth looking at in advance
constexpr std::size_t kBytesPerKey = 16;      ///< blocks may cost this much,
constexpr std::size_t kBytesAnyway = 1 << 14; ///< plus this
constexpr std::size_t kBytesToTurn = 12; ///< a table turns from buckets to blocks at less, so as not to swing

struct Extent {
  unsigned least = omi_UintTable::kNotFound, largest = 0;
};

/// The least and the largest of the keys, which must be allowed ones.
Extent CheckKeys(std::span<const unsigned> keys) {
  Extent extent;
  for (const unsigned key : keys) {
    extent.least = std::min(extent.least, key);
    extent.largest = std::max(extent.largest, key);
  }
  if (extent.largest > omi_UintTable::kMaxKey)
    throw std::out_of_range("omi_UintTable: key " + std::to_string(extent.largest) + " is above "
                            + std::to_string(omi_UintTable::kMaxKey));
  return extent;
}

void CheckLengths(std::size_t keys, std::size_t values) {
  if (keys != values)
    throw std::invalid_argument("omi_UintTable: " + std::to_string(keys) + " keys with "
                                + std::to_string(values) + " values");
}

/// An odd factor that is not known in advance: nobody can prepare labels that all meet in one bucket.
std::uint64_t NewMultiplier(const void* address) {
  std::uint64_t x = reinterpret_cast<std::uintptr_t>(address) + 0x9e3779b97f4a7c15U;
  x = (x ^ x >> 30) * 0xbf58476d1ce4e5b9U;
  x = (x ^ x >> 27) * 0x94d049bb133111ebU;
  return x | 1;
}

/// Bit i is set where slots[i] of eight is the wanted one.
unsigned Matches(const unsigned* slots, unsigned wanted) noexcept {
#ifdef __SSE2__
  const __m128i all = _mm_set1_epi32(static_cast<int>(wanted));
  const __m128i low = _mm_cmpeq_epi32(_mm_load_si128(reinterpret_cast<const __m128i*>(slots)), all);
  const __m128i high = _mm_cmpeq_epi32(_mm_load_si128(reinterpret_cast<const __m128i*>(slots + 4)), all);
  const __m128i words = _mm_packs_epi32(low, high);
  return static_cast<unsigned>(_mm_movemask_epi8(_mm_packs_epi16(words, _mm_setzero_si128())));
#else
  unsigned matches = 0;
  for (unsigned i = 0; i < 8; ++i) matches |= static_cast<unsigned>(slots[i] == wanted) << i;
  return matches;
#endif
}

} // namespace

// ---- omi_KeySurvey ----

void omi_KeySurvey::Add(std::span<const unsigned> keys) {
  if (keys.empty()) return;
  const Extent extent = CheckKeys(keys);
  const unsigned first = extent.least >> omi_UintTable::kShift,
                 last = extent.largest >> omi_UintTable::kShift;
  Cover(first, last);
  const auto mark = [this](unsigned block) {
    words_[block / 64 - firstWord_] |= std::uint64_t{1} << block % 64;
  };
  count_ += keys.size();
  if (std::size_t{last - first} << omi_UintTable::kShift <= 2 * keys.size()) { // no look at each key needed
    for (unsigned block = first; block <= last; ++block) mark(block);
    return;
  }
  unsigned before = ~0U;
  for (const unsigned key : keys)
    if (const unsigned block = key >> omi_UintTable::kShift; block != before) mark(before = block);
}

void omi_KeySurvey::Cover(unsigned firstBlock, unsigned lastBlock) {
  const unsigned first = firstBlock / 64, last = lastBlock / 64;
  if (words_.empty()) firstWord_ = first;
  if (first < firstWord_) {
    words_.insert(words_.begin(), firstWord_ - first, 0);
    firstWord_ = first;
  }
  if (words_.size() <= last - firstWord_) words_.resize(last - firstWord_ + 1);
}

/// Calls f(block) for each block in ascending order.
template<class F> void omi_KeySurvey::ForEachBlock(F f) const {
  for (std::size_t w = 0; w < words_.size(); ++w)
    for (std::uint64_t rest = words_[w]; rest != 0; rest &= rest - 1)
      f((firstWord_ + static_cast<unsigned>(w)) * 64 + static_cast<unsigned>(std::countr_zero(rest)));
}

// ---- buckets ----

/// The value of a key that is searched from its home bucket on.
inline const unsigned* omi_UintTable::FindSlot(unsigned key, const Bucket* home) const noexcept {
  if (key > kMaxKey) return nullptr;
  for (const Bucket* bucket = home;; bucket = Next(bucket)) {
    const unsigned slots = Matches(bucket->keyPlusOne, key + 1);
    if (slots != 0) return bucket->value + std::countr_zero(slots);
    if (bucket->keyPlusOne[kSlots - 1] == 0) return nullptr;
  }
}

unsigned omi_UintTable::FindFrom(const Bucket* home, unsigned key) const noexcept {
  const unsigned* const value = FindSlot(key, home);
  return value ? *value : kNotFound;
}

// ---- choice of the form ----

/// What blocks for the surveyed keys, beside those that are there, would come to.
auto omi_UintTable::PlanBlocks(const omi_KeySurvey& survey) const -> Plan {
  Plan plan{firstBlock_, firstBlock_ + static_cast<unsigned>(directory_.size()), 0};
  survey.ForEachBlock([&](unsigned block) {
    if (plan.first == plan.end) plan.first = plan.end = block;
    plan.first = std::min(plan.first, block);
    plan.end = std::max(plan.end, block + 1);
    plan.newBlocks += HasBlock(block) ? 0 : 1;
  });
  return plan;
}

/// True when blocks cost at most bytesPerKey for each of the keys.
bool omi_UintTable::IsDense(const Plan& plan, std::size_t keys, std::size_t bytesPerKey) const {
  const std::size_t blocks = blockCount_ + plan.newBlocks, directory = plan.end - plan.first;
  return blocks * kBlock * sizeof(unsigned) + directory * sizeof(unsigned*)
         <= keys * bytesPerKey + kBytesAnyway;
}

void omi_UintTable::Reserve(const omi_KeySurvey& coming) {
  if (coming.count_ == 0) return;
  const std::size_t keys = count_ + coming.count_;
  omi_UintTable made;
  if (bucketCount_ == 0) {
    const Plan plan = PlanBlocks(coming);
    if (IsDense(plan, keys, kBytesPerKey)) return MakeBlocks(plan, coming);
    made.MakeBuckets(keys, NewMultiplier(&made));
  } else {
    if (keys <= KeyLimit()) return;
    omi_KeySurvey all = coming;
    for (std::size_t b = 0; b < bucketCount_; ++b) {
      unsigned keysOfBucket[kSlots], n = 0;
      for (; n < kSlots && buckets_[b].keyPlusOne[n] != 0; ++n)
        keysOfBucket[n] = buckets_[b].keyPlusOne[n] - 1;
      all.Add(std::span(keysOfBucket, n));
    }
    const Plan plan = made.PlanBlocks(all);
    if (made.IsDense(plan, keys, kBytesToTurn))
      made.MakeBlocks(plan, all);
    else
      made.MakeBuckets(keys, multiplier_); // by the same one the keys move in the order of the memory
  }
  ForEach([&made](unsigned key, unsigned value) { made.Insert(key, value); });
  Swap(made);
}

/// Makes the surveyed blocks that do not exist yet, side by side.
void omi_UintTable::MakeBlocks(const Plan& plan, const omi_KeySurvey& survey) {
  if (plan.newBlocks == 0) return;
  if (directory_.empty()) firstBlock_ = plan.first;
  if (plan.first < firstBlock_) { // with spare room: going down block by block must not move it all each time
    const unsigned spare = std::min(plan.first, static_cast<unsigned>(directory_.size() / 2));
    const unsigned more = firstBlock_ - plan.first + spare;
    directory_.insert(directory_.begin(), more, nullptr);
    firstBlock_ -= more;
  }
  if (directory_.size() < plan.end - firstBlock_) directory_.resize(plan.end - firstBlock_);
  const std::size_t cells = plan.newBlocks * kBlock;
  chunks_.push_back(std::make_unique_for_overwrite<unsigned[]>(cells));
  omi_UseLargePages(chunks_.back().get(), cells * sizeof(unsigned));
  unsigned* at = chunks_.back().get();
  std::fill_n(at, cells, kNotFound);
  unsigned runFirst = 0, runEnd = 0;
  survey.ForEachBlock([&](unsigned block) {
    if (HasBlock(block)) return;
    directory_[block - firstBlock_] = at;
    at += kBlock;
    if (block != runEnd) runFirst = block;
    runEnd = block + 1;
    if (const unsigned keys = (runEnd - runFirst) << kShift; keys > flatSize_) {
      flat_ = at - keys;
      flatFirst_ = runFirst << kShift;
      flatSize_ = keys;
    }
  });
  blockCount_ += plan.newBlocks;
}

/// Takes buckets for the keys, half of their slots in use in the end. The table must be empty.
void omi_UintTable::MakeBuckets(std::size_t keys, std::uint64_t multiplier) {
  const std::size_t buckets = 2 * std::max(keys, kFewKeys) / kSlots + 1;
  bucketMemory_.reset(std::calloc(buckets + 1, sizeof(Bucket)));
  if (!bucketMemory_) throw std::bad_alloc();
  omi_UseLargePages(bucketMemory_.get(), (buckets + 1) * sizeof(Bucket));
  void* at = bucketMemory_.get();
  std::size_t room = (buckets + 1) * sizeof(Bucket);
  buckets_ = static_cast<Bucket*>(std::align(sizeof(Bucket), buckets * sizeof(Bucket), at, room));
  bucketCount_ = buckets;
  multiplier_ = multiplier;
}

// ---- change ----

void omi_UintTable::Insert(unsigned key, unsigned value) {
  unsigned* cell = Cell(key);
  if (!cell) {
    CheckKeys({&key, 1});
    if (bucketCount_ == 0 || (count_ >= KeyLimit() && !FindSlot(key, Home(key)))) {
      omi_KeySurvey survey;
      survey.Add(std::span(&key, 1));
      Reserve(survey);
      cell = Cell(key);
    }
  }
  if (cell)
    PutInCell(cell, key, value);
  else
    PutInBucket(key, value);
}

void omi_UintTable::PutInCell(unsigned* cell, unsigned key, unsigned value) {
  bool isNew = *cell == kNotFound;
  if (isNew && !markValued_.empty() && markValued_.contains(key)) {
    isNew = false;
    if (value != kNotFound) markValued_.erase(key);
  } else if (value == kNotFound) {
    markValued_.insert(key);
  }
  count_ += isNew;
  *cell = value;
}

void omi_UintTable::PutInBucket(unsigned key, unsigned value) noexcept {
  for (Bucket* bucket = Home(key);; bucket = const_cast<Bucket*>(Next(bucket))) {
    unsigned slots = Matches(bucket->keyPlusOne, key + 1);
    if (slots == 0) {
      slots = Matches(bucket->keyPlusOne, 0);
      if (slots == 0) continue;
      ++count_;
    }
    const int slot = std::countr_zero(slots);
    bucket->keyPlusOne[slot] = key + 1;
    bucket->value[slot] = value;
    return;
  }
}

void omi_UintTable::Insert(std::span<const unsigned> keys, unsigned firstValue) {
  if (keys.size() <= kFewKeys || count_ + keys.size() <= KeyLimit()) {
    CheckKeys(keys);
  } else {
    omi_KeySurvey survey;
    survey.Add(keys);
    Reserve(survey);
  }
  InsertAll(keys, [firstValue](std::size_t i) { return firstValue + static_cast<unsigned>(i); });
}

void omi_UintTable::Insert(std::span<const unsigned> keys, std::span<const unsigned> values) {
  CheckLengths(keys.size(), values.size());
  CheckKeys(keys);
  InsertAll(keys, [values](std::size_t i) { return values[i]; });
}

template<class ValueOf> void omi_UintTable::InsertAll(std::span<const unsigned> keys, ValueOf valueOf) {
  const std::size_t n = keys.size();
  std::size_t i = 0;
  if (markValued_.empty()) { // as far as keys meet the flat run
    unsigned* const flat = flat_;
    const unsigned first = flatFirst_, size = flatSize_;
    std::size_t added = 0;
    for (; i < n && keys[i] - first < size; ++i) {
      if (i + kAhead < n) __builtin_prefetch(flat + std::min(keys[i + kAhead] - first, size), 1);
      const unsigned value = valueOf(i);
      if (value == kNotFound) break;
      unsigned& cell = flat[keys[i] - first];
      added += cell == kNotFound;
      cell = value;
    }
    count_ += added;
  }
  for (; i < n; ++i) {
    if (i + kAhead < n && bucketCount_ != 0) __builtin_prefetch(Home(keys[i + kAhead]), 1);
    const unsigned value = valueOf(i);
    if (unsigned* const cell = Cell(keys[i]))
      PutInCell(cell, keys[i], value);
    else if (count_ < KeyLimit())
      PutInBucket(keys[i], value);
    else
      Insert(keys[i], value);
  }
}

void omi_UintTable::Swap(omi_UintTable& other) noexcept {
  std::swap(flat_, other.flat_);
  std::swap(flatFirst_, other.flatFirst_);
  std::swap(flatSize_, other.flatSize_);
  std::swap(firstBlock_, other.firstBlock_);
  directory_.swap(other.directory_);
  chunks_.swap(other.chunks_);
  std::swap(blockCount_, other.blockCount_);
  markValued_.swap(other.markValued_);
  std::swap(buckets_, other.buckets_);
  std::swap(bucketCount_, other.bucketCount_);
  std::swap(multiplier_, other.multiplier_);
  bucketMemory_.swap(other.bucketMemory_);
  std::swap(count_, other.count_);
}

omi_UintTable::omi_UintTable(const omi_UintTable& other) {
  if (other.bucketCount_ != 0) {
    MakeBuckets(other.count_, other.multiplier_);
  } else {
    omi_KeySurvey survey;
    for (std::size_t b = 0; b < other.directory_.size(); ++b)
      if (other.directory_[b]) survey.Add((other.firstBlock_ + static_cast<unsigned>(b)) << kShift);
    MakeBlocks(PlanBlocks(survey), survey);
  }
  other.ForEach([this](unsigned key, unsigned value) { Insert(key, value); });
}

// ---- ask ----

/// The part of Find behind the flat run.
unsigned omi_UintTable::FindFurther(unsigned key) const noexcept {
  if (bucketCount_ != 0) return FindFrom(Home(key), key);
  const unsigned* const cell = Cell(key);
  return cell ? *cell : kNotFound;
}

/// True for a key that is there although Find says kNotFound.
bool omi_UintTable::IsMarkValued(unsigned key) const noexcept {
  if (bucketCount_ != 0) return FindSlot(key, Home(key)) != nullptr;
  return !markValued_.empty() && markValued_.contains(key);
}

void omi_UintTable::Lookup(std::span<const unsigned> keys, std::span<unsigned> out, unsigned absent) const {
  CheckLengths(keys.size(), out.size());
  const std::size_t n = keys.size();
  if (bucketCount_ != 0) {
    const Bucket* homes[kAhead];
    for (std::size_t i = 0; i < n + kAhead; ++i) {
      const Bucket*& home = homes[i % kAhead];
      if (i >= kAhead) out[i - kAhead] = FindFrom(home, keys[i - kAhead]);
      if (i < n) __builtin_prefetch(home = Home(keys[i]));
    }
  } else { // copies of the members stay in registers: the output might alias them
    const unsigned* const flat = flat_;
    const unsigned first = flatFirst_, size = flatSize_;
    for (std::size_t i = 0; i < n; ++i)
      out[i] = keys[i] - first < size ? flat[keys[i] - first] : FindFurther(keys[i]);
  }
  if (absent == kNotFound) return;
  for (std::size_t i = 0; i < n; ++i)
    if (out[i] == kNotFound && !IsMarkValued(keys[i])) out[i] = absent;
}

std::size_t omi_UintTable::StorageBytes() const noexcept {
  return directory_.capacity() * sizeof(unsigned*) + blockCount_ * kBlock * sizeof(unsigned)
         + bucketCount_ * sizeof(Bucket);
}

/// Calls f(key, value) for each key, in no promised order.
template<class F> void omi_UintTable::ForEach(F f) const {
  for (std::size_t b = 0; b < directory_.size(); ++b) {
    if (!directory_[b]) continue;
    const unsigned first = (firstBlock_ + static_cast<unsigned>(b)) << kShift;
    for (unsigned k = 0; k < kBlock; ++k)
      if (directory_[b][k] != kNotFound) f(first + k, directory_[b][k]);
  }
  for (const unsigned key : markValued_) f(key, kNotFound);
  for (std::size_t b = 0; b < bucketCount_; ++b)
    for (unsigned s = 0; s < kSlots && buckets_[b].keyPlusOne[s] != 0; ++s)
      f(buckets_[b].keyPlusOne[s] - 1, buckets_[b].value[s]);
}
