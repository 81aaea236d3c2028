#include "shp_ApplyEach.h"

#include "shp_Lanes.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <utility>
#if defined(__x86_64__) && !defined(__clang__)
#define SHP_HAS_AVX2
#include <immintrin.h>
#endif

namespace {
constexpr std::size_t kMaxBatch = 8; ///< components that are summed together

struct Job {
  const double* weights;
  float largestValue; ///< of which no sum leaves the range of floats
  std::size_t numRows, numColumns, numElements, numComponents;
  const float* values; ///< the first component of the batch
  float* out;
};

/// Infinities become the largest float; what is not a number stays so.
[[gnu::noinline]] void Clamp(float* values, std::size_t count) {
  constexpr float kLargest = std::numeric_limits<float>::max();
  for (std::size_t k = 0; k < count; ++k) values[k] = std::clamp(values[k], -kLargest, kLargest);
}

namespace plain {
#include "shp_ApplyKernel.inl"
}
#ifdef SHP_HAS_AVX2
#pragma GCC push_options
#pragma GCC target("avx2")
#define SHP_USE_AVX2
namespace avx2 {
#include "shp_ApplyKernel.inl"
}
#pragma GCC pop_options
#endif

template<std::size_t kBatch> void ApplyOn(const Job& job) {
#ifdef SHP_HAS_AVX2
  static const bool hasAvx2 = __builtin_cpu_supports("avx2");
  if (hasAvx2) return avx2::Apply<kBatch>(job);
#endif
  plain::Apply<kBatch>(job);
}

template<std::size_t... kBatches>
void Apply(std::size_t batch, const Job& job, std::index_sequence<kBatches...>) {
  ((batch == kBatches + 1 ? ApplyOn<kBatches + 1>(job) : void()), ...);
}
} // namespace

void shp_ApplyEach(const shp_WeightTables::Matrix& matrix, std::size_t numElements, std::size_t numComponents,
                   const float* values, float* out) {
  constexpr double kSafe = 0.999 * static_cast<double>(std::numeric_limits<float>::max());
  const auto largestValue = static_cast<float>(kSafe / matrix.largestGain);
  for (std::size_t first = 0; first < numComponents; first += kMaxBatch)
    Apply(std::min(kMaxBatch, numComponents - first),
          {matrix.values.data(), largestValue, matrix.values.size() / matrix.numColumns, matrix.numColumns,
           numElements, numComponents, values + first, out + first},
          std::make_index_sequence<kMaxBatch>());
}
