// wip_WIP.h: work in progress: messages, progress and cancelling, per thread
#pragma once

#include <BasicUtils/nex_Exception.h>

/// Where a host receives the messages and the progress of long work. Every operation has a harmless default.
class CORE_GEOMETRY_PLATFORM_API wip_WIPBase {
public:
  virtual ~wip_WIPBase();
  virtual void Error(const cow_String& message);
  /// Describes what the work does now: a line that replaces the previous one.
  virtual void Status(const cow_String& message);
  /// Fraction of the current work that is done, 0 to 1; it never decreases within one piece of work.
  virtual void Progress(double fraction);
  /// True asks the current work to stop; it then throws wip_Cancelled and leaves everything as it was.
  virtual bool IsCancelled();
};

/// Thrown by work that was asked to stop.
class CORE_GEOMETRY_PLATFORM_API wip_Cancelled : public nex_Exception {
public:
  wip_Cancelled();
  ~wip_Cancelled() override;
};

/// The calling thread's channel (thr_ThreadSingleton<wip_WIP>::Instance()): forwards to the host's sink.
/// Without a sink errors go to std::cerr; status texts and progress are not shown.
class CORE_GEOMETRY_PLATFORM_API wip_WIP : public wip_WIPBase {
public:
  /// The sink must outlive its use; null restores the default.
  void SetSink(wip_WIPBase* sink) noexcept { sink_ = sink; }
  bool HasSink() const noexcept { return sink_ != nullptr; }

  void Error(const cow_String& message) override;
  void Status(const cow_String& message) override;
  void Progress(double fraction) override;
  bool IsCancelled() override;
  /// Throws wip_Cancelled when the host asked to stop.
  void CheckCancelled();

private:
  wip_WIPBase* sink_ = nullptr;
};
