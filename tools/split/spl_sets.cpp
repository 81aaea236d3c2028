// sets of a split model: regions and what is in them, by user label
#include "cli_SetReport.h"
#include "spl_Commands.h"
#include "spl_Split.h"

#include <algorithm>
#include <memory>

namespace {
/// An entry of a set as it stands in one part.
struct Entry {
  std::uint64_t order; ///< place in the whole subset, or number in the whole where entries ascend
  int subset, label, facet;
};

bool IsOfNodes(const rgnC_SubsetData& subset) {
  return subset.SubsetType() == res_NODE_SET || subset.SubsetType() == res_SURFACE_NODE;
}

/// Number of the contents among the sets of the index.
unsigned SetOf(const dst_Index& index, const cow_String& contents) {
  for (unsigned set = 0; set < index.NumSets(); ++set)
    if (index.SetRoot(set) == contents) return set;
  throw nex_TextException(contents + ": the index of the split knows no such set; split again");
}

cli_RegionFacts FactsOf(const dst_Index& index, const cls_Database& first, const bme_RegionRoot& region) {
  cli_RegionFacts facts{&region, bme_ContentsOf(first, region.region)};
  if (!region.region.GetSetData().IsDefined()) return facts;
  const unsigned set = SetOf(index, region.region.GetSetData().Path());
  for (unsigned k = 0; k < index.NumSubsets(set); ++k) facts.numItems += index.NumEntries(set, k);
  return facts;
}

/// Entries of elements and of nodes that the part owns.
std::vector<Entry> EntriesOf(const dst_Mesh& mesh, const dst_OpenPart& open, const cow_String& contents) {
  const unsigned first = mesh.Index().FirstSubset(SetOf(mesh.Index(), contents));
  const auto set = open.model.Get<rgnC_SetData>(contents);
  std::vector<Entry> entries;
  for (int i = 0; i < set->NumSubset(); ++i) {
    const rgnC_SubsetData& subset = set->SubSet(i);
    const bool areNodes = IsOfNodes(subset);
    const std::span<const int> facets = subset.FacetIdArray();
    const std::span<const unsigned> positions = open.part->PositionsOf(first + static_cast<unsigned>(i));
    for (std::size_t k = 0; k < subset.IdArray().size(); ++k) {
      const auto item = static_cast<unsigned>(subset.IdArray()[k]);
      if (areNodes && open.part->OwnerOfNode(item) != open.part->Number()) continue;
      const std::uint64_t number = areNodes ? open.part->NodeNumber(item) : open.part->ElementNumber(item);
      const std::int64_t label = areNodes ? spl_NodeLabel(mesh, open, item) : mesh.ElementLabel(open, item);
      entries.push_back({positions.empty() ? number : positions[k], i, static_cast<int>(label),
                         facets.empty() ? -1 : facets[k]});
    }
  }
  return entries;
}

void PrintOne(const spl_Split& split, const cli_SetArguments& arguments, const cls_Database& first,
              const bme_RegionRoot& region) {
  dst_Exchange& exchange = split.Exchange();
  cli_RegionFacts facts = FactsOf(split.Index(), first, region);
  std::vector<std::vector<Entry>> own(exchange.MyParts().Count());
  if (facts.numItems > 0) {
    exchange.ForEachPart([&](unsigned part) {
      own[part - exchange.MyParts().first] =
          EntriesOf(split.Mesh(), split.Mesh().Part(part), region.region.GetSetData().Path());
    });
  }
  std::vector<Entry> all;
  for (const std::vector<Entry>& ofPart : exchange.GatherRecords(own))
    all.insert(all.end(), ofPart.begin(), ofPart.end());
  std::ranges::stable_sort(all, [](const Entry& a, const Entry& b) {
    return a.subset != b.subset ? a.subset < b.subset : a.order < b.order;
  });
  const cli_SetMesh mesh{.hasNodeLabels = split.Index().HasNodeLabels(),
                         .classAt =
                             [&](std::size_t index) {
                               return index < split.Classes().NumClasses()
                                          ? &split.Classes().GetClass(static_cast<unsigned>(index))
                                          : nullptr;
                             },
                         .toLabels = [](std::vector<int>&, bool) {}}; // the items are labels already
  std::vector<cli_SetPart> parts;
  auto next = all.begin();
  for (int i = 0; i < facts.contents.NumSubset(); ++i) {
    std::vector<int> labels, facets;
    for (; next != all.end() && next->subset == i; ++next) {
      labels.push_back(next->label);
      if (next->facet >= 0) facets.push_back(next->facet);
    }
    const rgnC_SubsetData subset =
        facts.contents.SubSet(i).WithItems(rgnC_SubsetData::Ids(labels), rgnC_SubsetData::Ids(facets));
    cli_AddSetParts(mesh, subset, parts);
  }
  const cow_String root = facts.contents.NumSubset() > 0 ? split.Folder().MeshRoot() : cow_String();
  cli_PrintRegion(arguments.file, root, facts, parts, arguments.json);
}

void Run(const cli_SetArguments& arguments, dst_Exchange& exchange) {
  const spl_Split split({.folder = arguments.file, .name = {}, .json = arguments.json}, exchange);
  std::optional<cls_Database> first;
  std::vector<bme_RegionRoot> regions;
  const bme_RegionRoot* chosen = nullptr;
  std::vector<cli_RegionFacts> facts;
  exchange.OnEachRank([&] {
    first = split.Folder().OpenPartFile(0);
    regions = bme_StoredRegions(*first);
    bme_AddBareSets(*first, regions);
    if (!arguments.name.empty())
      chosen = &cli_ChooseRegion(*first, arguments.file, regions, arguments.name);
    else
      for (const bme_RegionRoot& one : regions) facts.push_back(FactsOf(split.Index(), *first, one));
  });
  exchange.Agree();
  if (chosen)
    PrintOne(split, arguments, *first, *chosen);
  else
    cli_ListRegions(arguments.file, facts, arguments.json);
}
} // namespace

void spl_AddSets(cli_Command& program, dst_Exchange& exchange) {
  cli_Command command =
      program.AddCommand("sets", "List the sets and surfaces of a split model, or print one");
  auto arguments = std::make_shared<cli_SetArguments>();
  arguments->AddTo(command);
  command.Footer("Example:\n  coregeometry sets wing.split fixed");
  command.OnRun([arguments, &exchange] { Run(*arguments, exchange); });
}
