#include "bme_LocatorPoint.h"

#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_ElementLocator.h>

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <memory>
#include <numeric>

namespace {
constexpr double kInfinity = std::numeric_limits<double>::infinity();
using Point = bme_ElementLocator::Point;
using bme_LocatorPoint::WidePoint;

constexpr shp_FloatBox kEmptyBox{{1, 1, 1}, {-1, -1, -1}};
bool IsFinite(const shp_FloatBox& box) {
  float sum = 0; // x - x is 0 for all that is finite, and else no number
  for (std::size_t axis = 0; axis < 3; ++axis)
    sum += (box.low[axis] - box.low[axis]) + (box.high[axis] - box.high[axis]);
  return sum == 0;
}

bool IsEmpty(const shp_FloatBox& box) { return !(box.low[0] <= box.high[0]); }

double SquaredDistance(const shp_FloatBox& box, const Point& point) {
  double sum = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double gap = std::max({static_cast<double>(box.low[axis]) - point[axis],
                                 point[axis] - static_cast<double>(box.high[axis]), 0.0});
    sum += gap * gap;
  }
  return sum;
}

constexpr std::size_t kPiece = 16384; // elements

template<class T> std::span<T> PieceOf(std::vector<T>& all, std::size_t piece) {
  return std::span(all).subspan(piece * kPiece, std::min(kPiece, all.size() - piece * kPiece));
}

/// Of the boxes of some elements.
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
  unsigned count = 0;
  Point low{kInfinity, kInfinity, kInfinity}, high{-kInfinity, -kInfinity, -kInfinity}, lengths{};
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
} // namespace

bme_ElementLocator::bme_ElementLocator(bme_LastingMesh mesh) : coordinates_(mesh->NodeData().Coordinates()) {
  for (unsigned i = 0; i < mesh->ElementData().NumClasses(); ++i) AddClass(mesh, i);
  ChooseGrid();
}

bme_ElementLocator::bme_ElementLocator(bme_LastingMesh mesh, std::span<const unsigned> classIndices)
    : coordinates_(mesh->NodeData().Coordinates()) {
  for (const unsigned index : classIndices) AddClass(mesh, index);
  std::ranges::sort(classes_, {}, &Class::firstElement);
  ChooseGrid();
}

void bme_ElementLocator::AddClass(const bme_Mesh& mesh, unsigned classIndex) {
  const bme_ElementClass& elements = mesh.ElementData().GetClass(classIndex);
  const shp_Shape* shape =
      thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(elements.ElemTypeLabel());
  const auto count = static_cast<std::size_t>(elements.NumElements());
  if (!shape || shape->NodeCoordinates().empty() || count == 0) return;
  const auto firstSlot = static_cast<unsigned>(boxes_.size());
  const shp_ElementSearch search(*shape);
  classes_.push_back({search, elements.ElementConnectivity(),
                      static_cast<unsigned>(elements.FirstElementIndex()), firstSlot});
  boxes_.resize(boxes_.size() + count);
  const std::span<const int> nodes = elements.ElementConnectivity().Const();
  const std::size_t width = elements.ElementConnectivity().NumColumns();
  const auto numNodes = static_cast<unsigned>(coordinates_.Size());
  const std::span<const float> coordinates = coordinates_.Const();
  const std::span<shp_FloatBox> boxes = std::span(boxes_).subspan(firstSlot);
  const auto isKnown = [numNodes](int node) { return static_cast<unsigned>(node) < numNodes; };
  wip_RunPieces((count + kPiece - 1) / kPiece, [&](std::size_t piece) {
    const std::size_t first = piece * kPiece, size = std::min(kPiece, count - first);
    const std::span<const int> rows = nodes.subspan(first * width, size * width);
    const std::span<shp_FloatBox> own = boxes.subspan(first, size);
    if (std::ranges::all_of(rows, isKnown)) return search.BoundEach(rows, width, coordinates, own);
    for (std::size_t k = 0; k < size; ++k) {
      const auto row = rows.subspan(k * width, width);
      if (std::ranges::all_of(row, isKnown))
        search.BoundEach(row, width, coordinates, own.subspan(k, 1));
      else
        own[k] = kEmptyBox;
    }
  });
}

/// Bins about as long on each axis as the elements, but not many more of them than elements.
void bme_ElementLocator::ChooseGrid() {
  constexpr double kElementsPerBin = 1.25; // of an element's length: not 1, lest boxes end where bins do
  Point lengths{};
  low_.fill(kInfinity);
  high_.fill(-kInfinity);
  wip_MergePieces(
      NumPieces(),
      [&](std::size_t piece) {
        Extents part;
        for (shp_FloatBox& box : PieceOf(boxes_, piece)) part.Add(box);
        return part;
      },
      [&](const Extents& part) {
        numElements_ += part.count;
        for (std::size_t axis = 0; axis < 3; ++axis) {
          low_[axis] = std::min(low_[axis], part.low[axis]);
          high_[axis] = std::max(high_[axis], part.high[axis]);
          lengths[axis] += part.lengths[axis];
        }
      });
  numBins_ = {1, 1, 1};
  if (numElements_ == 0) {
    FillBins();
    return;
  }
  for (std::size_t axis = 0; axis < 3; ++axis) lengths[axis] /= numElements_;
  const double maxBins = 2.0 * numElements_ + 8;
  for (double coarser = kElementsPerBin;; coarser *= 1.1) {
    double product = 1;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double extent = high_[axis] - low_[axis], length = coarser * lengths[axis];
      const double count = extent > 0 && length > 0 ? std::clamp(std::floor(extent / length), 1.0, 1e6) : 1;
      numBins_[axis] = static_cast<int>(count);
      binsPerLength_[axis] = extent > 0 ? count / extent : 0;
      product *= count;
    }
    if (product <= maxBins && (FillBins() || product == 1)) return;
  }
}

int bme_ElementLocator::BinAlong(std::size_t axis, double x) const noexcept {
  const double bin = (x - low_[axis]) * binsPerLength_[axis];
  return static_cast<int>(std::clamp(bin, 0.0, numBins_[axis] - 1.0));
}

bme_ElementLocator::Bin bme_ElementLocator::BinOf(const Point& point) const noexcept {
  return {BinAlong(0, point[0]), BinAlong(1, point[1]), BinAlong(2, point[2])};
}

bool bme_ElementLocator::IsOnGrid(const Point& point) const noexcept {
  for (std::size_t axis = 0; axis < 3; ++axis)
    if (!(point[axis] >= low_[axis] && point[axis] <= high_[axis])) return false;
  return true;
}

std::size_t bme_ElementLocator::Row(const Bin& bin) const noexcept {
  const auto at = [](int value) { return static_cast<std::size_t>(value); };
  return at(bin[0]) + at(numBins_[0]) * (at(bin[1]) + at(numBins_[1]) * at(bin[2]));
}

std::size_t bme_ElementLocator::NumPieces() const noexcept { return (boxes_.size() + kPiece - 1) / kPiece; }

/// Counting sort of the slots by bin: each row comes out in ascending order. False when elements much longer
/// than the mean would fill too many bins of this grid, unless it has but one.
///
/// Threads fill slabs of the grid at once. Each looks at the pieces of the elements that reach into its slab: in a
/// mesh that is numbered along some direction that is each piece about once.
bool bme_ElementLocator::FillBins() {
  const int numLines = numBins_[1] * numBins_[2];
  const auto ranges = std::make_unique_for_overwrite<BinRange[]>(boxes_.size());
  std::vector<Lines> reached(NumPieces()); // by the elements of a piece
  std::atomic<std::size_t> numEntries = 0;
  const Point start = low_, scale = binsPerLength_,
              last{numBins_[0] - 1.0, numBins_[1] - 1.0, numBins_[2] - 1.0};
  wip_RunPieces(NumPieces(), [&](std::size_t piece) {
    Lines own{numLines, 0};
    std::size_t count = 0;
    BinRange* range = ranges.get() + piece * kPiece;
    for (const shp_FloatBox& box : PieceOf(boxes_, piece)) {
      *range = BinRange::None();
      if (!IsEmpty(box)) {
        Bin low, high;
        for (std::size_t axis = 0; axis < 3; ++axis) { // as BinAlong
          const double from = (static_cast<double>(box.low[axis]) - start[axis]) * scale[axis],
                       to = (static_cast<double>(box.high[axis]) - start[axis]) * scale[axis];
          low[axis] = static_cast<int>(std::min(std::max(from, 0.0), last[axis]));
          high[axis] = static_cast<int>(std::min(std::max(to, 0.0), last[axis]));
        }
        *range = BinRange(low, high);
        count += range->Count();
        own = {std::min(own.first, numBins_[1] * low[2] + low[1]),
               std::max(own.end, numBins_[1] * high[2] + high[1] + 1)};
      }
      ++range;
    }
    reached[piece] = own;
    numEntries += count;
  });
  const std::size_t numRows = static_cast<std::size_t>(numLines) * static_cast<std::size_t>(numBins_[0]);
  if (numRows > 1 && numEntries > 24 * std::size_t{numElements_}) return false;

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
            const int line = numBins_[1] * z + y;
            if (line < lines.first || line >= lines.end) continue;
            const std::size_t row = static_cast<std::size_t>(line) * static_cast<std::size_t>(numBins_[0]);
            for (int x = range.Low(0); x <= range.High(0); ++x)
              visit(row + static_cast<std::size_t>(x), slot);
          }
        ++slot;
      }
    }
  };
  rowStarts_.assign(numRows + 1, 0);
  wip_RunPieces(static_cast<std::size_t>(numSlabs), [&](std::size_t slab) {
    forEachRow(slab, [&](std::size_t row, unsigned) { ++rowStarts_[row + 1]; });
  });
  std::partial_sum(rowStarts_.begin(), rowStarts_.end(), rowStarts_.begin());
  slots_.resize(rowStarts_.back());
  // each start moves to the end of its row while this fills, and back afterwards
  wip_RunPieces(static_cast<std::size_t>(numSlabs), [&](std::size_t slab) {
    forEachRow(slab, [&](std::size_t row, unsigned slot) { slots_[rowStarts_[row]++] = slot; });
  });
  std::copy_backward(rowStarts_.begin(), rowStarts_.end() - 1, rowStarts_.end());
  rowStarts_.front() = 0;
  return true;
}

std::span<const int> bme_ElementLocator::Nodes(const Class& elements, unsigned slot) const noexcept {
  return elements.connectivity.Row(slot - elements.firstSlot);
}

/// Calls take(hit, class, slot) for the elements of a bin whose boxes hold the point, until it answers true.
template<class Take>
void bme_ElementLocator::ForEachCandidate(std::size_t row, const Point& point, const Take& take) const {
  const WidePoint wide(point);
  const unsigned* const end = slots_.data() + rowStarts_[row + 1];
  for (const unsigned* slot = slots_.data() + rowStarts_[row]; slot != end; ++slot)
    __builtin_prefetch(&boxes_[*slot]);
  for (const unsigned* slot = slots_.data() + rowStarts_[row]; slot != end; ++slot) {
    if (!wide.MayBeIn(boxes_[*slot])) continue;
    const Class& elements = ClassOf(*slot);
    bme_ElementHit hit{elements.firstElement + (*slot - elements.firstSlot)};
    if (take(hit, elements, *slot)) return;
  }
}

bme_ElementHit bme_ElementLocator::FindInRow(std::size_t row, const Point& point) const {
  bme_ElementHit found;
  const auto search = [&](bool thorough) {
    ForEachCandidate(row, point, [&](bme_ElementHit& hit, const Class& elements, unsigned slot) {
      if (hit.element >= found.element) return true; // found before
      hit.location = elements.search.FindInElement(point, Nodes(elements, slot), coordinates_.Const(),
                                                   hit.iso, thorough);
      if (shp_IsHeld(hit.location)) found = hit;
      return shp_IsHeld(hit.location);
    });
  };
  // few points need more than the quick form; one inside an element is in no other
  search(false);
  if (found.location == shp_Location::Inside) return found;
  search(true);
  if (shp_IsHeld(found.location)) return found;
  ForEachCandidate(row, point, [&](bme_ElementHit& hit, const Class& elements, unsigned slot) {
    if (!elements.search.IsDegenerate(Nodes(elements, slot), coordinates_.Const())) return false;
    found = {hit.element, shp_Location::Degenerate};
    return true;
  });
  return found;
}

bme_ElementHit bme_ElementLocator::Find(const Point& point) const {
  return IsOnGrid(point) ? FindInRow(Row(BinOf(point)), point) : bme_ElementHit();
}

void bme_ElementLocator::FindAll(const Point& point, std::vector<bme_ElementHit>& owners) const {
  owners.clear();
  if (!IsOnGrid(point)) return;
  ForEachCandidate(Row(BinOf(point)), point, [&](bme_ElementHit& hit, const Class& elements, unsigned slot) {
    hit.location = elements.search.FindInElement(point, Nodes(elements, slot), coordinates_.Const(), hit.iso);
    if (shp_IsHeld(hit.location)) owners.push_back(hit);
    return false;
  });
}

/// Measures the elements of a bin, unless a bin nearer to the start has them too.
void bme_ElementLocator::ImproveNearest(const Bin& bin, const Bin& start, const Point& point,
                                        bme_NearestElement& best) const {
  const std::size_t row = Row(bin);
  for (unsigned k = rowStarts_[row]; k < rowStarts_[row + 1]; ++k) {
    const unsigned slot = slots_[k];
    const shp_FloatBox& box = boxes_[slot];
    if (SquaredDistance(box, point) > best.distance * best.distance) continue;
    bool isNearestBin = true;
    for (std::size_t axis = 0; axis < 3; ++axis)
      isNearestBin &= bin[axis]
                      == std::clamp(start[axis], BinAlong(axis, static_cast<double>(box.low[axis])),
                                    BinAlong(axis, static_cast<double>(box.high[axis])));
    if (!isNearestBin) continue;
    const Class& elements = ClassOf(slot);
    const unsigned element = elements.firstElement + (slot - elements.firstSlot);
    shp_IsoPoint iso{};
    const double distance =
        elements.search.FindClosestPoint(point, Nodes(elements, slot), coordinates_.Const(), iso);
    if (distance < best.distance || (distance == best.distance && element < best.element))
      best = {element, distance, iso};
  }
}

bme_NearestElement bme_ElementLocator::FindNearest(const Point& point) const {
  bme_NearestElement best{.distance = kInfinity};
  if (const bme_ElementHit hit = Find(point); shp_IsHeld(hit.location)) return {hit.element, 0, hit.iso};
  if (numElements_ == 0 || !std::isfinite(point[0] + point[1] + point[2])) return best;
  // shells of bins about the one of the point, until the next is further away than the best element
  const Bin start = BinOf(point);
  for (int shell = 0;; ++shell) {
    if (shell > 0) wip_Poll::Now(); // most points need no second
    double gap = kInfinity;
    Bin first, last;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      first[axis] = std::max(start[axis] - shell, 0);
      last[axis] = std::min(start[axis] + shell, numBins_[axis] - 1);
      const auto planeAt = [&](int bin) { return low_[axis] + bin / binsPerLength_[axis]; };
      if (shell > 0 && start[axis] - shell >= 0)
        gap = std::min(gap, point[axis] - planeAt(start[axis] - shell + 1));
      if (shell > 0 && start[axis] + shell < numBins_[axis])
        gap = std::min(gap, planeAt(start[axis] + shell) - point[axis]);
    }
    if (shell > 0 && (gap == kInfinity || gap > best.distance)) return best;
    const auto isOnShell = [&](std::size_t axis, int bin) { return std::abs(bin - start[axis]) == shell; };
    for (int z = first[2]; z <= last[2]; ++z)
      for (int y = first[1]; y <= last[1]; ++y) {
        if (isOnShell(2, z) || isOnShell(1, y)) {
          for (int x = first[0]; x <= last[0]; ++x) ImproveNearest({x, y, z}, start, point, best);
        } else {
          if (start[0] - shell >= 0) ImproveNearest({start[0] - shell, y, z}, start, point, best);
          if (shell > 0 && start[0] + shell < numBins_[0])
            ImproveNearest({start[0] + shell, y, z}, start, point, best);
        }
      }
  }
}
