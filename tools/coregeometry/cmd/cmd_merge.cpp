// coregeometry merge: one node for several at one place
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"

#include <CoreGeometry/bme_CleanMesh.h>

namespace {
struct Arguments : cli_EditArguments {
  double tolerance = 0;
  std::string set, with;
  bool removeCollapsed = false;
};

void Run(const Arguments& arguments) {
  cli_Console console;
  if (arguments.set.empty() && !arguments.with.empty()) throw cli_UsageError("--with needs --set");
  console.Begin("reading " + arguments.file);
  const cli_EditSource source = cli_ReadEditSource(arguments);
  bme_MergeOptions options{.tolerance = arguments.tolerance, .removeCollapsed = arguments.removeCollapsed};
  std::vector<unsigned> nodes, with;
  if (!arguments.set.empty()) options.nodes = nodes = cli_NodesOfSet(source, arguments.set);
  if (!arguments.with.empty()) options.with = with = cli_NodesOfSet(source, arguments.with);
  console.Begin("merging");
  const bme_Merged merged = bme_MergeNodes(source.all, options);
  console.End();
  cli_StoreEdited(arguments, source, merged,
                  {{"merged", cli_NodeLabelList(source, merged.merged)},
                   {"collapsed", cli_ElementLabelList(source, merged.collapsed)}});
}
} // namespace

void cli_AddMerge(cli_Command& program) {
  cli_Command command = program.AddCommand("merge", "Merge nodes at one place");
  auto arguments = std::make_shared<Arguments>();
  cli_AddEditOptions(command, *arguments);
  command.AddOption("--tolerance", arguments->tolerance, "Largest distance, in model length")
      .Required()
      .NonNegative();
  command.AddOption("--set", arguments->set, "Only nodes of this set");
  command.AddOption("--with", arguments->with, "Only pairs of a node of --set and one of this set");
  command.AddFlag("--remove-collapsed", arguments->removeCollapsed,
                  "Remove elements in which nodes became one");
  command.Footer("The node with the lowest label stays where it is and stands for the others.\n"
                 "\n"
                 "Example:\n"
                 "  coregeometry merge bracket.cgdb --tolerance 1e-4 --as welded");
  command.OnRun([arguments] { Run(*arguments); });
}
