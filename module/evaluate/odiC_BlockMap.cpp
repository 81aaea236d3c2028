#include "odiC_BlockMap.h"

#include <algorithm>
#include <cmath>

odiC_BlockMap::odiC_BlockMap(const odiC_LayoutBlock& block, const odiC_LayoutBlock& there)
    : block_(&block), there_(&there) {
  const bool isByFace = block.HasFaces() && there.HasFaces();
  if (block.numEntities == there.numEntities
      && std::ranges::equal(block.entities.Const(), there.entities.Const())
      && (!isByFace || std::ranges::equal(block.faces.Const(), there.faces.Const())))
    return;
  positions_.assign(static_cast<std::size_t>(block.numEntities), -1);
  const auto key = [&](const odiC_LayoutBlock& of, int at) {
    return std::pair(of.Entity(at), isByFace ? of.faces.Const()[static_cast<std::size_t>(at)] : 0);
  };
  for (int at = 0, theirs = 0; at < block.numEntities; ++at) {
    while (theirs < there.numEntities && key(there, theirs) < key(block, at)) ++theirs;
    if (theirs < there.numEntities && key(there, theirs) == key(block, at))
      positions_[static_cast<std::size_t>(at)] = theirs;
  }
}

void odiC_BlockMap::AddPlaces(const odiC_Source& from, odiC_Places& places) const {
  if (positions_.empty() && from.Places().AreAll()) return places.Add(block_->firstRow, block_->NumRows());
  const int each = block_->valuesPerEntity, theirEach = there_->valuesPerEntity;
  for (int at = 0; at < block_->numEntities; ++at) {
    const int theirs = Position(at);
    for (int point = 0; point < each && theirs >= 0; ++point)
      if (from.Places().Contains(there_->firstRow + theirs * theirEach + (theirEach == each ? point : 0)))
        places.Add(block_->firstRow + at * each + point, 1);
  }
}

void odiC_BlockMap::Read(odiC_Source& from, int firstRow, std::span<double> values) {
  const int each = block_->valuesPerEntity;
  if (positions_.empty() && each == there_->valuesPerEntity)
    return from.Read(firstRow - block_->firstRow + there_->firstRow, values);
  const auto width = static_cast<std::size_t>(from.NumComponents());
  const std::size_t numbers = width * static_cast<std::size_t>(each);
  row_.resize(width * static_cast<std::size_t>(there_->valuesPerEntity));
  int at = (firstRow - block_->firstRow) / each;
  for (std::size_t done = 0; done < values.size(); done += numbers, ++at) {
    const int theirs = Position(at);
    if (theirs < 0)
      std::ranges::fill(row_, std::nan(""));
    else
      from.Read(there_->firstRow + theirs * there_->valuesPerEntity, row_);
    for (std::size_t k = 0; k < numbers; ++k) values[done + k] = row_[k % row_.size()];
  }
}
