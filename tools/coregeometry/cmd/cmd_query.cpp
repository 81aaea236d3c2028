// coregeometry query: nodes and elements by user label
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_Words.h"

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_EntityWord.h>
#include <CoreGeometry/bme_Messages.h>
#include <CoreGeometry/bme_StoredMesh.h>
#include <algorithm>
#include <cstring>
#include <iostream>
#include <unordered_map>

namespace {
struct Arguments {
  std::string file, name;
  std::vector<std::string> nodes, elements; ///< texts of labels
  bool json = false;
};

/// What was asked for, read from the file as far as it is needed.
class Answers {
public:
  Answers(cow_String place, const bme_StoredMesh& mesh, std::span<const int> nodes,
          std::span<const int> elements)
      : place_(std::move(place)), mesh_(mesh), nodeLabels_(nodes), elementLabels_(elements),
        nodes_(mesh.FindNodes(nodes)), elements_(mesh.FindElements(elements)) {
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

  /// Calls take(facts) for each node that the mesh has, in the order of the labels.
  template<class Take> void ForEachNode(Take take) {
    const float* xyz = coordinates_.data();
    for (std::size_t i = 0; i < nodes_.size(); ++i) {
      if (IsUnknown("nodes", nodeLabels_[i], nodes_[i], bme_INVALID_NODE_LABEL)) continue;
      take({{"label", nodeLabels_[i]},
            {"index", nodes_[i]},
            {"coordinates", cli_PlacedPoint(mesh_.Placement(), gsl_Point(xyz[0], xyz[1], xyz[2]))}});
      xyz += 3;
    }
  }

  template<class Take> void ForEachElement(Take take) {
    for (std::size_t i = 0; i < elements_.size(); ++i) {
      if (IsUnknown("elements", elementLabels_[i], elements_[i], bme_INVALID_ELEMENT_LABEL)) continue;
      const bme_StoredMesh::Class& type = mesh_.ClassOf(elements_[i]);
      cli_Json nodes = cli_Json::array();
      for (const int node : rows_[i]) { // null for a node that is not there
        const auto found = labelOfNode_.find(node);
        nodes.push_back(found == labelOfNode_.end() ? cli_Json() : cli_Json(found->second));
      }
      take({{"label", elementLabels_[i]},
            {"index", elements_[i]},
            {"class", &type - mesh_.Classes().data()},
            {"type", type.kind.ElemTypeLabel()},
            {"supported", type.kind.IsSupported()},
            {"category", type.kind.CategoryLabel()},
            {mesh_.HasUserNodeLabels() ? "nodes" : "nodeIndices", nodes}});
    }
  }

  /// Labels that were asked for and are not there, of nodes and of elements.
  const cli_Json& Unknown() const { return unknown_; }
  bool HasUnknown() const { return !unknown_["nodes"].empty() || !unknown_["elements"].empty(); }

private:
  bool IsUnknown(const char* kind, int label, unsigned index, bme_Message message) {
    if (index != bme_kNotFound) return false;
    cli_Out(std::cerr) << "coregeometry: " << place_ << ", " << cow_String(kind, std::strlen(kind) - 1) << ' '
                       << label << ": " << bme_MessageText(message) << '\n';
    unknown_[kind].push_back(label);
    return true;
  }

  cow_String place_;
  const bme_StoredMesh& mesh_;
  std::span<const int> nodeLabels_, elementLabels_;
  std::vector<unsigned> nodes_, elements_;
  std::vector<float> coordinates_;     ///< of the nodes that are there
  std::vector<std::vector<int>> rows_; ///< of nodes, one for each element
  std::unordered_map<int, int> labelOfNode_;
  cli_Json unknown_ = {{"nodes", cli_Json::array()}, {"elements", cli_Json::array()}};
};

cow_String List(const cli_Json& values, const char* separator) {
  cow_String text;
  for (const cli_Json& value : values)
    text += (text.empty() ? "" : separator) + (value.is_null() ? "-" : value.dump());
  return text;
}

void PrintNode(const cli_Json& node) {
  cli_Out() << "node " << node["label"] << ": (" << List(node["coordinates"], ", ") << ")\n";
}

void PrintElement(const cli_Json& element) {
  cli_Out() << "element " << element["label"] << ": class " << element["class"] << ", "
            << element["type"].get<std::string>() << (element["supported"].get<bool>() ? "" : " (no shape)")
            << ", category " << element["category"];
  if (element.contains("nodes"))
    cli_Out() << ", nodes " << List(element["nodes"], " ") << '\n';
  else
    cli_Out() << ", node indices " << List(element["nodeIndices"], " ") << '\n';
}

void Run(const Arguments& arguments) {
  if (arguments.nodes.empty() && arguments.elements.empty())
    throw cli_UsageError("give at least one --node or --element");
  const std::vector<int> nodes = cli_LabelsOf("--node", arguments.nodes),
                         elements = cli_LabelsOf("--element", arguments.elements);
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cow_String root = cli_ChooseMesh(model, arguments.name);
  const bme_StoredMesh mesh(model, root);
  Answers answers(arguments.file + ", " + root, mesh, nodes, elements);
  console.End();

  if (!arguments.json) {
    answers.ForEachNode(&PrintNode);
    answers.ForEachElement(&PrintElement);
  } else {
    cli_JsonStream json({{"file", arguments.file}, {"mesh", root}});
    const auto add = [&](const cli_Json& one) { json.Add(one); };
    json.BeginList("nodes");
    answers.ForEachNode(add);
    json.EndList();
    json.BeginList("elements");
    answers.ForEachElement(add);
    json.EndList();
    json.End({{"unknown", answers.Unknown()}});
  }
  if (answers.HasUnknown()) throw cli_Incomplete();
}
} // namespace

void cli_AddQuery(cli_Command& program) {
  cli_Command command = program.AddCommand("query", "Look up nodes and elements by user label");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(command, arguments->file, arguments->name, arguments->json);
  cli_AddLabels(command, "--node", arguments->nodes, "Node labels");
  cli_AddLabels(command, "--element", arguments->elements, "Element labels");
  command.Footer(
      "Prints the coordinates of nodes; class, type and node labels of elements. Labels that the mesh\n"
      "does not have are reported, and the exit code is 1.\n"
      "\n"
      "Example:\n"
      "  coregeometry query bracket.cgdb --node 1010 --element 104,3001");
  command.OnRun([arguments] { Run(*arguments); });
}
