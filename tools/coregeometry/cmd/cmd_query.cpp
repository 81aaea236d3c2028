// coregeometry query: nodes and elements by user label
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Model.h"

#include <CoreGeometry/bme_EntityList.h>
#include <CoreGeometry/bme_Messages.h>
#include <iostream>

namespace {
struct Arguments {
  std::string file, name;
  std::vector<std::string> nodes, elements; ///< texts of labels
  bool json = false;
};

class Query {
public:
  Query(cow_String place, const bme_Mesh& mesh) : place_(std::move(place)), mesh_(mesh) {}

  cli_Json Node(int label) {
    const unsigned index = mesh_.NodeData().GetMeshNodeIndex(label);
    float x = 0, y = 0, z = 0;
    if (index == bme_kNotFound || !mesh_.NodeData().GetNodalCoord(index, x, y, z))
      return Unknown("node", label, bme_INVALID_NODE_LABEL);
    return {
        {"label", label}, {"index", index}, {"coordinates", {cli_Number(x), cli_Number(y), cli_Number(z)}}};
  }

  cli_Json Element(int label) {
    unsigned classIndex = 0, inClass = 0;
    if (!mesh_.GetClassAndElemIndexFromElementLabel(label, classIndex, inClass))
      return Unknown("element", label, bme_INVALID_ELEMENT_LABEL);
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

  bool HasUnknown() const { return hasUnknown_; }

private:
  cli_Json Unknown(const char* kind, int label, bme_Message message) {
    std::cerr << "coregeometry: " << place_ << ", " << kind << ' ' << label << ": "
              << bme_MessageText(message) << '\n';
    hasUnknown_ = true;
    return nullptr;
  }

  /// Label of a node, its index in a mesh without labels, null for a node that is not there.
  cli_Json NodeName(int node, bool byLabel) const {
    if (node < 0 || static_cast<unsigned>(node) >= mesh_.NodeData().NumNodes()) return nullptr;
    return byLabel ? mesh_.NodeData().UserNodeLabels().ConstGet(node) : node;
  }

  cow_String place_;
  const bme_Mesh& mesh_;
  bool hasUnknown_ = false;
};

cow_String List(const cli_Json& values, const char* separator) {
  cow_String text;
  for (const cli_Json& value : values)
    text += (text.empty() ? "" : separator) + (value.is_null() ? "-" : value.dump());
  return text;
}

void PrintNode(const cli_Json& node) {
  std::cout << "node " << node["label"] << ": (" << List(node["coordinates"], ", ") << ")\n";
}

void PrintElement(const cli_Json& element) {
  std::cout << "element " << element["label"] << ": class " << element["class"] << ", "
            << element["type"].get<std::string>() << (element["supported"].get<bool>() ? "" : " (no shape)")
            << ", category " << element["category"];
  if (element.contains("nodes"))
    std::cout << ", nodes " << List(element["nodes"], " ") << '\n';
  else
    std::cout << ", node indices " << List(element["nodeIndices"], " ") << '\n';
}

/// Of all the times that an option was given.
std::vector<int> LabelsOf(const char* option, const std::vector<std::string>& texts) {
  std::vector<int> labels;
  for (const std::string& text : texts) {
    try {
      const std::vector<int> some = bme_LabelsOfText(text);
      labels.insert(labels.end(), some.begin(), some.end());
    } catch (const nex_TextException& error) {
      throw cli_UsageError("query: " + std::string(option) + ": " + error.Message());
    }
  }
  return labels;
}

void Run(const Arguments& arguments) {
  if (arguments.nodes.empty() && arguments.elements.empty())
    throw cli_UsageError("query: give at least one --node or --element");
  const std::vector<int> nodes = LabelsOf("--node", arguments.nodes),
                         elements = LabelsOf("--element", arguments.elements);
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  const cow_String root = cli_ChooseMesh(model, arguments.name);
  const cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(root);
  console.End();

  Query query(arguments.file + ", " + root, *mesh);
  cli_Json json = {{"file", arguments.file},
                   {"mesh", root},
                   {"nodes", cli_Json::array()},
                   {"elements", cli_Json::array()}};
  for (const int label : nodes)
    if (cli_Json node = query.Node(label); !node.is_null()) json["nodes"].push_back(std::move(node));
  for (const int label : elements)
    if (cli_Json element = query.Element(label); !element.is_null())
      json["elements"].push_back(std::move(element));

  if (arguments.json) {
    cli_PrintJson(json);
  } else {
    for (const cli_Json& node : json["nodes"]) PrintNode(node);
    for (const cli_Json& element : json["elements"]) PrintElement(element);
  }
  if (query.HasUnknown()) throw cli_Incomplete();
}
} // namespace

void cli_AddQuery(CLI::App& app) {
  CLI::App* command = app.add_subcommand("query", "Look up nodes and elements by user label");
  auto arguments = std::make_shared<Arguments>();
  cli_AddModelOptions(*command, arguments->file, arguments->name, arguments->json);
  command->add_option("--node", arguments->nodes, "Node labels, as 1,5 or 10:20:2; can be given again")
      ->type_name("LABELS")
      ->expected(1)
      ->allow_extra_args(false)
      ->take_all();
  command
      ->add_option("--element", arguments->elements, "Element labels, as 1,5 or 10:20:2; can be given again")
      ->type_name("LABELS")
      ->expected(1)
      ->allow_extra_args(false)
      ->take_all();
  command->footer(
      "Prints the coordinates of nodes; class, type and node labels of elements. Labels that the mesh\n"
      "does not have are reported, and the exit code is 1.\n"
      "\n"
      "Example:\n"
      "  coregeometry query bracket.cgdb --node 1010 --element 104,3001");
  command->callback([arguments] { Run(*arguments); });
}
