// coregeometry sets: regions of a model and what is in them, by user label
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_SetReport.h"

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_StoredMesh.h>
#include <map>

namespace {
cli_RegionFacts FactsOf(const cls_Database& model, const bme_RegionRoot& one) {
  const rgnC_SetData contents = bme_ContentsOf(model, one.region);
  const auto count = static_cast<std::uint64_t>(cli_NumItems(contents));
  return {&one, contents, count};
}

void List(const cli_SetArguments& arguments, const cls_Database& model,
          const std::vector<bme_RegionRoot>& regions) {
  std::vector<cli_RegionFacts> all; // before anything is printed: who reads slowly must not hold up writers
  {
    const cls_ReadView view(model);
    all.reserve(regions.size());
    for (const bme_RegionRoot& one : regions) all.push_back(FactsOf(model, one));
  }
  cli_ListRegions(arguments.file, all, arguments.json);
}

/// The items of a set that are in a mesh of the model; of no mesh they are told by index.
cli_SetMesh MeshOf(const bme_StoredMesh* mesh, const cow_String& place) {
  if (!mesh) return {.isThere = false};
  return {.hasNodeLabels = mesh->HasUserNodeLabels(),
          .classAt =
              [mesh](std::size_t index) {
                return index < mesh->Classes().size() ? &mesh->Classes()[index].kind : nullptr;
              },
          .toLabels =
              [mesh, place](std::vector<int>& items, bool areNodes) {
                const unsigned count = areNodes ? mesh->NumNodes() : mesh->NumElements();
                for (const int item : items)
                  if (static_cast<unsigned>(item) >= count)
                    throw nex_TextException(place + ": " + (areNodes ? "node" : "element") + " index "
                                            + std::to_string(item) + " in a mesh of "
                                            + std::to_string(count));
                items = areNodes ? mesh->NodeLabels(items) : mesh->ElementLabels(items);
              }};
}

void PrintOne(const cli_SetArguments& arguments, const cls_Database& model, const bme_RegionRoot& one) {
  const cli_RegionFacts facts = FactsOf(model, one);
  const cow_String place = model.File() + ", " + one.root;
  std::map<int, bme_StoredMesh> meshes; // by identifier
  std::map<int, std::vector<cli_SetPart>> byMesh;
  const bme_MeshIndex index(model);
  cow_String meshRoots;
  for (int i = 0; i < facts.contents.NumSubset(); ++i) {
    const rgnC_SubsetData& subset = facts.contents.SubSet(i);
    const int id = subset.MeshIndex();
    if (!byMesh.contains(id)) {
      const cow_String root = index.RootOf(one.region, id);
      if (!root.empty()) meshes.try_emplace(id, model, root);
      meshRoots += (meshRoots.empty() ? "" : ", ") + (root.empty() ? "no mesh of the model" : root);
    }
    const auto mesh = meshes.find(id);
    cli_AddSetParts(MeshOf(mesh == meshes.end() ? nullptr : &mesh->second, place), subset, byMesh[id]);
  }
  std::vector<cli_SetPart> parts;
  for (auto& [id, ofMesh] : byMesh)
    parts.insert(parts.end(), std::make_move_iterator(ofMesh.begin()), std::make_move_iterator(ofMesh.end()));
  cli_PrintRegion(arguments.file, meshRoots, facts, parts, arguments.json);
}

void Run(const cli_SetArguments& arguments) {
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  std::vector<bme_RegionRoot> regions = bme_StoredRegions(model);
  bme_AddBareSets(model, regions);
  console.End();
  if (arguments.name.empty())
    List(arguments, model, regions);
  else
    PrintOne(arguments, model, cli_ChooseRegion(model, arguments.file, regions, arguments.name));
  console.End();
}
} // namespace

void cli_AddSets(cli_Command& program) {
  cli_Command command = program.AddCommand("sets", "List the sets and surfaces of a model, or print one");
  auto arguments = std::make_shared<cli_SetArguments>();
  arguments->AddTo(command);
  command.Footer(
      "Nodes and elements are given by user label, 1:9:2 standing for 1,3,5,7,9. Faces and edges count\n"
      "from 0 as in \"coregeometry shapes\"; a shell has one face, which can be meant from behind.\n"
      "\n"
      "Example:\n"
      "  coregeometry sets bracket.cgdb fixed");
  command.OnRun([arguments] { Run(*arguments); });
}
