// cli_SetReport.h: sets and surfaces as lists, and what is in one of them
#pragma once

#include "cli_Regions.h"

#include <functional>

/// MODEL, NAME and --json of `sets`.
struct cli_SetArguments {
  std::string file, name;
  bool json = false;
  void AddTo(cli_Command command);
};

/// The region with that root, that root without its folder, or that name or kind:name if no other has it.
const bme_RegionRoot& cli_ChooseRegion(const cls_Database& model, const cow_String& file,
                                       const std::vector<bme_RegionRoot>& regions, const cow_String& name);

/// A region with its contents, of which there may be more than are here.
struct cli_RegionFacts {
  const bme_RegionRoot* region = nullptr;
  rgnC_SetData contents{};
  std::uint64_t numItems = 0;
};
void cli_ListRegions(const std::string& file, std::span<const cli_RegionFacts> regions, bool isJson);

/// The mesh that the items of a set are of.
struct cli_SetMesh {
  bool isThere = true; ///< else items are told by index
  bool hasNodeLabels = true;
  std::function<const bme_ElementClass*(std::size_t index)> classAt{};
  std::function<void(std::vector<int>& items, bool areNodes)> toLabels{};
};

/// Items of one subset with the same facet.
struct cli_SetPart {
  cow_String what; ///< like "class 0, C3D8, face 3"
  cli_Json facts;
  std::vector<int> labels;
};
/// Adds the items of a subset, a part for each facet.
void cli_AddSetParts(const cli_SetMesh& mesh, const rgnC_SubsetData& subset, std::vector<cli_SetPart>& parts);

void cli_PrintRegion(const std::string& file, const cow_String& mesh, const cli_RegionFacts& facts,
                     std::span<const cli_SetPart> parts, bool isJson);
