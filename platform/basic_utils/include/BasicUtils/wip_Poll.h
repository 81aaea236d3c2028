// wip_Poll.h: polls for cancellation during long work
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <algorithm>
#include <cstddef>

/// Counts steps of work. At the first step and after every `between` further ones it asks the thread's
/// channel (wip_WIP) whether the host wants the work to stop.
///
/// Errors     wip_Cancelled when the host wants the work to stop.
/// Cost       a comparison per step; choose `between` for no more than a few milliseconds of work.
class CORE_GEOMETRY_PLATFORM_API wip_Poll {
public:
  explicit wip_Poll(std::size_t between) noexcept : between_(between) {}
  void Advance(std::size_t steps = 1) {
    if (steps < left_) {
      left_ -= steps;
    } else {
      Now();
      left_ = between_;
    }
  }
  static void Now();

private:
  std::size_t between_, left_ = 0;
};

/// Calls work(first, end) for 0 to count in blocks, and polls before each block.
template<class Work> void wip_InBlocks(std::size_t count, std::size_t block, Work work) {
  for (std::size_t first = 0; first < count; first += block) {
    wip_Poll::Now();
    work(first, std::min(first + block, count));
  }
}
