#include <CoreGeometry/gsl_HilbertPlace.h>

std::uint64_t gsl_HilbertPlace(std::array<std::uint32_t, 3> x) noexcept {
  constexpr std::uint32_t kTop = 1U << (gsl_kHilbertBits - 1);
  for (std::uint32_t q = kTop; q > 1; q >>= 1)
    for (std::uint32_t& own : x) {
      if ((own & q) != 0) {
        x[0] ^= q - 1;
      } else {
        const std::uint32_t t = (x[0] ^ own) & (q - 1);
        x[0] ^= t;
        own ^= t;
      }
    }
  x[1] ^= x[0];
  x[2] ^= x[1];
  std::uint32_t t = 0;
  for (std::uint32_t q = kTop; q > 1; q >>= 1)
    if ((x[2] & q) != 0) t ^= q - 1;
  std::uint64_t place = 0;
  for (std::uint32_t bit = kTop; bit > 0; bit >>= 1)
    for (const std::uint32_t own : x) place = place << 1 | (((own ^ t) & bit) != 0 ? 1U : 0U);
  return place;
}
