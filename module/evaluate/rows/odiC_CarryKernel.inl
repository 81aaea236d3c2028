// Carrying values from place to place: components side by side. Included once for each kind of processor: everything here
// is compiled for the one in force, and the results are the same on all.

template<class T, std::size_t kCount> struct NumbersOf {
  using Type [[gnu::vector_size(kCount * sizeof(T))]] = T;
};
template<class T> struct NumbersOf<T, 1> { using Type = T; };

/// kCount numbers, as whole vectors, then two, then one: none has lanes that stand idle.
template<std::size_t kCount> struct Parts {
  static constexpr std::size_t kRest = kCount % kLanes, kFull = kCount / kLanes;
  static constexpr bool kHasTwo = kLanes > 2 && kRest >= 2, kHasOne = kRest % 2 == 1;
  using Two = NumbersOf<double, 2>::Type;
  Lanes full[kFull == 0 ? 1 : kFull] = {};
  Two two = {};
  double one = 0;

  /// call(part, position of its first number) for each part.
  template<class Self, class Call>
  [[gnu::always_inline]] static inline void Each(Self& self, const Call& call) {
    if constexpr (kFull > 0)
      for (std::size_t k = 0; k < kFull; ++k) call(self.full[k], k * kLanes);
    if constexpr (kHasTwo) call(self.two, kFull * kLanes);
    if constexpr (kHasOne) call(self.one, kCount - 1);
  }
  template<class Call>
  [[gnu::always_inline]] static inline void Each(Parts& a, const Parts& b, const Call& call) {
    if constexpr (kFull > 0)
      for (std::size_t k = 0; k < kFull; ++k) call(a.full[k], b.full[k]);
    if constexpr (kHasTwo) call(a.two, b.two);
    if constexpr (kHasOne) call(a.one, b.one);
  }
  template<class T> [[gnu::always_inline]] inline void Load(const T* from, std::size_t = 0) {
    Each(
        *this, [&](auto& part, std::size_t at) __attribute__((always_inline)) {
          using Part = std::remove_reference_t<decltype(part)>;
          // NOLINTNEXTLINE(bugprone-sizeof-expression): a vector of doubles
          typename NumbersOf<T, sizeof(Part) / sizeof(double)>::Type numbers;
          std::memcpy(&numbers, from + at, sizeof numbers);
          if constexpr (sizeof(Part) == sizeof(double)) {
            part = numbers;
#ifdef ODI_USE_AVX2
          } else if constexpr (sizeof numbers == sizeof(FloatLanes) && sizeof(T) == sizeof(float)) {
            part = _mm256_cvtps_pd(numbers); // the compiler would take halves
#endif
          } else {
            part = __builtin_convertvector(numbers, Part);
          }
        });
  }
  template<class T> [[gnu::always_inline]] inline void Store(T* to, std::size_t = 0) const {
    Each(
        *this, [&](const auto& part, std::size_t at) __attribute__((always_inline)) {
          using Part = std::remove_cvref_t<decltype(part)>;
          // NOLINTNEXTLINE(bugprone-sizeof-expression): a vector of doubles
          typename NumbersOf<T, sizeof(Part) / sizeof(double)>::Type numbers;
          if constexpr (sizeof(Part) == sizeof(double))
            numbers = static_cast<T>(part);
          else
            numbers = __builtin_convertvector(part, decltype(numbers));
          std::memcpy(to + at, &numbers, sizeof numbers);
        });
  }
  [[gnu::always_inline]] inline void Add(const Parts& other, double factor) {
    Each(
        *this,
        other, [&](auto& sum, const auto& part) __attribute__((always_inline)) { sum += factor * part; });
  }
  [[gnu::always_inline]] inline void Add(const Parts& other) {
    Each(
        *this, other, [](auto& sum, const auto& part) __attribute__((always_inline)) { sum += part; });
  }
  [[gnu::always_inline]] inline void Divide(double by) {
    Each(
        *this, [&](auto& part, std::size_t) __attribute__((always_inline)) { part /= by; });
  }
  /// Not a number becomes 0, and is noted.
  [[gnu::always_inline]] inline void KeepNumbers(Parts& noted) {
    Each(
        noted, *this,
        [](auto& note, const auto& part) __attribute__((always_inline)) { note += part - part; });
    Each(
        *this, [](auto& part, std::size_t) __attribute__((always_inline)) {
          using Part = std::remove_cvref_t<decltype(part)>;
          part = part == part ? part : Part{};
        });
  }
};

constexpr std::size_t kMaxBatch = 6; // components that are worked on together
/// work.template operator()<count>(first component) for all components.
template<class Work>
[[gnu::always_inline]] static inline void ForEachBatch(std::size_t numComponents, const Work& work) {
  for (std::size_t first = 0; first < numComponents; first += kMaxBatch) {
    switch (std::min(kMaxBatch, numComponents - first)) {
    case 1: work.template operator()<1>(first); break;
    case 2: work.template operator()<2>(first); break;
    case 3: work.template operator()<3>(first); break;
    case 4: work.template operator()<4>(first); break;
    case 5: work.template operator()<5>(first); break;
    default: work.template operator()<kMaxBatch>(first); break;
    }
  }
}

#ifdef ODI_USE_AVX2
/// Six numbers of two elements, of which the last two of both share lanes.
struct TwoSixes {
  Parts<4> first, shared, second;

  template<class T> [[gnu::always_inline]] inline void Load(const T* from, std::size_t stride) {
    Parts<2> ends[2];
    first.Load(from);
    second.Load(from + stride);
    ends[0].Load(from + 4);
    ends[1].Load(from + stride + 4);
    shared.full[0] = __builtin_shufflevector(ends[0].two, ends[1].two, 0, 1, 2, 3);
  }
  template<class T> [[gnu::always_inline]] inline void Store(T* to, std::size_t stride) const {
    T ends[4];
    first.Store(to);
    second.Store(to + stride);
    shared.Store(ends);
    std::memcpy(to + 4, ends, 2 * sizeof(T));
    std::memcpy(to + stride + 4, ends + 2, 2 * sizeof(T));
  }
  [[gnu::always_inline]] inline void Add(const TwoSixes& other, double factor) {
    first.Add(other.first, factor);
    shared.Add(other.shared, factor);
    second.Add(other.second, factor);
  }
};
#endif

/// Some rows of an element, so that their sums stay in registers; of two elements with TwoSixes.
template<std::size_t kRows, class Values, class T>
[[gnu::always_inline]] static inline void SumRows(const odiC_CarryJob& job, std::size_t row, const T* rows,
                                                  T* out) {
  Values sums[kRows], value;
  const double* weights = job.weights + row * job.numColumns;
  for (std::size_t column = 0; column < job.numColumns; ++column, rows += job.numComponents) {
    value.Load(rows, job.numColumns * job.numComponents);
    for (std::size_t r = 0; r < kRows; ++r) sums[r].Add(value, weights[r * job.numColumns + column]);
  }
  for (std::size_t r = 0; r < kRows; ++r)
    sums[r].Store(out + (row + r) * job.numComponents, job.numRows * job.numComponents);
}
template<class Values, class T>
void CarryElements(const odiC_CarryJob& job, std::size_t atOnce, std::size_t n, const T*& rows, T*& out) {
  for (std::size_t element = 0; element + atOnce <= n; element += atOnce) {
    std::size_t row = 0;
    for (; row + 4 <= job.numRows; row += 4) SumRows<4, Values>(job, row, rows, out);
    for (; row < job.numRows; ++row) SumRows<1, Values>(job, row, rows, out);
    rows += atOnce * job.numColumns * job.numComponents;
    out += atOnce * job.numRows * job.numComponents;
  }
}
template<std::size_t kCount, class T> void CarryBatch(const odiC_CarryJob& job, const T* rows, T* out) {
  std::size_t n = job.n;
#ifdef ODI_USE_AVX2
  if constexpr (kCount == 6) {
    CarryElements<TwoSixes>(job, 2, n, rows, out);
    n %= 2;
  }
#endif
  CarryElements<Parts<kCount>>(job, 1, n, rows, out);
}
template<class T> void CarryRows(const odiC_CarryJob& job, const T* rows, T* out) {
  ForEachBatch(job.numComponents, [&]<std::size_t kCount>(std::size_t first) {
    CarryBatch<kCount>(job, rows + first, out + first);
  });
}

template<std::size_t kCount, class T>
bool ScatterBatch(const odiC_ScatterJob& job, const T* rows, double* sums) {
  constexpr std::size_t kAhead = 6; // elements whose sums are fetched beforehand
  const auto targets = [&](std::size_t k) __attribute__((always_inline)) {
    return job.targets
           + (job.elements ? static_cast<std::size_t>(job.elements[k]) : job.first + k) * job.numNodes;
  };
  Parts<kCount> noted; // not a number where one was met, or an infinity
  for (std::size_t element = 0; element < job.n; ++element) {
    if (element + kAhead < job.n)
      for (std::size_t node = 0; node < job.numNodes; ++node)
        __builtin_prefetch(sums
                               + static_cast<std::ptrdiff_t>(targets(element + kAhead)[node])
                                     * static_cast<std::ptrdiff_t>(job.numComponents),
                           1);
    const int* target = targets(element);
    const double weight =
        job.weights ? job.weights[static_cast<std::size_t>(target - job.targets) / job.numNodes] : 1;
    Parts<kCount> value;
    const auto take = [&]() __attribute__((always_inline)) {
      Parts<kCount> read;
      read.Load(rows);
      rows += job.numComponents;
      read.KeepNumbers(noted);
      value = Parts<kCount>();
      value.Add(read, weight);
    };
    if (job.isWhole) take();
    for (std::size_t node = 0; node < job.numNodes; ++node) {
      if (!job.isWhole) take();
      if (target[node] < 0) continue;
      double* at = sums + static_cast<std::size_t>(target[node]) * job.numComponents;
      Parts<kCount> sum;
      sum.Load(at);
      sum.Add(value);
      sum.Store(at);
    }
  }
  double notes[kCount], all = 0;
  noted.Store(notes);
  for (const double note : notes) all += note;
  return all != 0; // not a number is not 0
}
template<class T> bool ScatterRows(const odiC_ScatterJob& job, const T* rows, double* sums) {
  bool isAnyBad = false;
  ForEachBatch(job.numComponents, [&]<std::size_t kCount>(std::size_t first) {
    isAnyBad |= ScatterBatch<kCount>(job, rows + first, sums + first);
  });
  return isAnyBad;
}

template<std::size_t kCount>
void DivideBatch(std::size_t numComponents, std::span<const int> targets, const double* shares,
                 double* sums) {
  for (std::size_t i = 0; i < targets.size(); ++i) {
    double* at = sums + static_cast<std::size_t>(targets[i]) * numComponents;
    Parts<kCount> sum;
    sum.Load(at);
    sum.Divide(shares[i]);
    sum.Store(at);
  }
}
static void DivideRows(std::size_t numComponents, std::span<const int> targets, const double* shares,
                       double* sums) {
  ForEachBatch(numComponents, [&]<std::size_t kCount>(std::size_t first) {
    DivideBatch<kCount>(numComponents, targets, shares, sums + first);
  });
}
