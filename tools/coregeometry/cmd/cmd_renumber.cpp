// coregeometry renumber: other labels, or another order in memory
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Edit.h"

#include <CoreGeometry/bme_RenumberMesh.h>

namespace {
struct Arguments : cli_EditArguments {
  std::optional<int> nodesFrom, elementsFrom;
  int step = 1;
  std::string order;
};

void Run(const Arguments& arguments) {
  cli_Console console;
  if (!arguments.nodesFrom && !arguments.elementsFrom && arguments.order.empty())
    throw cli_UsageError("give --nodes-from, --elements-from or --order");
  console.Begin("reading " + arguments.file);
  const cli_EditSource source = cli_ReadEditSource(arguments);
  console.Begin("renumbering");
  bme_Edited edited{source.all, bme_Renumbering::Identity(source.all.mesh)};
  if (!arguments.order.empty())
    edited = bme_ReorderMesh(source.all, arguments.order == "bandwidth" ? bme_NodeOrder::Bandwidth
                                         : arguments.order == "curve"   ? bme_NodeOrder::Curve
                                                                        : bme_NodeOrder::Label);
  const auto series = [&](const std::optional<int>& from) {
    return from ? std::optional(bme_LabelSeries{*from, arguments.step}) : std::nullopt;
  };
  bme_Edited labelled =
      bme_RelabelMesh(edited.result, series(arguments.nodesFrom), series(arguments.elementsFrom));
  labelled.renumbering = edited.renumbering.Then(labelled.renumbering);
  labelled.remarks = edited.remarks;
  console.End();
  cli_StoreEdited(arguments, source, labelled,
                  {{"bandwidthBefore", bme_Bandwidth(source.all.mesh)},
                   {"bandwidth", bme_Bandwidth(labelled.result.mesh)}});
}
} // namespace

void cli_AddRenumber(cli_Command& program) {
  cli_Command command =
      program.AddCommand("renumber", "Give nodes and elements other labels, or another order");
  auto arguments = std::make_shared<Arguments>();
  cli_AddEditOptions(command, *arguments);
  command.AddOption("--nodes-from", arguments->nodesFrom, "First node label");
  command.AddOption("--elements-from", arguments->elementsFrom, "First element label");
  command.AddOption("--step", arguments->step, "Difference of two labels").ShowDefault();
  command.AddOption("--order", arguments->order, "Order in memory; labels stay with their nodes and elements")
      .OneOf({"bandwidth", "curve", "label"});
  command.Footer(
      "bandwidth: reverse Cuthill-McKee; curve: along a Hilbert curve; label: ascending labels. New labels\n"
      "are given in the new order.\n"
      "\n"
      "Example:\n"
      "  coregeometry renumber bracket.cgdb --order bandwidth --nodes-from 1 -o ordered.cgdb");
  command.OnRun([arguments] { Run(*arguments); });
}
