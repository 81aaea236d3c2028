// coregeometry query: nodes and elements by user label
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_EntityList.h>
#include <CoreGeometry/bme_Messages.h>
#include <cstring>
#include <iostream>

namespace {
struct Arguments {
  std::string file, name;
  std::vector<std::string> nodes, elements; ///< texts of labels
  bool json = false;
};

class Query {
public:
  Query(cow_String place, const bme_Mesh& mesh) : place_(std::move(place)), mesh_(mesh), placement_(mesh) {}

  cli_Json Node(int label) {
    const unsigned index = mesh_.NodeData().GetMeshNodeIndex(label);
    float x = 0, y = 0, z = 0;
    if (index == bme_kNotFound || !mesh_.NodeData().GetNodalCoord(index, x, y, z))
      return Unknown("nodes", label, bme_INVALID_NODE_LABEL);
    return {
        {"label", label}, {"index", index}, {"coordinates", cli_PlacedPoint(placement_, gsl_Point(x, y, z))}};
  }

  cli_Json Element(int label) {
    unsigned classIndex = 0, inClass = 0;
    if (!mesh_.GetClassAndElemIndexFromElementLabel(label, classIndex, inClass))
      return Unknown("elements", label, bme_INVALID_ELEMENT_LABEL);
    const bme_ElementClass& type = mesh_.ElementData().GetClass(classIndex);
    const bool byLabel = mesh_.NodeData().HasUserNodeLabels();
    cli_Json nodes = cli_Json::array();
    for (const int node : type.Connectivity(static_cast<int>(inClass)))
      nodes.push_back(NodeName(node, byLabel));
    return {{"label", label},
            {"index", mesh_.ElementData().GetMeshElemIndexFromClass(classIndex, inClass)},
            {"class", classIndex},
            {"type", type.ElemTypeLabel()},
            {"supported", type.IsSupported()},
            {"category", type.CategoryLabel()},
            {byLabel ? "nodes" : "nodeIndices", nodes}};
  }

  /// Labels that were asked for and are not there, of nodes and of elements.
  const cli_Json& Unknown() const { return unknown_; }
  bool HasUnknown() const { return !unknown_["nodes"].empty() || !unknown_["elements"].empty(); }

private:
  cli_Json Unknown(const char* kind, int label, bme_Message message) {
    cli_Out(std::cerr) << "coregeometry: " << place_ << ", " << cow_String(kind, std::strlen(kind) - 1) << ' '
                       << label << ": " << bme_MessageText(message) << '\n';
    unknown_[kind].push_back(label);
    return nullptr;
  }

  /// Label of a node, its index in a mesh without labels, null for a node that is not there.
  cli_Json NodeName(int node, bool byLabel) const {
    if (node < 0 || static_cast<unsigned>(node) >= mesh_.NodeData().NumNodes()) return nullptr;
    return byLabel ? mesh_.NodeData().UserNodeLabels().ConstGet(node) : node;
  }

  cow_String place_;
  const bme_Mesh& mesh_;
  bme_Placement placement_;
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
  const cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(root);
  console.End();

  Query query(arguments.file + ", " + root, *mesh);
  if (!arguments.json) {
    for (const int label : nodes)
      if (const cli_Json node = query.Node(label); !node.is_null()) PrintNode(node);
    for (const int label : elements)
      if (const cli_Json element = query.Element(label); !element.is_null()) PrintElement(element);
  } else {
    cli_JsonStream json({{"file", arguments.file}, {"mesh", root}});
    json.BeginList("nodes");
    for (const int label : nodes)
      if (const cli_Json node = query.Node(label); !node.is_null()) json.Add(node);
    json.EndList();
    json.BeginList("elements");
    for (const int label : elements)
      if (const cli_Json element = query.Element(label); !element.is_null()) json.Add(element);
    json.EndList();
    json.End({{"unknown", query.Unknown()}});
  }
  if (query.HasUnknown()) throw cli_Incomplete();
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
