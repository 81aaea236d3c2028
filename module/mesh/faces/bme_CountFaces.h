// bme_CountFaces.h: faces of solids that are counted piece by piece, on lent threads
#pragma once

#include "bme_FaceTable.h"
#include "bme_Work.h"

#include <BasicUtils/wip_Executor.h>

/// Makes a part of each piece of some solids, on lent threads, and takes the parts in mesh order.
template<class Make, class Take>
void bme_ForEachPiece(const std::vector<bme_SolidClass>& classes, bme_WorkProgress* progress,
                      const Make& make, const Take& take) {
  constexpr std::size_t kPiece = 32768;
  for (const bme_SolidClass& solids : classes) {
    const std::span<const unsigned> words = solids.words;
    wip_MergePieces(
        (words.size() + kPiece - 1) / kPiece,
        [&](std::size_t piece) {
          return make(solids, words.subspan(piece * kPiece, std::min(kPiece, words.size() - piece * kPiece)));
        },
        [&](const auto& part) {
          if (progress) progress->Advance(std::min(kPiece, words.size()));
          take(part);
        });
  }
}

/// The first element with a corner beyond the nodes; no class when there is none.
struct bme_WrongElement {
  const bme_SolidClass* type = nullptr;
  unsigned element = 0;
};
inline bme_WrongElement bme_FindWrong(const std::vector<bme_SolidClass>& classes, unsigned numNodes) {
  bme_WrongElement wrong;
  bme_ForEachPiece(
      classes, nullptr,
      [&](const bme_SolidClass& type, std::span<const unsigned> elements) {
        for (const unsigned element : elements)
          for (const int corner : type.elementCorners)
            if (static_cast<unsigned>(type.Row(element)[corner]) >= numNodes)
              return bme_WrongElement{&type, element};
        return bme_WrongElement();
      },
      [&](const bme_WrongElement& first) {
        if (!wrong.type) wrong = first;
      });
  return wrong;
}

/// Visits (key, word) of the faces of an element, without those of less than three corners.
template<class Visit>
void bme_ForEachFace(const bme_SolidClass& solids, unsigned element, const Visit& visit) {
  bme_FaceKey key;
  const int* row = solids.Row(element);
  for (unsigned face = 0; face < solids.numFaces; ++face)
    if (solids.Key(row, face, key) >= 3) visit(key, bme_FaceWord(element, face));
}

struct bme_FaceHit {
  unsigned group, word;
};

/// take(hits) for the faces of some solids that are in a group, piece by piece in mesh order.
template<class Take>
void bme_FindGroups(const std::vector<bme_SolidClass>& classes, const bme_FaceGroups& groups,
                    bme_WorkProgress& progress, const Take& take) {
  bme_ForEachPiece(
      classes, &progress,
      [&](const bme_SolidClass& solids, std::span<const unsigned> elements) {
        std::vector<bme_FaceHit> hits;
        for (const unsigned element : elements) {
          const int* row = solids.Row(element);
          const auto isNear = [&](int corner) { return groups.IsCorner(static_cast<unsigned>(row[corner])); };
          if (std::ranges::none_of(solids.everyFace, isNear)) continue;
          if (std::ranges::count_if(solids.elementCorners, isNear) < 3) continue;
          bme_ForEachFace(solids, element, [&](const bme_FaceKey& key, unsigned word) {
            if (const unsigned at = groups.Find(key, word); at != bme_kNone) hits.push_back({at, word});
          });
        }
        return hits;
      },
      take);
}

/// Every face of the list that is in a group, in mesh order; groups count their elements.
inline std::vector<bme_FaceHit> bme_CountGroups(const std::vector<bme_SolidClass>& classes,
                                                bme_FaceGroups& groups, bme_WorkProgress& progress) {
  std::vector<bme_FaceHit> hits;
  bme_FindGroups(classes, groups, progress, [&](const std::vector<bme_FaceHit>& own) {
    for (const auto& [at, word] : own) {
      bme_FaceGroups::Group& group = groups[at];
      group.count += unsigned{group.lastElement != bme_ElementOf(word)};
      group.lastElement = bme_ElementOf(word);
    }
    hits.insert(hits.end(), own.begin(), own.end());
  });
  return hits;
}
