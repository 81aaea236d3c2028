// db_Sum.h: checksums of rows and chunks (XXH3, 64 bits)
#pragma once

#include <BasicUtils/cls_Row.h>
#include <array>
#include <cstring>
#include <xxhash.h>
#if defined(__x86_64__) && __has_include(<xxh_x86dispatch.h>)
#include <xxh_x86dispatch.h> // XXH3_64bits by the widest vectors of this processor: the same sums
#endif

inline long long db_SumOf(std::span<const std::byte> bytes) {
  return static_cast<long long>(XXH3_64bits(bytes.data(), bytes.size()));
}

/// True when data does not fit its stored checksum. Builds for fuzzing look behind checksums, which chance
/// does not guess.
inline bool db_IsWrong([[maybe_unused]] long long sum, [[maybe_unused]] long long stored) {
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
  return false;
#else
  return sum != stored;
#endif
}

/// Checksum of a row's values, each with its kind and length, so that values cannot change places unseen. It
/// begins with the table's name, so that a row of one table cannot stand in for one of another.
class db_Sum {
public:
  db_Sum() {} // NOLINT(modernize-use-equals-default): the buffer is filled as far as it is used
  explicit db_Sum(std::string_view table) : db_Sum() {
    if (!table.empty()) Add(table);
  }
  db_Sum& Add(long long value) { return Put('i', &value, sizeof value); }
  db_Sum& Add(double value) { return Put('d', &value, sizeof value); }
  db_Sum& Add(std::string_view text) { return Put('t', text.data(), text.size()); }
  db_Sum& Add(std::span<const std::byte> bytes) { return Put('b', bytes.data(), bytes.size()); }
  db_Sum& Add(const cls_Uid& uid) {
    const auto bytes = uid.Bytes();
    return Put('u', bytes.data(), bytes.size());
  }
  db_Sum& AddNull() { return Put('n', nullptr, 0); }
  db_Sum& Add(const cls_Cell& cell);
  long long Value() const {
    return static_cast<long long>(large_.empty() ? XXH3_64bits(small_.data(), size_)
                                                 : XXH3_64bits(large_.data(), large_.size()));
  }

private:
  db_Sum& Put(char kind, const void* data, std::size_t size) {
    Append(&kind, 1);
    Append(&size, sizeof size);
    if (size != 0) Append(data, size);
    return *this;
  }
  void Append(const void* data, std::size_t size) {
    if (large_.empty() && size_ + size <= small_.size()) {
      std::memcpy(small_.data() + size_, data, size);
      size_ += size;
      return;
    }
    if (large_.empty()) large_.assign(small_.data(), size_);
    large_.append(static_cast<const char*>(data), size);
  }
  std::array<char, 256> small_; // most rows; the rest is in large_ with all before it
  std::size_t size_ = 0;
  std::string large_;
};

inline db_Sum& db_Sum::Add(const cls_Cell& cell) {
  if (const auto* number = std::get_if<long long>(&cell)) return Add(*number);
  if (const auto* link = std::get_if<cls_RowLink>(&cell)) return Add(link->row);
  if (const auto* text = std::get_if<cow_String>(&cell)) return Add(std::string_view(*text));
  if (const auto* bytes = std::get_if<cls_Blob>(&cell)) return Add(std::span<const std::byte>(*bytes));
  if (const auto* real = std::get_if<double>(&cell)) {
    // a NaN is stored, and read back, as the blob of its bits
    if (*real != *real) return Put('b', real, sizeof *real);
    return Add(*real);
  }
  return AddNull();
}
