// wip_Executor.h: threads that the host lends to long work
#pragma once

#include <CoreUtils/PlatformExport.h>
#include <algorithm>
#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

/// Runs independent pieces of work at once. The library starts no threads of its own: a host derives from this
/// class, on the threads that it has, and lends an object of it by wip_ExecutorScope. examples/executors.cpp has
/// one each for std::thread, OpenMP and oneTBB.
class CORE_GEOMETRY_PLATFORM_API wip_Executor {
public:
  virtual ~wip_Executor();
  /// How many pieces may run at once.
  virtual unsigned NumThreads() const = 0;
  /// Calls work(piece) once for each piece from 0 to count - 1, in any order and on any threads, and returns when
  /// all calls have returned. The calling thread takes part: only there work can be cancelled. The work throws
  /// nothing.
  virtual void Run(std::size_t count, const std::function<void(std::size_t piece)>& work) = 0;
};

/// Lends an executor to the work that the calling thread asks for while the scope lives; null for none. Scopes
/// may stand in each other.
class CORE_GEOMETRY_PLATFORM_API wip_ExecutorScope {
public:
  explicit wip_ExecutorScope(wip_Executor* executor) noexcept;
  ~wip_ExecutorScope();
  wip_ExecutorScope(const wip_ExecutorScope&) = delete;
  wip_ExecutorScope& operator=(const wip_ExecutorScope&) = delete;

private:
  wip_Executor* before_;
};

/// Threads that are lent to the calling thread; 1 without an executor.
CORE_GEOMETRY_PLATFORM_API unsigned wip_NumThreads() noexcept;

/// Calls work(piece) for each piece, on the executor that is lent to the calling thread, else one after the other.
///
/// The number of pieces must depend on the data alone and each must write to places of its own: then results are
/// the same for any number of threads. Pieces must not touch per-thread objects (such as the shape dictionary),
/// caches or shared counts: what they need is looked up before. Long ones poll (wip_Poll): threads other than the
/// calling one have channels of their own.
///
/// Errors     the exception of the first piece, in their order, that threw one; wip_Cancelled when the host wants
///            the work to stop, for which the calling thread asks between pieces.
CORE_GEOMETRY_PLATFORM_API void wip_RunPieces(std::size_t count,
                                              const std::function<void(std::size_t)>& work);

/// The same for short work that throws nothing and is not stopped halfway.
CORE_GEOMETRY_PLATFORM_API void wip_RunAllPieces(std::size_t count,
                                                 const std::function<void(std::size_t)>& work);

/// Makes a part for each piece as wip_RunPieces does and hands them to merge(part) in the order of the pieces.
/// At most some parts a thread exist at once.
template<class Make, class Merge>
void wip_MergePieces(std::size_t count, const Make& make, const Merge& merge) {
  constexpr std::size_t kPartsPerThread = 16;
  const std::size_t wave = wip_NumThreads() > 1 ? kPartsPerThread * wip_NumThreads() : 1;
  using Part = decltype(make(std::size_t{0}));
  for (std::size_t first = 0; first < count; first += wave) {
    std::vector<std::optional<Part>> parts(std::min(wave, count - first));
    wip_RunPieces(parts.size(), [&](std::size_t k) { parts[k].emplace(make(first + k)); });
    for (std::optional<Part>& part : parts) merge(std::move(*part));
  }
}
