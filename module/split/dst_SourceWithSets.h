// dst_SourceWithSets.h: a source that holds its sets in memory
#pragma once

#include <CoreGeometry/dst_Join.h>
#include <CoreGeometry/dst_Source.h>
#include <algorithm>

/// Values from a place on, converted.
template<class From, class To>
void dst_CopyTo(std::span<const From> from, std::uint64_t first, std::span<To> to) {
  std::ranges::transform(from.subspan(first, to.size()), to.begin(),
                         [](From value) { return static_cast<To>(value); });
}

/// What a mesh has beside its nodes and elements: identifier, dimension, type, placement and time stamp.
bme_Mesh dst_ShellOf(const bme_Mesh& mesh);

class dst_SourceWithSets : public dst_Source {
public:
  using Put = std::function<void(cls_WritePass&)>;

  dst_SourceWithSets(std::vector<dst_JoinedSet> sets, Put putBeside, Put putRegions);
  void ReadEntries(unsigned set, unsigned subset, std::uint64_t first, std::span<unsigned> numbers,
                   std::span<int> facets) const override;
  void PutBeside(cls_WritePass& index) const override { putBeside_(index); }
  void PutRegions(cls_WritePass& part) const override { putRegions_(part); }

private:
  std::vector<dst_JoinedSet> sets_;
  Put putBeside_, putRegions_;
};
