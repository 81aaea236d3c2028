// info of a split model: what it holds, and how it is divided
#include "cli_Console.h"
#include "cli_Model.h"
#include "spl_Commands.h"
#include "spl_Split.h"

#include <CoreGeometry/dst_Split.h>
#include <algorithm>
#include <filesystem>
#include <memory>

namespace {
cli_Json PartsJson(const dst_Index& index) {
  cli_Json parts = cli_Json::array();
  for (unsigned i = 0; i < index.NumParts(); ++i) {
    const dst_PartFacts part = index.Part(i);
    parts.push_back({{"elements", part.numElements},
                     {"nodes", part.numNodes},
                     {"ownedNodes", part.numOwned},
                     {"sharedNodes", part.numShared},
                     {"neighbours", part.neighbours}});
  }
  return parts;
}

/// The box as it is placed; null when there is none.
cli_Json BoxJson(const spl_Split& split) {
  const bme_Placement& placement = split.Placement();
  gsl_BBox box = split.Index().Box();
  if (!placement.IsNone()) { // the box of placed nodes is not the placed box
    box = {};
    for (const cli_Json& part : spl_Gather(split.Exchange(), [&](unsigned number) -> cli_Json {
           const gsl_BBox own =
               placement.Box(split.Mesh().Part(number).mesh->NodeData().Coordinates().Const());
           if (own.IsEmpty()) return cli_Json::array();
           return {{own.Min()[0], own.Min()[1], own.Min()[2]}, {own.Max()[0], own.Max()[1], own.Max()[2]}};
         }))
      for (const cli_Json& corner : part)
        box.Add(gsl_Point(corner[0].get<double>(), corner[1].get<double>(), corner[2].get<double>()));
  }
  if (box.IsEmpty()) return nullptr;
  const auto corner = [&](const gsl_Point& point) -> cli_Json {
    if (placement.IsNone()) return cli_PlacedPoint(placement, point);
    return {point[0], point[1], point[2]};
  };
  return {{"min", corner(box.Min())}, {"max", corner(box.Max())}};
}

/// Of all files.
std::int64_t BytesOf(const spl_Split& split) {
  std::int64_t bytes = 0;
  split.Exchange().ForEachPart([&](unsigned part) {
    split.Folder().OpenPartFile(part);
    bytes += static_cast<std::int64_t>(std::filesystem::file_size(split.Folder().PartFile(part)));
  });
  split.Exchange().Sum({&bytes, 1});
  return bytes + static_cast<std::int64_t>(std::filesystem::file_size(split.Folder().IndexFile()));
}

cow_String Corner(const cli_Json& point) {
  return "(" + point[0].dump() + ", " + point[1].dump() + ", " + point[2].dump() + ")";
}

void Run(const spl_Arguments& arguments, dst_Exchange& exchange) {
  const spl_Split split(arguments, exchange);
  const dst_Index& index = split.Index();
  const dst_Origin origin = index.Origin();
  const dst_SplitReport report = dst_ReportOn(index);
  const std::int64_t bytes = BytesOf(split);
  const cli_Json box = BoxJson(split);
  cli_Json classes = cli_Json::array(), sets = cli_Json::array();
  for (unsigned i = 0; i < index.NumClasses(); ++i)
    classes.push_back({{"type", index.Class(i).ElemTypeLabel()}, {"elements", index.Class(i).NumElements()}});
  for (unsigned i = 0; i < index.NumSets(); ++i) {
    std::uint64_t entries = 0;
    for (unsigned k = 0; k < index.NumSubsets(i); ++k) entries += index.NumEntries(i, k);
    sets.push_back({{"root", index.SetRoot(i)}, {"entries", entries}});
  }
  if (arguments.json)
    return cli_PrintJson({{"folder", arguments.folder},
                          {"bytes", bytes},
                          {"mesh", origin.mesh},
                          {"source", origin.source},
                          {"method", origin.method},
                          {"identity", origin.identity},
                          {"nodes", index.NumNodes()},
                          {"elements", index.NumElements()},
                          {"box", box},
                          {"nodeLabels", index.HasNodeLabels()},
                          {"elementLabels", index.HasElementLabels()},
                          {"balance", report.balance},
                          {"copies", report.copies},
                          {"mostNeighbours", report.mostNeighbours},
                          {"classes", classes},
                          {"sets", sets},
                          {"parts", PartsJson(index)}});
  cli_Out() << arguments.folder << ": mesh \"" << origin.mesh << "\" in " << split.Folder().NumParts()
            << " parts (method " << origin.method << ", from " << origin.source << "), " << bytes
            << " bytes\n";
  cli_Out() << "  " << index.NumNodes() << " nodes, " << index.NumElements() << " elements in all\n";
  if (!box.is_null()) cli_Out() << "  box " << Corner(box["min"]) << " to " << Corner(box["max"]) << '\n';
  cli_Out() << "  largest part " << report.balance << " times the mean, " << 100 * report.copies
            << " % copies of nodes, up to " << report.mostNeighbours << " neighbours\n";
  for (unsigned i = 0; i < index.NumClasses(); ++i)
    cli_Out() << "  class " << i << ": " << index.Class(i).ElemTypeLabel() << ", "
              << index.Class(i).NumElements() << " elements\n";
  for (unsigned i = 0; i < index.NumSets(); ++i) cli_Out() << "  " << index.SetRoot(i) << '\n';
}
} // namespace

void spl_AddInfo(cli_Command& program, dst_Exchange& exchange) {
  cli_Command command = program.AddCommand("info", "What a split model holds, and how it is divided");
  auto arguments = std::make_shared<spl_Arguments>();
  spl_AddOptions(command, *arguments);
  command.Footer("Example:\n  coregeometry info wing.split");
  command.OnRun([arguments, &exchange] { Run(*arguments, exchange); });
}
