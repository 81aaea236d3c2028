#include "cli_Console.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <csignal>
#include <iostream>
#include <unistd.h>

namespace {
volatile std::sig_atomic_t theInterrupts = 0;

extern "C" void cli_NoteInterrupt(int signal) {
  theInterrupts = 1;
  std::signal(signal, SIG_DFL);
}
} // namespace

cli_Console::cli_Console() : isTerminal_(isatty(STDERR_FILENO) != 0) {
  thr_ThreadSingleton<wip_WIP>::Instance().SetSink(this);
  std::signal(SIGINT, cli_NoteInterrupt);
}

cli_Console::~cli_Console() {
  End();
  std::signal(SIGINT, SIG_DFL);
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

bool cli_Console::IsCancelled() { return theInterrupts != 0; }
