#include "gsl_ViewBoxes.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace {
constexpr std::size_t kLeavesPerPart = 16;
constexpr std::size_t kSample = 64; ///< triangles of which the directions are looked at

using Box = gsl_ViewBoxes::Box;
Box Lower(const Box& a, const Box& b) { return a < b ? a : b; }

/// Calls f(xyz) with the coordinates, of whichever type they are.
template<class F> auto WithCoordinates(const float* floats, const double* doubles, F f) {
  return doubles ? f(doubles) : f(floats);
}
} // namespace

gsl_ViewBoxes::gsl_ViewBoxes(const gsl_TriangleTree& tree, const gsl_ViewAxes& view)
    : tree_(tree), view_(view), leavesPerPart_(std::min(kLeavesPerPart, tree.leaves_)),
      firstPart_(tree.leaves_ / leavesPerPart_), isMade_(firstPart_),
      boxes_(std::make_unique_for_overwrite<Box[]>(2 * tree.leaves_)) {}

template<class T> Box gsl_ViewBoxes::BoxOf(const T* xyz, std::size_t leaf) const {
  Box factors[3];
  for (std::size_t k = 0; k < 3; ++k) {
    const auto u = static_cast<float>(view_.axes[0][k]), v = static_cast<float>(view_.axes[1][k]);
    factors[k] = Box{u, v, -u, -v};
  }
  constexpr float kHuge = std::numeric_limits<float>::infinity();
  Box box = {kHuge, kHuge, kHuge, kHuge};
  for (std::size_t i = tree_.leafStart_[leaf]; i < tree_.leafStart_[leaf + 1]; ++i) {
    const int* const corners = tree_.triangles_ + 3 * static_cast<std::size_t>(tree_.order_[i]);
    for (int k = 0; k < 3; ++k) {
      const T* const p = xyz + 3 * static_cast<std::size_t>(corners[k]);
      const auto x = static_cast<float>(p[0] - view_.origin[0]),
                 y = static_cast<float>(p[1] - view_.origin[1]),
                 z = static_cast<float>(p[2] - view_.origin[2]);
      box = Lower(box, x * factors[0] + y * factors[1] + z * factors[2]);
    }
  }
  return box;
}

void gsl_ViewBoxes::Make(std::size_t part) {
  isMade_[part - firstPart_] = true;
  const std::size_t first = part * leavesPerPart_ - tree_.leaves_;
  Box* const boxes = BoxesOf(part);
  tree_.Prefetch(first, first + leavesPerPart_);
  WithCoordinates(tree_.floats_, tree_.doubles_, [&](const auto* xyz) {
    for (std::size_t i = 0; i < leavesPerPart_; ++i) boxes[leavesPerPart_ + i] = BoxOf(xyz, first + i);
  });
  for (std::size_t node = leavesPerPart_ - 1; node > 0; --node)
    boxes[node] = Lower(boxes[2 * node], boxes[2 * node + 1]);
}

// Adds up the directions in the view across which triangles stand, each as long as its triangle is large from the side.
// Four times the angle is counted, so that walls at right angles count as one.
void gsl_ViewBoxes::AddWalls(const gsl_TriangleTree& tree, const gsl_ViewAxes& view, double (&sum)[2]) {
  const std::size_t step = tree.order_.size() / kSample + 1;
  WithCoordinates(tree.floats_, tree.doubles_, [&](const auto* xyz) {
    for (std::size_t i = 0; i < tree.order_.size(); i += step) {
      const int* const corners = tree.triangles_ + 3 * static_cast<std::size_t>(tree.order_[i]);
      double p[3][3];
      for (int k = 0; k < 3; ++k)
        for (int axis = 0; axis < 3; ++axis)
          p[k][axis] = static_cast<double>(
              xyz[3 * static_cast<std::size_t>(corners[k]) + static_cast<std::size_t>(axis)]);
      for (int k = 1; k < 3; ++k)
        for (int axis = 0; axis < 3; ++axis) p[k][axis] -= p[0][axis];
      const double normal[3] = {p[1][1] * p[2][2] - p[1][2] * p[2][1], p[1][2] * p[2][0] - p[1][0] * p[2][2],
                                p[1][0] * p[2][1] - p[1][1] * p[2][0]};
      double x = 0, y = 0;
      for (std::size_t axis = 0; axis < 3; ++axis) {
        x += normal[axis] * view.axes[0][axis];
        y += normal[axis] * view.axes[1][axis];
      }
      const double length = std::sqrt(x * x + y * y);
      if (!(length > 0)) continue;
      const double cosine = (x * x - y * y) / length,
                   sine = 2 * x * y / length; // of twice the angle, times length
      sum[0] += (cosine * cosine - sine * sine) / length;
      sum[1] += 2 * cosine * sine / length;
    }
  });
}

gsl_ViewAxes gsl_ViewBoxes::TurnToWalls(const gsl_TriangleTree& fixed, const gsl_TriangleTree& movable,
                                        const gsl_ViewAxes& view) {
  double sum[2] = {0, 0};
  AddWalls(fixed, view, sum);
  AddWalls(movable, view, sum);
  if (!std::isfinite(sum[0] + sum[1])) return view;
  const double angle = std::atan2(sum[1], sum[0]) / 4, cosine = std::cos(angle), sine = std::sin(angle);
  gsl_ViewAxes turned = view;
  for (std::size_t k = 0; k < 3; ++k) {
    turned.axes[0][k] = cosine * view.axes[0][k] + sine * view.axes[1][k];
    turned.axes[1][k] = cosine * view.axes[1][k] - sine * view.axes[0][k];
  }
  return turned;
}
