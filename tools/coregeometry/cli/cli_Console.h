// cli_Console.h: progress bar, messages and signals of one run of the program
#pragma once

#include <BasicUtils/wip_WIP.h>
#include <chrono>
#include <iostream>
#include <memory>
#include <string_view>
#include <type_traits>

/// How a control character is shown. Lines keeps ends of lines and tabs as they are, Indented those ends of lines that
/// two blanks follow: what a name holds cannot look like a line of the program's own.
enum class cli_Escape { Line, Indented, Lines, Json };

/// Text as a terminal may show it, on one line: control characters as \xNN, or as \u00NN for JSON.
std::string cli_Printable(std::string_view text, cli_Escape escape = cli_Escape::Line);

/// Writes to a stream. Strings may hold names, which are anybody's: they go through cli_Printable and stay on
/// their line. Literals are as they are.
class cli_Out {
public:
  explicit cli_Out(std::ostream& out = std::cout) : out_(out) {}
  template<class T> cli_Out& operator<<(const T& value) {
    if constexpr (std::is_same_v<T, std::string> || std::is_same_v<T, std::string_view>)
      out_ << cli_Printable(value);
    else
      out_ << value;
    return *this;
  }
  cli_Out& operator<<(std::ios_base& (*set)(std::ios_base&)) {
    out_ << set;
    return *this;
  }

private:
  std::ostream& out_;
};

/// What reaches std::cout in any other way goes through cli_Printable by lines while it lives.
class cli_PrintableOutput {
public:
  cli_PrintableOutput();
  ~cli_PrintableOutput();
  cli_PrintableOutput(const cli_PrintableOutput&) = delete;
  cli_PrintableOutput& operator=(const cli_PrintableOutput&) = delete;

private:
  std::unique_ptr<std::streambuf> filter_;
  std::streambuf* before_;
};

/// How much the program says beside answers and errors: nothing, a report of what it made, or also each step
/// with its time.
enum class cli_Talk { Quiet, Normal, Verbose };
void cli_SetTalk(cli_Talk talk);
/// Where a command reports what it made: std::cout, or nowhere when the user wants quiet.
cli_Out cli_Report();

/// SIGINT, SIGTERM and SIGHUP ask the work to stop while a console lives; the second of them, and other
/// signals that end a process, end it at once. What is half-written is removed. Signals that are ignored stay
/// so.
void cli_HandleSignals();
int cli_StopSignal(); ///< the signal that asked to stop, 0 for none

/// The calling thread's work reports here while the console lives: messages go to stderr; what the work is
/// doing and how far it is to one line on stderr when that is a terminal.
class cli_Console : public wip_WIPBase {
public:
  cli_Console();
  ~cli_Console() override;
  cli_Console(const cli_Console&) = delete;
  cli_Console& operator=(const cli_Console&) = delete;

  /// Names the work that is to come, after what was begun before; its bar starts at 0.
  void Begin(const cow_String& work);
  void End(); ///< of the work; removes the bar

  void Error(const cow_String& message) override;
  void Status(const cow_String& message) override;
  void Progress(double fraction) override;
  bool IsCancelled() override;

private:
  bool isTerminal_;
  cow_String work_;
  int percent_ = -1; ///< shown, -1 for no bar
  std::chrono::steady_clock::time_point begun_;

  void EraseBar();
};
