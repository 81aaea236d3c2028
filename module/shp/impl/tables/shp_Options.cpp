#include <CoreGeometry/shp_Options.h>

#include "shp_AttributeBits.h"

#include <array>

namespace {
constexpr std::array kIntPtsOfBit = {1, 2, 3, 4, 6, 8, 9, 12, 14, 15, 18, 27, 5};
constexpr std::array kNodesOfBit = {1, 2, 3, 4, 5, 6, 8, 9, 10, 12, 15, 18, 20, 24, 27};
static_assert(kIntPtsOfBit.size() == shp_Bit::kLastIntPts - shp_Bit::kFirstIntPts + 1);
static_assert(kNodesOfBit.size() == shp_Bit::kLastNodes - shp_Bit::kFirstNodes + 1);
static_assert(static_cast<int>(shp_Family::RigidSurface) == shp_Bit::kLastFamily);

/// Place of the lowest set bit in first..last, counted from 1; 0 when none is set.
int Place(const LongKey& key, int first, int last) {
  for (int bit = first; bit <= last; ++bit)
    if (key.hasBit(bit)) return bit - first + 1;
  return 0;
}

template<std::size_t Size> int Entry(const std::array<int, Size>& list, int place) {
  return place > 0 ? list[static_cast<std::size_t>(place - 1)] : 0;
}
} // namespace

shp_Options::shp_Options(const LongKey& key)
    : key_(key), family_(static_cast<shp_Family>(Place(key, shp_Bit::kFirstFamily, shp_Bit::kLastFamily))),
      numNodes_(Entry(kNodesOfBit, Place(key, shp_Bit::kFirstNodes, shp_Bit::kLastNodes))),
      numIntPts_(Entry(kIntPtsOfBit, Place(key, shp_Bit::kFirstIntPts, shp_Bit::kLastIntPts))),
      isTwoDimensional_(key.hasBit(shp_Bit::kTwoDimensional)) {
  if (key.hasBit(shp_Bit::kCaxa) || key.hasBit(shp_Bit::kNumberedSolid))
    ringCount_ = Place(key, shp_Bit::kFirstRing, shp_Bit::kLastRing);
}
