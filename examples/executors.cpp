// Lends the library threads in three ways, and measures the sample with each: the answers are the same to the bit.
#include <BasicUtils/wip_Executor.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/fmt_Format.h>
#include <atomic>
#include <cstdio>
#include <iostream>
#include <memory>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>
#include <thread>

/// Threads of the standard library, started for each call.
class StandardThreads : public wip_Executor {
public:
  unsigned NumThreads() const override { return std::max(1U, std::thread::hardware_concurrency()); }
  void Run(std::size_t count, const std::function<void(std::size_t)>& work) override {
    std::atomic<std::size_t> next = 0;
    const auto takeTurns = [&] {
      for (std::size_t piece = next++; piece < count; piece = next++) work(piece);
    };
    std::vector<std::jthread> threads;
    for (unsigned k = 1; k < NumThreads() && k < count; ++k) threads.emplace_back(takeTurns);
    takeTurns(); // the calling thread takes part
  }
};

/// oneTBB: threads that stay.
class TbbThreads : public wip_Executor {
public:
  unsigned NumThreads() const override {
    return static_cast<unsigned>(tbb::this_task_arena::max_concurrency());
  }
  void Run(std::size_t count, const std::function<void(std::size_t)>& work) override {
    tbb::parallel_for(std::size_t{0}, count, work);
  }
};

#ifdef _OPENMP
#include <omp.h>
class OpenMpThreads : public wip_Executor {
public:
  unsigned NumThreads() const override { return static_cast<unsigned>(omp_get_max_threads()); }
  void Run(std::size_t count, const std::function<void(std::size_t)>& work) override {
#pragma omp parallel for schedule(dynamic)
    for (std::size_t piece = 0; piece < count; ++piece) work(piece);
  }
};
#endif

int main() try {
  const DDB_CoreGeometry library;
  const fmt_Import read = fmt_ReadMesh("bracket.exo");

  std::vector<std::pair<const char*, std::unique_ptr<wip_Executor>>> executors;
  executors.emplace_back("one thread", nullptr);
  executors.emplace_back("std::thread", std::make_unique<StandardThreads>());
  executors.emplace_back("oneTBB", std::make_unique<TbbThreads>());
#ifdef _OPENMP
  executors.emplace_back("OpenMP", std::make_unique<OpenMpThreads>());
#endif
  for (const auto& [name, executor] : executors) {
    const wip_ExecutorScope lent(executor.get()); // for this thread, while it lives
    std::printf("%s: volume %a\n", name, bme_CalculateMeasures(*read.mesh).volume.Total());
  }
} catch (const std::exception& error) {
  std::cerr << error.what() << '\n';
  return 1;
}
