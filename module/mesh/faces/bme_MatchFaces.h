// bme_MatchFaces.h: pairs of equal faces of solids
#pragma once

#include "bme_FaceTable.h"
#include "bme_Work.h"

#include <optional>

/// What is known of the faces of solids after the first pass.
struct bme_MatchedFaces {
  std::vector<unsigned> pairs;     ///< words, two each
  std::vector<unsigned> collapsed; ///< words
  std::vector<std::pair<bme_FaceKey, unsigned>>
      suspects; ///< faces to be counted: all but those of two elements
};

/// Matches faces with equal corners, or nodes if matchAllNodes. Nothing after a report that a corner is beyond the nodes.
///
/// One thread matches a mesh that is numbered along some direction element by element. Otherwise the elements are
/// first matched in pieces, unless their corners lie far apart; the faces that are left are sorted by ranges of their
/// smallest corner and matched range by range, each in a table that fits into the cache, however nodes and elements are
/// numbered. Lent threads work on pieces and ranges.
std::optional<bme_MatchedFaces> bme_MatchFaces(const bme_Solids& solids, unsigned numNodes, bool keepPairs,
                                               bme_WorkProgress& progress);
