// bme_FaceBlock.h: faces of some elements at a time
#pragma once

#include "bme_FaceTable.h"

/// Keys and words of the faces of up to sixteen elements.
struct bme_FaceBlock {
  static constexpr std::size_t kElements = 16, kFaces = kElements * bme_kMaxWordFaces;

  /// Appends collapsed faces, which have no key, to a list. Returns the first element that has a corner beyond the
  /// nodes, at which it ends, else bme_kNone.
  unsigned Fill(const bme_SolidClass& solids, std::span<const unsigned> elements, unsigned numNodes,
                std::vector<unsigned>& collapsed);

  std::size_t count = 0;
  std::array<bme_FaceKey, kFaces> keys;
  std::array<unsigned, kFaces> words;
};
