// cls_Uid.h: identity of persistent objects
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <CoreUtils/cow_String.h>
#include <array>
#include <compare>
#include <cstdint>

/// Identity of an object, unique across threads, processes and files.
///
/// Layout     a random number of the process and a running number.
/// Empty      default constructed: null, the identity of nothing.
/// Cost       AllocateUid() a few nanoseconds: no lock, no random number.
/// Threads    AllocateUid() is safe from any thread; a forked child never repeats its parent's.
/// Stored as  16 bytes, most significant first.
class CORE_GEOMETRY_PLATFORM_API cls_Uid {
public:
  using ByteArray = std::array<unsigned char, 16>;

  constexpr cls_Uid() = default; ///< null
  explicit cls_Uid(const ByteArray& bytes) noexcept;
  static cls_Uid AllocateUid() noexcept {
    if (block_.next == block_.end) TakeBlock();
    return {processPrefix_, block_.next++};
  }

  // ask
  constexpr bool IsNull() const noexcept { return prefix_ == 0 && number_ == 0; }
  ByteArray Bytes() const noexcept;
  cow_String Text() const; ///< 32 hexadecimal digits
  friend constexpr bool operator==(const cls_Uid&, const cls_Uid&) = default;
  friend constexpr auto operator<=>(const cls_Uid&, const cls_Uid&) = default;

private:
  struct Block {
    std::uint64_t next, end;
  };

  constexpr cls_Uid(std::uint64_t prefix, std::uint64_t number) noexcept : prefix_(prefix), number_(number) {}
  static void TakeBlock() noexcept;
  static void NewPrefix() noexcept;

  static constinit thread_local Block block_; ///< numbers this thread may still give
  static std::uint64_t processPrefix_;        ///< set before any thread has a block; never 0 then

  std::uint64_t prefix_ = 0;
  std::uint64_t number_ = 0;
};

/// The uid an object carries: every constructor, the copying one included, allocates a fresh one, and
/// assignment takes over the source's.
class cls_OwnUid {
public:
  cls_OwnUid() noexcept : uid_(cls_Uid::AllocateUid()) {}
  explicit cls_OwnUid(const cls_Uid& uid) noexcept : uid_(uid) {} ///< of an object that is read back
  cls_OwnUid(const cls_OwnUid&) noexcept : cls_OwnUid() {}
  cls_OwnUid& operator=(const cls_OwnUid&) noexcept = default;
  cls_OwnUid& operator=(const cls_Uid& uid) noexcept {
    uid_ = uid;
    return *this;
  }

  const cls_Uid& Get() const noexcept { return uid_; }
  operator const cls_Uid&() const noexcept { return uid_; }

private:
  cls_Uid uid_;
};
