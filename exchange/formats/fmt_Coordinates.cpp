#include "fmt_Coordinates.h"

#include <algorithm>
#include <cmath>
#include <limits>

fmt_Coordinates::fmt_Coordinates(cow_String file, std::size_t numNodes) : file_(std::move(file)) {
  xyz_.ResizeUninitialised(3 * numNodes);
}

void fmt_Coordinates::Add(std::span<const double> xyz) { AddAny(xyz); }
void fmt_Coordinates::Add(std::span<const float> xyz) { AddAny(xyz); }

template<class Number> void fmt_Coordinates::AddAny(std::span<const Number> xyz) {
  if (xyz.size() > xyz_.Const().size() - next_)
    throw nex_TextException(file_ + ": more than " + std::to_string(xyz_.Const().size() / 3) + " nodes");
  const std::span<float> target = xyz_.Modify().subspan(next_, xyz.size());
  double largest = 0;
  bool isFinite = true;
  for (std::size_t i = 0; i < xyz.size(); ++i) {
    const auto rounded = static_cast<float>(xyz[i]);
    isFinite &= std::abs(rounded) <= std::numeric_limits<float>::max();
    largest = std::max(largest, std::abs(static_cast<double>(rounded) - static_cast<double>(xyz[i])));
    target[i] = rounded;
  }
  if (!isFinite) {
    const auto bad =
        std::ranges::find_if(target, [](float value) { return !std::isfinite(value); }) - target.begin();
    Fail(next_ + static_cast<std::size_t>(bad), static_cast<double>(xyz[static_cast<std::size_t>(bad)]));
  }
  if (largest > change_) {
    change_ = largest;
    std::size_t i = 0;
    while (std::abs(static_cast<double>(target[i]) - static_cast<double>(xyz[i])) < largest) ++i;
    changed_ = next_ + i;
  }
  next_ += xyz.size();
}

void fmt_Coordinates::Fail(std::size_t position, double value) const {
  char text[40];
  std::snprintf(text, sizeof text, "%.17g", value);
  throw nex_TextException(file_ + ": node " + std::to_string(position / 3 + 1) + ": " + "xyz"[position % 3]
                          + " = " + text
                          + (std::isfinite(value) ? " does not fit single precision" : " is not a number"));
}

fmt_Rounding fmt_Coordinates::Rounding(std::span<const int> labels) const {
  if (change_ == 0) return {};
  const std::size_t node = changed_ / 3;
  return {change_, labels.empty() ? static_cast<int>(node + 1) : labels[node], "xyz"[changed_ % 3]};
}
