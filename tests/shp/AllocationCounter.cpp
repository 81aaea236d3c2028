// Replaces the global operator new; on its own, so that no inlined caller is compiled beside it.
#include "shp/AllocationCounter.h"

#include <algorithm>
#include <cstdlib>
#include <malloc.h>
#include <new>

namespace {
thread_local long theAllocations = 0, theBytes = 0, theUse = 0, thePeak = 0, theStart = 0;

void* Allocate(std::size_t size) {
  ++theAllocations;
  theBytes += static_cast<long>(size);
  void* memory = std::malloc(size ? size : 1);
  theUse += static_cast<long>(malloc_usable_size(memory));
  thePeak = std::max(thePeak, theUse);
  return memory;
}
void Release(void* memory) noexcept {
  theUse -= static_cast<long>(malloc_usable_size(memory));
  std::free(memory);
}
} // namespace

long NumAllocations() { return theAllocations; }
long NumAllocatedBytes() { return theBytes; }
long PeakBytes() { return thePeak - theStart; }
void ResetPeakBytes() { theStart = thePeak = theUse; }

void* operator new(std::size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { Release(memory); }
void operator delete(void* memory, std::size_t) noexcept { Release(memory); }
