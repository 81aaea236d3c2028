// The coregeometry-mpi program: answers questions about split models on several processes.
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_Parser.h"
#include "cli_Threads.h"
#include "spl_Commands.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_MpiExchange.h>
#include <algorithm>
#include <ctime>
#include <iostream>
#include <span>

namespace {
bool wantsJson = false;

int Fail(const std::string& what, int exitCode) {
  std::cerr << "coregeometry-mpi: " << cli_Printable(what, cli_Escape::Lines) << '\n';
  if (wantsJson) cli_PrintJson({{"error", {{"message", what}, {"exitCode", exitCode}}}});
  std::cout.flush();
  return exitCode;
}

/// What the exchange took of all the time that the ranks have used.
void TellTimes(dst_Exchange& exchange) {
  constexpr double kMicro = 1e6;
  const dst_ExchangeSeconds own = exchange.Seconds();
  std::int64_t sums[] = {static_cast<std::int64_t>(own.moving * kMicro),
                         static_cast<std::int64_t>(own.waiting * kMicro),
                         static_cast<std::int64_t>(std::clock() * (kMicro / CLOCKS_PER_SEC))};
  exchange.Sum(sums);
  std::cerr << "processor time of " << exchange.NumRanks() << " ranks: " << sums[2] / kMicro
            << " s, of it messages " << sums[0] / kMicro << " s, waiting for other ranks " << sums[1] / kMicro
            << " s\n";
}

int Run(int argc, char** argv, dst_Exchange& exchange) {
  CLI::App app("Answers questions about split models, part by part, on the ranks of mpirun.",
               "coregeometry-mpi");
  app.footer("\"coregeometry-mpi COMMAND --help\" explains a command with an example.\n"
             "Any number of ranks works with any number of parts. Exit codes: 0 done, 1 wrong input, 2 wrong "
             "usage.");
  app.set_version_flag("--version", CORE_GEOMETRY_VERSION);
  app.require_subcommand(1);
  app.fallthrough();
  app.add_flag_callback(
      "-q,--quiet", [] { cli_SetTalk(cli_Talk::Quiet); }, "Only answers and errors");
  bool isVerbose = false;
  app.add_flag("-v,--verbose", isVerbose, "Also what the exchange between ranks took");
  cli_Command program(app);
  int numThreads = 1;
  program
      .AddOption("--threads", numThreads,
                 "Threads of each rank; by default one, since each core can have a rank")
      .Between(1, 1024);
  const std::unique_ptr<wip_Executor> executor = cli_MakeExecutor(numThreads);
  const wip_ExecutorScope lent(executor.get());
  for (const spl_Command& command : spl_kCommands) command.add(program, exchange);
  cli_AddJoin(program);
  const std::vector<std::string> words = cli_JoinTriples(app, std::span(argv, argv + argc).subspan(1));
  wantsJson = std::ranges::find(words, "--json") != words.end();
  bool isOfOneRank = false;
  try {
    cli_CheckCommandName(app, words);
    isOfOneRank = cli_CommandOf(app, words).get_name() == "join";
    if (!exchange.IsFirstRank() && isOfOneRank) return cli_OK;
    app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
  } catch (const CLI::Success& request) {
    return app.exit(request);
  } catch (const CLI::ParseError& error) {
    throw cli_UsageError(cli_Explain(app, error));
  }
  if (isVerbose && !isOfOneRank) TellTimes(exchange);
  std::cout.flush();
  return std::cout ? cli_OK : cli_WRONG_INPUT;
}

/// What a failure of the run means on this rank. All ranks have parsed the same words; later they fail together, or the
/// exchange does not know of it, and the others would wait.
int RunGuarded(int argc, char** argv, dst_MpiExchange& exchange, std::streambuf* errors) {
  try {
    const DDB_CoreGeometry library;
    const dst_Library distributed;
    return Run(argc, argv, exchange);
  } catch (const cli_Incomplete&) {
    return cli_WRONG_INPUT;
  } catch (const cli_UsageError& error) {
    return Fail(error.what(), cli_WRONG_USAGE);
  } catch (const wip_Cancelled&) {
    if (exchange.HasAgreedToFail()) return Fail("interrupted", cli_INTERRUPTED + cli_StopSignal());
  } catch (const nex_TextException& error) { // agreed on, or found by each rank in the same words or index
    return Fail(error.what(), cli_WRONG_INPUT);
  } catch (const std::exception& error) {
    std::cerr.rdbuf(errors);
    std::cerr << "coregeometry-mpi: rank " << exchange.Rank() << ": " << error.what() << std::endl;
  }
  MPI_Abort(MPI_COMM_WORLD, cli_WRONG_INPUT);
  return cli_WRONG_INPUT;
}
} // namespace

int main(int argc, char** argv) {
  MPI_Init(&argc, &argv);
  int exitCode = cli_OK;
  {
    dst_MpiExchange exchange(MPI_COMM_WORLD);
    std::streambuf* const errors = std::cerr.rdbuf();
    std::streambuf* const answers = std::cout.rdbuf();
    if (!exchange.IsFirstRank()) { // one rank prints
      std::cout.rdbuf(nullptr);
      std::cerr.rdbuf(nullptr);
    }
    cli_HandleSignals();
    exitCode = RunGuarded(argc, argv, exchange, errors);
    std::cout.rdbuf(answers);
    std::cerr.rdbuf(errors);
    std::cout.flush();
    exchange.Close();
    // mpirun ends all others as soon as one has failed: only the rank that printed says so
    if (!exchange.IsFirstRank()) exitCode = cli_OK;
  }
  MPI_Finalize();
  return exitCode;
}
