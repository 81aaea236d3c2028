// Replaces the global operator new; on its own, so that no inlined caller is compiled beside it.
#include "shp/AllocationCounter.h"

#include <cstdlib>
#include <new>

namespace {
thread_local long theAllocations = 0;
}

long NumAllocations() { return theAllocations; }

void* operator new(std::size_t size) {
  ++theAllocations;
  if (void* memory = std::malloc(size ? size : 1)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  ++theAllocations;
  return std::malloc(size ? size : 1);
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
