// coregeometry clean: removes unused nodes and duplicate and zero-size elements
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"

#include <CoreGeometry/bme_CleanMesh.h>

namespace {
struct Arguments : cli_EditArguments {
  bool keepDuplicates = false, keepZeroSize = false, keepUnused = false, nodesOfSets = false;
};

void Run(const Arguments& arguments) {
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cli_EditSource source = cli_ReadEditSource(arguments);
  console.Begin("cleaning");
  const bme_Cleaned cleaned = bme_CleanMesh(source.all, {.duplicates = !arguments.keepDuplicates,
                                                         .zeroSize = !arguments.keepZeroSize,
                                                         .unusedNodes = !arguments.keepUnused,
                                                         .nodesOfSets = arguments.nodesOfSets});
  console.End();
  cli_StoreEdited(arguments, source, cleaned,
                  {{"duplicates", cli_ElementLabelList(source, cleaned.duplicates)},
                   {"zeroSize", cli_ElementLabelList(source, cleaned.zeroSize)},
                   {"unusedNodes", cli_NodeLabelList(source, cleaned.unusedNodes)}});
}
} // namespace

void cli_AddClean(cli_Command& program) {
  cli_Command command = program.AddCommand("clean", "Remove unused nodes, duplicate and zero-size elements");
  auto arguments = std::make_shared<Arguments>();
  cli_AddEditOptions(command, *arguments);
  command.AddFlag("--keep-duplicates", arguments->keepDuplicates,
                  "Keep elements on the nodes of another one");
  command.AddFlag("--keep-zero-size", arguments->keepZeroSize,
                  "Keep elements without length, area or volume");
  command.AddFlag("--keep-unused", arguments->keepUnused, "Keep nodes without elements");
  command.AddFlag("--nodes-of-sets", arguments->nodesOfSets,
                  "Remove nodes without elements from node sets, too");
  command.Footer(
      "Duplicates are elements of one type on the same nodes; points and interactions may be meant twice\n"
      "and stay. Nodes that are in a node set stay, too.\n"
      "\n"
      "Example:\n"
      "  coregeometry clean bracket.cgdb -o clean.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
