// The coregeometry program: mesh files in, stored and queried models out.
#include "cli_Commands.h"
#include "cli_Console.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <iostream>

namespace {
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
  app.require_subcommand(1);
  for (const auto add : cli_kCommands) add(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? cli_OK : cli_WRONG_USAGE;
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
    return Run(argc, argv);
  } catch (const cli_Incomplete&) {
    std::cout.flush();
    return cli_WRONG_INPUT;
  } catch (const cli_UsageError& error) {
    std::cerr << "coregeometry: " << cli_Printable(error.what()) << '\n';
    return cli_WRONG_USAGE;
  } catch (const wip_Cancelled&) {
    std::cerr << "coregeometry: interrupted, nothing was changed\n";
    return cli_INTERRUPTED + cli_StopSignal();
  } catch (const std::bad_alloc&) {
    std::cerr << "coregeometry: out of memory\n";
    return cli_WRONG_INPUT;
  } catch (const std::exception& error) {
    std::cerr << "coregeometry: " << cli_Printable(error.what()) << '\n';
    return cli_WRONG_INPUT;
  }
}
