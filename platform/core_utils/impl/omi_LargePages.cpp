#include <CoreUtils/omi_LargePages.h>

#include <memory>
#ifdef __linux__
#include <sys/mman.h>
#endif

void omi_UseLargePages([[maybe_unused]] void* block, [[maybe_unused]] std::size_t bytes) noexcept {
#ifdef MADV_HUGEPAGE
  constexpr std::size_t kFrom = std::size_t{4} << 20, kLarge = std::size_t{2} << 20, kPage = 4096;
  if (bytes < kFrom || !std::align(kPage, kLarge, block, bytes)) return;
  ::madvise(block, bytes / kPage * kPage, MADV_HUGEPAGE); // a wish: refusing it changes no result
#endif
}
