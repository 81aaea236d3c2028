#include "bme_MatchFaces.h"

#include "bme_FaceBlock.h"
#include "bme_Pool.h"

#include <BasicUtils/wip_Executor.h>
#include <numeric>

namespace {
struct Face {
  bme_FaceKey key;
  unsigned word;
};

/// Ranges of nodes whose faces are matched together.
class Ranges {
public:
  explicit Ranges(unsigned numNodes) {
    constexpr unsigned kMostRanges = 4096;
    while (std::size_t{numNodes} >> shift_ >= kMostRanges) ++shift_;
    count_ = (std::size_t{numNodes} >> shift_) + 1;
  }
  std::size_t Count() const noexcept { return count_; }
  std::size_t NumNodes() const noexcept { return std::size_t{1} << shift_; } ///< of a range
  std::size_t Of(const bme_FaceKey& key) const noexcept { return key[0] >> shift_; }
  unsigned First(std::size_t range) const noexcept { return static_cast<unsigned>(range << shift_); }

private:
  unsigned shift_ = 12;
  std::size_t count_ = 0;
};

/// What a piece of the elements leaves.
struct Piece {
  std::span<const Face> Of(std::size_t range) const noexcept {
    return {waiting.get() + starts[range], waiting.get() + starts[range + 1]};
  }
  std::unique_ptr<Face[]> waiting; ///< without a partner in the piece, by range
  std::vector<unsigned> starts;    ///< of each range
  bme_MatchedFaces found;
  unsigned wrong = bme_kNone; ///< an element with a corner beyond the nodes
  std::size_t numElements = 0;
  bool isNear = false; ///< its corners do not lie far apart
};

/// What a piece uses.
struct Scratch {
  bme_FaceTable table;
  std::vector<Face> waiting;
};
void SortByRange(const Ranges& ranges, std::span<const Face> waiting, Piece& piece) {
  piece.starts.assign(ranges.Count() + 1, 0);
  for (const Face& face : waiting) ++piece.starts[ranges.Of(face.key) + 1];
  std::partial_sum(piece.starts.begin(), piece.starts.end(), piece.starts.begin());
  std::vector<unsigned> next(piece.starts.begin(), piece.starts.end() - 1);
  piece.waiting = std::make_unique_for_overwrite<Face[]>(waiting.size());
  for (const Face& face : waiting) piece.waiting[next[ranges.Of(face.key)]++] = face;
}

/// Nodes that may be corners; all of them when no element has middle nodes.
std::size_t CountCorners(const std::vector<bme_SolidClass>& classes, unsigned numNodes) {
  const auto isLinear = [](const bme_SolidClass& solids) {
    return solids.columns == solids.elementCorners.size();
  };
  if (std::ranges::all_of(classes, isLinear)) return numNodes;
  bme_NodeBits corners(numNodes);
  for (const bme_SolidClass& solids : classes)
    for (const unsigned element : solids.words)
      for (const int corner : solids.elementCorners)
        if (const auto node = static_cast<unsigned>(solids.Row(element)[corner]); node < numNodes)
          corners.Set(node);
  return corners.Count();
}
std::size_t NumFaces(const std::vector<bme_SolidClass>& classes) {
  std::size_t count = 0;
  for (const bme_SolidClass& type : classes) count += type.numFaces * type.words.size();
  return count;
}

template<bool kMatchAllNodes> class Matcher {
public:
  Matcher(const bme_Solids& solids, unsigned numNodes, bool keepPairs)
      : solids_(solids), numNodes_(numNodes), keepPairs_(keepPairs), ranges_(numNodes),
        nodesPerCorner_(numNodes / std::max<std::size_t>(CountCorners(solids.classes, numNodes), 1)),
        seen_(numNodes, NumFaces(solids.classes), nodesPerCorner_) {}

  /// False after a report.
  bool Run(bme_MatchedFaces& found, bme_WorkProgress& progress) {
    return !isShared_ && AreNear() ? RunAlong(found, progress) : RunInRanges(found, progress);
  }

private:
  static constexpr std::size_t kPiece = 32768; // elements

  static void Take(bme_MatchedFaces&& part, bme_MatchedFaces& all) {
    all.pairs.insert(all.pairs.end(), part.pairs.begin(), part.pairs.end());
    all.collapsed.insert(all.collapsed.end(), part.collapsed.begin(), part.collapsed.end());
    all.suspects.insert(all.suspects.end(), part.suspects.begin(), part.suspects.end());
    part = {};
  }

  auto SameAs(unsigned word) const {
    return [this, word](unsigned other) { return !kMatchAllNodes || solids_.HaveSameNodes(word, other); };
  }

  /// A range of nodes.
  struct Corners {
    unsigned first = 0, end = 0;
    bool IsAny() const noexcept { return first < end; }
    bool Has(unsigned node) const noexcept { return node >= first && node < end; }
  };
  /// Where the corners of some elements are, by one in several of them; nothing when they lie far apart.
  Corners CornersOf(const bme_SolidClass& type, std::span<const unsigned> elements, std::size_t every) const {
    Corners corners{bme_kNone, 0};
    for (std::size_t k = 0; k < elements.size(); k += every)
      for (const int corner : type.elementCorners) {
        const auto node = static_cast<unsigned>(type.Row(elements[k])[corner]);
        if (node >= numNodes_) continue;
        corners.first = std::min(corners.first, node);
        corners.end = std::max(corners.end, node + 1);
      }
    const bool isNear =
        corners.IsAny() && (corners.end - corners.first) / nodesPerCorner_ <= elements.size() * type.numFaces;
    return isNear ? corners : Corners{};
  }

  /// True when most pieces have their corners near each other.
  bool AreNear() const {
    std::size_t numNear = 0, numPieces = 0;
    for (const bme_SolidClass& type : solids_.classes)
      for (std::size_t k = 0; k < type.words.size(); k += kPiece, ++numPieces)
        numNear += CornersOf(type, PieceOf(type, k / kPiece), 64).IsAny();
    return 2 * numNear > numPieces;
  }

  static std::span<const unsigned> PieceOf(const bme_SolidClass& type, std::size_t piece) {
    return type.words.subspan(piece * kPiece, std::min(kPiece, type.words.size() - piece * kPiece));
  }

  /// One table for all, which is as small as the moving front of the mesh.
  bool RunAlong(bme_MatchedFaces& found, bme_WorkProgress& progress) {
    Scratch scratch;
    scratch.table.Reset(0, numNodes_, NumFaces(solids_.classes), nodesPerCorner_);
    for (const bme_SolidClass& type : solids_.classes)
      for (std::size_t k = 0; k * kPiece < type.words.size(); ++k) {
        const std::span<const unsigned> elements = PieceOf(type, k);
        if (const unsigned wrong = Match(type, elements, {0, numNodes_}, scratch, found); wrong != bme_kNone)
          return type.HasNodes(wrong, numNodes_);
        progress.Advance(elements.size());
      }
    scratch.table.ForEachWaiting(
        [&](const bme_FaceKey& key, unsigned word) { found.suspects.emplace_back(key, word); });
    return true;
  }

  bool RunInRanges(bme_MatchedFaces& found, bme_WorkProgress& progress) {
    bool isWrong = false;
    for (const bme_SolidClass& type : solids_.classes) {
      if (isWrong) break;
      wip_MergePieces((type.words.size() + kPiece - 1) / kPiece,
                      [&](std::size_t k) { return MatchPiece(type, PieceOf(type, k)); },
                      [&](Piece piece) {
                        if (isWrong) return;
                        if (piece.wrong != bme_kNone) isWrong = !type.HasNodes(piece.wrong, numNodes_);
                        progress.Advance(piece.numElements);
                        isSeen_ |= piece.isNear;
                        Take(std::move(piece.found), found);
                        pieces_.push_back(std::move(piece));
                      });
    }
    if (isWrong) return false;
    wip_MergePieces(
        ranges_.Count(), [&](std::size_t range) { return MatchRange(range); },
        [&](bme_MatchedFaces part) { Take(std::move(part), found); });
    return true;
  }

  /// Faces of some elements, in the table where their smallest corner is among some, else in the list. Returns the first
  /// element with a corner beyond the nodes.
  unsigned Match(const bme_SolidClass& type, std::span<const unsigned> elements, const Corners& corners,
                 Scratch& scratch, bme_MatchedFaces& found) {
    constexpr int kStepsAhead = 3;
    bme_FaceTable& table = scratch.table;
    bme_FaceBlock faces;
    std::array<unsigned, bme_FaceBlock::kFaces> ahead; // records on their way
    for (std::size_t at = 0; at < elements.size(); at += bme_FaceBlock::kElements) {
      const auto block = elements.subspan(at, std::min(bme_FaceBlock::kElements, elements.size() - at));
      if (const unsigned wrong = faces.Fill(type, block, numNodes_, found.collapsed); wrong != bme_kNone)
        return wrong;
      if (table.IsLarge()) { // the misses of the faces of a block overlap
        for (std::size_t i = 0; i < faces.count; ++i)
          ahead[i] = corners.Has(faces.keys[i][0]) ? table.PrefetchFirst(faces.keys[i]) : bme_kNone;
        for (int step = 0; step < kStepsAhead; ++step)
          for (std::size_t i = 0; i < faces.count; ++i)
            ahead[i] = table.PrefetchNext(faces.keys[i], ahead[i]);
      }
      for (std::size_t i = 0; i < faces.count; ++i) {
        const bme_FaceKey& key = faces.keys[i];
        const unsigned word = faces.words[i];
        if (!corners.Has(key[0])) {
          scratch.waiting.push_back({key, word});
          continue;
        }
        const unsigned partner = table.Match(key, word, SameAs(word));
        if (partner == bme_kNone) continue;
        if (seen_.Mark(key, key[1], isShared_)) found.suspects.emplace_back(key, word);
        if (keepPairs_) found.pairs.insert(found.pairs.end(), {word, partner});
      }
    }
    return bme_kNone;
  }

  Piece MatchPiece(const bme_SolidClass& type, std::span<const unsigned> elements) {
    Piece piece;
    piece.numElements = elements.size();
    const Corners corners = CornersOf(type, elements, 8);
    piece.isNear = corners.IsAny();
    Scratch scratch = pool_.Take();
    bme_FaceTable& table = scratch.table;
    std::vector<Face>& waiting = scratch.waiting;
    table.Reset(corners.first, corners.end - corners.first, elements.size() * type.numFaces, nodesPerCorner_);
    waiting.clear();
    piece.wrong = Match(type, elements, corners, scratch, piece.found);
    table.ForEachWaiting([&](const bme_FaceKey& key, unsigned word) { waiting.push_back({key, word}); });
    SortByRange(ranges_, waiting, piece);
    pool_.Give(std::move(scratch));
    return piece;
  }

  bme_MatchedFaces MatchRange(std::size_t range) {
    bme_MatchedFaces found;
    std::size_t numFaces = 0;
    for (const Piece& piece : pieces_) numFaces += piece.Of(range).size();
    if (numFaces == 0) return found;
    const unsigned first = ranges_.First(range);
    Scratch scratch = pool_.Take();
    bme_FaceTable& table = scratch.table;
    table.Reset(first, ranges_.NumNodes(), numFaces, nodesPerCorner_);
    const std::size_t numPlaces = std::bit_ceil(numFaces / 8 + 1);
    bme_SeenFaces seen(numPlaces, numFaces, 1);
    for (const Piece& piece : pieces_)
      for (const auto& [key, word] : piece.Of(range)) {
        const unsigned partner = table.Match(key, word, SameAs(word));
        if (partner == bme_kNone) continue;
        // in this range, or in a piece
        const std::size_t place = (key[0] * 0x9E3779B1U ^ key[1]) & (numPlaces - 1);
        if (seen.Mark(key, place, false) || (isSeen_ && seen_.Has(key, key[1])))
          found.suspects.emplace_back(key, word);
        if (keepPairs_) found.pairs.insert(found.pairs.end(), {word, partner});
      }
    table.ForEachWaiting(
        [&](const bme_FaceKey& key, unsigned word) { found.suspects.emplace_back(key, word); });
    pool_.Give(std::move(scratch));
    return found;
  }

  const bme_Solids& solids_;
  unsigned numNodes_;
  bool keepPairs_;
  Ranges ranges_;
  std::size_t nodesPerCorner_;
  bme_Pool<Scratch> pool_;
  bool isShared_ = wip_NumThreads() > 1;
  bme_SeenFaces seen_;  ///< faces that were matched in pieces
  bool isSeen_ = false; ///< there are some
  std::vector<Piece> pieces_;
};
} // namespace

std::optional<bme_MatchedFaces> bme_MatchFaces(const bme_Solids& solids, unsigned numNodes, bool keepPairs,
                                               bme_WorkProgress& progress) {
  bme_MatchedFaces found;
  const bool isWhole = solids.matchAllNodes
                           ? Matcher<true>(solids, numNodes, keepPairs).Run(found, progress)
                           : Matcher<false>(solids, numNodes, keepPairs).Run(found, progress);
  if (!isWhole) return std::nullopt;
  return found;
}
