// As many rows at a time as lanes. Included once for each kind of processor: everything here is compiled for the one
// in force, and the results are the same on all.

[[gnu::always_inline]] static inline void Sqrt(const Lanes& x, Lanes& root) {
#if defined(ODI_USE_AVX2)
  root = _mm256_sqrt_pd(x);
#elif defined(__SSE2__)
  root = _mm_sqrt_pd(x);
#else
  for (std::size_t k = 0; k < kLanes; ++k) root[k] = std::sqrt(x[k]);
#endif
}
/// One number of each row.
template<class T>
[[gnu::always_inline]] static inline void Gather(const T* from, std::size_t width, Lanes& to) {
  for (std::size_t lane = 0; lane < kLanes; ++lane) to[lane] = static_cast<double>(from[lane * width]);
}
template<class T> [[gnu::always_inline]] static inline void Store(const Lanes& from, T* to) {
  using Narrow = std::conditional_t<std::is_same_v<T, float>, FloatLanes, Lanes>;
  const Narrow numbers = __builtin_convertvector(from, Narrow);
  std::memcpy(to, &numbers, sizeof numbers);
}

/// Two neighbouring numbers of each row of six.
template<class T>
[[gnu::always_inline]] static inline void ReadPairs(const T* from, Lanes& first, Lanes& second) {
  using Two [[gnu::vector_size(2 * sizeof(double))]] = double;
  using TwoNumbers [[gnu::vector_size(2 * sizeof(T))]] = T;
  Two rows[kLanes];
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    TwoNumbers numbers;
    std::memcpy(&numbers, from + 6 * lane, sizeof numbers);
    rows[lane] = __builtin_convertvector(numbers, Two);
  }
#ifdef ODI_USE_AVX2
  const Lanes even = __builtin_shufflevector(rows[0], rows[2], 0, 1, 2, 3),
              odd = __builtin_shufflevector(rows[1], rows[3], 0, 1, 2, 3);
  first = __builtin_shufflevector(even, odd, 0, 4, 2, 6);
  second = __builtin_shufflevector(even, odd, 1, 5, 3, 7);
#else
  first = __builtin_shufflevector(rows[0], rows[1], 0, 2);
  second = __builtin_shufflevector(rows[0], rows[1], 1, 3);
#endif
}
template<class T>
[[gnu::always_inline]] static inline void StorePairs(const Lanes& first, const Lanes& second, T* to) {
  T numbers[2 * kLanes];
#ifdef ODI_USE_AVX2
  Store(__builtin_shufflevector(first, second, 0, 4, 2, 6), numbers);
  Store(__builtin_shufflevector(first, second, 1, 5, 3, 7), numbers + kLanes);
  constexpr std::size_t kPlaces[] = {0, 4, 2, 6};
#else
  Store(__builtin_shufflevector(first, second, 0, 2), numbers);
  Store(__builtin_shufflevector(first, second, 1, 3), numbers + kLanes);
  constexpr std::size_t kPlaces[] = {0, 2};
#endif
  for (std::size_t lane = 0; lane < kLanes; ++lane)
    std::memcpy(to + 6 * lane, numbers + kPlaces[lane], 2 * sizeof(T));
}

/// How the six components of some rows are read.
struct Six {
  template<class T>
  [[gnu::always_inline]] static inline void Read(const odiC_RowForm& form, const T* rows, Lanes (&s)[6]) {
    for (std::size_t k = 0; k < 6; k += 2) ReadPairs(rows + k, s[k], s[k + 1]);
    for (std::size_t k = 3; k < 6; ++k) s[k] *= form.shear;
  }
};
struct Any {
  template<class T>
  [[gnu::always_inline]] static inline void Read(const odiC_RowForm& form, const T* rows, Lanes (&s)[6]) {
    for (std::size_t k = 0; k < 6; ++k) {
      s[k] = Lanes{};
      if (form.at[k] < 0) continue;
      Gather(rows + form.at[k], form.width, s[k]);
      if (k >= 3) s[k] *= form.shear;
    }
  }
};

/// work(s, result, first row) for some rows each; the last ones are filled up with zeros.
template<class Form, std::size_t kOut, class T, class Work>
[[gnu::always_inline]] static inline void ForEachGroup(const odiC_RowForm& form, const T* rows, std::size_t n,
                                                       T* out, const Work& work) {
  constexpr std::size_t kMaxWidth = 9;
  std::size_t i = 0;
  for (; i + kLanes <= n; i += kLanes, rows += kLanes * form.width, out += kLanes * kOut) {
    Lanes s[6];
    Form::Read(form, rows, s);
    work(s, out, i);
  }
  if (i == n) return;
  T padded[kLanes * kMaxWidth] = {}, result[kLanes * kOut];
  std::copy_n(rows, (n - i) * form.width, padded);
  Lanes s[6];
  Form::Read(form, padded, s);
  work(s, result, i);
  std::copy_n(result, (n - i) * kOut, out);
}

/// Brings doubles near 1 by a power of two, so that no square or cube leaves the range; floats need none.
template<class T> struct Scale {
  [[gnu::always_inline]] static inline void Apply(Lanes (&)[6], Lanes& unit) { unit = Lanes{} + 1; }
};
template<> struct Scale<double> {
  [[gnu::always_inline]] static inline void Apply(Lanes (&s)[6], Lanes& unit) {
    Lanes big = {};
    for (const Lanes& c : s) {
      const Lanes size = c < 0 ? -c : c;
      big = size > big ? size : big;
    }
    constexpr long long kExponent = 0x7ff0000000000000;
    unit = reinterpret_cast<Lanes>(reinterpret_cast<Mask>(big) & kExponent);
    unit = unit < 0x1p-1022 ? Lanes{} + 0x1p-1022 : unit;
    unit = unit > 0x1p1022 ? Lanes{} + 0x1p1022 : unit;
    // the inverse of a power of two has the negative exponent: no division
    constexpr long long kTwiceBias = 0x7fe0000000000000;
    const auto by = reinterpret_cast<Lanes>(kTwiceBias - reinterpret_cast<Mask>(unit));
    for (Lanes& c : s) c *= by;
  }
};

// The kernels. A symmetric tensor is xx, yy, zz, xy, xz, yz.

struct Mises {
  [[gnu::always_inline]] static inline void Of(const Lanes (&s)[6], Lanes& value) {
    const Lanes a = s[0] - s[1], b = s[1] - s[2], c = s[2] - s[0];
    Sqrt(0.5 * (a * a + b * b + c * c) + 3 * (s[3] * s[3] + s[4] * s[4] + s[5] * s[5]), value);
  }
};
struct Pressure {
  [[gnu::always_inline]] static inline void Of(const Lanes (&s)[6], Lanes& value) {
    value = (s[0] + s[1] + s[2]) / -3;
  }
};
[[gnu::always_inline]] static inline void Determinant(const Lanes (&s)[6], Lanes& value) {
  value = s[0] * (s[1] * s[2] - s[5] * s[5]) - s[3] * (s[3] * s[2] - s[5] * s[4])
          + s[4] * (s[3] * s[5] - s[1] * s[4]);
}
/// Takes the mean of xx, yy, zz away from them.
[[gnu::always_inline]] static inline void Deviate(const Lanes (&s)[6], Lanes (&d)[6], Lanes& mean) {
  mean = (s[0] + s[1] + s[2]) * (1.0 / 3);
  for (int k = 0; k < 6; ++k) d[k] = k < 3 ? s[k] - mean : s[k];
}
struct Third {
  [[gnu::always_inline]] static inline void Of(const Lanes (&s)[6], Lanes& value) {
    Lanes d[6], mean;
    Deviate(s, d, mean);
    Determinant(d, value);
    for (std::size_t k = 0; k < kLanes; ++k) value[k] = odiC_CubeRoot(13.5 * value[k]);
  }
};

[[gnu::always_inline]] static inline void Cross(const Lanes (&a)[3], const Lanes (&b)[3],
                                                Lanes (&product)[3]) {
  for (int k = 0; k < 3; ++k) product[k] = a[(k + 1) % 3] * b[(k + 2) % 3] - a[(k + 2) % 3] * b[(k + 1) % 3];
}
[[gnu::always_inline]] static inline void Dot(const Lanes (&a)[3], const Lanes (&b)[3], Lanes& product) {
  product = a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
[[gnu::always_inline]] static inline void TimesTensor(const Lanes (&s)[6], const Lanes (&v)[3],
                                                      Lanes (&product)[3]) {
  product[0] = s[0] * v[0] + s[3] * v[1] + s[4] * v[2];
  product[1] = s[3] * v[0] + s[1] * v[1] + s[5] * v[2];
  product[2] = s[4] * v[0] + s[5] * v[1] + s[2] * v[2];
}

/// Eigenvalues mean + size * values[k], values descending. The isolated eigenvalue is the root of a cubic, found by
/// Newton's method where it is steep; its eigenvector leaves a problem of two directions, which is solved exactly
/// (D. Eberly, A robust eigensolver for 3 x 3 symmetric matrices, 2014, with Newton in place of the arccosine).
struct Spectrum {
  Lanes mean, size, values[3];
  Lanes axes[3][3]; ///< right-handed

  template<bool kWithAxes> [[gnu::always_inline]] inline void Solve(const Lanes (&s)[6]) {
    Lanes b[6];
    Deviate(s, b, mean);
    const Lanes squares =
        b[0] * b[0] + b[1] * b[1] + b[2] * b[2] + 2 * (b[3] * b[3] + b[4] * b[4] + b[5] * b[5]);
    Sqrt(squares * (1.0 / 6), size);
    const Lanes by = 1 / (size > 0 ? size : Lanes{} + 1);
    for (Lanes& c : b) c *= by;

    Lanes h;
    Determinant(b, h);
    h *= 0.5;
    const Mask isNegative = h < 0;
    Lanes g = isNegative ? -h : h;
    g = g < 1 ? g : Lanes{} + 1;
    // the cosine of a third of the angle of g within 4e-5; each step squares the error
    Lanes c = 0.866062 + g * (0.165404 + g * (0.009444 * g - 0.040881));
    for (int k = 0; k < 2; ++k) {
      const Lanes square = 4 * c * c;
      c -= ((square - 3) * c - g) / (3 * square - 3);
    }
    const Lanes isolated = isNegative ? -2 * c : 2 * c;

    // its vector is across two rows of the tensor less the eigenvalue
    const Lanes rows[3][3] = {
        {b[0] - isolated, b[3], b[4]}, {b[3], b[1] - isolated, b[5]}, {b[4], b[5], b[2] - isolated}};
    Lanes e[3], length;
    Cross(rows[0], rows[1], e);
    Dot(e, e, length);
    const auto take = [&](const Lanes(&x)[3], const Lanes(&y)[3]) __attribute__((always_inline)) {
      Lanes other[3], otherLength;
      Cross(x, y, other);
      Dot(other, other, otherLength);
      const Mask isLonger = otherLength > length;
      for (int k = 0; k < 3; ++k) e[k] = isLonger ? other[k] : e[k];
      length = isLonger ? otherLength : length;
    };
    take(rows[1], rows[2]);
    take(rows[2], rows[0]);
    const Mask isAlongX = e[0] * e[0] > e[1] * e[1];
    const Lanes across = isAlongX ? e[0] : e[1];
    Lanes width;
    Sqrt(length, length);
    Sqrt(across * across + e[2] * e[2], width);
    const Lanes byBoth = 1 / (length * width), byLength = width * byBoth, byWidth = length * byBoth;
    const Lanes first = e[2] * byWidth, second = across * byWidth;
    for (Lanes& x : e) x *= byLength;
    const Lanes q[3] = {isAlongX ? -first : Lanes{}, isAlongX ? Lanes{} : first, isAlongX ? second : -second};
    Lanes t[3], ofQ[3], ofT[3], qq, qt, tt;
    Cross(e, q, t);
    TimesTensor(b, q, ofQ);
    TimesTensor(b, t, ofT);
    Dot(q, ofQ, qq);
    Dot(t, ofQ, qt);
    Dot(t, ofT, tt);
    const Lanes half = 0.5 * (qq + tt), lean = 0.5 * (qq - tt);
    Lanes radius;
    Sqrt(lean * lean + qt * qt, radius);
    const Lanes high = half + radius, low = half - radius, lone = -2 * half;
    values[0] = isNegative ? high : lone;
    values[1] = isNegative ? low : high;
    values[2] = isNegative ? lone : low;
    if constexpr (kWithAxes) {
      const Mask leans = lean >= 0;
      Lanes x = leans ? lean + radius : qt, y = leans ? qt : radius - lean, norm;
      Sqrt(x * x + y * y, norm);
      x = norm > 0 ? x / norm : Lanes{} + 1;
      y = norm > 0 ? y / norm : Lanes{};
      for (int k = 0; k < 3; ++k) {
        const Lanes ofHigh = x * q[k] + y * t[k], ofLow = x * t[k] - y * q[k];
        axes[0][k] = isNegative ? ofHigh : e[k];
        axes[1][k] = isNegative ? ofLow : ofHigh;
        axes[2][k] = isNegative ? e[k] : ofLow;
      }
    }
  }
};
struct Principal {
  int which;
  [[gnu::always_inline]] inline void Of(const Lanes (&s)[6], Lanes& value) const {
    Spectrum spectrum;
    spectrum.Solve<false>(s);
    value = spectrum.mean + spectrum.size * spectrum.values[which];
  }
};
struct Tresca {
  [[gnu::always_inline]] static inline void Of(const Lanes (&s)[6], Lanes& value) {
    Spectrum spectrum;
    spectrum.Solve<false>(s);
    value = spectrum.size * (spectrum.values[0] - spectrum.values[2]);
  }
};
[[gnu::always_inline]] static inline void Sort(const Lanes (&s)[6], Lanes (&sorted)[3]) {
  const Lanes high = s[0] > s[1] ? s[0] : s[1], low = s[0] > s[1] ? s[1] : s[0];
  sorted[0] = high > s[2] ? high : s[2];
  sorted[2] = low < s[2] ? low : s[2];
  const Lanes between = high < s[2] ? high : s[2];
  sorted[1] = low > between ? low : between;
}
struct Sorted {
  int which;
  [[gnu::always_inline]] inline void Of(const Lanes (&s)[6], Lanes& value) const {
    Lanes sorted[3];
    Sort(s, sorted);
    value = sorted[which];
  }
};
struct SortedRange {
  [[gnu::always_inline]] static inline void Of(const Lanes (&s)[6], Lanes& value) {
    Lanes sorted[3];
    Sort(s, sorted);
    value = sorted[0] - sorted[2];
  }
};
struct InPlane {
  int which;
  [[gnu::always_inline]] inline void Of(const Lanes (&s)[6], Lanes& value) const {
    const Lanes half = 0.5 * (s[0] - s[1]);
    Lanes radius;
    Sqrt(half * half + s[3] * s[3], radius);
    value = 0.5 * (s[0] + s[1]) + (which == 0 ? radius : -radius);
  }
};
struct OutOfPlane {
  [[gnu::always_inline]] static inline void Of(const Lanes (&s)[6], Lanes& value) { value = s[2]; }
};
struct Magnitude {
  [[gnu::always_inline]] static inline void Of(const Lanes (&s)[6], Lanes& value) {
    Sqrt(s[0] * s[0] + s[1] * s[1] + s[2] * s[2], value);
  }
};

template<class Form, class T, class Kernel>
void ReduceAs(const odiC_RowForm& form, const T* rows, std::size_t n, T* out, const Kernel& kernel) {
  const auto work = [&](Lanes(&s)[6], T * result, std::size_t) __attribute__((always_inline)) {
    Lanes unit, value;
    Scale<T>::Apply(s, unit);
    const Lanes sum = s[0] + s[1] + s[2] + s[3] + s[4] + s[5];
    kernel.Of(s, value);
    Store(value * unit + (sum - sum), result); // 0, or not a number where a component is not finite
  };
  ForEachGroup<Form, 1>(form, rows, n, out, work);
}
template<class T, class Kernel>
void Reduce(const odiC_RowForm& form, const T* rows, std::size_t n, T* out, const Kernel& kernel) {
  if (form.IsSix()) return ReduceAs<Six>(form, rows, n, out, kernel);
  ReduceAs<Any>(form, rows, n, out, kernel);
}
template<class T>
void ReduceRows(odiC_RowWork work, int which, const odiC_RowForm& form, const T* rows, std::size_t n,
                T* out) {
  switch (work) {
  case odiC_RowWork::Mises: return Reduce(form, rows, n, out, Mises());
  case odiC_RowWork::Pressure: return Reduce(form, rows, n, out, Pressure());
  case odiC_RowWork::Third: return Reduce(form, rows, n, out, Third());
  case odiC_RowWork::Principal: return Reduce(form, rows, n, out, Principal{which});
  case odiC_RowWork::Tresca: return Reduce(form, rows, n, out, Tresca());
  case odiC_RowWork::Sorted: return Reduce(form, rows, n, out, Sorted{which});
  case odiC_RowWork::SortedRange: return Reduce(form, rows, n, out, SortedRange());
  case odiC_RowWork::InPlane: return Reduce(form, rows, n, out, InPlane{which});
  case odiC_RowWork::OutOfPlane: return Reduce(form, rows, n, out, OutOfPlane());
  case odiC_RowWork::Magnitude: return Reduce(form, rows, n, out, Magnitude());
  }
}

void SolveRows(const double* tensors, std::size_t n, double* values, double* axes) {
  const auto work = [&](Lanes(&s)[6], double* result, std::size_t first) __attribute__((always_inline)) {
    Lanes unit;
    Scale<double>::Apply(s, unit);
    const Lanes sum = s[0] + s[1] + s[2] + s[3] + s[4] + s[5], guard = sum - sum;
    Spectrum spectrum;
    spectrum.Solve<true>(s);
    for (std::size_t k = 0; k < 3; ++k) {
      const Lanes value = (spectrum.mean + spectrum.size * spectrum.values[k]) * unit + guard;
      for (std::size_t lane = 0; lane < kLanes; ++lane) result[3 * lane + k] = value[lane];
    }
    for (std::size_t lane = 0; axes && lane < kLanes && first + lane < n; ++lane)
      for (std::size_t k = 0; k < 9; ++k)
        axes[9 * (first + lane) + k] = spectrum.axes[k / 3][k % 3][lane] + guard[lane];
  };
  ForEachGroup<Six, 3>(odiC_RowForm(), tensors, n, values, work);
}

/// The matrices of some rows from `first` on, of n.
[[gnu::always_inline]] static inline void ReadMatrices(const double* matrices, std::size_t stride,
                                                       std::size_t first, std::size_t n, Lanes (&q)[3][3]) {
  for (std::size_t lane = 0; lane < kLanes; ++lane) {
    const double* matrix = matrices + stride * std::min(first + lane, n - 1);
    for (std::size_t k = 0; k < 9; ++k) q[k / 3][k % 3][lane] = matrix[k];
  }
}

template<class Form, class T>
void TurnTensorsAs(const odiC_RowForm& form, const double* matrices, std::size_t stride, const T* rows,
                   std::size_t n, T* out) {
  Lanes q[3][3];
  ReadMatrices(matrices, stride, 0, n, q);
  const double stored = 1 / form.shear;
  const auto work = [&](Lanes(&s)[6], T * result, std::size_t first) __attribute__((always_inline)) {
    if (stride != 0) ReadMatrices(matrices, stride, first, n, q);
    Lanes product[3][3], r[6];
    for (std::size_t k = 0; k < 3; ++k) TimesTensor(s, q[k], product[k]);
    constexpr std::size_t kPairs[6][2] = {{0, 0}, {1, 1}, {2, 2}, {0, 1}, {0, 2}, {1, 2}};
    for (std::size_t k = 0; k < 6; ++k) Dot(q[kPairs[k][0]], product[kPairs[k][1]], r[k]);
    for (std::size_t k = 3; k < 6; ++k) r[k] *= stored;
    for (std::size_t k = 0; k < 6; k += 2) StorePairs(r[k], r[k + 1], result + k);
  };
  ForEachGroup<Form, 6>(form, rows, n, out, work);
}
template<class T>
void TurnTensors(const odiC_RowForm& form, const double* matrices, std::size_t stride, const T* rows,
                 std::size_t n, T* out) {
  if (form.IsSix()) return TurnTensorsAs<Six>(form, matrices, stride, rows, n, out);
  TurnTensorsAs<Any>(form, matrices, stride, rows, n, out);
}
template<class T>
void TurnVectors(const odiC_RowForm& form, const double* matrices, std::size_t stride, const T* rows,
                 std::size_t n, T* out) {
  Lanes q[3][3];
  ReadMatrices(matrices, stride, 0, n, q);
  const auto work = [&](Lanes(&s)[6], T * result, std::size_t first) __attribute__((always_inline)) {
    if (stride != 0) ReadMatrices(matrices, stride, first, n, q);
    const Lanes v[3] = {s[0], s[1], s[2]};
    for (std::size_t k = 0; k < 3; ++k) {
      Lanes turned;
      Dot(q[k], v, turned);
      for (std::size_t lane = 0; lane < kLanes; ++lane) result[3 * lane + k] = static_cast<T>(turned[lane]);
    }
  };
  ForEachGroup<Any, 3>(form, rows, n, out, work);
}
