#include "bme_FaceBlock.h"

#if defined(__x86_64__)
#include <immintrin.h>
#define BME_HAS_AVX2
#endif

namespace {
bool AddElement(const bme_SolidClass& solids, unsigned element, unsigned numNodes, bme_FaceBlock& block,
                std::vector<unsigned>& collapsed) {
  const int* row = solids.Row(element);
  for (const int corner : solids.elementCorners)
    if (static_cast<unsigned>(row[corner]) >= numNodes) return false;
  for (unsigned face = 0; face < solids.numFaces; ++face) {
    block.words[block.count] = bme_FaceWord(element, face);
    if (solids.Key(row, face, block.keys[block.count]) < 3)
      collapsed.push_back(block.words[block.count]);
    else
      ++block.count;
  }
  return true;
}

#ifdef BME_HAS_AVX2
static_assert(bme_kMaxWordFaces == 8 && bme_FaceWord(1, 3) == (3U << 26 | 1));

[[gnu::target("avx2")]] inline __m256i Load(const void* from) {
  return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}
[[gnu::target("avx2")]] inline void Store(void* to, __m256i lanes) {
  _mm256_storeu_si256(static_cast<__m256i*>(to), lanes);
}
[[gnu::target("avx2")]] inline void Order(__m256i& a, __m256i& b) {
  const __m256i low = _mm256_min_epu32(a, b);
  b = _mm256_max_epu32(a, b);
  a = low;
}

/// All faces of an element side by side: one face a lane.
[[gnu::target("avx2")]] unsigned FillAvx2(const bme_SolidClass& solids, std::span<const unsigned> elements,
                                          unsigned numNodes, bme_FaceBlock& block,
                                          std::vector<unsigned>& collapsed) {
  const __m256i lanes = _mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7);
  const __m256i inRow = _mm256_cmpgt_epi32(_mm256_set1_epi32(static_cast<int>(solids.columns)), lanes);
  const __m256i areCorners =
      _mm256_cmpgt_epi32(_mm256_set1_epi32(static_cast<int>(solids.elementCorners.size())), lanes);
  const __m256i isTriangle = Load(solids.isTriangle.data());
  const __m256i last = _mm256_set1_epi32(static_cast<int>(numNodes - 1));
  const __m256i faceBits = _mm256_slli_epi32(lanes, 26);
  const __m256i isFace = _mm256_cmpgt_epi32(_mm256_set1_epi32(static_cast<int>(solids.numFaces)), lanes);
  __m256i picks[4];
  for (std::size_t k = 0; k < 4; ++k) picks[k] = Load(solids.picks[k].data());
  for (const unsigned element : elements) {
    const __m256i row = _mm256_maskload_epi32(solids.Row(element), inRow);
    const __m256i isOutside =
        _mm256_andnot_si256(_mm256_cmpeq_epi32(_mm256_max_epu32(row, last), last), areCorners);
    __m256i a = _mm256_permutevar8x32_epi32(row, picks[0]), b = _mm256_permutevar8x32_epi32(row, picks[1]),
            c = _mm256_permutevar8x32_epi32(row, picks[2]);
    __m256i d = _mm256_or_si256(_mm256_permutevar8x32_epi32(row, picks[3]), isTriangle);
    Order(a, b);
    Order(c, d);
    Order(a, c);
    Order(b, d);
    Order(b, c);
    const __m256i isTwice = _mm256_or_si256(
        _mm256_or_si256(_mm256_cmpeq_epi32(a, b), _mm256_cmpeq_epi32(b, c)), _mm256_cmpeq_epi32(c, d));
    if (!_mm256_testz_si256(isOutside, isOutside) || !_mm256_testz_si256(isTwice, isFace)) {
      if (!AddElement(solids, element, numNodes, block, collapsed)) return element;
      continue;
    }
    const __m256i ab04 = _mm256_unpacklo_epi32(a, b), cd04 = _mm256_unpacklo_epi32(c, d);
    const __m256i ab26 = _mm256_unpackhi_epi32(a, b), cd26 = _mm256_unpackhi_epi32(c, d);
    const __m256i keys04 = _mm256_unpacklo_epi64(ab04, cd04), keys15 = _mm256_unpackhi_epi64(ab04, cd04);
    const __m256i keys26 = _mm256_unpacklo_epi64(ab26, cd26), keys37 = _mm256_unpackhi_epi64(ab26, cd26);
    // room for eight faces an element; what is beyond the last is overwritten
    bme_FaceKey* keys = block.keys.data() + block.count;
    Store(keys, _mm256_permute2x128_si256(keys04, keys15, 0x20));
    Store(keys + 2, _mm256_permute2x128_si256(keys26, keys37, 0x20));
    Store(keys + 4, _mm256_permute2x128_si256(keys04, keys15, 0x31));
    Store(keys + 6, _mm256_permute2x128_si256(keys26, keys37, 0x31));
    Store(block.words.data() + block.count,
          _mm256_or_si256(_mm256_set1_epi32(static_cast<int>(element)), faceBits));
    block.count += solids.numFaces;
  }
  return bme_kNone;
}
#endif
} // namespace

unsigned bme_FaceBlock::Fill(const bme_SolidClass& solids, std::span<const unsigned> elements,
                             unsigned numNodes, std::vector<unsigned>& collapsed) {
  count = 0;
#ifdef BME_HAS_AVX2
  static const bool hasAvx2 = __builtin_cpu_supports("avx2");
  if (hasAvx2 && numNodes > 0) return FillAvx2(solids, elements, numNodes, *this, collapsed);
#endif
  for (const unsigned element : elements)
    if (!AddElement(solids, element, numNodes, *this, collapsed)) return element;
  return bme_kNone;
}
