#include "py_Work.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <atomic>

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

void py_BindWork(nb::module_& module) {
  module.def(
      "add_listener", [](int change) { numListeners += change; }, nb::arg("change"));
}
