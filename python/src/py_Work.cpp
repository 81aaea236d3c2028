#include "py_Work.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <atomic>
#include <cli_Threads.h>
#include <mutex>
#include <unistd.h>

namespace nb = nanobind;

namespace {
using Clock = std::chrono::steady_clock;
thread_local Clock::time_point lastPoll{};
std::atomic<int> numListeners = 0; ///< callbacks of cg.progress that are in use in any thread

thread_local py_Sink* current = nullptr; ///< a callback may call the library again

void Install(py_Sink* sink) {
  current = sink;
  thr_ThreadSingleton<wip_WIP>::Instance().SetSink(sink);
}
} // namespace

py_Sink::py_Sink() : previous_(current) { Install(this); }
py_Sink::~py_Sink() { Install(previous_); }

void py_Sink::Error(const cow_String& message) { errors_.push_back(message); }

/// Calls with the GIL; what Python raises there asks the work to stop.
template<class Call> bool py_Sink::Ask(Call call) noexcept {
  const nb::gil_scoped_acquire held;
  try {
    return call();
  } catch (nb::python_error&) {
    raised_ = std::current_exception();
    return true;
  }
}

void py_Sink::Status(const cow_String& message) {
  status_ = message;
  if (raised_) return;
  Ask([&] {
    nb::module_::import_("coregeometry._work").attr("status")(nb::bytes(message.data(), message.size()));
    return false;
  });
}

void py_Sink::Progress(double fraction) { fraction_ = std::max(fraction_, fraction); }

bool py_Sink::IsCancelled() {
  if (raised_) return true;
  const Clock::time_point now = Clock::now();
  if (now - lastPoll < std::chrono::milliseconds(50)) return false;
  lastPoll = now;
  return Ask([&] {
    if (PyErr_CheckSignals() != 0) throw nb::python_error();
    return numListeners > 0
           && nb::cast<bool>(nb::module_::import_("coregeometry._work")
                                 .attr("poll")(fraction_, nb::bytes(status_.data(), status_.size())));
  });
}

void py_Sink::RethrowPython() {
  if (raised_) std::rethrow_exception(raised_);
}

void py_Sink::ThrowErrors() const {
  if (raised_) std::rethrow_exception(raised_);
  if (errors_.empty()) return;
  cow_String all;
  for (const cow_String& error : errors_) {
    if (!all.empty()) all += "; ";
    all += error;
  }
  throw nex_TextException(all);
}

namespace {
/// The executor of the process that made it: threads do not live on in a forked child.
struct Threads {
  std::mutex mutex;
  int wanted = cli_NumCores();
  pid_t process = 0;
  std::shared_ptr<wip_Executor> executor;
};
Threads& OwnThreads() {
  static auto* const threads = new Threads; // may be used while the process ends
  return *threads;
}

void SetThreads(int count) {
  if (count < 0) throw std::invalid_argument("set_threads: " + std::to_string(count) + " threads");
  Threads& own = OwnThreads();
  const std::lock_guard lock(own.mutex);
  own.wanted = count == 0 ? cli_NumCores() : count;
  own.executor.reset();
}
} // namespace

std::shared_ptr<wip_Executor> py_Threads() {
  Threads& own = OwnThreads();
  const std::lock_guard lock(own.mutex);
  if (own.wanted <= 1 || (own.executor && own.process != ::getpid())) return nullptr;
  if (!own.executor) {
    own.process = ::getpid();
    const auto count = std::make_shared<int>(own.wanted);
    own.executor = std::shared_ptr<wip_Executor>(cli_MakeExecutor(*count).release(),
                                                 [count](wip_Executor* executor) { delete executor; });
  }
  return own.executor;
}

void py_BindWork(nb::module_& module) {
  module.def(
      "set_threads", &SetThreads, nb::arg("count") = 0,
      "Threads that long work may use; 0 for all cores that the process may use. A forked child uses one.");
  module.def("num_threads", [] {
    const std::shared_ptr<wip_Executor> threads = py_Threads();
    return threads ? threads->NumThreads() : 1U;
  });
  module.def(
      "add_listener", [](int change) { numListeners += change; }, nb::arg("change"));
}
