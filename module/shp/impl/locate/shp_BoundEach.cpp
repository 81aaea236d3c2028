// Boxes that hold whole elements, curved ones too.
#include "shp_MappedElement.h"

#include <CoreGeometry/shp_ElementSearch.h>
#include <algorithm>
#include <cstring>
#include <utility>

namespace {
struct Rows {
  std::span<const int> connectivity;
  std::size_t nodesPerRow;
  std::span<const float> coordinates;
};

/// Loads the three coordinates of a node with one instruction. The fourth lane has any number.
class Nodes {
public:
  explicit Nodes(std::span<const float> coordinates)
      : first_(coordinates.data()), last_(coordinates.size() / 3 - 1) {
    std::copy_n(coordinates.begin() + static_cast<std::ptrdiff_t>(3 * last_), 3, lastNode_);
  }
  [[gnu::always_inline]] inline shp_FloatLanes operator[](int node) const {
    const auto k = static_cast<std::size_t>(node);
    const float* x = k == last_ ? lastNode_ : first_ + 3 * k; // no fourth number follows the last node
    shp_FloatLanes lanes;
    std::memcpy(&lanes, x, sizeof lanes);
    return lanes;
  }

private:
  const float* first_;
  std::size_t last_;
  float lastNode_[4]{};
};

/// A box with its margin: as wide as the tolerances of Locate and the rounding to single precision ask for.
[[gnu::always_inline]] inline shp_FloatBox WithMargin(const shp_Lanes& low, const shp_Lanes& high,
                                                      double relative) {
  constexpr float kRounding = 0x1p-23F, kLeast = std::numeric_limits<float>::min();
  const shp_Lanes lengths = high - low;
  const double margin = relative * std::max(lengths[0], std::max(lengths[1], lengths[2]));
  auto least = __builtin_convertvector(low - margin, shp_FloatLanes),
       most = __builtin_convertvector(high + margin, shp_FloatLanes);
  least = least - (least < 0 ? -least : least) * kRounding - kLeast;
  most = most + (most < 0 ? -most : most) * kRounding + kLeast;
  shp_FloatBox box;
  std::memcpy(box.low.data(), &least, sizeof box.low);
  std::memcpy(box.high.data(), &most, sizeof box.high);
  return box;
}

[[gnu::always_inline]] inline shp_FloatLanes Join(shp_FloatLanes one) { return one; }
[[gnu::always_inline]] inline auto Join(shp_FloatLanes one, shp_FloatLanes other) {
  return __builtin_shufflevector(one, other, 0, 1, 2, 3, 4, 5, 6, 7);
}
template<std::size_t kWhich, class T> [[gnu::always_inline]] inline shp_Lanes Part(const T& lanes) {
  constexpr int k = 4 * kWhich;
  return __builtin_convertvector(__builtin_shufflevector(lanes, lanes, k, k + 1, k + 2, k + 3), shp_Lanes);
}

/// The boxes of the control points of some elements side by side. Those of curved elements are computed from
/// the first node, so that rounding to single precision is small against the element.
template<std::size_t... kWhich>
[[gnu::always_inline]] inline void BoundSome(const shp_MapTable& table, const Nodes& nodes, const int* row,
                                             std::size_t nodesPerRow, shp_FloatBox* boxes,
                                             std::index_sequence<kWhich...>) {
  constexpr float kInfinity = std::numeric_limits<float>::infinity();
  const bool isLinear = table.numNodes == table.numCorners;
  using Lanes = decltype(Join(((void)kWhich, nodes[0])...));
  const auto load = [&](std::size_t node) __attribute__((always_inline)) {
    return Join(nodes[row[kWhich * nodesPerRow + node]]...);
  };
  const Lanes first = load(0);
  Lanes low = first, high = first, undefined = first * 0;
  const auto extend = [&](const Lanes& point) __attribute__((always_inline)) {
    low = point < low ? point : low;
    high = point > high ? point : high;
  };
  if (isLinear) {
    for (std::size_t node = 1; node < table.numNodes; ++node) {
      const Lanes point = load(node);
      undefined += point * 0;
      extend(point);
    }
  } else {
    Lanes points[shp_Basis::kMaxNodes];
    for (std::size_t node = 0; node < table.numNodes; ++node) {
      points[node] = load(node) - first;
      undefined += points[node] * 0;
    }
    low = high = Lanes{}; // the first control point is the first node
    const shp_MapTable::Term* term = table.controlsFromNodes.data();
    const shp_MapTable::Term* const end = term + table.controlsFromNodes.size();
    while (term != end) {
      const std::uint8_t control = term->control;
      Lanes sum{};
      for (; term != end && term->control == control; ++term)
        sum += static_cast<float>(term->weight) * points[term->source];
      extend(sum);
    }
  }
  const double relative = 4 * shp_MappedElement::kResidual + (isLinear ? 0 : 0x1p-16);
  const shp_Lanes origins[] = {isLinear ? shp_Lanes{} : Part<kWhich>(first)...};
  ((boxes[kWhich] =
        undefined[4 * kWhich] + undefined[4 * kWhich + 1] + undefined[4 * kWhich + 2] == 0
            ? WithMargin(Part<kWhich>(low) + origins[kWhich], Part<kWhich>(high) + origins[kWhich], relative)
            : shp_FloatBox{{kInfinity, kInfinity, kInfinity}, {-kInfinity, -kInfinity, -kInfinity}}),
   ...);
}

template<std::size_t kElements>
[[gnu::always_inline]] inline void Bound(const shp_MapTable& table, const Rows& rows,
                                         std::span<shp_FloatBox> boxes) {
  const Nodes nodes(rows.coordinates);
  const auto rowOf = [&](std::size_t k) { return rows.connectivity.data() + k * rows.nodesPerRow; };
  std::size_t k = 0;
  for (; k + kElements <= boxes.size(); k += kElements)
    BoundSome(table, nodes, rowOf(k), rows.nodesPerRow, &boxes[k], std::make_index_sequence<kElements>());
  for (; k < boxes.size(); ++k)
    BoundSome(table, nodes, rowOf(k), rows.nodesPerRow, &boxes[k], std::make_index_sequence<1>());
}

#ifdef __x86_64__
[[gnu::target("avx2")]] void BoundAvx2(const shp_MapTable& table, const Rows& rows,
                                       std::span<shp_FloatBox> boxes) {
  Bound<2>(table, rows, boxes);
}
#endif
} // namespace

void shp_ElementSearch::BoundEach(std::span<const int> connectivity, std::size_t nodesPerRow,
                                  std::span<const float> coordinates, std::span<shp_FloatBox> boxes) const {
  if (!table_ || coordinates.size() < 3) {
    std::ranges::fill(boxes, shp_FloatBox{{1, 1, 1}, {-1, -1, -1}});
    return;
  }
  const Rows rows{connectivity, nodesPerRow, coordinates};
#ifdef __x86_64__
  if (table_->isWide) return BoundAvx2(*table_, rows, boxes);
#endif
  Bound<1>(*table_, rows, boxes);
}
