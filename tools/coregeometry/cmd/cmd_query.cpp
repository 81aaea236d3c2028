// coregeometry query: nodes and elements by user label
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_Query.h"

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_StoredMesh.h>
#include <algorithm>
#include <unordered_map>

namespace {
struct Arguments {
  std::string file, name;
  cli_QueryArguments labels;
  bool json = false;
};

/// What was asked for, read from the file as far as it is needed.
class Answers {
public:
  Answers(const bme_StoredMesh& mesh, std::span<const int> nodes, std::span<const int> elements)
      : mesh_(mesh), nodeLabels_(nodes), elementLabels_(elements), nodes_(mesh.FindNodes(nodes)),
        elements_(mesh.FindElements(elements)) {
    std::vector<int> known, ofRows;
    for (const unsigned node : nodes_)
      if (node != bme_kNotFound) known.push_back(static_cast<int>(node));
    coordinates_ = mesh.Coordinates(known);
    for (const unsigned element : elements_) {
      rows_.push_back(element == bme_kNotFound ? std::vector<int>() : mesh.Connectivity(element));
      std::ranges::copy_if(rows_.back(), std::back_inserter(ofRows),
                           [&](int node) { return static_cast<unsigned>(node) < mesh.NumNodes(); });
    }
    const std::vector<int> labels = mesh.NodeLabels(ofRows);
    for (std::size_t i = 0; i < ofRows.size(); ++i) labelOfNode_.emplace(ofRows[i], labels[i]);
  }

  void TellNodes(cli_QueryReport& report) const {
    const float* xyz = coordinates_.data();
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
      if (nodes_[i] == bme_kNotFound) {
        report.AddNode(nodeLabels_[i], {});
        continue;
      }
      report.AddNode(nodeLabels_[i], {{"label", nodeLabels_[i]},
                                      {"index", nodes_[i]},
                                      {"coordinates", cli_PlacedPoint(mesh_.Placement(),
                                                                      gsl_Point(xyz[0], xyz[1], xyz[2]))}});
      xyz += 3;
    }
  }

  void TellElements(cli_QueryReport& report) const {
    for (std::size_t i = 0; i < elements_.size(); ++i)
      report.AddElement(elementLabels_[i], elements_[i] == bme_kNotFound ? cli_Json() : Element(i));
  }

private:
  cli_Json Element(std::size_t i) const {
    const bme_StoredMesh::Class& type = mesh_.ClassOf(elements_[i]);
    cli_Json nodes = cli_Json::array();
    for (const int node : rows_[i]) { // null for a node that is not there
      const auto found = labelOfNode_.find(node);
      nodes.push_back(found == labelOfNode_.end() ? cli_Json() : cli_Json(found->second));
    }
    return cli_ElementFacts(type.kind, elementLabels_[i], elements_[i],
                            static_cast<std::size_t>(&type - mesh_.Classes().data()),
                            mesh_.HasUserNodeLabels(), nodes);
  }

  const bme_StoredMesh& mesh_;
  std::span<const int> nodeLabels_, elementLabels_;
  std::vector<unsigned> nodes_, elements_;
  std::vector<float> coordinates_;     ///< of the nodes that are there
  std::vector<std::vector<int>> rows_; ///< of nodes, one for each element
  std::unordered_map<int, int> labelOfNode_;
};

void Run(const Arguments& arguments) {
  const std::vector<int> nodes = arguments.labels.Nodes(), elements = arguments.labels.Elements();
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cow_String root = cli_ChooseMesh(model, arguments.name);
  const bme_StoredMesh mesh(model, root);
  const Answers answers(mesh, nodes, elements);
  console.End();
  cli_QueryReport report(arguments.file, root, arguments.json);
  answers.TellNodes(report);
  answers.TellElements(report);
  report.End();
}
} // namespace

void cli_AddQuery(cli_Command& program) {
  cli_Command command = program.AddCommand("query", "Look up nodes and elements by user label");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  arguments->labels.AddTo(command);
  command.Footer(
      "Prints the coordinates of nodes; class, type and node labels of elements. Labels that the mesh\n"
      "does not have are reported, and the exit code is 1.\n"
      "\n"
      "Example:\n"
      "  coregeometry query bracket.cgdb --node 1010 --element 104,3001");
  command.OnRun([arguments] { Run(*arguments); });
}
