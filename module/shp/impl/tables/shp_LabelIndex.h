// shp_LabelIndex.h: hash index over the label table
#pragma once

#include <BasicUtils/LongKey.h>
#include <BasicUtils/omi_Btree.h>
#include <CoreUtils/cow_String.h>
#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

class shp_Shape;

/// Finds labels in upper or lower case without copying them.
///
/// A label of up to 15 bytes is two machine words with its length in the last byte, so one comparison of
/// words decides; no label is longer. Open addressing in a table at most half full.
class shp_LabelIndex {
public:
  struct Entry {
    const cow_String* label = nullptr; ///< of the label table, as is the key
    const LongKey* key = nullptr;
    const shp_Shape* shape = nullptr; ///< null until the shape is made
  };

  /// The table must outlive the index; throws std::length_error for a label that is too long.
  explicit shp_LabelIndex(const omi_Btree<cow_String, LongKey>& labelTable);

  /// Null for an unknown label.
  Entry* Find(std::string_view label) noexcept;

private:
  using Words = std::array<std::uint64_t, 3>; ///< upper case; two of text, then the size
  struct Slot {
    Words label{};
    Entry entry;
  };
  static Words Pack(std::string_view label) noexcept;
  Slot& SlotOf(const Words& label) noexcept; ///< the label's slot, or the empty one where it belongs

  std::vector<Slot> slots_;
  int shift_; ///< leaves as many bits of a hash as the table has slots
};
