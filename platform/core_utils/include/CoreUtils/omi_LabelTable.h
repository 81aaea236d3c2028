// omi_LabelTable.h: signed user label -> index
#pragma once

#include <CoreUtils/omi_UintTable.h>

class omi_LabelTable;

/// Survey of the labels that will be inserted: see omi_KeySurvey.
class CORE_GEOMETRY_PLATFORM_API omi_LabelSurvey {
public:
  void Add(std::span<const int> labels);

private:
  friend class omi_LabelTable;
  omi_KeySurvey bySign_[2];
};

/// Labels of any sign: one table for those from 0 on, one for the magnitudes of the negative ones.
/// The last insertion of a label wins.
///
/// Cost       as of omi_UintTable; building from a span surveys the labels, then inserts in one pass. Before
///            inserting several spans, call Reserve for all of them.
/// Threads    const access from several threads is safe.
class CORE_GEOMETRY_PLATFORM_API omi_LabelTable {
public:
  static constexpr unsigned kNotFound = omi_UintTable::kNotFound;

  // ask
  bool IsEmpty() const noexcept { return bySign_[0].IsEmpty() && bySign_[1].IsEmpty(); }
  std::size_t Count() const noexcept { return bySign_[0].Count() + bySign_[1].Count(); }
  unsigned Find(int label) const noexcept { ///< kNotFound for an unknown label
    return label >= 0 ? bySign_[0].Find(static_cast<unsigned>(label)) : FindNegative(label);
  }
  /// out[i] = index of labels[i] or kNotFound; the spans must be of one length.
  void Find(std::span<const int> labels, std::span<unsigned> out) const;
  std::size_t StorageBytes() const noexcept { return bySign_[0].StorageBytes() + bySign_[1].StorageBytes(); }

  // change
  void Clear() noexcept {
    for (omi_UintTable& table : bySign_) table.Clear();
  }
  void Reserve(const omi_LabelSurvey& coming) {
    for (const int sign : {0, 1}) bySign_[sign].Reserve(coming.bySign_[sign]);
  }
  void Insert(int label, unsigned index) { bySign_[label < 0].Insert(Magnitude(label), index); }
  void Insert(std::span<const int> labels,
              unsigned firstIndex); ///< labels[i] with firstIndex + i, in this order

private:
  friend class omi_LabelSurvey;

  [[gnu::pure]] unsigned FindNegative(int label) const noexcept;
  static unsigned Magnitude(int label) noexcept {
    const unsigned bits = static_cast<unsigned>(label);
    return label < 0 ? 0U - bits : bits; // holds for the smallest int, too
  }

  struct Parted;

  omi_UintTable bySign_[2];
};
