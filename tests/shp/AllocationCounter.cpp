// Replaces the global operator new; on its own, so that no inlined caller is compiled beside it.
#include "shp/AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace {
thread_local long theAllocations = 0, theBytes = 0;

void* Allocate(std::size_t size) {
  ++theAllocations;
  theBytes += static_cast<long>(size);
  return std::malloc(size ? size : 1);
}
} // namespace

long NumAllocations() { return theAllocations; }
long NumAllocatedBytes() { return theBytes; }

void* operator new(std::size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
