// omi_LargePages.h: memory in large pages
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <cstddef>
#include <memory>
#include <vector>

/// Asks the system for large pages for a block of 4 MiB or more, where it has them on request. The first touch then takes a
/// fraction of the page faults, and random access fewer misses of the address cache.
CORE_GEOMETRY_PLATFORM_API void omi_UseLargePages(void* block, std::size_t bytes) noexcept;

/// Allocator that asks for large pages.
template<class T> struct omi_LargePageAllocator {
  using value_type = T;
  omi_LargePageAllocator() = default;
  template<class Other> omi_LargePageAllocator(const omi_LargePageAllocator<Other>&) noexcept {}
  T* allocate(std::size_t count) {
    T* const block = std::allocator<T>().allocate(count);
    omi_UseLargePages(block, count * sizeof(T));
    return block;
  }
  void deallocate(T* block, std::size_t count) noexcept { std::allocator<T>().deallocate(block, count); }
  friend bool operator==(const omi_LargePageAllocator&, const omi_LargePageAllocator&) noexcept {
    return true;
  }
};

/// For tables that are large and read at random, and for what is filled once and kept.
template<class T> using omi_LargeVector = std::vector<T, omi_LargePageAllocator<T>>;
