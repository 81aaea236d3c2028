// cli_Console.h: progress bar, messages and signals of one run of the program
#pragma once

#include <BasicUtils/wip_WIP.h>
#include <chrono>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string_view>

/// Text as a terminal may show it: control characters as \xNN, but for ends of lines and tabs; as \u00NN for
/// JSON.
std::string cli_Printable(std::string_view text, bool isJson = false);

/// What is written to std::cout goes through cli_Printable while it lives: names in a model are anybody's.
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
std::ostream& cli_Report();

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
