// fmt_Sets.h: sets of a mesh that is being read
#pragma once

#include <CoreGeometry/bme_NamedSet.h>
#include <span>
#include <vector>

/// The items of a set in one element class, in rising order; class index -1 for nodes.
struct fmt_SetPart {
  int classIndex = rgnC_SubsetData::kNoClass;
  std::vector<int> ids{};
};

/// A set of elements, or of nodes. Parts without items are left out.
bme_NamedSet fmt_MakeSet(const cow_String& name, bool isOfNodes, int index, int meshId,
                         std::span<const fmt_SetPart> parts);
