// dst_FindingList.h: what the parts of a split model find, told in the order of one process
#pragma once

#include <CoreGeometry/dst_Check.h>
#include <cstdint>
#include <map>
#include <span>

/// Where a finding stands among those of all parts.
struct dst_FindingPlace {
  unsigned stage = 0, part = 0, section = 0, item = 0;
  auto operator<=>(const dst_FindingPlace&) const = default;
};

/// Findings by one part. Of each kind no more are kept than are told of all parts together.
class dst_FindingList {
public:
  static constexpr std::int64_t kMost = 20; ///< findings of a kind

  void Add(const dst_FindingPlace& place, dst_Finding finding);
  /// One of possibly many; those of a kind come in the order of their places.
  void AddOf(const cow_String& kind, const dst_FindingPlace& place, dst_Finding finding);
  std::vector<std::byte> Bytes() const;

  /// The findings of lists by their places, as many of each kind as are told, and how many there were of each.
  struct Merged {
    std::vector<dst_Finding> findings{};
    std::map<cow_String, std::int64_t> kinds{};
  };
  static Merged Merge(std::span<const std::vector<std::byte>> lists);

private:
  struct Entry {
    dst_FindingPlace place{};
    cow_String kind{}; ///< empty for what is always told
    dst_Finding finding{};
  };
  template<class Archive, class E> static void Fields(Archive& archive, E& entry);

  std::vector<Entry> entries_;
  std::map<cow_String, std::int64_t> kinds_;
};
