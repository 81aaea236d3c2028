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

namespace {
/// Length of the control character at the beginning that is not shown as it is, 0 when there is none; C1
/// controls have two bytes in UTF-8.
std::size_t ControlLength(std::string_view text, cli_Escape escape) {
  const auto byte = [&](std::size_t k) { return k < text.size() ? static_cast<unsigned char>(text[k]) : 0U; };
  if (byte(0) == 0xC2 && byte(1) >= 0x80 && byte(1) < 0xA0) return 2;
  const bool isLayout = escape == cli_Escape::Indented
                            ? text.starts_with("\n  ")
                            : escape != cli_Escape::Line && (byte(0) == '\n' || byte(0) == '\t');
  return (byte(0) < 0x20 && !isLayout) || byte(0) == 0x7F ? 1 : 0;
}

class Filter : public std::streambuf {
public:
  explicit Filter(std::streambuf* target) : target_(target) {}

protected:
  std::streamsize xsputn(const char* text, std::streamsize count) override {
    const std::string_view all(text, static_cast<std::size_t>(count));
    return Put(all) ? count : 0;
  }
  int_type overflow(int_type c) override {
    const char one = traits_type::to_char_type(c);
    return c == traits_type::eof() || Put({&one, 1}) ? traits_type::not_eof(c) : traits_type::eof();
  }
  int sync() override { return target_->pubsync(); }

private:
  bool Put(std::string_view text) {
    std::size_t start = 0; // of what needs no change
    bool isPut = true;
    const auto put = [&](std::string_view part) {
      isPut = isPut && target_->sputn(part.data(), std::ssize(part)) == std::ssize(part);
    };
    for (std::size_t at = 0; at < text.size(); ++at) {
      const std::size_t length = ControlLength(text.substr(at), cli_Escape::Lines);
      if (length == 0) continue;
      put(text.substr(start, at - start));
      put(cli_Printable(text.substr(at, length)));
      start = at + length;
      at = start - 1;
    }
    put(text.substr(start));
    return isPut;
  }
  std::streambuf* target_;
};
} // namespace

std::string cli_Printable(std::string_view text, cli_Escape escape) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string shown;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = ControlLength(text.substr(at), escape);
    if (length == 0) {
      shown += text[at++];
      continue;
    }
    const auto code = static_cast<unsigned char>(text[at + length - 1]);
    shown += escape == cli_Escape::Json ? "\\u00" : "\\x";
    shown += kDigits[code >> 4U];
    shown += kDigits[code & 15U];
    at += length;
  }
  return shown;
}

cli_PrintableOutput::cli_PrintableOutput()
    : filter_(std::make_unique<Filter>(std::cout.rdbuf())), before_(std::cout.rdbuf(filter_.get())) {}
cli_PrintableOutput::~cli_PrintableOutput() {
  std::cout.flush();
  std::cout.rdbuf(before_);
}

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

namespace {
cli_Talk theTalk = cli_Talk::Normal;
}

void cli_SetTalk(cli_Talk talk) { theTalk = talk; }

cli_Out cli_Report() {
  static std::ostream nowhere(nullptr);
  return cli_Out(theTalk == cli_Talk::Quiet ? nowhere : std::cout);
}

cli_Console::cli_Console() : isTerminal_(isatty(STDERR_FILENO) != 0 && theTalk != cli_Talk::Quiet) {
  thr_ThreadSingleton<wip_WIP>::Instance().SetSink(this);
  theConsoles = theConsoles + 1;
}

cli_Console::~cli_Console() {
  EraseBar();
  theConsoles = theConsoles - 1;
  thr_ThreadSingleton<wip_WIP>::Instance().SetSink(nullptr);
}

void cli_Console::Begin(const cow_String& work) {
  End();
  work_ = work;
  begun_ = std::chrono::steady_clock::now();
}

void cli_Console::End() {
  EraseBar();
  if (theTalk == cli_Talk::Verbose && !work_.empty()) {
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begun_;
    std::cerr << cli_Printable(work_) << ": " << time.count() << " s\n";
  }
  work_.clear();
}

void cli_Console::EraseBar() {
  if (percent_ >= 0) std::cerr << "\r\033[K" << std::flush;
  percent_ = -1;
}

void cli_Console::Error(const cow_String& message) {
  EraseBar();
  std::cerr << cli_Printable(message, cli_Escape::Lines) << '\n';
}

void cli_Console::Status(const cow_String& message) {
  if (isTerminal_ || theTalk == cli_Talk::Verbose) Begin(message);
}

void cli_Console::Progress(double fraction) {
  constexpr int kWidth = 40;
  const int percent = static_cast<int>(100 * fraction);
  if (!isTerminal_ || percent == percent_) return;
  percent_ = percent;
  const int filled = kWidth * percent / 100;
  std::cerr << '\r' << cli_Printable(work_) << " [" << std::string(static_cast<std::size_t>(filled), '#')
            << std::string(static_cast<std::size_t>(kWidth - filled), '.') << "] " << percent << " %"
            << std::flush;
}

bool cli_Console::IsCancelled() { return theRequest != 0; }
