// py_Work.h: work of the library on behalf of Python: without the GIL, with progress, messages and cancelling
#pragma once

#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_WIP.h>
#include <chrono>
#include <exception>
#include <memory>
#include <nanobind/nanobind.h>
#include <optional>
#include <type_traits>
#include <vector>

/// The thread's sink during one call.
///
/// Polls for signals and tells progress at most every 50 ms, over all calls of the thread. Errors that the library
/// reports without throwing are collected.
class py_Sink final : public wip_WIPBase {
public:
  py_Sink();           ///< installs itself; the GIL is held
  ~py_Sink() override; ///< installs what was there before
  py_Sink(const py_Sink&) = delete;
  py_Sink& operator=(const py_Sink&) = delete;

  void Error(const cow_String& message) override;
  void Status(const cow_String& message) override;
  void Progress(double fraction) override;
  bool IsCancelled() override;

  /// The work was cancelled: throws what Python wants to raise, if that was the reason.
  void RethrowPython();
  /// Throws what the library reported, as nex_TextException.
  void ThrowErrors() const;

private:
  template<class Call> bool Ask(Call call) noexcept;

  py_Sink* previous_;
  std::exception_ptr raised_;
  std::vector<cow_String> errors_;
  cow_String status_;
  double fraction_ = 0;
};

/// Threads that the package lends to the library; null in a forked child, and when one thread is asked for.
std::shared_ptr<wip_Executor> py_Threads();

/// Runs the call without the GIL. The call must not touch Python objects.
///
/// Errors     as the call; nex_TextException with what it reported; what a signal or a callback raised.
template<class Call> auto py_Run(Call&& call) {
  using Result = std::invoke_result_t<Call>;
  py_Sink sink;
  const std::shared_ptr<wip_Executor> threads = py_Threads();
  const wip_ExecutorScope lent(threads.get());
  try {
    if constexpr (std::is_void_v<Result>) {
      {
        const nanobind::gil_scoped_release released;
        call();
      }
      sink.ThrowErrors();
    } else {
      std::optional<Result> result;
      {
        const nanobind::gil_scoped_release released;
        result.emplace(call());
      }
      sink.ThrowErrors();
      return std::move(*result);
    }
  } catch (const wip_Cancelled&) {
    sink.RethrowPython();
    throw;
  }
}

void py_BindWork(nanobind::module_& module);
