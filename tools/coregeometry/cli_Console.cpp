#include "cli_Console.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/uti_OutputFile.h>
#include <csignal>
#include <iostream>
#include <unistd.h>

namespace {
volatile std::sig_atomic_t theRequest = 0;  ///< the first signal that asked the work to stop
volatile std::sig_atomic_t theConsoles = 0; ///< somebody looks at the request

struct Handled {
  int signal;
  bool isRequest; ///< the work may end by itself first
};
constexpr Handled kHandled[] = {{SIGINT, true},   {SIGTERM, true},  {SIGHUP, true},  {SIGQUIT, false},
                                {SIGPIPE, false}, {SIGXCPU, false}, {SIGXFSZ, false}};

extern "C" void cli_End(int signal) {
  uti_OutputFile::RemoveUnfinished();
  std::signal(signal, SIG_DFL);
  raise(signal);
}

extern "C" void cli_AskToStop(int signal) {
  if (theConsoles == 0 || theRequest != 0) return cli_End(signal);
  theRequest = signal;
}
} // namespace

void cli_HandleSignals() {
  for (const Handled& one : kHandled) {
    struct sigaction action = {};
    if (sigaction(one.signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) continue; // nohup
    action.sa_handler = one.isRequest ? cli_AskToStop : cli_End;
    action.sa_flags = SA_RESTART;
    sigaction(one.signal, &action, nullptr);
  }
}

int cli_StopSignal() { return theRequest; }

cli_Console::cli_Console() : isTerminal_(isatty(STDERR_FILENO) != 0) {
  thr_ThreadSingleton<wip_WIP>::Instance().SetSink(this);
  theConsoles = theConsoles + 1;
}

cli_Console::~cli_Console() {
  End();
  theConsoles = theConsoles - 1;
  thr_ThreadSingleton<wip_WIP>::Instance().SetSink(nullptr);
}

void cli_Console::Begin(const cow_String& work) {
  End();
  work_ = work;
}

void cli_Console::End() {
  if (percent_ >= 0) std::cerr << "\r\033[K" << std::flush;
  percent_ = -1;
}

void cli_Console::Error(const cow_String& message) {
  End();
  std::cerr << message << '\n';
}

void cli_Console::Status(const cow_String& message) {
  if (!isTerminal_) return;
  End();
  std::cerr << message << '\n';
}

void cli_Console::Progress(double fraction) {
  constexpr int kWidth = 40;
  const int percent = static_cast<int>(100 * fraction);
  if (!isTerminal_ || percent == percent_) return;
  percent_ = percent;
  const int filled = kWidth * percent / 100;
  std::cerr << '\r' << work_ << " [" << std::string(static_cast<std::size_t>(filled), '#')
            << std::string(static_cast<std::size_t>(kWidth - filled), '.') << "] " << percent << " %"
            << std::flush;
}

bool cli_Console::IsCancelled() { return theRequest != 0; }
