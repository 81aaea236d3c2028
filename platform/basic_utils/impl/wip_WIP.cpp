#include <BasicUtils/wip_WIP.h>

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_Poll.h>
#include <iostream>

wip_WIPBase::~wip_WIPBase() = default;
void wip_WIPBase::Error(const cow_String&) {}
void wip_WIPBase::Status(const cow_String&) {}
void wip_WIPBase::Progress(double) {}
bool wip_WIPBase::IsCancelled() { return false; }

void wip_Poll::Now() { thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled(); }

wip_Cancelled::wip_Cancelled() : nex_Exception("cancelled on request") {}
wip_Cancelled::~wip_Cancelled() = default;

void wip_WIP::Error(const cow_String& message) {
  if (sink_)
    sink_->Error(message);
  else
    std::cerr << message << '\n';
}

void wip_WIP::Status(const cow_String& message) {
  if (sink_) sink_->Status(message);
}

void wip_WIP::Progress(double fraction) {
  if (sink_) sink_->Progress(fraction);
}

bool wip_WIP::IsCancelled() { return sink_ && sink_->IsCancelled(); }

void wip_WIP::CheckCancelled() {
  if (IsCancelled()) throw wip_Cancelled();
}
