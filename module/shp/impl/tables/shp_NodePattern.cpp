#include "shp_NodePattern.h"

#include "shp_NodePatternTable.h"

const shp_NodePattern* shp_FindNodePattern(const shp_Options& options) noexcept {
  const auto fits = [&](const shp_NodePattern& pattern) {
    return pattern.family == options.Family() && pattern.numNodes == options.NumNodes()
           && (pattern.onlyWithBits.empty()
               || std::any_of(pattern.onlyWithBits.begin(), pattern.onlyWithBits.end(),
                              [&](int bit) { return options.HasBit(bit); }));
  };
  using shp_PatternTable::kPatterns;
  const auto found = std::find_if(kPatterns.begin(), kPatterns.end(), fits);
  return found != kPatterns.end() ? &*found : nullptr;
}
