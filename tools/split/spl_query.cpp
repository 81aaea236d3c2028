// query of a split model: nodes and elements by user label
#include "cli_Query.h"
#include "spl_Commands.h"
#include "spl_Split.h"

#include <memory>

namespace {
struct Arguments : spl_Arguments {
  cli_QueryArguments labels;
};

cli_Json NodeFacts(const dst_OpenPart& part, const dst_Place& place, const bme_Placement& placement) {
  const bme_NodeData& nodes = part.mesh->NodeData();
  const std::span<const float> xyz = nodes.Coordinates().Const().subspan(std::size_t{3} * place.index, 3);
  return {{"label", nodes.UserNodeLabels().Const()[place.index]},
          {"index", place.number},
          {"coordinates", cli_PlacedPoint(placement, gsl_Point(xyz[0], xyz[1], xyz[2]))}};
}

cli_Json ElementFacts(const dst_Mesh& mesh, const dst_OpenPart& part, const dst_Place& place) {
  const spl_ElementOfPart element(part, place.index);
  cli_Json nodes = cli_Json::array();
  for (const int node : element.type->Connectivity(static_cast<int>(element.inClass)))
    nodes.push_back(node < 0 ? cli_Json() : cli_Json(spl_NodeLabel(mesh, part, static_cast<unsigned>(node))));
  return cli_ElementFacts(*element.type, mesh.ElementLabel(part, place.index), place.number,
                          element.classIndex, mesh.Index().HasNodeLabels(), nodes);
}

void Run(const Arguments& arguments, dst_Exchange& exchange) {
  const std::vector<int> nodes = arguments.labels.Nodes(), elements = arguments.labels.Elements();
  const spl_Split split(arguments, exchange);
  const dst_Mesh& mesh = split.Mesh();
  const std::vector<cli_Json> ofNodes =
      spl_Describe(mesh, dst_FindNodes(mesh, nodes), [&](const dst_OpenPart& part, const dst_Place& place) {
        return NodeFacts(part, place, split.Placement());
      });
  const std::vector<cli_Json> ofElements = spl_Describe(
      mesh, dst_FindElements(mesh, elements),
      [&](const dst_OpenPart& part, const dst_Place& place) { return ElementFacts(mesh, part, place); });
  cli_QueryReport report(arguments.folder, split.Folder().MeshRoot(), arguments.json);
  for (std::size_t i = 0; i < nodes.size(); ++i) report.AddNode(nodes[i], ofNodes[i]);
  for (std::size_t i = 0; i < elements.size(); ++i) report.AddElement(elements[i], ofElements[i]);
  report.End();
}
} // namespace

void spl_AddQuery(cli_Command& program, dst_Exchange& exchange) {
  cli_Command command =
      program.AddCommand("query", "Look up nodes and elements of a split mesh by user label");
  auto arguments = std::make_shared<Arguments>();
  spl_AddOptions(command, *arguments);
  arguments->labels.AddTo(command);
  command.Footer("Example:\n  coregeometry query wing.split --node 1010 --element 104,3001");
  command.OnRun([arguments, &exchange] { Run(*arguments, exchange); });
}
