// gsl_ViewBoxes.h: bounds of a tree's nodes across the direction of a search
#pragma once

#include <CoreGeometry/gsl_Travel.h>
#include <algorithm>
#include <array>
#include <bit>
#include <memory>
#include <vector>

/// Two axes across a direction, and the origin of places on them.
struct gsl_ViewAxes {
  std::array<std::array<double, 3>, 2> axes;
  std::array<float, 3> origin;
};

/// The boxes of a tree stand along its own axes. A wall along the direction of a search that stands oblique to them
/// overlaps in its box with the wall on the other side of a gap. These boxes have two axes for one search. They are
/// made of the triangles, for the lowest levels of the tree only and part by part when asked for, so that a search
/// that looks at few leaves pays for few.
///
/// Accuracy   a millionth of the largest distance to the origin, which is at most 1e37.
class gsl_ViewBoxes {
public:
  /// Lowest places along the axes, and lowest places against them.
  using Box [[gnu::vector_size(4 * sizeof(float))]] = float;

  gsl_ViewBoxes(const gsl_TriangleTree& tree, const gsl_ViewAxes& view);

  /// Null for a node above the lowest levels.
  const Box* Find(std::size_t node) {
    if (node < firstPart_) return nullptr;
    const int level =
        std::bit_width(node) - std::bit_width(firstPart_); // in the part, whose root is on level 0
    const std::size_t part = node >> level;
    if (!isMade_[part - firstPart_]) Make(part);
    return BoxesOf(part) + (std::size_t{1} << level) + (node - (part << level));
  }

  /// The axes turned about the direction, so that most walls of both sets stand along one of them.
  static gsl_ViewAxes TurnToWalls(const gsl_TriangleTree& fixed, const gsl_TriangleTree& movable,
                                  const gsl_ViewAxes& view);

private:
  static void AddWalls(const gsl_TriangleTree& tree, const gsl_ViewAxes& view, double (&sum)[2]);
  template<class T> Box BoxOf(const T* xyz, std::size_t leaf) const;
  void Make(std::size_t part);
  /// Those of a part lie side by side, in the order of a tree of its own.
  Box* BoxesOf(std::size_t part) { return &boxes_[(part - firstPart_) * 2 * leavesPerPart_]; }

  const gsl_TriangleTree& tree_;
  gsl_ViewAxes view_;
  std::size_t leavesPerPart_;
  std::size_t firstPart_; ///< the first node of the level of the parts
  std::vector<bool> isMade_;
  std::unique_ptr<Box[]> boxes_;
};

/// True when the boxes of two nodes are further apart than a gap along one of their axes.
inline bool gsl_AreApart(const gsl_ViewBoxes::Box& a, const gsl_ViewBoxes::Box& b, float gap) {
  const gsl_ViewBoxes::Box turned = {b[2], b[3], b[0], b[1]};
  const gsl_ViewBoxes::Box between = a + turned;
  return std::max(std::max(between[0], between[1]), std::max(between[2], between[3])) > gap;
}
