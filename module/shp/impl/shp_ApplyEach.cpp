#include "shp_ApplyEach.h"

#include "shp_Lanes.h"

#include <cstring>
#include <limits>
#include <utility>
#ifdef __SSE__
#include <immintrin.h>
#endif

namespace {
constexpr std::size_t kMaxBatch = 8; ///< components that are summed together
constexpr std::size_t kMaxColumns = shp_NodePattern::kMaxNodes;

struct Job {
  const double* weights;
  std::size_t numRows, numColumns, numElements, numComponents;
  const float* values; ///< the first component of the batch
  float* out;
};

template<std::size_t kCount> [[gnu::always_inline]] inline void Load(const float* from, shp_Lanes& to) {
  shp_FloatLanes narrow = {};
  std::memcpy(&narrow, from, kCount * sizeof(float));
  to = __builtin_convertvector(narrow, shp_Lanes);
}
/// What is not a number stays so.
[[gnu::always_inline]] inline shp_FloatLanes Clamped(shp_FloatLanes values) {
  constexpr float kLargest = std::numeric_limits<float>::max();
  const shp_FloatLanes most = {kLargest, kLargest, kLargest, kLargest};
#ifdef __SSE__
  return _mm_min_ps(most, _mm_max_ps(-most, values)); // one instruction each, unlike the comparisons
#else
  const shp_FloatLanes low = values < -most ? -most : values;
  return low > most ? most : low;
#endif
}
template<std::size_t kCount> [[gnu::always_inline]] inline void Store(const shp_Lanes& from, float* to) {
  // numbers beyond the range of floats are converted to infinities
  const shp_FloatLanes clamped = Clamped(__builtin_convertvector(from, shp_FloatLanes));
  std::memcpy(to, &clamped, kCount * sizeof(float));
}

/// Some rows of one element, so that their sums stay in registers.
template<std::size_t kRows, std::size_t kBatch>
[[gnu::always_inline]] inline void SumRows(const Job& job, std::size_t row, const shp_Lanes (*wide)[2],
                                           float* out) {
  shp_Lanes low[kRows] = {}, high[kRows] = {};
  const double* weights = job.weights + row * job.numColumns;
  for (std::size_t column = 0; column < job.numColumns; ++column)
    for (std::size_t k = 0; k < kRows; ++k) {
      const double weight = weights[k * job.numColumns + column];
      low[k] += weight * wide[column][0];
      if constexpr (kBatch > 4) high[k] += weight * wide[column][1];
    }
  for (std::size_t k = 0; k < kRows; ++k, out += job.numComponents) {
    Store<(kBatch < 4 ? kBatch : 4)>(low[k], out);
    if constexpr (kBatch > 4) Store<kBatch - 4>(high[k], out + 4);
  }
}

/// The same of pairs of rows with six components: the last two of both rows share lanes, so that none is
/// idle.
template<std::size_t kPairs>
[[gnu::always_inline]] inline void SumPairs(const Job& job, std::size_t row, const shp_Lanes* pairWeights,
                                            const shp_Lanes (*wide)[2], float* out) {
  shp_Lanes low[2 * kPairs] = {}, shared[kPairs] = {};
  const double* weights = job.weights + row * job.numColumns;
  pairWeights += row / 2 * job.numColumns;
  for (std::size_t column = 0; column < job.numColumns; ++column)
    for (std::size_t k = 0; k < kPairs; ++k) {
      low[2 * k] += weights[2 * k * job.numColumns + column] * wide[column][0];
      shared[k] += pairWeights[k * job.numColumns + column] * wide[column][1];
      low[2 * k + 1] += weights[(2 * k + 1) * job.numColumns + column] * wide[column][0];
    }
  for (std::size_t k = 0; k < kPairs; ++k, out += 12) {
    float ends[4];
    Store<4>(shared[k], ends);
    Store<4>(low[2 * k], out);
    std::memcpy(out + 4, ends, 2 * sizeof(float));
    Store<4>(low[2 * k + 1], out + 6);
    std::memcpy(out + 10, ends + 2, 2 * sizeof(float));
  }
}

/// Elements with six components and no others between them.
[[gnu::always_inline]] inline void ApplySix(const Job& job) {
  shp_Lanes pairWeights[kMaxColumns / 2 * kMaxColumns];
  for (std::size_t row = 0; row + 2 <= job.numRows; row += 2)
    for (std::size_t column = 0; column < job.numColumns; ++column) {
      const double first = job.weights[row * job.numColumns + column];
      const double second = job.weights[(row + 1) * job.numColumns + column];
      pairWeights[row / 2 * job.numColumns + column] = shp_Lanes{first, first, second, second};
    }
  const float* values = job.values;
  float* out = job.out;
  for (std::size_t element = 0; element < job.numElements; ++element, out += 6 * job.numRows) {
    shp_Lanes wide[kMaxColumns][2];
    for (std::size_t column = 0; column < job.numColumns; ++column, values += 6) {
      Load<4>(values, wide[column][0]);
      const auto fifth = static_cast<double>(values[4]), sixth = static_cast<double>(values[5]);
      wide[column][1] = shp_Lanes{fifth, sixth, fifth, sixth};
    }
    std::size_t row = 0;
    for (; row + 4 <= job.numRows; row += 4) SumPairs<2>(job, row, pairWeights, wide, out + 6 * row);
    for (; row + 2 <= job.numRows; row += 2) SumPairs<1>(job, row, pairWeights, wide, out + 6 * row);
    if (row < job.numRows) SumRows<1, 6>(job, row, wide, out + 6 * row);
  }
}

template<std::size_t kBatch> [[gnu::always_inline]] inline void ApplyBatch(const Job& job) {
  if constexpr (kBatch == 6)
    if (job.numComponents == 6) return ApplySix(job);
  const float* values = job.values;
  float* out = job.out;
  for (std::size_t element = 0; element < job.numElements; ++element) {
    shp_Lanes wide[kMaxColumns][2];
    for (std::size_t column = 0; column < job.numColumns; ++column, values += job.numComponents) {
      Load<(kBatch < 4 ? kBatch : 4)>(values, wide[column][0]);
      if constexpr (kBatch > 4) Load<kBatch - 4>(values + 4, wide[column][1]);
    }
    std::size_t row = 0;
    for (; row + 4 <= job.numRows; row += 4)
      SumRows<4, kBatch>(job, row, wide, out + row * job.numComponents);
    for (; row + 2 <= job.numRows; row += 2)
      SumRows<2, kBatch>(job, row, wide, out + row * job.numComponents);
    if (row < job.numRows) SumRows<1, kBatch>(job, row, wide, out + row * job.numComponents);
    out += job.numRows * job.numComponents;
  }
}

template<std::size_t kBatch> void ApplyPlain(const Job& job) { ApplyBatch<kBatch>(job); }
#ifdef __x86_64__
template<std::size_t kBatch> [[gnu::target("avx2")]] void ApplyAvx2(const Job& job) {
  ApplyBatch<kBatch>(job);
}
#endif

template<std::size_t kBatch> void ApplyOn(const Job& job) {
#ifdef __x86_64__
  static const bool hasAvx2 = __builtin_cpu_supports("avx2");
  if (hasAvx2) return ApplyAvx2<kBatch>(job);
#endif
  ApplyPlain<kBatch>(job);
}

template<std::size_t... kBatches>
void Apply(std::size_t batch, const Job& job, std::index_sequence<kBatches...>) {
  ((batch == kBatches + 1 ? ApplyOn<kBatches + 1>(job) : void()), ...);
}
} // namespace

void shp_ApplyEach(const shp_WeightTables::Matrix& matrix, std::size_t numElements, std::size_t numComponents,
                   const float* values, float* out) {
  for (std::size_t first = 0; first < numComponents; first += kMaxBatch)
    Apply(std::min(kMaxBatch, numComponents - first),
          {matrix.values.data(), matrix.values.size() / matrix.numColumns, matrix.numColumns, numElements,
           numComponents, values + first, out + first},
          std::make_index_sequence<kMaxBatch>());
}
