// The coregeometry program: mesh files in, stored and queried models out.
#include "cli_Commands.h"
#include "cli_Completion.h"
#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_Parser.h"
#include "cli_Split.h"
#include "cli_Threads.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <algorithm>
#include <iostream>
#include <span>

namespace {
bool wantsJson = false;

/// Says on stderr what went wrong, and in the answer when that is JSON.
int Fail(const std::string& what, int exitCode) {
  const cli_Escape escape = exitCode == cli_WRONG_USAGE ? cli_Escape::Lines : cli_Escape::Indented;
  std::cerr << "coregeometry: " << cli_Printable(what, escape) << '\n';
  if (wantsJson) cli_PrintJson({{"error", {{"message", what}, {"exitCode", exitCode}}}});
  std::cout.flush();
  return exitCode;
}

int Run(int argc, char** argv) {
  CLI::App app("Stores finite-element meshes in a model file and answers questions about them.",
               "coregeometry");
  app.footer("Start with\n"
             "  coregeometry import part.exo          makes part.cgdb\n"
             "  coregeometry info part.cgdb\n"
             "  coregeometry query part.cgdb --node 17 --element 4,5\n"
             "\"coregeometry COMMAND --help\" explains a command with an example.\n"
             "Exit codes: 0 done, 1 wrong input, 2 wrong usage.");
  app.set_version_flag("--version", CORE_GEOMETRY_VERSION);
  app.add_option_function<std::string>(
         "--completion",
         [&app](const std::string& shell) {
           std::cout << cli_CompletionScript(app, shell);
           throw CLI::Success();
         },
         "Print the script that completes command lines in a shell")
      ->check(CLI::IsMember({"bash", "zsh", "fish"}))
      ->trigger_on_parse();
  app.require_subcommand(1);
  app.fallthrough();
  app.add_flag_callback(
      "-q,--quiet", [] { cli_SetTalk(cli_Talk::Quiet); },
      "No progress and no report of what was done: only answers and errors");
  app.add_flag_callback(
      "-v,--verbose", [] { cli_SetTalk(cli_Talk::Verbose); },
      "Tell each step and the time it took on stderr");
  cli_Command program(app);
  int numThreads = cli_NumCores();
  program.AddOption("--threads", numThreads, "Threads to work on; by default as many as cores may be used")
      .Between(1, 1024);
  const std::unique_ptr<wip_Executor> executor = cli_MakeExecutor(numThreads);
  const wip_ExecutorScope lent(executor.get());
  for (const auto add : cli_kCommands) add(program);
  const std::vector<std::string> given(argv + 1, argv + argc);
  wantsJson = std::ranges::find(given, "--json") != given.end();
  const std::shared_ptr<void> split = cli_TakeSplit(program, cli_CommandOf(app, given).get_name(), given);
  const std::vector<std::string> words = cli_JoinTriples(app, std::span(argv, argv + argc).subspan(1));
  const CLI::App& command = cli_CommandOf(app, words);
  const auto refuse = [&](const std::string& what) {
    const std::string name = &command == &app ? "coregeometry" : "coregeometry " + command.get_name();
    throw cli_UsageError((&command == &app ? "" : command.get_name() + ": ") + what + "\nRun \"" + name
                         + " --help\" to see how it is used.");
  };
  try {
    cli_CheckCommandName(app, words);
    app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::Success& request) {
    return app.exit(request);
  } catch (const CLI::ParseError& error) {
    refuse(cli_Explain(app, error) + (split ? " (of a split model)" : ""));
  } catch (const cli_UsageError& error) {
    refuse(error.what());
  }
  std::cout.flush();
  if (!std::cout) {
    std::cerr << "coregeometry: cannot write to the standard output\n";
    return cli_WRONG_INPUT;
  }
  return cli_OK;
}
} // namespace

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  cli_HandleSignals();
  const cli_PrintableOutput printable;
  try {
    const DDB_CoreGeometry library;
    const auto splits = cli_StartSplits(); // index and parts of a split are model files, too
    return Run(argc, argv);
  } catch (const cli_Incomplete&) {
    std::cout.flush();
    return cli_WRONG_INPUT;
  } catch (const cli_UsageError& error) {
    return Fail(error.what(), cli_WRONG_USAGE);
  } catch (const wip_Cancelled&) {
    return Fail("interrupted, and what was under way is undone", cli_INTERRUPTED + cli_StopSignal());
  } catch (const std::bad_alloc&) {
    return Fail("out of memory", cli_WRONG_INPUT);
  } catch (const std::exception& error) {
    return Fail(error.what(), cli_WRONG_INPUT);
  }
}
