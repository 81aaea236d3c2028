// Weighted sums for elements one after the other. Included once for each kind of processor: everything here
// is compiled for the one in force, and the results are the same on all.

constexpr std::size_t kMaxColumns = shp_NodePattern::kMaxNodes;

[[gnu::always_inline]] inline void Widen(const shp_FloatLanes& narrow, shp_Lanes& wide) {
#ifdef SHP_USE_AVX2
  wide = _mm256_cvtps_pd(narrow); // the compiler would take halves
#else
  wide = __builtin_convertvector(narrow, shp_Lanes);
#endif
}
template<std::size_t kCount> [[gnu::always_inline]] inline void Load(const float* from, shp_Lanes& to) {
  shp_FloatLanes narrow = {};
  std::memcpy(&narrow, from, kCount * sizeof(float));
  Widen(narrow, to);
}
/// Numbers beyond the range of floats become infinities.
template<std::size_t kCount> [[gnu::always_inline]] inline void Store(const shp_Lanes& from, float* to) {
  const shp_FloatLanes narrow = __builtin_convertvector(from, shp_FloatLanes);
  std::memcpy(to, &narrow, kCount * sizeof(float));
}

/// True when no value is so large that a sum may leave the range of floats.
[[gnu::always_inline]] inline bool AreSmall(const Job& job, const float* values, std::size_t count) {
  constexpr std::size_t kWidth = 8;
  using Wide [[gnu::vector_size(kWidth * sizeof(float))]] = float;
  const float limit = job.largestValue;
  if (count < kWidth)
    return std::none_of(values, values + count, [=](float value) { return std::abs(value) > limit; });
  Wide least = {}, most = {};
  for (std::size_t k = 0; k < count; k += kWidth) {
    Wide part;
    std::memcpy(&part, values + std::min(k, count - kWidth), sizeof part);
    least = part < least ? part : least;
    most = part > most ? part : most;
  }
  using Parts [[gnu::vector_size(kWidth * sizeof(float))]] = long long;
  const auto areLarge = reinterpret_cast<Parts>((most > limit) | (least < -limit));
#ifdef SHP_USE_AVX2
  return _mm256_testz_si256(areLarge, areLarge) != 0;
#else
  return (areLarge[0] | areLarge[1] | areLarge[2] | areLarge[3]) == 0;
#endif
}

/// Some rows of one element, so that their sums stay in registers.
template<std::size_t kRows, std::size_t kBatch>
[[gnu::always_inline]] inline void SumRows(const Job& job, std::size_t row, const shp_Lanes (*wide)[2],
                                           float* out) {
  shp_Lanes low[kRows], high[kRows];
  const double* weights = job.weights + row * job.numColumns;
  for (std::size_t k = 0; k < kRows; ++k) {
    low[k] = weights[k * job.numColumns] * wide[0][0];
    if constexpr (kBatch > 4) high[k] = weights[k * job.numColumns] * wide[0][1];
  }
  for (std::size_t column = 1; column < job.numColumns; ++column)
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

template<std::size_t kBatch> [[gnu::always_inline]] inline void ApplyBatch(const Job& job) {
  const float* values = job.values;
  float* out = job.out;
  for (std::size_t element = 0; element < job.numElements; ++element) {
    const bool areSmall = AreSmall(job, values, (job.numColumns - 1) * job.numComponents + kBatch);
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
    if (!areSmall)
      for (row = 0; row < job.numRows; ++row) Clamp(out + row * job.numComponents, kBatch);
    out += job.numRows * job.numComponents;
  }
}

/// Weights of two rows with six components, of which the last two of both rows share lanes, so that none is
/// idle.
struct PairWeights {
  shp_Lanes first, shared, second;
};

template<std::size_t kPairs>
[[gnu::always_inline]] inline void SumPairs(std::size_t numColumns, const PairWeights* weights,
                                            const shp_Lanes (*wide)[2], float* out) {
  using TwoFloats [[gnu::vector_size(2 * sizeof(double))]] = double;
  shp_Lanes first[kPairs], shared[kPairs], second[kPairs];
  for (std::size_t k = 0; k < kPairs; ++k) {
    const PairWeights& by = weights[k * numColumns];
    first[k] = by.first * wide[0][0];
    shared[k] = by.shared * wide[0][1];
    second[k] = by.second * wide[0][0];
  }
#pragma GCC unroll 4
  for (std::size_t column = 1; column < numColumns; ++column)
    for (std::size_t k = 0; k < kPairs; ++k) {
      const PairWeights& by = weights[k * numColumns + column];
      first[k] += by.first * wide[column][0];
      shared[k] += by.shared * wide[column][1];
      second[k] += by.second * wide[column][0];
    }
  for (std::size_t k = 0; k < kPairs; ++k, out += 12) {
    const auto ends = reinterpret_cast<TwoFloats>(__builtin_convertvector(shared[k], shp_FloatLanes));
    const double firstEnd = ends[0], secondEnd = ends[1];
    Store<4>(first[k], out);
    std::memcpy(out + 4, &firstEnd, sizeof firstEnd);
    Store<4>(second[k], out + 6);
    std::memcpy(out + 10, &secondEnd, sizeof secondEnd);
  }
}

/// Elements with six components and no others between them; the number of columns may be known beforehand.
template<std::size_t kColumns> [[gnu::always_inline]] inline void ApplySix(const Job& job) {
  const std::size_t numColumns = kColumns ? kColumns : job.numColumns;
  const std::size_t numRows = job.numRows;
  PairWeights weights[kMaxColumns / 2 * kMaxColumns];
  for (std::size_t row = 0; row + 2 <= numRows; row += 2)
    for (std::size_t column = 0; column < numColumns; ++column) {
      const double a = job.weights[row * numColumns + column];
      const double b = job.weights[(row + 1) * numColumns + column];
      weights[row / 2 * numColumns + column] =
          PairWeights{shp_Lanes{a, a, a, a}, shp_Lanes{a, a, b, b}, shp_Lanes{b, b, b, b}};
    }
  const float* values = job.values;
  float* out = job.out;
  for (std::size_t element = 0; element < job.numElements; ++element, out += 6 * numRows) {
    const bool areSmall = AreSmall(job, values, 6 * numColumns);
    shp_Lanes wide[kMaxColumns][2];
    for (std::size_t column = 0; column < numColumns; ++column, values += 6) {
      shp_FloatLanes ends;
      Load<4>(values, wide[column][0]);
      std::memcpy(&ends, values + 2, sizeof ends);
      Widen(__builtin_shufflevector(ends, ends, 2, 3, 2, 3), wide[column][1]);
    }
    std::size_t row = 0;
    for (; row + 4 <= numRows; row += 4)
      SumPairs<2>(numColumns, weights + row / 2 * numColumns, wide, out + 6 * row);
    for (; row + 2 <= numRows; row += 2)
      SumPairs<1>(numColumns, weights + row / 2 * numColumns, wide, out + 6 * row);
    if (row < numRows) SumRows<1, 6>(job, row, wide, out + 6 * row);
    if (!areSmall) Clamp(out, 6 * numRows);
  }
}

template<std::size_t kBatch> void Apply(const Job& job) {
  constexpr std::size_t kMany = 8; // elements that are worth the spread weights
  if constexpr (kBatch == 6)
    if (job.numComponents == 6 && job.numElements >= kMany) {
      if (job.numColumns == 4) return ApplySix<4>(job);
      if (job.numColumns == 8) return ApplySix<8>(job);
      return ApplySix<0>(job);
    }
  ApplyBatch<kBatch>(job);
}
