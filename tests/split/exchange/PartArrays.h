// PartArrays.h: what a part is made of, to be changed by tests
#pragma once

#include <CoreGeometry/dst_Part.h>

/// The first shared node becomes one of the part alone.
inline void WithoutFirstShared(dst_Part::Arrays& arrays) {
  const unsigned gone = arrays.holderStarts.Const()[1];
  arrays.sharedNodes.Remove(0, 1);
  arrays.holders.Remove(0, gone);
  arrays.holderStarts.Remove(0, 1);
  for (unsigned& start : arrays.holderStarts.Modify()) start -= gone;
}

/// Calls edit(arrays) on a copy of the part's arrays, and makes a part of them.
template<class Edit> dst_Part EditedPart(const dst_Part& part, Edit edit) {
  dst_Part::Arrays arrays{.nodeNumbers = cow_ArrayCOW<unsigned>(part.NodeNumbers()),
                          .elementNumbers = cow_ArrayCOW<unsigned>(part.ElementNumbers()),
                          .sharedNodes = cow_ArrayCOW<unsigned>(part.SharedNodes()),
                          .holderStarts = {},
                          .holders = {}};
  arrays.holderStarts.Append(0U);
  for (unsigned i = 0; i < part.NumShared(); ++i) {
    arrays.holders.Append(part.OtherHolders(i));
    arrays.holderStarts.Append(static_cast<unsigned>(arrays.holders.Size()));
  }
  edit(arrays);
  return dst_Part(part.Identity(), part.Number(), part.NumParts(), arrays);
}
