// Replaces the global operator new; on its own, so that no inlined caller is compiled beside it.
#include "FailingAllocator.h"

#include <cstdlib>
#include <malloc.h>
#include <new>
#include <sqlite3.h>

namespace {
long theCountdown = 0; // 0: no allocation fails
bool theFault = false;
long theBlocks = 0;

void* Allocate(std::size_t size) {
  if (theCountdown > 0 && --theCountdown == 0) {
    theFault = true;
    return nullptr;
  }
  void* const memory = std::malloc(size ? size : 1);
  if (memory) ++theBlocks;
  return memory;
}

void Free(void* memory) {
  if (memory) --theBlocks;
  std::free(memory);
}
} // namespace

FailingAllocation::FailingAllocation(long nth) {
  theFault = false;
  theCountdown = nth;
}
FailingAllocation::~FailingAllocation() { theCountdown = 0; }
bool FailingAllocation::Happened() const { return theFault; }

long BlocksInUse() { return theBlocks; }

void WatchSqlite() {
  static const sqlite3_mem_methods methods = {
      [](int size) { return Allocate(static_cast<std::size_t>(size)); },
      Free,
      [](void* memory, int size) -> void* {
        if (theCountdown > 0 && --theCountdown == 0) {
          theFault = true;
          return nullptr;
        }
        return std::realloc(memory, static_cast<std::size_t>(size));
      },
      [](void* memory) { return static_cast<int>(malloc_usable_size(memory)); },
      [](int size) { return (size + 7) & ~7; },
      [](void*) { return SQLITE_OK; },
      [](void*) {},
      nullptr};
  sqlite3_shutdown();
  sqlite3_config(SQLITE_CONFIG_MALLOC, &methods);
  sqlite3_initialize();
}

void* operator new(std::size_t size) {
  if (void* memory = Allocate(size)) return memory;
  throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  if (theCountdown > 0 && --theCountdown == 0) {
    theFault = true;
    throw std::bad_alloc();
  }
  const auto to = static_cast<std::size_t>(alignment);
  void* const memory = std::aligned_alloc(to, (size + to - 1) / to * to);
  if (!memory) throw std::bad_alloc();
  ++theBlocks;
  return memory;
}
void operator delete(void* memory) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t) noexcept { Free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { Free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { Free(memory); }
