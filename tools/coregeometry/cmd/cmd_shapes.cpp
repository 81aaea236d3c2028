// coregeometry shapes: the element shapes that the library knows
#include "cli_Commands.h"
#include "cli_Model.h"
#include "cli_ShapeSheet.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <iostream>

namespace {
struct Arguments {
  bool table = false, nodeCounts = false, json = false;
  std::string label;
};

cli_Json AsJson(const shp_ShapeDictionary& dictionary) {
  cli_Json shapes = cli_Json::array();
  for (const auto& [label, key] : dictionary.LabelTable()) {
    const shp_Shape& shape = *dictionary.GetShape(label);
    shapes.push_back({{"type", shape.Label()},
                      {"nodes", shape.NumNodes()},
                      {"integrationPoints", shape.NumIntPts()},
                      {"faces", shape.NumFaces()},
                      {"dimensions", shape.NumGeomDims()},
                      {"spaceDimensions", shape.NumSpatialDims()},
                      {"order", shape.InterpOrder()}});
  }
  return shapes;
}

void Run(const Arguments& arguments) {
  const bool one = !arguments.label.empty();
  if (int{arguments.table} + int{arguments.nodeCounts} + int{arguments.json || one} != 1)
    throw cli_UsageError("give one of --table, --node-counts, --label and --json");
  const auto& dictionary = thr_ThreadSingleton<shp_ShapeDictionary>::Instance();
  if (one) {
    const shp_Shape* shape = dictionary.GetShape(arguments.label);
    if (!shape)
      throw nex_TextException("no element type is called \"" + arguments.label
                              + "\"; \"coregeometry shapes --json\" lists them");
    const cli_Json sheet = cli_ShapeSheet(*shape);
    if (arguments.json)
      cli_PrintJson(sheet);
    else
      cli_PrintShapeSheet(std::cout, sheet);
  } else if (arguments.table)
    dictionary.PrintShapeTable(std::cout);
  else if (arguments.nodeCounts)
    dictionary.PrintLabelToNodecountTable(std::cout);
  else
    cli_PrintJson(AsJson(dictionary));
}
} // namespace

void cli_AddShapes(cli_Command& program) {
  cli_Command command = program.AddCommand("shapes", "Print the element shapes that the library knows");
  auto arguments = std::make_shared<Arguments>();
  command.AddFlag("--table", arguments->table, "The table of all shapes");
  command.AddFlag("--node-counts", arguments->nodeCounts, "The script that maps labels to node counts");
  command.AddOption("--label", arguments->label,
                    "One element type: nodes, faces, edges, integration points and\n"
                    "the node orders of Exodus II and VTK");
  command.AddFlag("--json", arguments->json,
                  "Labels with their main facts as JSON; with --label the facts of that type");
  command.Footer("Examples: one element type; labels of elements with 20 nodes\n"
                 "  coregeometry shapes --label C3D20R\n"
                 "  coregeometry shapes --json | jq -r '.[] | select(.nodes == 20).type'");
  command.OnRun([arguments] { Run(*arguments); });
}
