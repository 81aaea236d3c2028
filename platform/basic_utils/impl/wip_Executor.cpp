#include <BasicUtils/wip_Executor.h>

#include <BasicUtils/wip_Poll.h>
#include <BasicUtils/wip_WIP.h>
#include <atomic>
#include <exception>
#include <mutex>
#include <thread>

namespace {
thread_local wip_Executor* lent = nullptr;

/// What came of the pieces so far.
class Outcome {
public:
  explicit Outcome(std::size_t count) : end_(count) {}

  void Run(std::size_t piece, const std::function<void(std::size_t)>& work) {
    if (isCancelled_ || piece > end_) return;
    try {
      if (std::this_thread::get_id() == caller_) wip_Poll::Now();
      work(piece);
    } catch (const wip_Cancelled&) {
      isCancelled_ = true;
    } catch (...) {
      const std::lock_guard lock(mutex_);
      if (piece > end_) return;
      end_ = piece;
      error_ = std::current_exception();
    }
  }
  void Throw() const {
    if (isCancelled_) throw wip_Cancelled();
    if (error_) std::rethrow_exception(error_);
  }

private:
  const std::thread::id caller_ = std::this_thread::get_id();
  std::atomic<bool> isCancelled_ = false;
  std::atomic<std::size_t> end_; ///< pieces behind the first one that failed are left out
  std::exception_ptr error_;
  std::mutex mutex_;
};
} // namespace

wip_Executor::~wip_Executor() = default;

wip_ExecutorScope::wip_ExecutorScope(wip_Executor* executor) noexcept
    : before_(std::exchange(lent, executor)) {}
wip_ExecutorScope::~wip_ExecutorScope() { lent = before_; }

unsigned wip_NumThreads() noexcept { return lent ? std::max(1U, lent->NumThreads()) : 1; }

void wip_RunPieces(std::size_t count, const std::function<void(std::size_t)>& work) {
  if (wip_NumThreads() < 2 || count < 2) {
    for (std::size_t piece = 0; piece < count; ++piece) {
      wip_Poll::Now();
      work(piece);
    }
    return;
  }
  Outcome outcome(count);
  wip_RunAllPieces(count, [&](std::size_t piece) { outcome.Run(piece, work); });
  outcome.Throw();
}

void wip_RunAllPieces(std::size_t count, const std::function<void(std::size_t)>& work) {
  if (wip_NumThreads() < 2 || count < 2) {
    for (std::size_t piece = 0; piece < count; ++piece) work(piece);
    return;
  }
  wip_Executor& executor = *lent;
  const wip_ExecutorScope none(nullptr); // a piece is not divided again
  executor.Run(count, work);
}
