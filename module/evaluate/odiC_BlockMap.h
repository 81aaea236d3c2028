// odiC_BlockMap.h: the entities of one layout block in a block of another layout
#pragma once

#include <CoreGeometry/odiC_Source.h>

/// Reads rows of a block from where its entities stand in another one. Blocks with one value an entity can be read
/// by blocks with several: each gets the one.
class odiC_BlockMap {
public:
  odiC_BlockMap(const odiC_LayoutBlock& block, const odiC_LayoutBlock& there);

  /// Adds the rows of the block whose values the source has, too.
  void AddPlaces(const odiC_Source& from, odiC_Places& places) const;
  /// Values of whole entities; not a number for those that the other block does not have.
  void Read(odiC_Source& from, int firstRow, std::span<double> values);

private:
  int Position(int at) const noexcept {
    return positions_.empty() ? at : positions_[static_cast<std::size_t>(at)];
  }

  const odiC_LayoutBlock* block_;
  const odiC_LayoutBlock* there_;
  std::vector<int> positions_; ///< -1 for entities that are not there; none when the entities are the same
  std::vector<double> row_;
};
