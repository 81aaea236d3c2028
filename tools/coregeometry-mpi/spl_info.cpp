// coregeometry-mpi info: what a split model holds, and how it is divided
#include "cli_Console.h"
#include "cli_Model.h"
#include "spl_Split.h"

#include <CoreGeometry/dst_Measures.h>
#include <algorithm>
#include <iomanip>
#include <memory>

namespace {
/// Largest and mean number of something in the parts.
cli_Json Spread(const dst_Index& index, std::uint64_t (*numberOf)(const dst_PartFacts&)) {
  std::uint64_t most = 0, sum = 0;
  for (unsigned part = 0; part < index.NumParts(); ++part) {
    const std::uint64_t number = numberOf(index.Part(part));
    most = std::max(most, number);
    sum += number;
  }
  return {{"most", most}, {"mean", static_cast<double>(sum) / index.NumParts()}};
}

void Run(const spl_Arguments& arguments, dst_Exchange& exchange) {
  const spl_Split split(arguments, exchange);
  const dst_Index& index = split.Index();
  const gsl_BBox box = dst_GetBBox(split.Mesh());
  const std::vector<std::pair<const char*, cli_Json>> spreads = {
      {"elements", Spread(index, [](const dst_PartFacts& part) { return part.numElements; })},
      {"nodes", Spread(index, [](const dst_PartFacts& part) { return part.numNodes; })},
      {"sharedNodes", Spread(index, [](const dst_PartFacts& part) { return part.numShared; })},
      {"neighbours",
       Spread(index, [](const dst_PartFacts& part) { return std::uint64_t{part.neighbours.size()}; })}};
  cli_Json json = {{"file", arguments.folder},       {"mesh", split.Folder().MeshRoot()},
                   {"nodes", index.NumNodes()},      {"elements", index.NumElements()},
                   {"parts", index.NumParts()},      {"ranks", exchange.NumRanks()},
                   {"method", index.Origin().method}};
  if (!box.IsEmpty())
    json["box"] = {{box.Min()[0], box.Min()[1], box.Min()[2]}, {box.Max()[0], box.Max()[1], box.Max()[2]}};
  for (const auto& [name, spread] : spreads) json["inParts"][name] = spread;
  if (arguments.json) return cli_PrintJson(json);
  cli_Out() << arguments.folder << ": " << split.Folder().MeshRoot() << ", " << index.NumNodes() << " nodes, "
            << index.NumElements() << " elements, in " << index.NumParts() << " parts on "
            << exchange.NumRanks() << (exchange.NumRanks() == 1 ? " rank\n" : " ranks\n");
  if (json.contains("box"))
    cli_Out() << "  box (" << box.Min()[0] << ", " << box.Min()[1] << ", " << box.Min()[2] << ") to ("
              << box.Max()[0] << ", " << box.Max()[1] << ", " << box.Max()[2] << ")\n";
  for (const auto& [name, spread] : spreads)
    cli_Out() << "  " << std::left << std::setw(12) << name
              << " a part: " << spread["most"].get<std::uint64_t>() << " at most, "
              << spread["mean"].get<double>() << " on average\n";
}
} // namespace

void spl_AddInfo(cli_Command& program, dst_Exchange& exchange) {
  cli_Command command = program.AddCommand("info", "What a split model holds, and how it is divided");
  auto arguments = std::make_shared<spl_Arguments>();
  spl_AddOptions(command, *arguments);
  command.Footer("Example:\n  mpirun -n 4 coregeometry-mpi info wing.split");
  command.OnRun([arguments, &exchange] { Run(*arguments, exchange); });
}
