// Many points at once: bin by bin, several elements side by side, and what memory must bring is asked for
// early. Pieces of the points in the order of their bins are searched on the executor of the host.
#include "bme_LocatorPoint.h"

#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_Poll.h>
#include <limits>
#include <numeric>

namespace {
constexpr unsigned kOffGrid = std::numeric_limits<unsigned>::max();
}

/// A point of a batch and the row of bins it is in.
struct bme_ElementLocator::BatchEntry {
  unsigned row, point;
};

/// Finds some of the points, block by block.
class bme_ElementLocator::BatchPiece {
public:
  BatchPiece(const bme_ElementLocator& locator, std::span<const float> coordinates,
             std::span<const double> points, std::span<bme_ElementHit> hits)
      : locator_(locator), coordinates_(coordinates), points_(points), hits_(hits),
        queues_(locator.classes_.size()) {}

  void Find(std::span<const BatchEntry> entries) {
    wip_Poll poll(2048);
    for (; !entries.empty(); entries = entries.subspan(std::min(kBlock, entries.size()))) {
      poll.Advance(kBlock);
      FindBlock(entries.first(std::min(kBlock, entries.size())));
    }
  }

private:
  static constexpr std::size_t kBlock = 64;

  /// A point of the block and those of its candidates that are not searched yet.
  struct Search {
    BatchEntry entry;
    unsigned next, end;
    bool isFirst = true;
  };
  /// Questions to the elements of one class, of the searches with these numbers.
  struct Queue {
    std::vector<shp_ElementQuestion> questions;
    std::vector<std::size_t> searches;
  };

  const double* PointAt(unsigned point) const { return points_.data() + 3 * std::size_t{point}; }
  Point Copy(unsigned point) const {
    const double* at = PointAt(point);
    return {at[0], at[1], at[2]};
  }

  /// The slots of a point's bin.
  std::span<const unsigned> SlotsOf(const BatchEntry& entry) const {
    if (entry.row == kOffGrid) return {};
    const unsigned first = locator_.rowStarts_[entry.row], last = locator_.rowStarts_[entry.row + 1];
    return std::span(locator_.slots_).subspan(first, last - first);
  }

  void FindBlock(std::span<const BatchEntry> entries) {
    for (const BatchEntry& entry : entries) {
      __builtin_prefetch(PointAt(entry.point));
      if (entry.row != kOffGrid) __builtin_prefetch(&locator_.rowStarts_[entry.row]);
    }
    for (const BatchEntry& entry : entries) __builtin_prefetch(SlotsOf(entry).data());
    for (const BatchEntry& entry : entries)
      for (const unsigned slot : SlotsOf(entry)) __builtin_prefetch(&locator_.boxes_[slot]);
    searches_.clear();
    candidates_.clear();
    for (const BatchEntry& entry : entries) {
      const bme_LocatorPoint::WidePoint wide(Copy(entry.point));
      const auto first = static_cast<unsigned>(candidates_.size());
      for (const unsigned slot : SlotsOf(entry)) {
        if (!wide.MayBeIn(locator_.boxes_[slot])) continue;
        candidates_.push_back(slot);
        __builtin_prefetch(locator_.Nodes(locator_.ClassOf(slot), slot).data());
      }
      hits_[entry.point] = {};
      searches_.push_back({entry, first, static_cast<unsigned>(candidates_.size())});
    }
    while (AskNext()) TakeAnswers();
  }

  /// Asks each search's next candidate; false when there is none left.
  bool AskNext() {
    const float* coordinates = coordinates_.data();
    bool isAny = false;
    for (std::size_t k = 0; k < searches_.size(); ++k) {
      Search& search = searches_[k];
      if (search.next == search.end) continue;
      const unsigned slot = candidates_[search.next];
      const Class& elements = locator_.ClassOf(slot);
      const std::span<const int> nodes = locator_.Nodes(elements, slot);
      for (const int node : nodes) __builtin_prefetch(coordinates + 3 * static_cast<std::size_t>(node));
      Queue& queue = queues_[static_cast<std::size_t>(&elements - locator_.classes_.data())];
      queue.questions.push_back({PointAt(search.entry.point), nodes.data()});
      queue.searches.push_back(k);
      isAny = true;
    }
    return isAny;
  }

  void TakeAnswers() {
    for (std::size_t k = 0; k < queues_.size(); ++k) {
      auto& [questions, searches] = queues_[k];
      const Class& elements = locator_.classes_[k];
      isos_.resize(questions.size());
      locations_.resize(questions.size());
      elements.search.FindInElements(questions, coordinates_, isos_, locations_);
      for (std::size_t i = 0; i < questions.size(); ++i)
        Take(searches_[searches[i]], elements, locations_[i], isos_[i]);
      questions.clear();
      searches.clear();
    }
  }

  /// Few points need more than the quick form: those that no candidate was found to hold, and those on the
  /// boundary of one, which an earlier candidate may hold as well.
  void Take(Search& search, const Class& elements, shp_Location location, const shp_IsoPoint& iso) {
    bme_ElementHit& hit = hits_[search.entry.point];
    const unsigned slot = candidates_[search.next++];
    const bool isHeld = shp_IsHeld(location);
    if (isHeld) hit = {elements.firstElement + (slot - elements.firstSlot), location, iso};
    const bool isSettled = isHeld && (location == shp_Location::Inside || search.isFirst);
    if (!isSettled && (isHeld || search.next == search.end))
      hit = locator_.FindInRow(search.entry.row, Copy(search.entry.point));
    if (isHeld) search.next = search.end;
    search.isFirst = false;
  }

  const bme_ElementLocator& locator_;
  std::span<const float> coordinates_;
  std::span<const double> points_;
  std::span<bme_ElementHit> hits_;
  // of a block
  std::vector<Search> searches_;
  std::vector<unsigned> candidates_; ///< slots
  std::vector<Queue> queues_;        ///< of each class
  std::vector<shp_IsoPoint> isos_;
  std::vector<shp_Location> locations_;
};

/// Entries of all points, by radix, so that points of one bin find its elements in the cache.
std::vector<bme_ElementLocator::BatchEntry>
bme_ElementLocator::SortByBin(std::span<const double> points) const {
  constexpr unsigned kDigitBits = 11, kDigits = 1U << kDigitBits;
  constexpr std::size_t kBetween = std::size_t{1} << 18, kPiece = std::size_t{1} << 16;
  const std::size_t numPoints = points.size() / 3;
  std::vector<BatchEntry> entries(numPoints);
  wip_RunPieces((numPoints + kPiece - 1) / kPiece, [&](std::size_t piece) {
    for (std::size_t k = piece * kPiece; k < std::min(numPoints, (piece + 1) * kPiece); ++k) {
      const Point point{points[3 * k], points[3 * k + 1], points[3 * k + 2]};
      entries[k] = {IsOnGrid(point) ? static_cast<unsigned>(RowOf(point)) : kOffGrid,
                    static_cast<unsigned>(k)};
    }
  });
  std::vector<BatchEntry> sorted(entries.size());
  const std::size_t numRows = rowStarts_.size() - 1;
  for (unsigned shift = 0; shift == 0 || (shift < 32 && numRows >> shift > 0); shift += kDigitBits) {
    std::array<unsigned, kDigits + 1> starts{};
    for (const BatchEntry& entry : entries) ++starts[(entry.row >> shift) % kDigits + 1];
    std::partial_sum(starts.begin(), starts.end(), starts.begin());
    wip_InBlocks(entries.size(), kBetween, [&](std::size_t first, std::size_t end) {
      for (std::size_t k = first; k < end; ++k)
        sorted[starts[(entries[k].row >> shift) % kDigits]++] = entries[k];
    });
    entries.swap(sorted);
  }
  return entries;
}

void bme_ElementLocator::FindEach(std::span<const double> points, std::span<bme_ElementHit> hits) const {
  constexpr std::size_t kPiece = 8192;
  const std::vector<BatchEntry> entries = SortByBin(points.first(3 * hits.size()));
  const std::span<const float> coordinates = coordinates_.Const();
  wip_RunPieces((entries.size() + kPiece - 1) / kPiece, [&](std::size_t piece) {
    const std::size_t first = piece * kPiece;
    BatchPiece(*this, coordinates, points, hits)
        .Find(std::span(entries).subspan(first, std::min(kPiece, entries.size() - first)));
  });
}
