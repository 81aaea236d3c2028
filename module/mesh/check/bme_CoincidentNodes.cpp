#include "bme_SeenTwice.h"

#include <BasicUtils/nex_Exception.h>
#include <BasicUtils/wip_Poll.h>
#include <BasicUtils/wip_Sort.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_NodeData.h>
#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <numeric>
#include <span>

namespace {
using Point = std::array<double, 3>;

/// A node in the cell of space that it is in. Cells are counted in doubles: exact as far as neighbours can be
/// told apart at all, and beyond that no two different coordinates are in the same cell or its neighbours.
struct Placed {
  Point cell; ///< z, y, x, which is their order
  Point at;
  unsigned node;
};

/// Finds nodes that are alone, without sorting any: each marks the cells that a cube about it meets, which is a little
/// wider than the tolerance. Nodes within the tolerance of each other mark a common cell. Cells are so much wider than
/// the cube that most nodes mark one.
class Lonely {
public:
  Lonely(const bme_NodeData& nodes, double tolerance)
      : nodes_(nodes), half_(0.5001 * tolerance), perCell_(tolerance > 0 ? 1 / (16 * tolerance) : 1),
        seen_(nodes.NumNodes()) {}

  /// Calls for each finite node that may have others near, in order.
  template<class Call> void ForEachOther(const Call& call) {
    ForEachBatch([&] {
      for (const Mark& mark : marks_) seen_.Add(mark.cell);
    });
    std::vector<unsigned char> mayBe;
    ForEachBatch([&] {
      mayBe.assign(batch_.size(), 0);
      for (const Mark& mark : marks_) mayBe[mark.owner] |= seen_.MayBe(mark.cell) ? 1 : 0;
      for (std::size_t i = 0; i < batch_.size(); ++i)
        if (mayBe[i]) call(batch_[i].node, batch_[i].at);
    });
  }

private:
  struct Place {
    unsigned node;
    Point at;
  };
  struct Mark {
    std::uint64_t cell; ///< a hash
    unsigned owner;     ///< in the batch
  };

  /// The marks of a batch of nodes are read from memory ahead of their use.
  template<class Work> void ForEachBatch(const Work& work) {
    constexpr std::size_t kBatch = 256;
    wip_Poll poll(64);
    for (unsigned node = 0; node < nodes_.NumNodes();) {
      poll.Advance();
      batch_.clear();
      marks_.clear();
      for (; node < nodes_.NumNodes() && batch_.size() < kBatch; ++node) {
        float x = 0, y = 0, z = 0;
        if (!nodes_.GetNodalCoord(node, x, y, z)) continue;
        if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z)) continue;
        batch_.push_back({node, {x, y, z}});
        MarkCells(batch_.back().at);
      }
      work();
    }
  }
  void MarkCells(const Point& at) {
    Point low, high;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      low[axis] = CellOf(at[axis] - half_);
      high[axis] = CellOf(at[axis] + half_);
    }
    const auto owner = static_cast<unsigned>(batch_.size() - 1);
    for (unsigned corner = 0; corner < (low == high ? 1U : 8U); ++corner) {
      std::uint64_t hash = 0;
      bool isCell = true;
      for (unsigned axis = 0; axis < 3; ++axis) {
        const bool isHigh = (corner >> axis & 1U) != 0;
        isCell &= !isHigh || high[axis] != low[axis];
        hash = (hash ^ std::bit_cast<std::uint64_t>(isHigh ? high[axis] : low[axis])) * 0x9E3779B97F4A7C15U;
        hash ^= hash >> 29U;
      }
      if (!isCell) continue;
      seen_.Prefetch(hash);
      marks_.push_back({hash, owner});
    }
  }
  /// The greatest integer that is not above; numbers above the limit are integers. Without a tolerance each number is a
  /// cell. -0 is 0.
  double CellOf(double x) const {
    constexpr double kLimit = 4503599627370496;
    const double scaled = x * perCell_;
    if (half_ == 0 || !(std::abs(scaled) < kLimit)) return scaled + 0.0;
    const auto whole = static_cast<double>(static_cast<std::int64_t>(scaled));
    return whole - (whole > scaled ? 1 : 0);
  }

  const bme_NodeData& nodes_;
  double half_, perCell_;
  bme_SeenTwice seen_;
  std::vector<Place> batch_;
  std::vector<Mark> marks_;
};

/// By cell, the finite nodes that may have others near.
std::vector<Placed> SortByCell(const bme_NodeData& nodes, double tolerance, double width) {
  std::vector<Placed> placed;
  Lonely(nodes, tolerance).ForEachOther([&](unsigned node, const Point& at) {
    Point cell{};
    for (std::size_t a = 0; a < 3; ++a) cell[2 - a] = width > 0 ? std::floor(at[a] / width) : at[a];
    placed.push_back({cell, at, node});
  });
  wip_Sort(placed, [](const Placed& a, const Placed& b) {
    return a.cell != b.cell ? a.cell < b.cell : a.node < b.node;
  });
  return placed;
}

double SquaredDistance(const Point& a, const Point& b) {
  double sum = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) sum += (a[axis] - b[axis]) * (a[axis] - b[axis]);
  return sum;
}

/// Whether a point of one lies within the tolerance of a point of the other; reorders them. Boxes answer for
/// many points at once, the larger one is halved until they can.
bool AreClose(std::span<Placed> a, std::span<Placed> b, double tolerance) {
  constexpr std::size_t kFew = 64;
  if (a.size() * b.size() <= kFew)
    return std::ranges::any_of(a, [&](const Placed& one) {
      return std::ranges::any_of(
          b, [&](const Placed& other) { return SquaredDistance(one.at, other.at) <= tolerance * tolerance; });
    });
  if (a.size() < b.size()) std::swap(a, b);
  const auto box = [](std::span<const Placed> points) {
    std::array<Point, 2> range{points[0].at, points[0].at};
    for (const Placed& one : points)
      for (std::size_t axis = 0; axis < 3; ++axis) {
        range[0][axis] = std::min(range[0][axis], one.at[axis]);
        range[1][axis] = std::max(range[1][axis], one.at[axis]);
      }
    return range;
  };
  const auto [lowA, highA] = box(a);
  const auto [lowB, highB] = box(b);
  Point gap, reach, length;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    gap[axis] = std::max({lowA[axis] - highB[axis], lowB[axis] - highA[axis], 0.0});
    reach[axis] = std::max(highA[axis] - lowB[axis], highB[axis] - lowA[axis]);
    length[axis] = highA[axis] - lowA[axis];
  }
  if (SquaredDistance(gap, {}) > tolerance * tolerance) return false;
  if (SquaredDistance(reach, {}) <= tolerance * tolerance) return true;
  const auto longest = static_cast<std::size_t>(std::ranges::max_element(length) - length.begin());
  const auto half = static_cast<std::ptrdiff_t>(a.size() / 2);
  std::ranges::nth_element(a, a.begin() + half, {}, [&](const Placed& one) { return one.at[longest]; });
  return AreClose(a.first(static_cast<std::size_t>(half)), b, tolerance)
         || AreClose(a.subspan(static_cast<std::size_t>(half)), b, tolerance);
}

/// Groups as trees whose root is their smallest node.
class Groups {
public:
  explicit Groups(unsigned count) : parent_(count) { std::iota(parent_.begin(), parent_.end(), 0U); }
  unsigned Root(unsigned node) {
    while (parent_[node] != node) node = parent_[node] = parent_[parent_[node]];
    return node;
  }
  void Join(unsigned a, unsigned b) {
    a = Root(a);
    b = Root(b);
    parent_[std::max(a, b)] = std::min(a, b);
  }

private:
  std::vector<unsigned> parent_;
};
} // namespace

// Cells are so small that all nodes of one are within the tolerance: many at one place are a group and no
// pairs. Others within it are at most two cells away on each axis. Time n log n, whatever the distribution.
bme_Adjacency bme_FindCoincidentNodes(const bme_NodeData& nodes, double tolerance) {
  if (!(tolerance >= 0))
    throw nex_TextException("a tolerance of " + std::to_string(tolerance)
                            + " for nodes at one place is below 0 or no number");
  constexpr double kLeast = 1e-46; // less than single precision can tell apart
  const double width = tolerance > kLeast ? 0.99 / std::sqrt(3.0) * std::min(tolerance, 1e300) : 0;
  std::vector<Placed> placed = SortByCell(nodes, tolerance, width);
  Groups groups(nodes.NumNodes());
  std::vector<std::size_t> starts; // of cells
  for (std::size_t i = 0; i < placed.size(); ++i) {
    if (i == 0 || placed[i].cell != placed[i - 1].cell)
      starts.push_back(i);
    else
      groups.Join(placed[starts.back()].node, placed[i].node);
  }
  starts.push_back(placed.size());
  const auto cell = [&](std::size_t c) -> const Point& { return placed[starts[c]].cell; };
  const auto content = [&](std::size_t c) {
    return std::span(placed).subspan(starts[c], starts[c + 1] - starts[c]);
  };
  const auto joinIfClose = [&](std::size_t c, std::size_t d) {
    const unsigned a = placed[starts[c]].node, b = placed[starts[d]].node;
    if (groups.Root(a) != groups.Root(b) && AreClose(content(c), content(d), tolerance)) groups.Join(a, b);
  };
  // Half of the cells around: those behind in the order, as strips along x. Where a strip begins moves on
  // with the cells.
  const std::size_t numCells = width > 0 ? starts.size() - 1 : 0;
  for (int dz = 0; dz <= 2; ++dz)
    for (int dy = dz == 0 ? 0 : -2; dy <= 2; ++dy) {
      std::size_t begin = 0;
      for (std::size_t c = 0; c < numCells; ++c) {
        const Point& own = cell(c);
        const Point first{own[0] + dz, own[1] + dy, own[2] - 2}, last{first[0], first[1], own[2] + 2};
        begin = std::max(begin, dz == 0 && dy == 0 ? c + 1 : 0);
        while (begin < numCells && cell(begin) < first) ++begin;
        for (std::size_t d = begin; d < numCells && cell(d) <= last; ++d)
          if (d > c) joinIfClose(c, d);
      }
    }
  // members of each group in order: a counting sort by root
  const unsigned numNodes = nodes.NumNodes();
  std::vector<unsigned> size(numNodes, 0), place(numNodes, 0);
  for (unsigned node = 0; node < numNodes; ++node) ++size[groups.Root(node)];
  bme_Adjacency rows;
  unsigned end = 0;
  for (unsigned root = 0; root < numNodes; ++root) {
    if (size[root] < 2) continue;
    place[root] = end;
    end += size[root];
    rows.first.push_back(end);
  }
  rows.items.resize(end);
  for (unsigned node = 0; node < numNodes; ++node)
    if (const unsigned root = groups.Root(node); size[root] >= 2) rows.items[place[root]++] = node;
  return rows;
}
