#include "fmt_Coordinates.h"

#include <CoreGeometry/gsl_Vector.h>
#include <algorithm>
#include <cmath>
#include <limits>

fmt_Rounder::fmt_Rounder(cow_String file, const fmt_ReadOptions& options)
    : file_(std::move(file)), offset_(options.offset.value_or(std::array<double, 3>{})),
      mustChoose_(options.chooseOffset) {}

/// The middle of these nodes, rounded to a power of two that is not longer than their box, so that taking it off
/// rounds nothing. Axes on which the box holds the origin need none.
template<class Number> void fmt_Rounder::ChooseOffset(std::span<const Number> xyz) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    double low = std::numeric_limits<double>::infinity(), high = -low;
    for (std::size_t i = axis; i < xyz.size(); i += 3)
      if (const auto x = static_cast<double>(xyz[i]); std::isfinite(x)) {
        low = std::min(low, x);
        high = std::max(high, x);
      }
    if (!(low > 0 || high < 0)) continue;
    const double middle = low + (high - low) / 2;
    const double unit = high > low ? std::exp2(std::floor(std::log2(high - low))) : 1;
    const double rounded = std::round(middle / unit) * unit;
    offset_[axis] = std::isfinite(rounded) ? rounded : middle;
  }
}

template<class Number>
void fmt_Rounder::Round(std::size_t firstNode, std::span<const Number> xyz, std::span<float> target,
                        std::vector<float>* byNode, std::size_t numNodes) {
  if (mustChoose_) ChooseOffset(xyz);
  mustChoose_ = false;
  double largest = 0;
  bool isFinite = true;
  const auto local = [&](std::size_t i) { return static_cast<double>(xyz[i]) - offset_[i % 3]; };
  const bool isAsItIs = std::is_same_v<Number, float> && offset_ == std::array<double, 3>{};
  if (isAsItIs) { // nothing is rounded
    for (std::size_t i = 0; i < xyz.size(); ++i) {
      target[i] = static_cast<float>(xyz[i]);
      isFinite &= std::abs(target[i]) <= std::numeric_limits<float>::max();
    }
  }
  for (std::size_t first = 0; !isAsItIs && first + 2 < xyz.size(); first += 3) {
    double ofNode = 0;
    for (std::size_t i = first; i < first + 3; ++i) {
      const double value = static_cast<double>(xyz[i]) - offset_[i - first];
      const auto rounded = static_cast<float>(value);
      isFinite &= std::abs(rounded) <= std::numeric_limits<float>::max();
      ofNode = std::max(ofNode, std::abs(static_cast<double>(rounded) - value));
      target[i] = rounded;
    }
    largest = std::max(largest, ofNode);
    if (ofNode == 0) continue;
    if (!byNode) continue;
    if (byNode->empty()) byNode->resize(numNodes);
    (*byNode)[firstNode + first / 3] = static_cast<float>(ofNode);
  }
  if (!isFinite) {
    const auto bad =
        std::ranges::find_if(target, [](float value) { return !std::isfinite(value); }) - target.begin();
    Fail(3 * firstNode + static_cast<std::size_t>(bad),
         static_cast<double>(xyz[static_cast<std::size_t>(bad)]));
  }
  if (largest > change_) {
    change_ = largest;
    std::size_t i = 0;
    while (std::abs(static_cast<double>(target[i]) - local(i)) < largest) ++i;
    changed_ = 3 * firstNode + i;
  }
  if (!transform_ && offset_ != std::array<double, 3>{})
    transform_.emplace().SetTranslation(gsl_Vector(offset_[0], offset_[1], offset_[2]));
}

template void fmt_Rounder::Round(std::size_t, std::span<const float>, std::span<float>, std::vector<float>*,
                                 std::size_t);
template void fmt_Rounder::Round(std::size_t, std::span<const double>, std::span<float>, std::vector<float>*,
                                 std::size_t);

void fmt_Rounder::Fail(std::size_t position, double value) const {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", value);
  throw nex_TextException(file_ + ": node " + std::to_string(position / 3 + 1) + ": " + "xyz"[position % 3]
                          + " = " + text
                          + (std::isfinite(value) ? " does not fit single precision" : " is not a number"));
}

fmt_Rounding fmt_Rounder::Rounding(int nodeLabel) const {
  if (change_ == 0) return {};
  return {.change = change_, .nodeLabel = nodeLabel, .axis = "xyz"[changed_ % 3]};
}

fmt_Coordinates::fmt_Coordinates(cow_String file, std::size_t numNodes, const fmt_ReadOptions& options)
    : rounder_(std::move(file), options), exact_(options.exactNodes) {
  xyz_.ResizeUninitialised(3 * numNodes);
}

void fmt_Coordinates::Add(std::span<const double> xyz) { AddAny(xyz); }
void fmt_Coordinates::Add(std::span<const float> xyz) { AddAny(xyz); }

template<class Number> void fmt_Coordinates::KeepExact(std::span<const Number> xyz) {
  const std::size_t first = next_ / 3, end = first + xyz.size() / 3;
  for (auto at = std::ranges::lower_bound(exact_->nodes, first); at != exact_->nodes.end() && *at < end; ++at)
    for (std::size_t axis = 0; axis < 3; ++axis)
      exact_->xyz.push_back(static_cast<double>(xyz[3 * (*at - first) + axis]) - rounder_.Offset()[axis]);
}

template<class Number> void fmt_Coordinates::AddAny(std::span<const Number> xyz) {
  const std::size_t all = xyz_.Const().size();
  if (xyz.size() > all - next_)
    throw nex_TextException(rounder_.File() + ": more than " + std::to_string(all / 3) + " nodes");
  rounder_.Round(next_ / 3, xyz, xyz_.Modify().subspan(next_, xyz.size()), &byNode_, all / 3);
  if (exact_) KeepExact(xyz);
  next_ += xyz.size();
}

fmt_Rounding fmt_Coordinates::Rounding(std::span<const int> labels) {
  const std::size_t node = rounder_.ChangedNode();
  fmt_Rounding rounding = rounder_.Rounding(labels.empty() ? static_cast<int>(node + 1) : labels[node]);
  rounding.byNode = std::move(byNode_);
  return rounding;
}
