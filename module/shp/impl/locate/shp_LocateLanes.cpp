#include "shp_LocateLanes.h"

#include "shp_MapFormulas.h"

#include <cstring>

namespace {
using Form = shp_MapTable::Form;
using Mask = decltype(shp_Lanes{} < shp_Lanes{});
constexpr std::size_t kMaxNodes = 10; ///< of the maps with a form for lanes

struct Vector {
  shp_Lanes axes[3];
  [[gnu::always_inline]] shp_Lanes& operator[](std::size_t axis) { return axes[axis]; }
  [[gnu::always_inline]] const shp_Lanes& operator[](std::size_t axis) const { return axes[axis]; }
};
using Columns = shp_Map::ColumnsOf<Vector>;

[[gnu::always_inline]] inline bool All(const Mask& mask) {
  return (mask[0] & mask[1] & mask[2] & mask[3]) != 0;
}

/// Coordinates of one node of each element, relative to the targets.
[[gnu::always_inline]] inline void Gather(std::span<const shp_ElementQuestion, 4> questions, std::size_t node,
                                          const float* coordinates, const Vector& targets, Vector& relative) {
  using Pair [[gnu::vector_size(2 * sizeof(double))]] = double;
  const float* at[4];
  double xy[4]; // two floats each
  for (std::size_t lane = 0; lane < 4; ++lane) {
    at[lane] = coordinates + 3 * static_cast<std::size_t>(questions[lane].nodes[node]);
    std::memcpy(&xy[lane], at[lane], sizeof xy[lane]);
  }
  const auto low = reinterpret_cast<shp_FloatLanes>(Pair{xy[0], xy[1]});
  const auto high = reinterpret_cast<shp_FloatLanes>(Pair{xy[2], xy[3]});
  const shp_FloatLanes narrow[3] = {__builtin_shufflevector(low, high, 0, 2, 4, 6),
                                    __builtin_shufflevector(low, high, 1, 3, 5, 7),
                                    {at[0][2], at[1][2], at[2][2], at[3][2]}};
  for (std::size_t axis = 0; axis < 3; ++axis)
    relative[axis] = __builtin_convertvector(narrow[axis], shp_Lanes) - targets[axis];
}

/// Factors of the map of four elements, one array for each coordinate.
using Factors = shp_Lanes[3][kMaxNodes];

template<std::size_t kNumDims>
[[gnu::always_inline]] inline void Solve(const shp_MapTable& table, const Factors& factors, Vector& iso,
                                         Columns& columns, Vector& residual, Vector& step, Mask& isAtRest) {
  Mask isLost = {};
  shp_Lanes previous = {1, 1, 1, 1};
  Vector from = iso;
  for (int round = 0; round < shp_Map::kMaxRounds && !All(isAtRest | isLost); ++round) {
    // lanes at rest repeat their last step
    for (std::size_t axis = 0; axis < 3; ++axis) from[axis] = isAtRest ? from[axis] : iso[axis];
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const shp_Map::Derivatives state = table.form == Form::Multilinear
                                             ? shp_Map::Multilinear(factors[axis], from[0], from[1], from[2])
                                             : shp_Map::Quadratic(factors[axis], from[0], from[1], from[2]);
      residual[axis] = -state.at;
      columns[0][axis] = state.byX;
      columns[1][axis] = state.byY;
      columns[2][axis] = state.byZ;
    }
    shp_Map::Step(kNumDims, columns, residual, step);
    for (std::size_t axis = 0; axis < 3; ++axis) iso[axis] = from[axis] + step[axis];
    const shp_Lanes longest = shp_Map::Longest(step);
    isLost |= ~(longest < shp_Map::kLongestStep);
    isAtRest |= shp_Map::ComesToRest(longest, previous);
    previous = longest;
  }
  isAtRest &= ~isLost;
}

template<std::size_t kNumDims>
[[gnu::always_inline]] inline void Run(const shp_MapTable& table,
                                       std::span<const shp_ElementQuestion, 4> questions,
                                       const float* coordinates, double tolerance, shp_LaneHits& hits) {
  Vector targets, node;
  for (std::size_t axis = 0; axis < 3; ++axis)
    targets[axis] = shp_Lanes{questions[0].target[axis], questions[1].target[axis], questions[2].target[axis],
                              questions[3].target[axis]};
  Columns columns{};
  Vector residual{}, step{}, iso{};
  Mask isAtRest = {};
  if (table.form == Form::Affine) {
    Vector first;
    Gather(questions, 0, coordinates, targets, first);
    for (std::size_t k = 0; k < kNumDims; ++k) {
      Gather(questions, k + 1, coordinates, targets, node);
      columns[k] = shp_Map::Minus(node, first);
    }
    residual = {-first[0], -first[1], -first[2]};
    shp_Map::Step(kNumDims, columns, residual, step);
    iso = step;
    if (kNumDims == 1) iso[0] = 2 * iso[0] - 1;
    isAtRest = ~isAtRest;
  } else {
    Factors factors;
    for (std::size_t k = 0; k < table.numNodes; ++k) {
      Gather(questions, k, coordinates, targets, node);
      for (std::size_t axis = 0; axis < 3; ++axis) factors[axis][k] = node[axis];
    }
    for (std::size_t axis = 0; axis < 3; ++axis) {
      shp_Map::Arrange(table, factors[axis]);
      iso[axis] += table.centre[axis];
    }
    Solve<kNumDims>(table, factors, iso, columns, residual, step, isAtRest);
  }
  // off a line or surface: what one point alone finds close to it with more care, is left to that
  if constexpr (kNumDims < 3)
    isAtRest &=
        shp_Map::Rest(columns, residual, step) <= shp_Map::kSmallRest * shp_Map::Dot(columns[0], columns[0]);
  const shp_Lanes excess = shp_Map::Excess(table, kNumDims, iso);
  const Mask isFound = isAtRest & (excess <= tolerance), isSound = shp_Map::IsSoundAt(kNumDims, columns);
  for (std::size_t lane = 0; lane < 4; ++lane) {
    hits.isFound[lane] = isFound[lane] != 0;
    hits.isSound[lane] = isSound[lane] != 0;
    hits.excesses[lane] = excess[lane];
    hits.isos[lane] = {iso[0][lane], iso[1][lane], iso[2][lane]};
  }
}

/// Compiled for the processors that have wide registers.
template<std::size_t kNumDims>
#ifdef __x86_64__
[[gnu::target("avx2")]]
#endif
void RunWide(const shp_MapTable& table, std::span<const shp_ElementQuestion, 4> questions,
             const float* coordinates, double tolerance, shp_LaneHits& hits) {
  Run<kNumDims>(table, questions, coordinates, tolerance, hits);
}
} // namespace

bool shp_CanLocateLanes(const shp_MapTable& table) noexcept {
  return table.isWide && table.form != Form::Products;
}

void shp_LocateLanes(const shp_MapTable& table, std::span<const shp_ElementQuestion, 4> questions,
                     const float* coordinates, double tolerance, shp_LaneHits& hits) {
  switch (table.numDims) {
  case 1: return RunWide<1>(table, questions, coordinates, tolerance, hits);
  case 2: return RunWide<2>(table, questions, coordinates, tolerance, hits);
  default: return RunWide<3>(table, questions, coordinates, tolerance, hits);
  }
}
