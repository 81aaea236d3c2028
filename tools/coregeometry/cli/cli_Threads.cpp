#include "cli_Threads.h"

#include <tbb/info.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

namespace {
class Executor final : public wip_Executor {
public:
  explicit Executor(const int& numThreads) : numThreads_(numThreads) {}
  unsigned NumThreads() const override { return static_cast<unsigned>(numThreads_); }
  void Run(std::size_t count, const std::function<void(std::size_t)>& work) override {
    if (!arena_.is_active()) arena_.initialize(numThreads_);
    arena_.execute([&] { tbb::parallel_for(std::size_t{0}, count, work, tbb::simple_partitioner()); });
  }

private:
  const int& numThreads_;
  tbb::task_arena arena_;
};
} // namespace

int cli_NumCores() { return tbb::info::default_concurrency(); }

std::unique_ptr<wip_Executor> cli_MakeExecutor(const int& numThreads) {
  return std::make_unique<Executor>(numThreads);
}
