// cli_Query.h: labels that are asked for, and what is told about them
#pragma once

#include "cli_Model.h"

#include <optional>

/// --node and --element.
class cli_QueryArguments {
public:
  void AddTo(cli_Command command);
  /// Labels in their order. Both throw cli_UsageError, also when neither option is given.
  std::vector<int> Nodes() const;
  std::vector<int> Elements() const;

private:
  std::vector<std::string> nodes_, elements_; ///< texts of labels
};

/// What is told about an element. The labels of its nodes are null for those that are not there.
cli_Json cli_ElementFacts(const bme_ElementClass& type, int label, std::uint64_t index,
                          std::size_t classIndex, bool hasNodeLabels, const cli_Json& nodes);

/// Prints facts of nodes and then of elements, as text or as one JSON document.
class cli_QueryReport {
public:
  cli_QueryReport(const std::string& file, const cow_String& mesh, bool isJson);
  void AddNode(int label, const cli_Json& facts); ///< null for a label that the mesh does not have
  void AddElement(int label, const cli_Json& facts);
  void End(); ///< throws cli_Incomplete, having said so, when labels are unknown

private:
  bool IsUnknown(const char* kind, int label, const cli_Json& facts);
  void BeginElements();

  cow_String place_;
  std::optional<cli_JsonStream> json_;
  bool areElements_ = false;
  cli_Json unknown_ = {{"nodes", cli_Json::array()}, {"elements", cli_Json::array()}};
};
