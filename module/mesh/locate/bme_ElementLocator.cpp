#include "bme_LocatorPoint.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_ElementLocator.h>

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <algorithm>
#include <cmath>
#include <limits>
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
  const auto isKnown = [numNodes](int node) { return static_cast<unsigned>(node) < numNodes; };
  const std::span<shp_FloatBox> boxes = std::span(boxes_).subspan(firstSlot);
  constexpr std::size_t kBlock = 16384;
  bool areKnown = true;
  wip_InBlocks(nodes.size(), kBlock * width, [&](std::size_t first, std::size_t end) {
    areKnown = areKnown && std::ranges::all_of(nodes.subspan(first, end - first), isKnown);
  });
  if (areKnown)
    return wip_InBlocks(count, kBlock, [&](std::size_t first, std::size_t end) {
      search.BoundEach(nodes.subspan(first * width, (end - first) * width), width, coordinates_.Const(),
                       boxes.subspan(first, end - first));
    });
  wip_Poll poll(kBlock);
  for (std::size_t k = 0; k < count; ++k) {
    poll.Advance();
    const auto row = nodes.subspan(k * width, width);
    if (std::ranges::all_of(row, isKnown))
      search.BoundEach(row, width, coordinates_.Const(), boxes.subspan(k, 1));
    else
      boxes[k] = kEmptyBox;
  }
}

/// Bins about as long on each axis as the elements, but not many more of them than elements.
void bme_ElementLocator::ChooseGrid() {
  constexpr double kElementsPerBin = 1.25; // of an element's length: not 1, lest boxes end where bins do
  Point lengths{};
  low_.fill(kInfinity);
  high_.fill(-kInfinity);
  for (shp_FloatBox& box : boxes_) {
    if (!IsFinite(box)) box = kEmptyBox;
    if (IsEmpty(box)) continue;
    ++numElements_;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double low = static_cast<double>(box.low[axis]), high = static_cast<double>(box.high[axis]);
      low_[axis] = std::min(low_[axis], low);
      high_[axis] = std::max(high_[axis], high);
      lengths[axis] += high - low;
    }
  }
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

/// Counting sort of the slots by bin: each row comes out in ascending order. False when elements much longer
/// than the mean would fill too many bins of this grid, unless it has but one.
bool bme_ElementLocator::FillBins() {
  const auto forEachRow = [this](const shp_FloatBox& box, const auto& visit) {
    if (IsEmpty(box)) return;
    Bin first, last;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      first[axis] = BinAlong(axis, static_cast<double>(box.low[axis]));
      last[axis] = BinAlong(axis, static_cast<double>(box.high[axis]));
    }
    for (int z = first[2]; z <= last[2]; ++z)
      for (int y = first[1]; y <= last[1]; ++y) {
        const std::size_t row = Row({first[0], y, z});
        for (int x = 0; x <= last[0] - first[0]; ++x) visit(row + static_cast<std::size_t>(x));
      }
  };
  rowStarts_.assign(Row({0, 0, numBins_[2]}) + 1, 0);
  const std::size_t mostEntries = 24 * std::size_t{numElements_};
  std::size_t numEntries = 0;
  wip_Poll poll(65536);
  for (const shp_FloatBox& box : boxes_) {
    forEachRow(box, [&](std::size_t row) {
      ++rowStarts_[row + 1];
      ++numEntries;
    });
    poll.Advance();
    if (numEntries > mostEntries && rowStarts_.size() > 2) return false;
  }
  std::partial_sum(rowStarts_.begin(), rowStarts_.end(), rowStarts_.begin());
  slots_.resize(rowStarts_.back());
  // each start moves to the end of its row while this fills, and back afterwards
  wip_InBlocks(boxes_.size(), 65536, [&](std::size_t first, std::size_t end) {
    for (auto slot = static_cast<unsigned>(first); slot < end; ++slot)
      forEachRow(boxes_[slot], [&](std::size_t row) { slots_[rowStarts_[row]++] = slot; });
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
