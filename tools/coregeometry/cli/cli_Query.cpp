#include "cli_Query.h"

#include "cli_Console.h"
#include "cli_Words.h"

#include <CoreGeometry/bme_Messages.h>
#include <iostream>

namespace {
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

} // namespace

void cli_QueryArguments::AddTo(cli_Command command) {
  cli_AddLabels(command, "--node", nodes_, "Node labels");
  cli_AddLabels(command, "--element", elements_, "Element labels");
}

std::vector<int> cli_QueryArguments::Nodes() const {
  if (nodes_.empty() && elements_.empty()) throw cli_UsageError("give at least one --node or --element");
  return cli_LabelsOf("--node", nodes_);
}

std::vector<int> cli_QueryArguments::Elements() const { return cli_LabelsOf("--element", elements_); }

cli_Json cli_ElementFacts(const bme_ElementClass& type, int label, std::uint64_t index,
                          std::size_t classIndex, bool hasNodeLabels, const cli_Json& nodes) {
  return {{"label", label},
          {"index", index},
          {"class", classIndex},
          {"type", type.ElemTypeLabel()},
          {"supported", type.IsSupported()},
          {"category", type.CategoryLabel()},
          {hasNodeLabels ? "nodes" : "nodeIndices", nodes}};
}

cli_QueryReport::cli_QueryReport(const std::string& file, const cow_String& mesh, bool isJson)
    : place_(file + ", " + mesh) {
  if (!isJson) return;
  json_.emplace(cli_Json{{"file", file}, {"mesh", mesh}});
  json_->BeginList("nodes");
}

void cli_QueryReport::AddNode(int label, const cli_Json& facts) {
  if (IsUnknown("nodes", label, facts)) return;
  if (json_)
    json_->Add(facts);
  else
    PrintNode(facts);
}

void cli_QueryReport::AddElement(int label, const cli_Json& facts) {
  BeginElements();
  if (IsUnknown("elements", label, facts)) return;
  if (json_)
    json_->Add(facts);
  else
    PrintElement(facts);
}

void cli_QueryReport::End() {
  BeginElements();
  if (json_) {
    json_->EndList();
    json_->End({{"unknown", unknown_}});
  }
  if (!unknown_["nodes"].empty() || !unknown_["elements"].empty()) throw cli_Incomplete();
}

bool cli_QueryReport::IsUnknown(const char* kind, int label, const cli_Json& facts) {
  if (!facts.is_null()) return false;
  const bool isNode = !areElements_;
  cli_Out(std::cerr) << "coregeometry: " << place_ << ", " << (isNode ? "node " : "element ") << label << ": "
                     << bme_MessageText(isNode ? bme_INVALID_NODE_LABEL : bme_INVALID_ELEMENT_LABEL) << '\n';
  unknown_[kind].push_back(label);
  return true;
}

void cli_QueryReport::BeginElements() {
  if (areElements_) return;
  areElements_ = true;
  if (!json_) return;
  json_->EndList();
  json_->BeginList("elements");
}
