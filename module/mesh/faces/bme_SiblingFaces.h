// bme_SiblingFaces.h: records of the same corners, brought together
#pragma once

#include <array>
#include <span>
#include <vector>

/// One side with its corners ascending, distinct, filled up with -1.
struct bme_KeyRecord {
  std::array<int, 4> corners{-1, -1, -1, -1};
  unsigned slot = 0;

  auto operator<=>(const bme_KeyRecord&) const = default;
};

/// A record of the corners given in any order. False when fewer than `least` are distinct, or one is not a
/// node of the mesh.
bool bme_MakeKey(std::span<const int> corners, std::size_t least, unsigned numNodes, bme_KeyRecord& record);

/// Joins the slots of equal corners to cycles in ascending order: next[slot] is the next one. It must be the
/// slot itself before. Records are sorted on the way: by a counting sort on the first corner, then each small group.
/// Throws wip_Cancelled.
void bme_LinkEqualKeys(std::vector<bme_KeyRecord>& records, unsigned numNodes, std::span<unsigned> next);
