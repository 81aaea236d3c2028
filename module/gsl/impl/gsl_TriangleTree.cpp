#include "gsl_TravelKernel.h"
#include "gsl_TriangleArrays.h"
#include <BasicUtils/nex_Exception.h>
#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/gsl_Travel.h>
#include <CoreGeometry/gsl_Vector.h>
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <utility>

namespace {
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr double kLargest = 1e38; ///< coordinate; what is relative to the middle of a set is then a float

float RoundDown(double value) {
  const auto rounded = static_cast<float>(value);
  return rounded > value ? std::nextafter(rounded, -kInfinity) : rounded;
}
float RoundUp(double value) { return -RoundDown(-value); }
} // namespace

gsl_TriangleTree::gsl_TriangleTree(std::span<const float> xyz, std::span<const int> triangles)
    : gsl_TriangleTree(xyz, triangles, gsl_Vector()) {}

gsl_TriangleTree::gsl_TriangleTree(std::span<const double> xyz, std::span<const int> triangles)
    : gsl_TriangleTree(xyz, triangles, gsl_Vector()) {}

gsl_TriangleTree::gsl_TriangleTree(std::span<const float> xyz, std::span<const int> triangles,
                                   const gsl_Vector& direction)
    : floats_(xyz.data()), frame_(gsl_FrameAlong(direction.UnitCopy())) {
  Build(xyz, triangles);
}

gsl_TriangleTree::gsl_TriangleTree(std::span<const double> xyz, std::span<const int> triangles,
                                   const gsl_Vector& direction)
    : doubles_(xyz.data()), frame_(gsl_FrameAlong(direction.UnitCopy())) {
  Build(xyz, triangles);
}

std::size_t gsl_TriangleTree::Memory() const noexcept {
  return sizeof *this + order_.capacity() * sizeof order_[0] + leafStart_.capacity() * sizeof leafStart_[0]
         + nodes_.capacity() * sizeof nodes_[0];
}

namespace {
template<class T>
void ToFrame(const gsl_TravelFrame& frame, const T* xyz, const int* corners, gsl_TravelTriangle& triangle) {
  for (int i = 0; i < 3; ++i)
    gsl_ToFrame(frame, xyz + 3 * static_cast<std::size_t>(corners[i]), triangle.p[i]);
}

/// Refuses a triangle with finite coordinates of which one is too large.
template<class T> void CheckRange(const T* xyz, const int* corners, std::size_t triangle) {
  double largest = 0, sum = 0;
  for (int i = 0; i < 9; ++i) {
    const double x = xyz[3 * static_cast<std::size_t>(corners[i / 3]) + static_cast<std::size_t>(i % 3)];
    largest = std::max(largest, std::fabs(x));
    sum += x * 0;
  }
  if (sum == 0 && largest > kLargest)
    throw nex_TextException("triangle " + std::to_string(triangle) + ": a coordinate is beyond 1e+38");
}
} // namespace

// The middles of the triangles, and the box of the whole set. The tree keeps places in single precision.
template<class T>
std::vector<gsl_TriangleTree::Item> gsl_TriangleTree::FindMiddles(const T* xyz, std::size_t numTriangles) {
  std::fill_n(low_, 3, std::numeric_limits<double>::infinity());
  std::fill_n(high_, 3, -std::numeric_limits<double>::infinity());
  // false, and the coordinates are checked, for a triangle with one that is not finite
  const auto isFinite = [&](std::size_t i, gsl_TravelTriangle& triangle) {
    ToFrame(frame_, xyz, triangles_ + 3 * i, triangle);
    double sum = 0;
    for (const auto& p : triangle.p) sum += p[0] + p[1] + p[2];
    if (!std::isfinite(sum)) CheckRange(xyz, triangles_ + 3 * i, i);
    return std::isfinite(sum);
  };
  double base[3] = {0, 0, 0}; // single precision is enough near the set
  gsl_TravelTriangle first;
  for (std::size_t i = 0; i < numTriangles; ++i)
    if (isFinite(i, first)) {
      std::copy_n(first.p[0], 3, base);
      break;
    }
  struct Part {
    std::vector<Item> items;
    double low[3], high[3];
  };
  std::vector<Item> items;
  items.reserve(numTriangles);
  constexpr std::size_t kPiece = std::size_t{1} << 14;
  wip_MergePieces((numTriangles + kPiece - 1) / kPiece,
                  [&](std::size_t piece) {
                    Part part;
                    std::copy_n(low_, 3, part.low);
                    std::copy_n(high_, 3, part.high);
                    const std::size_t end = std::min(numTriangles, (piece + 1) * kPiece);
                    part.items.reserve(end - piece * kPiece);
                    for (std::size_t i = piece * kPiece; i < end; ++i) {
                      gsl_TravelTriangle triangle;
                      if (!isFinite(i, triangle)) continue;
                      triangle.FindBox();
                      Item item{{}, static_cast<std::int32_t>(i)};
                      for (int axis = 0; axis < 3; ++axis) {
                        part.low[axis] = std::min(part.low[axis], triangle.low[axis]);
                        part.high[axis] = std::max(part.high[axis], triangle.high[axis]);
                        item.middle[axis] =
                            static_cast<float>((triangle.low[axis] + triangle.high[axis]) * 0.5 - base[axis]);
                      }
                      part.items.push_back(item);
                    }
                    return part;
                  },
                  [&](const Part& part) {
                    items.insert(items.end(), part.items.begin(), part.items.end());
                    for (int axis = 0; axis < 3; ++axis) {
                      low_[axis] = std::min(low_[axis], part.low[axis]);
                      high_[axis] = std::max(high_[axis], part.high[axis]);
                    }
                  });
  for (int axis = 0; axis < 3; ++axis)
    if (!items.empty() && std::max(-low_[axis], high_[axis]) > kLargest)
      for (const Item& item : items)
        CheckRange(xyz, triangles_ + 3 * static_cast<std::size_t>(item.triangle),
                   static_cast<std::size_t>(item.triangle));
  return items;
}

namespace {
/// Puts the items with the smallest keys first, as many as asked for. Half of all comparisons go the other
/// way, so that a loop without branches is twice as fast as the library's.
template<class Item, class Key> void Select(std::span<Item> items, std::size_t first, Key key) {
  constexpr std::size_t kFew = 16;
  for (int round = 0; items.size() > kFew && round < 64; ++round) {
    if (items.size() > 100000) wip_Poll::Now();
    std::uint64_t sample[5];
    for (std::size_t i = 0; i < 5; ++i) sample[i] = key(items[i * (items.size() - 1) / 4]);
    std::ranges::sort(sample);
    const std::uint64_t pivot = sample[2];
    std::size_t below = 0;
    for (Item& item : items) {
      const Item moved = item;
      item = items[below];
      items[below] = moved;
      below += key(moved) < pivot ? 1 : 0;
    }
    if (first < below) {
      items = items.first(below);
    } else {
      items = items.subspan(below);
      first -= below;
    }
  }
  std::ranges::nth_element(items, items.begin() + static_cast<std::ptrdiff_t>(first), {}, key);
}
/// How many of the items go into the first half: as many as lie before the widest gap along the axis, where
/// that is wide and leaves each half between least and most; half of them otherwise.
template<class Item>
std::size_t FindCut(std::span<const Item> items, int axis, float low, float high, std::size_t least,
                    std::size_t most) {
  constexpr int kBins = 32, kWide = 3;
  std::size_t count[kBins] = {};
  // of parts less than 1e-37 across the quotient is beyond float; they are not looked at so closely
  const float scale = std::min(kBins / (high - low), std::numeric_limits<float>::max());
  for (const Item& item : items)
    ++count[std::min(static_cast<int>((item.middle[axis] - low) * scale), kBins - 1)];
  std::size_t before = 0, cut = items.size() / 2;
  int widest = kWide - 1, gap = 0;
  for (const std::size_t inBin : count) {
    if (inBin == 0) {
      ++gap;
      continue;
    }
    if (gap > widest && before >= least && before <= most) {
      widest = gap;
      cut = before;
    }
    gap = 0;
    before += inBin;
  }
  return cut;
}
} // namespace

// Where the triangles of some leaves are parted along the longest axis of their middles; they are put on their side.
// Walls that face each other go into different parts: what holds both would overlap whatever stands between them.
std::size_t gsl_TriangleTree::Cut(std::span<Item> items, std::size_t leaves) {
  float low[3], high[3];
  std::copy_n(items[0].middle, 3, low);
  std::copy_n(items[0].middle, 3, high);
  for (const Item& item : items)
    for (int axis = 0; axis < 3; ++axis) {
      low[axis] = std::min(low[axis], item.middle[axis]);
      high[axis] = std::max(high[axis], item.middle[axis]);
    }
  int longest = 0;
  for (int axis = 1; axis < 3; ++axis)
    if (high[axis] - low[axis] > high[longest] - low[longest]) longest = axis;
  const std::size_t half = leaves / 2, full = kMostPerLeaf * half, all = items.size();
  const float extent = high[longest] - low[longest];
  const std::size_t cut =
      extent > 0 && extent < kInfinity
          ? FindCut<Item>(items, longest, low[longest], high[longest],
                          std::max(half, all > full ? all - full : 0), std::min(full, all - half))
          : all / 2;
  Select(items, cut, [longest](const Item& item) {
    const auto bits = std::bit_cast<std::uint32_t>(item.middle[longest]);
    // as unsigned numbers in the order of the middles; no two triangles are equal
    const std::uint32_t order = bits ^ (bits >> 31 ? ~0U : 1U << 31);
    return std::uint64_t{order} << 32 | static_cast<std::uint32_t>(item.triangle);
  });
  return cut;
}

// Parts the triangles until each part is one leaf.
void gsl_TriangleTree::Halve(std::span<Item> all, Part part) {
  const std::span<Item> items = all.subspan(part.firstItem, part.numItems);
  if (part.numLeaves == 1) {
    leafStart_[part.firstLeaf + 1] = static_cast<std::uint32_t>(part.firstItem + part.numItems);
    std::ranges::sort(items, {}, &Item::triangle); // one order, whatever way the library selects
    return;
  }
  for (const Part& half : part.HalvesAt(Cut(items, part.numLeaves))) Halve(all, half);
}

// All parts of a level at once, then what is below them.
void gsl_TriangleTree::HalveAll(std::span<Item> items) {
  constexpr std::size_t kParts = 256;
  leafStart_.assign(leaves_ + 1, 0);
  std::vector<Part> parts{{0, items.size(), 0, leaves_}};
  while (parts.size() < kParts && parts[0].numLeaves > 1) {
    std::vector<Part> halves(2 * parts.size());
    wip_RunPieces(parts.size(), [&](std::size_t k) {
      const std::size_t cut = Cut(items.subspan(parts[k].firstItem, parts[k].numItems), parts[k].numLeaves);
      std::ranges::copy(parts[k].HalvesAt(cut), &halves[2 * k]);
    });
    parts.swap(halves);
  }
  wip_RunPieces(parts.size(), [&](std::size_t k) { Halve(items, parts[k]); });
}

namespace {
/// Slopes of the plane that fits points best in depth (least squares); none where that is badly determined or
/// steep.
void FitPlane(std::span<const gsl_TravelTriangle> triangles, float (&slope)[2]) {
  double mean[3] = {0, 0, 0};
  for (const gsl_TravelTriangle& triangle : triangles)
    for (const auto& p : triangle.p)
      for (int axis = 0; axis < 3; ++axis) mean[axis] += p[axis];
  for (double& value : mean) value /= 3.0 * static_cast<double>(triangles.size());
  double xx = 0, xy = 0, yy = 0, xz = 0, yz = 0;
  for (const gsl_TravelTriangle& triangle : triangles)
    for (const auto& p : triangle.p) {
      const double x = p[0] - mean[0], y = p[1] - mean[1], z = p[2] - mean[2];
      xx += x * x;
      xy += x * y;
      yy += y * y;
      xz += x * z;
      yz += y * z;
    }
  const double determinant = xx * yy - xy * xy;
  const double x = (xz * yy - yz * xy) / determinant, y = (yz * xx - xz * xy) / determinant;
  const bool isGood =
      determinant > 1e-6 * (xx + yy) * (xx + yy) && std::fabs(x) + std::fabs(y) < gsl_kSteepest;
  slope[0] = isGood ? static_cast<float>(x) : 0;
  slope[1] = isGood ? static_cast<float>(y) : 0;
}
} // namespace

void gsl_TriangleTree::Prefetch(std::size_t firstLeaf, std::size_t endLeaf) const noexcept {
  const char* const xyz =
      doubles_ ? reinterpret_cast<const char*>(doubles_) : reinterpret_cast<const char*>(floats_);
  const std::size_t size = 3 * (doubles_ ? sizeof *doubles_ : sizeof *floats_);
  for (std::size_t i = leafStart_[firstLeaf]; i < leafStart_[endLeaf]; ++i)
    for (std::size_t k = 0; k < 3; ++k)
      __builtin_prefetch(
          xyz + size * static_cast<std::size_t>(triangles_[3 * static_cast<std::size_t>(order_[i]) + k]));
}

gsl_TriangleTree::Node
gsl_TriangleTree::MakeLeaf(std::span<const gsl_TravelTriangle> triangles) const noexcept {
  constexpr double kHuge = std::numeric_limits<double>::infinity();
  double low[3] = {kHuge, kHuge, kHuge}, high[3] = {-kHuge, -kHuge, -kHuge};
  Node node;
  FitPlane(triangles, node.slope);
  node.slabNear = kHuge;
  node.slabFar = -kHuge;
  for (const gsl_TravelTriangle& triangle : triangles)
    for (const auto& p : triangle.p) {
      const double depth = p[2] - node.slope[0] * (p[0] - origin_[0]) - node.slope[1] * (p[1] - origin_[1]);
      node.slabNear = std::min(node.slabNear, depth);
      node.slabFar = std::max(node.slabFar, depth);
      for (int axis = 0; axis < 3; ++axis) {
        low[axis] = std::min(low[axis], p[axis]);
        high[axis] = std::max(high[axis], p[axis]);
      }
    }
  for (int axis = 0; axis < 2; ++axis) {
    node.low[axis] = RoundDown(low[axis] - origin_[axis]);
    node.high[axis] = RoundUp(high[axis] - origin_[axis]);
  }
  node.near = low[2];
  node.far = high[2];
  return node;
}

gsl_TriangleTree::Node gsl_TriangleTree::Join(const Node& a, const Node& b) noexcept {
  Node joint;
  for (int axis = 0; axis < 2; ++axis) {
    joint.low[axis] = std::min(a.low[axis], b.low[axis]);
    joint.high[axis] = std::max(a.high[axis], b.high[axis]);
    joint.slope[axis] = (a.slope[axis] + b.slope[axis]) * 0.5F;
  }
  joint.near = std::min(a.near, b.near);
  joint.far = std::max(a.far, b.far);
  joint.slabNear = std::numeric_limits<double>::infinity();
  joint.slabFar = -joint.slabNear;
  for (const Node* part : {&a, &b}) {
    double near = part->slabNear, far = part->slabFar;
    for (int axis = 0; axis < 2; ++axis) {
      const double change = double{part->slope[axis]} - joint.slope[axis];
      near += change * (change > 0 ? part->low : part->high)[axis];
      far += change * (change > 0 ? part->high : part->low)[axis];
    }
    joint.slabNear = std::min(joint.slabNear, near);
    joint.slabFar = std::max(joint.slabFar, far);
  }
  return joint;
}

template<class T> void gsl_TriangleTree::Build(std::span<const T> xyz, std::span<const int> triangles) {
  gsl_CheckTriangles(triangles, xyz.size() / 3);
  triangles_ = triangles.data();
  std::vector<Item> items = FindMiddles(xyz.data(), triangles.size() / 3);
  if (items.empty()) return;
  order_.resize(items.size());
  leaves_ = std::bit_ceil((items.size() + kTrianglesPerLeaf - 1) / kTrianglesPerLeaf);
  HalveAll(items);
  for (std::size_t i = 0; i < items.size(); ++i) order_[i] = items[i].triangle;
  items = {};
  nodes_.resize(2 * leaves_);
  for (int axis = 0; axis < 2; ++axis) origin_[axis] = (low_[axis] + high_[axis]) * 0.5;
  constexpr std::size_t kPiece = 2048;
  wip_RunPieces((leaves_ + kPiece - 1) / kPiece, [&](std::size_t piece) {
    for (std::size_t leaf = piece * kPiece; leaf < std::min(leaves_, (piece + 1) * kPiece); ++leaf) {
      gsl_TravelTriangle held[kMostPerLeaf];
      const std::size_t start = leafStart_[leaf], count = leafStart_[leaf + 1] - start;
      for (std::size_t i = 0; i < count; ++i)
        ToFrame(frame_, xyz.data(), triangles_ + 3 * static_cast<std::size_t>(order_[start + i]), held[i]);
      nodes_[leaves_ + leaf] = MakeLeaf({held, count});
    }
  });
  for (std::size_t i = leaves_ - 1; i > 0; --i) nodes_[i] = Join(nodes_[2 * i], nodes_[2 * i + 1]);
}
