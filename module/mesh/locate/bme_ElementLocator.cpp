#include "bme_LocatorPoint.h"

#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_ElementLocator.h>

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {
constexpr double kInfinity = std::numeric_limits<double>::infinity();
using Point = bme_ElementLocator::Point;
using bme_LocatorPoint::kEmptyBox, bme_LocatorPoint::WidePoint;

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

bme_ElementLocator::Bin bme_ElementLocator::Grid::BinAt(std::size_t row) const noexcept {
  const auto width = static_cast<std::size_t>(numBins[0]), height = static_cast<std::size_t>(numBins[1]);
  return {static_cast<int>(row % width), static_cast<int>(row / width % height),
          static_cast<int>(row / width / height)};
}

double bme_ElementLocator::Grid::PlaneAt(std::size_t axis, int bin) const noexcept {
  return binsPerLength[axis] > 0 ? low[axis] + bin / binsPerLength[axis] : low[axis];
}

bool bme_ElementLocator::IsOnGrid(const Point& point) const noexcept {
  for (std::size_t axis = 0; axis < 3; ++axis)
    if (!(point[axis] >= low_[axis] && point[axis] <= high_[axis])) return false;
  return true;
}

const bme_ElementLocator::Grid* bme_ElementLocator::GridOf(std::size_t row) const noexcept {
  const unsigned first = rowStarts_[row];
  const bool isDivided = rowStarts_[row + 1] - first == 1 && (slots_[first] & kDivided) != 0;
  return isDivided ? &grids_[slots_[first] & ~kDivided] : nullptr;
}

std::size_t bme_ElementLocator::RowOf(const Point& point) const noexcept {
  std::size_t row = grids_[0].RowOf(grids_[0].BinOf(point));
  if (grids_.size() > 1)
    while (const Grid* grid = GridOf(row)) row = grid->RowOf(grid->BinOf(point));
  return row;
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
  return IsOnGrid(point) ? FindInRow(RowOf(point), point) : bme_ElementHit();
}

void bme_ElementLocator::FindAll(const Point& point, std::vector<bme_ElementHit>& owners) const {
  owners.clear();
  if (!IsOnGrid(point)) return;
  ForEachCandidate(RowOf(point), point, [&](bme_ElementHit& hit, const Class& elements, unsigned slot) {
    hit.location = elements.search.FindInElement(point, Nodes(elements, slot), coordinates_.Const(), hit.iso);
    if (shp_IsHeld(hit.location)) owners.push_back(hit);
    return false;
  });
}

/// Measures the elements of a bin, unless a bin nearer to the start has them too.
void bme_ElementLocator::ImproveNearest(const Grid& grid, const Bin& bin, const Bin& start,
                                        const Point& point, bme_NearestElement& best) const {
  const std::size_t row = grid.RowOf(bin);
  if (const Grid* finer = GridOf(row)) return SearchShells(*finer, point, best);
  for (unsigned k = rowStarts_[row]; k < rowStarts_[row + 1]; ++k) {
    const unsigned slot = slots_[k];
    const shp_FloatBox& box = boxes_[slot];
    if (SquaredDistance(box, point) > best.distance * best.distance) continue;
    bool isNearestBin = true;
    for (std::size_t axis = 0; axis < 3; ++axis)
      isNearestBin &= bin[axis]
                      == std::clamp(start[axis], grid.BinAlong(axis, static_cast<double>(box.low[axis])),
                                    grid.BinAlong(axis, static_cast<double>(box.high[axis])));
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
  SearchShells(grids_[0], point, best);
  return best;
}

/// Shells of bins about the one nearest to the point, until the next is further away than the best element.
void bme_ElementLocator::SearchShells(const Grid& grid, const Point& point, bme_NearestElement& best) const {
  const Bin start = grid.BinOf(point);
  for (int shell = 0;; ++shell) {
    if (shell > 0) wip_Poll::Now(); // most points need no second
    double gap = kInfinity;
    Bin first, last;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      first[axis] = std::max(start[axis] - shell, 0);
      last[axis] = std::min(start[axis] + shell, grid.numBins[axis] - 1);
      if (shell > 0 && start[axis] - shell >= 0)
        gap = std::min(gap, point[axis] - grid.PlaneAt(axis, start[axis] - shell + 1));
      if (shell > 0 && start[axis] + shell < grid.numBins[axis])
        gap = std::min(gap, grid.PlaneAt(axis, start[axis] + shell) - point[axis]);
    }
    if (shell > 0 && (gap == kInfinity || gap > best.distance)) return;
    const auto isOnShell = [&](std::size_t axis, int bin) { return std::abs(bin - start[axis]) == shell; };
    for (int z = first[2]; z <= last[2]; ++z)
      for (int y = first[1]; y <= last[1]; ++y) {
        if (isOnShell(2, z) || isOnShell(1, y)) {
          for (int x = first[0]; x <= last[0]; ++x) ImproveNearest(grid, {x, y, z}, start, point, best);
        } else {
          if (start[0] - shell >= 0) ImproveNearest(grid, {start[0] - shell, y, z}, start, point, best);
          if (shell > 0 && start[0] + shell < grid.numBins[0])
            ImproveNearest(grid, {start[0] + shell, y, z}, start, point, best);
        }
      }
  }
}
