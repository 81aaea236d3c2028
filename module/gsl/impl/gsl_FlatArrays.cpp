#include "gsl_FlatArrays.h"

#ifdef __x86_64__
#include <immintrin.h>
#ifndef __clang__
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized" // g++ 12 finds it in its own intrinsics
#endif
#endif

namespace {
// The plain loops. They are compiled once for the oldest processor and once more inside each Avx2 function.

template<class T>
[[gnu::always_inline]] inline void MoveTriples(const double (&m)[4][4], T* p, std::size_t n) {
  const double m00 = m[0][0], m01 = m[0][1], m02 = m[0][2], m03 = m[0][3];
  const double m10 = m[1][0], m11 = m[1][1], m12 = m[1][2], m13 = m[1][3];
  const double m20 = m[2][0], m21 = m[2][1], m22 = m[2][2], m23 = m[2][3];
  for (std::size_t i = 0; i < n; ++i) {
    const double x = p[3 * i], y = p[3 * i + 1], z = p[3 * i + 2];
    p[3 * i] = static_cast<T>(m00 * x + m01 * y + m02 * z + m03);
    p[3 * i + 1] = static_cast<T>(m10 * x + m11 * y + m12 * z + m13);
    p[3 * i + 2] = static_cast<T>(m20 * x + m21 * y + m22 * z + m23);
  }
}

// Eight points at a time, each of their numbers with a range of its own: whole vectors, no shuffling.
template<class T>
[[gnu::always_inline]] inline void WidenRange(const T* p, std::size_t n, T (&min)[3], T (&max)[3]) {
  constexpr std::size_t kLanes = 24;
  T low[kLanes], high[kLanes];
  for (std::size_t k = 0; k < kLanes; ++k) {
    low[k] = min[k % 3];
    high[k] = max[k % 3];
  }
  const auto widen = [&](std::size_t k, T value) __attribute__((always_inline)) {
    low[k] = value < low[k] ? value : low[k];
    high[k] = value > high[k] ? value : high[k];
  };
  std::size_t i = 0;
  for (; i + kLanes <= 3 * n; i += kLanes)
    for (std::size_t k = 0; k < kLanes; ++k) widen(k, p[i + k]);
  for (; i < 3 * n; ++i) widen(i % 3, p[i]);
  for (std::size_t k = 0; k < kLanes; ++k) {
    if (low[k] < min[k % 3]) min[k % 3] = low[k];
    if (high[k] > max[k % 3]) max[k % 3] = high[k];
  }
}

template<class T>
[[gnu::always_inline]] inline void PlaneDistances(const double (&point)[3], const double (&normal)[3],
                                                  double length, const T* p, std::size_t n, double* out) {
  const double px = point[0], py = point[1], pz = point[2];
  const double nx = normal[0], ny = normal[1], nz = normal[2];
  for (std::size_t i = 0; i < n; ++i)
    out[i] = ((p[3 * i] - px) * nx + (p[3 * i + 1] - py) * ny + (p[3 * i + 2] - pz) * nz) / length;
}

#ifdef __x86_64__
template<class T> [[gnu::target("avx2")]] void MoveTriplesAvx2(const double (&m)[4][4], T* p, std::size_t n) {
  MoveTriples(m, p, n);
}

// Four points at a time. Blending the numbers from p, p + 1 and p + 2 onwards gives the x, y and z of the
// points 0, 3, 2, 1 without shuffling; the loads reach two numbers into the next point, so one is left over.
template<> [[gnu::target("avx2")]] void MoveTriplesAvx2(const double (&m)[4][4], float* p, std::size_t n) {
  __m256d c[3][4];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 4; ++j) c[i][j] = _mm256_set1_pd(m[i][j]);
  for (; n > 4; n -= 4, p += 12) {
    __m256d v[3];
    for (int j = 0; j < 3; ++j) {
      const __m128 a = _mm_loadu_ps(p + j), b = _mm_loadu_ps(p + j + 4), d = _mm_loadu_ps(p + j + 8);
      v[j] = _mm256_cvtps_pd(_mm_blend_ps(_mm_blend_ps(a, b, 0b0100), d, 0b0010));
    }
    __m128 r[3];
    for (int i = 0; i < 3; ++i) {
      const __m256d xy = _mm256_add_pd(_mm256_mul_pd(c[i][0], v[0]), _mm256_mul_pd(c[i][1], v[1]));
      r[i] = _mm256_cvtpd_ps(_mm256_add_pd(_mm256_add_pd(xy, _mm256_mul_pd(c[i][2], v[2])), c[i][3]));
    }
    const __m128 x = r[0];                                          // of the points 0 3 2 1
    const __m128 y = _mm_permute_ps(r[1], _MM_SHUFFLE(2, 1, 0, 3)); // of the points 1 0 3 2
    const __m128 z = _mm_permute_ps(r[2], _MM_SHUFFLE(1, 0, 3, 2)); // of the points 2 1 0 3
    _mm_storeu_ps(p, _mm_blend_ps(_mm_blend_ps(x, y, 0b0010), z, 0b0100));
    _mm_storeu_ps(p + 4, _mm_blend_ps(_mm_blend_ps(y, z, 0b0010), x, 0b0100));
    _mm_storeu_ps(p + 8, _mm_blend_ps(_mm_blend_ps(z, x, 0b0010), y, 0b0100));
  }
  MoveTriples(m, p, n);
}

// Eight points at a time, sorted by coordinate with two-source permutations.
[[gnu::target("avx512f,avx512dq")]] void MoveTriplesAvx512(const double (&m)[4][4], float* p, std::size_t n) {
  __m512d c[3][4];
  for (int i = 0; i < 3; ++i)
    for (int j = 0; j < 4; ++j) c[i][j] = _mm512_set1_pd(m[i][j]);
  // numbers 0 to 15 come from the first source, 16 to 31 from the second
  const __m512i first = _mm512_setr_epi32(0, 3, 6, 9, 12, 15, 18, 21, 0, 0, 0, 0, 0, 0, 0, 0);
  const __m512i low = _mm512_setr_epi32(0, 8, 16, 1, 9, 17, 2, 10, 18, 3, 11, 19, 4, 12, 20, 5);
  const __m512i high = _mm512_setr_epi32(13, 21, 6, 14, 22, 7, 15, 23, 0, 0, 0, 0, 0, 0, 0, 0);
  __m512i pick[3];
  for (int j = 0; j < 3; ++j) pick[j] = _mm512_add_epi32(first, _mm512_set1_epi32(j));
  for (; n >= 8; n -= 8, p += 24) {
    const __m512 a = _mm512_loadu_ps(p), b = _mm512_castps256_ps512(_mm256_loadu_ps(p + 16));
    __m512d v[3];
    for (int j = 0; j < 3; ++j)
      v[j] = _mm512_cvtps_pd(_mm512_castps512_ps256(_mm512_permutex2var_ps(a, pick[j], b)));
    __m256 r[3];
    for (int i = 0; i < 3; ++i) {
      const __m512d xy = _mm512_add_pd(_mm512_mul_pd(c[i][0], v[0]), _mm512_mul_pd(c[i][1], v[1]));
      r[i] = _mm512_cvtpd_ps(_mm512_add_pd(_mm512_add_pd(xy, _mm512_mul_pd(c[i][2], v[2])), c[i][3]));
    }
    const __m512 xy = _mm512_insertf32x8(_mm512_castps256_ps512(r[0]), r[1], 1);
    const __m512 z = _mm512_castps256_ps512(r[2]);
    _mm512_storeu_ps(p, _mm512_permutex2var_ps(xy, low, z));
    _mm256_storeu_ps(p + 16, _mm512_castps512_ps256(_mm512_permutex2var_ps(xy, high, z)));
  }
  MoveTriples(m, p, n);
}

template<class T>
[[gnu::target("avx2")]] void WidenRangeAvx2(const T* p, std::size_t n, T (&min)[3], T (&max)[3]) {
  WidenRange(p, n, min, max);
}

template<class T>
[[gnu::target("avx2")]] void PlaneDistancesAvx2(const double (&point)[3], const double (&normal)[3],
                                                double length, const T* p, std::size_t n, double* out) {
  PlaneDistances(point, normal, length, p, n, out);
}
#endif
} // namespace

gsl_Body gsl_BestBody() noexcept {
#ifdef __x86_64__
  if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq")) return gsl_Body::Avx512;
  if (__builtin_cpu_supports("avx2")) return gsl_Body::Avx2;
#endif
  return gsl_Body::Plain;
}

template<class T>
void gsl_MoveTriples(gsl_Body body, const double (&m)[4][4], T* xyz, std::size_t n) noexcept {
#ifdef __x86_64__
  if constexpr (sizeof(T) == sizeof(float))
    if (body == gsl_Body::Avx512) return MoveTriplesAvx512(m, xyz, n);
  if (body != gsl_Body::Plain) return MoveTriplesAvx2(m, xyz, n);
#endif
  MoveTriples(m, xyz, n);
}

template<class T>
void gsl_WidenRange(gsl_Body body, const T* xyz, std::size_t n, T (&min)[3], T (&max)[3]) noexcept {
#ifdef __x86_64__
  if (body != gsl_Body::Plain) return WidenRangeAvx2(xyz, n, min, max);
#endif
  WidenRange(xyz, n, min, max);
}

template<class T>
void gsl_PlaneDistances(gsl_Body body, const double (&point)[3], const double (&normal)[3], double length,
                        const T* xyz, std::size_t n, double* distances) noexcept {
#ifdef __x86_64__
  if (body != gsl_Body::Plain) return PlaneDistancesAvx2(point, normal, length, xyz, n, distances);
#endif
  PlaneDistances(point, normal, length, xyz, n, distances);
}

template void gsl_MoveTriples(gsl_Body, const double (&)[4][4], float*, std::size_t) noexcept;
template void gsl_MoveTriples(gsl_Body, const double (&)[4][4], double*, std::size_t) noexcept;
template void gsl_WidenRange(gsl_Body, const float*, std::size_t, float (&)[3], float (&)[3]) noexcept;
template void gsl_WidenRange(gsl_Body, const double*, std::size_t, double (&)[3], double (&)[3]) noexcept;
template void gsl_PlaneDistances(gsl_Body, const double (&)[3], const double (&)[3], double, const float*,
                                 std::size_t, double*) noexcept;
template void gsl_PlaneDistances(gsl_Body, const double (&)[3], const double (&)[3], double, const double*,
                                 std::size_t, double*) noexcept;
