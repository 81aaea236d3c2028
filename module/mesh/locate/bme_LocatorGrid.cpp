// The bins of a locator: of one size all over, and smaller ones where elements crowd.
#include "bme_LocatorPoint.h"

#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_ElementLocator.h>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>

namespace {
constexpr double kInfinity = std::numeric_limits<double>::infinity();
using Point = bme_ElementLocator::Point;
using bme_LocatorPoint::kEmptyBox;

bool IsFinite(const shp_FloatBox& box) {
  float sum = 0; // x - x is 0 for all that is finite, and else no number
  for (std::size_t axis = 0; axis < 3; ++axis)
    sum += (box.low[axis] - box.low[axis]) + (box.high[axis] - box.high[axis]);
  return sum == 0;
}

bool IsEmpty(const shp_FloatBox& box) { return !(box.low[0] <= box.high[0]); }

constexpr std::size_t kPiece = 16384; // elements

template<class T> std::span<T> PieceOf(std::span<T> all, std::size_t piece) {
  return all.subspan(piece * kPiece, std::min(kPiece, all.size() - piece * kPiece));
}

/// Of the boxes of some elements; and of the grid that they get.
struct Extents {
  void Add(shp_FloatBox& box) {
    if (!IsFinite(box)) box = kEmptyBox;
    if (IsEmpty(box)) return;
    ++count;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double lowest = static_cast<double>(box.low[axis]), highest = static_cast<double>(box.high[axis]);
      low[axis] = std::min(low[axis], lowest);
      high[axis] = std::max(high[axis], highest);
      lengths[axis] += highest - lowest;
    }
  }
  void Add(const Extents& part) {
    count += part.count;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      low[axis] = std::min(low[axis], part.low[axis]);
      high[axis] = std::max(high[axis], part.high[axis]);
      lengths[axis] += part.lengths[axis];
    }
  }
  unsigned count = 0;
  Point low{kInfinity, kInfinity, kInfinity}, high{-kInfinity, -kInfinity, -kInfinity},
      lengths{}; ///< of the grid, and sums of the elements'
};

/// Bins that the box of an element reaches, 21 bits for each axis.
class BinRange {
public:
  BinRange() = default; ///< anything
  static BinRange None() { return {{1, 0, 0}, {}}; }
  BinRange(const std::array<int, 3>& low, const std::array<int, 3>& high)
      : low_(Packed(low)), high_(Packed(high)) {}
  bool IsEmpty() const noexcept { return low_ > high_; }
  int Low(int axis) const noexcept { return At(low_, axis); }
  int High(int axis) const noexcept { return At(high_, axis); }
  std::size_t Count() const noexcept {
    std::size_t count = IsEmpty() ? 0 : 1;
    for (int axis = 0; axis < 3; ++axis) count *= static_cast<std::size_t>(High(axis) - Low(axis) + 1);
    return count;
  }
  /// Calls visit(bin) for each.
  template<class Visit> void ForEach(const Visit& visit) const {
    for (int z = Low(2); !IsEmpty() && z <= High(2); ++z)
      for (int y = Low(1); y <= High(1); ++y)
        for (int x = Low(0); x <= High(0); ++x) visit(std::array<int, 3>{x, y, z});
  }

private:
  static std::uint64_t Packed(const std::array<int, 3>& bin) noexcept {
    std::uint64_t all = 0;
    for (std::size_t axis = 3; axis-- > 0;) all = all << 21U | static_cast<unsigned>(bin[axis]);
    return all;
  }
  static int At(std::uint64_t all, int axis) noexcept {
    return static_cast<int>(all >> 21U * static_cast<unsigned>(axis) & 0x1FFFFFU);
  }
  std::uint64_t low_, high_;
};

/// Lines of bins along the first axis, from the first to before the end.
struct Lines {
  int first, end;
};

/// A bin with more elements, and with some times the mean of all bins, gets a grid of its own, if that leaves each
/// point a quarter of them at most.
constexpr std::size_t kCrowded = 64, kTimesMean = 4;
/// Lengths of bins over the mean length of their elements; not 1, lest boxes end where bins do.
constexpr double kBinLength = 1.25, kCrowdedBinLength = 1.75;
constexpr int kMostLevels = 8;
} // namespace

/// Makes the grids of a locator: one of all elements, and one of each bin that is crowded, and so on.
class bme_ElementLocator::GridMaker {
public:
  explicit GridMaker(std::span<shp_FloatBox> boxes) : boxes_(boxes) {}
  void Make(bme_ElementLocator& locator);

private:
  struct Filled {
    Grid grid;
    omi_LargeVector<unsigned> rowStarts, slots;
    std::vector<std::pair<std::size_t, std::size_t>> divided; ///< rows and their own grids
    std::size_t NumRows() const noexcept { return rowStarts.size() - 1; }
    std::span<const unsigned> Row(std::size_t row) const noexcept {
      return std::span(slots).subspan(rowStarts[row], rowStarts[row + 1] - rowStarts[row]);
    }
    /// Each start has moved to the end of its row while that was filled.
    void ReturnStarts() {
      std::copy_backward(rowStarts.begin(), rowStarts.end() - 1, rowStarts.end());
      rowStarts.front() = 0;
    }
  };
  std::size_t NumPieces() const noexcept { return (boxes_.size() + kPiece - 1) / kPiece; }
  template<class Try> static void ForEachSize(const Extents& extents, double binLength, const Try& isFilled);
  bool FillWhole(Filled& filled) const;
  void DivideCrowded();
  Filled Divide(const Filled& parent, std::size_t row) const;
  bool Fill(std::span<const unsigned> slots, Filled& filled) const;
  void Join(bme_ElementLocator& locator);

  std::span<shp_FloatBox> boxes_;
  Extents extents_;
  std::vector<Filled> grids_;
};

void bme_ElementLocator::ChooseGrid() { GridMaker(boxes_).Make(*this); }

void bme_ElementLocator::GridMaker::Make(bme_ElementLocator& locator) {
  wip_MergePieces(
      NumPieces(),
      [&](std::size_t piece) {
        Extents part;
        for (shp_FloatBox& box : PieceOf(boxes_, piece)) part.Add(box);
        return part;
      },
      [&](const Extents& part) { extents_.Add(part); });
  grids_.resize(1);
  if (extents_.count == 0)
    FillWhole(grids_[0]);
  else
    ForEachSize(extents_, kBinLength, [&](const Grid& grid) {
      grids_[0].grid = grid;
      return FillWhole(grids_[0]);
    });
  locator.numElements_ = extents_.count;
  locator.low_ = extents_.low;
  locator.high_ = extents_.high;
  DivideCrowded();
  Join(locator);
}

/// Level by level; the order of the grids does not depend on threads.
void bme_ElementLocator::GridMaker::DivideCrowded() {
  const std::size_t crowd = std::max(kCrowded, kTimesMean * grids_[0].slots.size() / grids_[0].NumRows());
  std::size_t first = 0;
  for (int level = 0; level < kMostLevels && first < grids_.size(); ++level) {
    std::vector<std::pair<std::size_t, std::size_t>> crowded; // grid and row
    for (std::size_t k = first; k < grids_.size(); ++k)
      for (std::size_t row = 0; row < grids_[k].NumRows(); ++row)
        if (grids_[k].Row(row).size() > crowd) crowded.emplace_back(k, row);
    first = grids_.size();
    auto next = crowded.begin();
    wip_MergePieces(
        crowded.size(), [&](std::size_t k) { return Divide(grids_[crowded[k].first], crowded[k].second); },
        [&](Filled&& part) {
          const auto [grid, row] = *next++;
          if (part.rowStarts.empty()) return;
          grids_[grid].divided.emplace_back(row, grids_.size());
          grids_.push_back(std::move(part));
        });
  }
}

/// The grid of one bin; without rows if it does not keep elements enough from each other.
bme_ElementLocator::GridMaker::Filled bme_ElementLocator::GridMaker::Divide(const Filled& parent,
                                                                            std::size_t row) const {
  wip_Poll::Now();
  const std::span<const unsigned> slots = parent.Row(row);
  const Bin bin = parent.grid.BinAt(row);
  Extents extents{.count = static_cast<unsigned>(slots.size())};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    extents.low[axis] = parent.grid.PlaneAt(axis, bin[axis]);
    extents.high[axis] = parent.grid.PlaneAt(axis, bin[axis] + 1);
    for (const unsigned slot : slots)
      extents.lengths[axis] +=
          std::max(std::min(static_cast<double>(boxes_[slot].high[axis]), extents.high[axis])
                       - std::max(static_cast<double>(boxes_[slot].low[axis]), extents.low[axis]),
                   0.0);
  }
  Filled filled;
  ForEachSize(extents, kCrowdedBinLength, [&](const Grid& grid) {
    filled.grid = grid;
    return Fill(slots, filled);
  });
  if (filled.slots.size() * 4 > slots.size() * filled.NumRows()) filled.rowStarts.clear();
  return filled;
}

/// As FillWhole, of some elements.
bool bme_ElementLocator::GridMaker::Fill(std::span<const unsigned> slots, Filled& filled) const {
  const Grid& grid = filled.grid;
  std::vector<BinRange> ranges;
  ranges.reserve(slots.size());
  std::size_t numEntries = 0;
  for (const unsigned slot : slots) {
    ranges.emplace_back(grid.BinOf(boxes_[slot].low), grid.BinOf(boxes_[slot].high));
    numEntries += ranges.back().Count();
  }
  if (grid.NumRows() > 1 && numEntries > 24 * slots.size()) return false;
  const auto forEachRow = [&](const auto& visit) {
    for (std::size_t k = 0; k < slots.size(); ++k)
      ranges[k].ForEach([&](const Bin& bin) { visit(grid.RowOf(bin), slots[k]); });
  };
  filled.rowStarts.assign(grid.NumRows() + 1, 0);
  filled.slots.resize(numEntries);
  forEachRow([&](std::size_t row, unsigned) { ++filled.rowStarts[row + 1]; });
  std::partial_sum(filled.rowStarts.begin(), filled.rowStarts.end(), filled.rowStarts.begin());
  forEachRow([&](std::size_t row, unsigned slot) { filled.slots[filled.rowStarts[row]++] = slot; });
  filled.ReturnStarts();
  return true;
}

/// Puts the rows of all grids one after the other.
void bme_ElementLocator::GridMaker::Join(bme_ElementLocator& locator) {
  if (grids_.size() == 1) {
    locator.grids_ = {grids_[0].grid};
    locator.rowStarts_ = std::move(grids_[0].rowStarts);
    locator.slots_ = std::move(grids_[0].slots);
    return;
  }
  std::size_t numRows = 0, numSlots = 0;
  for (const Filled& each : grids_) {
    numRows += each.NumRows();
    numSlots += each.slots.size() + each.divided.size();
    for (const auto& [row, grid] : each.divided) numSlots -= each.Row(row).size();
  }
  locator.rowStarts_.reserve(numRows + 1);
  locator.rowStarts_.push_back(0);
  locator.slots_.reserve(numSlots);
  for (Filled& each : grids_) {
    each.grid.firstRow = locator.rowStarts_.size() - 1;
    auto divided = each.divided.begin();
    for (std::size_t row = 0; row < each.NumRows(); ++row) {
      if (divided != each.divided.end() && divided->first == row) {
        locator.slots_.push_back(kDivided | static_cast<unsigned>(divided++->second));
      } else {
        const auto slots = each.Row(row);
        locator.slots_.insert(locator.slots_.end(), slots.begin(), slots.end());
      }
      locator.rowStarts_.push_back(static_cast<unsigned>(locator.slots_.size()));
    }
    locator.grids_.push_back(each.grid);
    each = {};
  }
}

/// Calls isFilled(grid) for ever larger bins until it answers true. They are at least binLength times as long as
/// the elements on each axis, and not many more than these.
template<class Try>
void bme_ElementLocator::GridMaker::ForEachSize(const Extents& extents, double binLength,
                                                const Try& isFilled) {
  const double maxBins = 2.0 * extents.count + 8;
  for (;; binLength *= 1.1) {
    Grid grid{.low = extents.low};
    double product = 1;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double extent = extents.high[axis] - extents.low[axis],
                   length = binLength * extents.lengths[axis] / extents.count;
      const double count = extent > 0 && length > 0 ? std::clamp(std::floor(extent / length), 1.0, 1e6) : 1;
      grid.numBins[axis] = static_cast<int>(count);
      grid.binsPerLength[axis] = extent > 0 ? count / extent : 0;
      product *= count;
    }
    if (product <= maxBins && isFilled(grid)) return;
  }
}

/// Counting sort of the slots by bin: each row comes out in ascending order. False when elements much longer
/// than the mean would fill too many bins of this grid, unless it has but one.
///
/// Threads fill slabs of the grid at once. Each looks at the pieces of the elements that reach into its slab: in a
/// mesh that is numbered along some direction that is each piece about once.
bool bme_ElementLocator::GridMaker::FillWhole(Filled& filled) const {
  const Grid& grid = filled.grid;
  const int numLines = grid.numBins[1] * grid.numBins[2];
  const auto ranges = std::make_unique_for_overwrite<BinRange[]>(boxes_.size());
  std::vector<Lines> reached(NumPieces()); // by the elements of a piece
  std::atomic<std::size_t> numEntries = 0;
  wip_RunPieces(NumPieces(), [&](std::size_t piece) {
    Lines own{numLines, 0};
    std::size_t count = 0;
    BinRange* range = ranges.get() + piece * kPiece;
    for (const shp_FloatBox& box : PieceOf(boxes_, piece)) {
      *range = BinRange::None();
      if (!IsEmpty(box)) {
        *range = BinRange(grid.BinOf(box.low), grid.BinOf(box.high));
        count += range->Count();
        own = {std::min(own.first, grid.numBins[1] * range->Low(2) + range->Low(1)),
               std::max(own.end, grid.numBins[1] * range->High(2) + range->High(1) + 1)};
      }
      ++range;
    }
    reached[piece] = own;
    numEntries += count;
  });
  const std::size_t numRows = grid.NumRows();
  if (numRows > 1 && numEntries > 24 * std::size_t{extents_.count}) return false;

  const int numSlabs = wip_NumThreads() > 1 ? std::min(numLines, 16) : 1;
  // visit(row, slot) for the bins of all elements in a slab
  const auto forEachRow = [&](std::size_t slab, const auto& visit) {
    const auto lineAt = [&](std::size_t k) {
      return static_cast<int>(static_cast<long long>(k) * numLines / numSlabs);
    };
    const Lines lines{lineAt(slab), lineAt(slab + 1)};
    for (std::size_t piece = 0; piece < reached.size(); ++piece) {
      if (reached[piece].end <= lines.first || reached[piece].first >= lines.end) continue;
      wip_Poll::Now();
      auto slot = static_cast<unsigned>(piece * kPiece);
      for (const BinRange& range : std::span(ranges.get() + piece * kPiece, PieceOf(boxes_, piece).size())) {
        for (int z = range.Low(2); !range.IsEmpty() && z <= range.High(2); ++z)
          for (int y = range.Low(1); y <= range.High(1); ++y) {
            const int line = grid.numBins[1] * z + y;
            if (line < lines.first || line >= lines.end) continue;
            const std::size_t row =
                static_cast<std::size_t>(line) * static_cast<std::size_t>(grid.numBins[0]);
            for (int x = range.Low(0); x <= range.High(0); ++x)
              visit(row + static_cast<std::size_t>(x), slot);
          }
        ++slot;
      }
    }
  };
  filled.rowStarts.assign(numRows + 1, 0);
  wip_RunPieces(static_cast<std::size_t>(numSlabs), [&](std::size_t slab) {
    forEachRow(slab, [&](std::size_t row, unsigned) { ++filled.rowStarts[row + 1]; });
  });
  std::partial_sum(filled.rowStarts.begin(), filled.rowStarts.end(), filled.rowStarts.begin());
  filled.slots.resize(filled.rowStarts.back());
  wip_RunPieces(static_cast<std::size_t>(numSlabs), [&](std::size_t slab) {
    forEachRow(slab, [&](std::size_t row, unsigned slot) { filled.slots[filled.rowStarts[row]++] = slot; });
  });
  filled.ReturnStarts();
  return true;
}
