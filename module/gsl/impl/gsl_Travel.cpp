#include <CoreGeometry/gsl_Travel.h>

#include "gsl_TravelKernel.h"
#include "gsl_ViewBoxes.h"
#include <BasicUtils/nex_Exception.h>
#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/gsl_Vector.h>
#include <cmath>
#include <memory>
#include <optional>
#include <utility>

namespace {
constexpr double kNever = std::numeric_limits<double>::infinity();
constexpr double kTolerance = 1e-12;                                      ///< of the extent of both sets
constexpr double kRounding = 32 * std::numeric_limits<double>::epsilon(); ///< of the largest coordinate
constexpr double kAcross = 1e-15; ///< component of a unit direction that counts as none
/// Two numbers that are worked on together, with the results of each by itself.
using Lanes [[gnu::vector_size(2 * sizeof(double))]] = double;
using Mask = decltype(Lanes{} < Lanes{});
constexpr std::size_t kLeavesKept = 64;
constexpr std::size_t kPatience = 2; ///< leaves for each pair that is looked at without boxes in the view
constexpr double kViewGap = 1e-5;    ///< of the extent, beyond the accuracy of boxes in the view
} // namespace

/// One descent of two trees as pairs of nodes, nearest first, cut by the travel at which one node enters the
/// other.
class gsl_TravelSearch {
public:
  gsl_TravelSearch(const gsl_TriangleTree& fixed, const gsl_TriangleTree& movable, const gsl_Vector& unit);
  bool Find(double limit, gsl_Travel& travel);

private:
  using Node = gsl_TriangleTree::Node;
  /// Two nodes side by side.
  struct Nodes {
    Lanes low[2], high[2], slope[2], near, far, slabNear, slabFar;

    Nodes(const Node& a, const Node& b) {
      near = Lanes{a.near, b.near};
      far = Lanes{a.far, b.far};
      slabNear = Lanes{a.slabNear, b.slabNear};
      slabFar = Lanes{a.slabFar, b.slabFar};
      for (int axis = 0; axis < 2; ++axis) {
        low[axis] = Lanes{a.low[axis], b.low[axis]};
        high[axis] = Lanes{a.high[axis], b.high[axis]};
        slope[axis] = Lanes{a.slope[axis], b.slope[axis]};
      }
    }
  };
  struct NodePair {
    std::size_t fixed, movable;
  };
  struct Pair {
    double enter;   ///< in whose order pairs are looked at
    double inSlabs; ///< the same or a larger travel, by slabs; at most that of what the nodes hold
    std::size_t fixed, movable;
  };
  /// The triangles of a leaf in the frame of the search, and their box.
  struct Leaf {
    std::size_t start, count;
    double low[3], high[3];
    std::uint32_t planes; ///< bits of the triangles whose planes are known
    gsl_TravelTriangle triangles[gsl_TriangleTree::kMostPerLeaf];
  };
  /// The leaves that were looked at lately, by the last bits of their numbers; memory is touched when used.
  struct Leaves {
    std::array<std::size_t, kLeavesKept> node{};
    std::unique_ptr<Leaf[]> leaf = std::make_unique_for_overwrite<Leaf[]>(kLeavesKept);
  };

  double EnterAlong(const Node& fixed, const Node& movable) const;
  void EnterBoxes(const Nodes& fixed, const Nodes& movable, Lanes& enter) const;
  void EnterSlabs(const Nodes& fixed, const Nodes& movable, Lanes& enter) const;
  void MakeViewBoxes();
  bool Pass(const NodePair& pair);
  void Push(std::span<const NodePair> some);
  void PushTwo(const NodePair& one, const NodePair& two);
  /// Without slack: a bound by slabs is already smaller by that, and the other pairs of a tie decide the last bits.
  bool IsBeyond(double inSlabs) const { return inSlabs > contact_.distance; }
  void Descend(const Pair& pair);
  void MeetLeaves(const Pair& pair);
  static const gsl_TravelTriangle& Complete(Leaf& leaf, std::size_t i);
  template<class A, class B> bool MayMeet(const A& fixed, const B& movable) const;
  Leaf& Load(const gsl_TriangleTree& tree, std::size_t node, Leaves& leaves) const;
  std::array<double, 3> FromFrame(const double* p) const;

  const gsl_TriangleTree &fixed_, &movable_;
  gsl_TravelFrame frame_; ///< along the direction of this search
  double along_[3];       ///< the direction in the trees' frame
  bool aligned_;          ///< forwards or backwards along the trees' direction
  double offset_[2];      ///< between the trees' origins
  double extent_, tolerance_, slack_;
  double bound_ = 0;        ///< boxes that enter later hold nothing new
  std::vector<Pair> pairs_; ///< the nearest of those that came together is last
  Leaves fixedLeaves_, movableLeaves_;
  std::size_t numPairs_ = 0;                               ///< that were looked at
  std::optional<gsl_ViewBoxes> fixedBoxes_, movableBoxes_; ///< across the trees' direction, after some time
  float gap_ = 0;                                          ///< between boxes that are apart
  gsl_TravelContact contact_;
  int fixedTriangle_ = -1, movableTriangle_ = -1;
};

gsl_TravelSearch::gsl_TravelSearch(const gsl_TriangleTree& fixed, const gsl_TriangleTree& movable,
                                   const gsl_Vector& unit)
    : fixed_(fixed), movable_(movable) {
  if (fixed.frame_ != movable.frame_)
    throw nex_AssertionException("the trees of a search stand along different directions");
  const double u[3] = {unit[0], unit[1], unit[2]};
  gsl_ToFrame(fixed.frame_, u, along_);
  aligned_ = std::fabs(along_[0]) <= kAcross && std::fabs(along_[1]) <= kAcross;
  frame_ = aligned_ ? fixed.frame_ : gsl_FrameAlong(unit);
  if (aligned_ && along_[2] < 0)
    for (double& component : frame_[2]) component = -component;
  double largest = 0;
  extent_ = 0;
  for (int axis = 0; axis < 3; ++axis) {
    const double low = std::min(fixed.low_[axis], movable.low_[axis]);
    const double high = std::max(fixed.high_[axis], movable.high_[axis]);
    extent_ = std::hypot(extent_, high - low, 0);
    largest = std::max({largest, std::fabs(low), std::fabs(high)});
  }
  tolerance_ = std::max(kTolerance * extent_, kRounding * largest);
  slack_ = 32 * tolerance_;
  for (int axis = 0; axis < 2; ++axis) offset_[axis] = fixed.origin_[axis] - movable.origin_[axis];
}

namespace {
[[gnu::always_inline]] inline void Raise(Lanes& value, const Lanes& least) {
  value = value < least ? least : value;
}
[[gnu::always_inline]] inline void Lower(Lanes& value, const Lanes& most) {
  value = most < value ? most : value;
}
} // namespace

// The travel after which the movable node enters the fixed one, never more than that of what they hold; along the
// trees' direction.
double gsl_TravelSearch::EnterAlong(const Node& f, const Node& m) const {
  gsl_Ways ways{f.slabNear - m.slabFar, f.slabFar - m.slabNear};
  for (int axis = 0; axis < 2; ++axis) {
    const double from = std::max(f.low[axis] + offset_[axis], double{m.low[axis]});
    const double to = std::min(f.high[axis] + offset_[axis], double{m.high[axis]});
    if (from > to + slack_) return kNever;
    const double shift = f.slope[axis] * offset_[axis]; // the fixed slab's origin is elsewhere
    ways.low -= shift;
    ways.high -= shift;
    ways.Widen(double{f.slope[axis]} - m.slope[axis], from, to);
  }
  double low = std::max(ways.low, f.near - m.far), high = std::min(ways.high, f.far - m.near);
  if (along_[2] < 0) low = -std::exchange(high, -low);
  return high < -slack_ ? kNever : std::max(low, 0.0);
}

// The same by the boxes of the nodes, in any direction.
void gsl_TravelSearch::EnterBoxes(const Nodes& f, const Nodes& m, Lanes& enter) const {
  const Lanes ahead[3] = {f.low[0] - m.high[0] + offset_[0], f.low[1] - m.high[1] + offset_[1],
                          f.near - m.far};
  const Lanes behind[3] = {f.high[0] - m.low[0] + offset_[0], f.high[1] - m.low[1] + offset_[1],
                           f.far - m.near};
  Lanes first = {}, last = kNever - Lanes{};
  Mask isNever = {};
  for (int axis = 0; axis < 3; ++axis) {
    const double speed = std::fabs(along_[axis]);
    if (speed <= kAcross) {
      isNever |= (ahead[axis] > slack_) | (behind[axis] < -slack_);
      continue;
    }
    const bool forwards = along_[axis] > 0;
    Raise(first, ((forwards ? ahead[axis] : -behind[axis]) - slack_) / speed);
    Lower(last, ((forwards ? behind[axis] : -ahead[axis]) + slack_) / speed);
  }
  enter = (isNever | (first > last)) ? kNever - Lanes{} : first;
}

// The same by slabs: what lies oblique in its box meets later than the box, or passes.
void gsl_TravelSearch::EnterSlabs(const Nodes& f, const Nodes& m, Lanes& enter) const {
  Lanes first = {}, last = kNever - Lanes{};
  Mask isNever = {};
  for (const bool isOfFixed : {true, false}) {
    const Nodes &owner = isOfFixed ? f : m, &other = isOfFixed ? m : f;
    // of the other: its places above the owner's plane, and its speed
    Lanes low = other.slabNear, high = other.slabFar, speed = along_[2] - Lanes{};
    for (int axis = 0; axis < 2; ++axis) {
      const Lanes slope = owner.slope[axis], change = other.slope[axis] - slope;
      const Lanes shift = slope * (isOfFixed ? offset_[axis] : -offset_[axis]); // of the other's origin
      low += change * (change > 0 ? other.low[axis] : other.high[axis]) + shift;
      high += change * (change > 0 ? other.high[axis] : other.low[axis]) + shift;
      speed -= slope * along_[axis];
    }
    const Lanes ahead = (isOfFixed ? owner.slabNear - high : low - owner.slabFar) - slack_,
                behind = (isOfFixed ? owner.slabFar - low : high - owner.slabNear) + slack_;
    const Mask isAlong = (speed <= kAcross) & (speed >= -kAcross), isForwards = speed > 0;
    isNever |= isAlong & ((ahead > 0) | (behind < 0));
    Raise(first, isAlong ? Lanes{} : (isForwards ? ahead : behind) / speed);
    Lower(last, isAlong ? kNever - Lanes{} : (isForwards ? behind : ahead) / speed);
  }
  enter = (isNever | (first > last)) ? kNever - Lanes{} : first;
}

// Boxes in the view. Only a search that has already looked at many pairs is worth them.
void gsl_TravelSearch::MakeViewBoxes() {
  double middle[3], xyz[3] = {0, 0, 0};
  for (int axis = 0; axis < 3; ++axis)
    middle[axis] = (std::min(fixed_.low_[axis], movable_.low_[axis])
                    + std::max(fixed_.high_[axis], movable_.high_[axis]))
                   * 0.5;
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (std::size_t i = 0; i < 3; ++i) xyz[i] += fixed_.frame_[axis][i] * middle[axis];
  const gsl_ViewAxes view = gsl_ViewBoxes::TurnToWalls(
      fixed_, movable_,
      {{frame_[0], frame_[1]},
       {static_cast<float>(xyz[0]), static_cast<float>(xyz[1]), static_cast<float>(xyz[2])}});
  fixedBoxes_.emplace(fixed_, view);
  movableBoxes_.emplace(movable_, view);
  gap_ = static_cast<float>(slack_ + kViewGap * extent_);
}

// True when the view shows that the nodes pass each other.
bool gsl_TravelSearch::Pass(const NodePair& pair) {
  const bool isWorthIt = ++numPairs_ == (fixed_.leaves_ + movable_.leaves_) / kPatience;
  // single precision holds products of such lengths
  if (isWorthIt && extent_ > 1e-30 && extent_ < 1e37) MakeViewBoxes();
  if (!fixedBoxes_) return false;
  const gsl_ViewBoxes::Box* const f = fixedBoxes_->Find(pair.fixed);
  const gsl_ViewBoxes::Box* const m = movableBoxes_->Find(pair.movable);
  return f && m && gsl_AreApart(*f, *m, gap_);
}

// Lists those of some pairs that may hold something new, the nearest last. Across the trees' direction two are looked at
// side by side. Their order is always that of the boxes: bounds in the view and by slabs only leave out what meets nothing
// below the best travel, and so the result has the same bits with and without them.
void gsl_TravelSearch::Push(std::span<const NodePair> some) {
  const std::size_t first = pairs_.size();
  if (aligned_) {
    for (const auto& [fixed, movable] : some) {
      const double enter = EnterAlong(fixed_.nodes_[fixed], movable_.nodes_[movable]);
      if (enter < bound_) pairs_.push_back({enter, enter, fixed, movable});
    }
  } else {
    for (std::size_t i = 0; i < some.size(); i += 2) PushTwo(some[i], some[std::min(i + 1, some.size() - 1)]);
  }
  for (std::size_t i = first + 1; i < pairs_.size(); ++i) // at most four
    for (std::size_t k = i; k > first && pairs_[k].enter > pairs_[k - 1].enter; --k)
      std::swap(pairs_[k], pairs_[k - 1]);
}

void gsl_TravelSearch::PushTwo(const NodePair& one, const NodePair& two) {
  const bool pass[2] = {Pass(one), Pass(two)};
  if (pass[0] && pass[1]) return;
  const Nodes fixed(fixed_.nodes_[one.fixed], fixed_.nodes_[two.fixed]),
      movable(movable_.nodes_[one.movable], movable_.nodes_[two.movable]);
  Lanes enter, inSlabs;
  EnterBoxes(fixed, movable, enter);
  if (!(enter[0] < bound_) && !(enter[1] < bound_)) return;
  EnterSlabs(fixed, movable, inSlabs);
  for (int k = 0; k < (&one == &two ? 1 : 2); ++k) {
    const NodePair& pair = k == 0 ? one : two;
    if (!pass[k] && enter[k] < bound_ && inSlabs[k] < kNever && !IsBeyond(inSlabs[k]))
      pairs_.push_back({enter[k], inSlabs[k], pair.fixed, pair.movable});
  }
}

bool gsl_TravelSearch::Find(double limit, gsl_Travel& travel) {
  contact_.distance = bound_ = limit;
  pairs_.reserve(128);
  constexpr NodePair kRoots[1] = {{1, 1}};
  Push(kRoots);
  wip_Poll poll(1024);
  while (!pairs_.empty()) {
    poll.Advance();
    const Pair pair = pairs_.back();
    pairs_.pop_back();
    if (!(pair.enter < bound_) || IsBeyond(pair.inSlabs)) continue;
    if (pair.fixed >= fixed_.leaves_ && pair.movable >= movable_.leaves_)
      MeetLeaves(pair);
    else
      Descend(pair);
  }
  if (fixedTriangle_ < 0) return false;
  travel = {contact_.distance, FromFrame(contact_.fixed), FromFrame(contact_.movable), fixedTriangle_,
            movableTriangle_};
  return true;
}

void gsl_TravelSearch::Descend(const Pair& pair) {
  const auto size = [](const Node& node) {
    return double{node.high[0]} - node.low[0] + node.high[1] - node.low[1] + (node.far - node.near);
  };
  // both nodes unless one is much smaller
  const double fixedSize = size(fixed_.nodes_[pair.fixed]), movableSize = size(movable_.nodes_[pair.movable]);
  const bool fixedIsLeaf = pair.fixed >= fixed_.leaves_, movableIsLeaf = pair.movable >= movable_.leaves_;
  const bool splitFixed = !fixedIsLeaf && (movableIsLeaf || 2 * fixedSize >= movableSize);
  const bool splitMovable = !movableIsLeaf && (fixedIsLeaf || 2 * movableSize >= fixedSize);
  const std::size_t f = splitFixed ? 2 * pair.fixed : pair.fixed,
                    m = splitMovable ? 2 * pair.movable : pair.movable;
  const NodePair all[4] = {
      {f, m}, {splitMovable ? f : f + 1, splitMovable ? m + 1 : m}, {f + 1, m}, {f + 1, m + 1}};
  Push(std::span(all).first(splitFixed && splitMovable ? 4 : 2));
}

gsl_TravelSearch::Leaf& gsl_TravelSearch::Load(const gsl_TriangleTree& tree, std::size_t node,
                                               Leaves& leaves) const {
  Leaf& leaf = leaves.leaf[node % kLeavesKept];
  if (std::exchange(leaves.node[node % kLeavesKept], node) == node) return leaf;
  leaf.planes = 0;
  leaf.start = tree.leafStart_[node - tree.leaves_];
  leaf.count = tree.leafStart_[node - tree.leaves_ + 1] - leaf.start;
  std::fill_n(leaf.low, 3, kNever);
  std::fill_n(leaf.high, 3, -kNever);
  for (std::size_t i = 0; i < leaf.count; ++i) {
    gsl_TravelTriangle& triangle = leaf.triangles[i];
    const int* corners = tree.triangles_ + 3 * static_cast<std::size_t>(tree.order_[leaf.start + i]);
    for (int k = 0; k < 3; ++k) {
      const std::size_t at = 3 * static_cast<std::size_t>(corners[k]);
      if (tree.doubles_)
        gsl_ToFrame(frame_, tree.doubles_ + at, triangle.p[k]);
      else
        gsl_ToFrame(frame_, tree.floats_ + at, triangle.p[k]);
    }
    triangle.FindBox();
    for (int axis = 0; axis < 3; ++axis) {
      leaf.low[axis] = std::min(leaf.low[axis], triangle.low[axis]);
      leaf.high[axis] = std::max(leaf.high[axis], triangle.high[axis]);
    }
  }
  return leaf;
}

// False when nothing in the two boxes can meet below the bound.
template<class A, class B> bool gsl_TravelSearch::MayMeet(const A& fixed, const B& movable) const {
  for (int axis = 0; axis < 2; ++axis)
    if (fixed.low[axis] > movable.high[axis] + tolerance_
        || movable.low[axis] > fixed.high[axis] + tolerance_)
      return false;
  return fixed.high[2] >= movable.low[2] - tolerance_ && fixed.low[2] - movable.high[2] < bound_;
}

// The triangle with its plane.
const gsl_TravelTriangle& gsl_TravelSearch::Complete(Leaf& leaf, std::size_t i) {
  if (!(leaf.planes >> i & 1U)) leaf.triangles[i].FindPlane();
  leaf.planes |= 1U << i;
  return leaf.triangles[i];
}

void gsl_TravelSearch::MeetLeaves(const Pair& pair) {
  Leaf& fixed = Load(fixed_, pair.fixed, fixedLeaves_);
  Leaf& movable = Load(movable_, pair.movable, movableLeaves_);
  if (!MayMeet(fixed, movable)) return;
  std::size_t candidates[gsl_TriangleTree::kMostPerLeaf], numCandidates = 0;
  for (std::size_t k = 0; k < movable.count; ++k)
    if (MayMeet(fixed, movable.triangles[k])) candidates[numCandidates++] = k;
  for (std::size_t i = 0; i < fixed.count && numCandidates > 0; ++i) {
    if (!MayMeet(fixed.triangles[i], movable)) continue;
    for (const std::size_t k : std::span(candidates, numCandidates)) {
      if (!MayMeet(fixed.triangles[i], movable.triangles[k])
          || !gsl_MeetTriangles(Complete(fixed, i), Complete(movable, k), tolerance_, contact_))
        continue;
      bound_ = contact_.distance - slack_;
      fixedTriangle_ = fixed_.order_[fixed.start + i];
      movableTriangle_ = movable_.order_[movable.start + k];
    }
  }
}

std::array<double, 3> gsl_TravelSearch::FromFrame(const double* p) const {
  std::array<double, 3> xyz;
  for (int axis = 0; axis < 3; ++axis)
    xyz[axis] = frame_[0][axis] * p[0] + frame_[1][axis] * p[1] + frame_[2][axis] * p[2];
  return xyz;
}

bool gsl_FindTravel(const gsl_TriangleTree& fixed, const gsl_TriangleTree& movable,
                    const gsl_Vector& direction, gsl_Travel& travel, double limit) {
  const gsl_Vector unit = direction.UnitCopy();
  if (unit.Magnitude() == 0 || !std::isfinite(direction.Magnitude())) return false;
  if (fixed.NumTriangles() == 0 || movable.NumTriangles() == 0) return false;
  return gsl_TravelSearch(fixed, movable, unit).Find(limit, travel);
}

namespace {
template<class T>
bool FindOnce(std::span<const T> fixedXyz, std::span<const int> fixedTriangles, std::span<const T> movableXyz,
              std::span<const int> movableTriangles, const gsl_Vector& direction, gsl_Travel& travel) {
  return gsl_FindTravel(gsl_TriangleTree(fixedXyz, fixedTriangles, direction),
                        gsl_TriangleTree(movableXyz, movableTriangles, direction), direction, travel);
}
} // namespace

bool gsl_FindTravel(std::span<const double> fixedXyz, std::span<const int> fixedTriangles,
                    std::span<const double> movableXyz, std::span<const int> movableTriangles,
                    const gsl_Vector& direction, gsl_Travel& travel) {
  return FindOnce(fixedXyz, fixedTriangles, movableXyz, movableTriangles, direction, travel);
}

bool gsl_FindTravel(std::span<const float> fixedXyz, std::span<const int> fixedTriangles,
                    std::span<const float> movableXyz, std::span<const int> movableTriangles,
                    const gsl_Vector& direction, gsl_Travel& travel) {
  return FindOnce(fixedXyz, fixedTriangles, movableXyz, movableTriangles, direction, travel);
}
