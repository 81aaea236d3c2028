// coregeometry sets: regions of a model and what is in them, by user label
#include "cli_Commands.h"
#include "cli_Console.h"
#include "cli_Regions.h"

#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_EntityList.h>
#include <CoreGeometry/bme_StoredMesh.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>
#include <map>

namespace {
struct Arguments {
  std::string file, name;
  bool json = false;
};

const char* ItemName(const rgnC_SetData& set, long long count) {
  const bool isOne = count == 1;
  switch (set.GetSetType()) {
  case res_NODE_SET: return isOne ? "node" : "nodes";
  case res_ELEMENT_SET: return isOne ? "element" : "elements";
  default: return isOne ? "facet" : "facets";
  }
}

/// Items of one subset with the same facet.
struct Part {
  cow_String what; ///< like "class 0, C3D8, face 3"
  cli_Json facts;
  std::vector<int> labels;
};

class Contents {
public:
  Contents(cow_String place, const bme_StoredMesh* mesh) : place_(std::move(place)), mesh_(mesh) {}

  void Add(const rgnC_SubsetData& subset) {
    const bool isNodes = subset.SubsetType() == res_NODE_SET || subset.SubsetType() == res_SURFACE_NODE;
    std::map<int, std::vector<int>> byFacet;
    const std::span<const int> ids = subset.IdArray(), facets = subset.FacetIdArray();
    if (facets.empty()) byFacet[-1].assign(ids.begin(), ids.end());
    for (std::size_t i = 0; i < facets.size(); ++i) byFacet[facets[i]].push_back(ids[i]);
    for (auto& [facet, items] : byFacet) {
      ToLabels(items, isNodes);
      if (!subset.IsUnsorted()) std::ranges::sort(items);
      parts_.push_back(Describe(subset, isNodes, facet));
      parts_.back().labels = std::move(items);
    }
  }
  const std::vector<Part>& Parts() const { return parts_; }

private:
  void ToLabels(std::vector<int>& items, bool areNodes) const {
    if (!mesh_) return;
    const unsigned count = areNodes ? mesh_->NumNodes() : mesh_->NumElements();
    for (const int item : items) {
      if (static_cast<unsigned>(item) >= count)
        throw nex_TextException(place_ + ": " + (areNodes ? "node" : "element") + " index "
                                + std::to_string(item) + " in a mesh of " + std::to_string(count));
    }
    items = areNodes ? mesh_->NodeLabels(items) : mesh_->ElementLabels(items);
  }

  Part Describe(const rgnC_SubsetData& subset, bool areNodes, int facet) const {
    Part part;
    part.facts["subset"] = omu_FindText(omu_EnumTable<res_SetTypeEnm>::entries, subset.SubsetType());
    const char* const numbers = !mesh_                                    ? "indices"
                                : areNodes && !mesh_->HasUserNodeLabels() ? "node indices"
                                : areNodes                                ? "nodes"
                                                                          : "";
    part.what = numbers;
    const auto add = [&](const cow_String& text) { part.what += (part.what.empty() ? "" : ", ") + text; };
    const shp_Shape* shape = nullptr;
    if (subset.ClassIndex() >= 0) {
      part.facts["class"] = subset.ClassIndex();
      add("class " + std::to_string(subset.ClassIndex()));
      const auto index = static_cast<std::size_t>(subset.ClassIndex());
      if (mesh_ && index < mesh_->Classes().size()) {
        const bme_ElementClass& type = mesh_->Classes()[index].kind;
        shape = type.Shape();
        add(type.ElemTypeLabel());
      }
    }
    if (subset.SubsetType() == res_SURFACE_ELEMENT) add("no face");
    if (facet < 0) return part;
    if (subset.SubsetType() == res_SURFACE_EDGE) {
      const rgnC_EdgeFacet edge = rgnC_EdgeFacetOf(facet);
      add("edge " + std::to_string(edge.edge) + " of face " + std::to_string(edge.face));
      part.facts["face"] = edge.face;
      part.facts["edge"] = edge.edge;
    } else {
      const rgnC_Facet side = shape ? rgnC_FacetOf(*shape, facet) : rgnC_Facet{facet, false};
      add("face " + std::to_string(side.face) + (side.isBack ? " from behind" : ""));
      part.facts["face"] = side.face;
      part.facts["back"] = side.isBack;
    }
    return part;
  }

  cow_String place_;
  const bme_StoredMesh* mesh_;
  std::vector<Part> parts_;
};

cow_String Title(const cow_String& root) {
  return root.starts_with(bme_kRegionFolder) ? root.substr(cow_String(bme_kRegionFolder).size()) : root;
}

/// The region with that root, that root without its folder, or that name or kind:name if no other has it.
const bme_RegionRoot& Choose(const cls_Database& model, const std::vector<bme_RegionRoot>& regions,
                             const cow_String& name) {
  std::vector<bme_NamedSet> sets;
  for (const bme_RegionRoot& one : regions) {
    if (one.root == name) return one;
    const rgnC_SetData contents = bme_ContentsOf(model, one.region);
    sets.push_back({one.region.Name(), bme_KindOf(contents), contents, Title(one.root)});
  }
  if (const bme_NamedSet* found = bme_FindSet(sets, name, model.File()))
    return regions[static_cast<std::size_t>(found - sets.data())];
  std::vector<cow_String> names;
  names.reserve(sets.size());
  for (const bme_NamedSet& set : sets) names.push_back(set.name);
  throw nex_TextException(model.File() + ": no set or surface \"" + name + '"'
                          + atr_Alternatives(name, names));
}

void List(const Arguments& arguments, const cls_Database& model, const std::vector<bme_RegionRoot>& regions) {
  cli_Json json = cli_Json::array();
  if (!arguments.json && regions.empty()) cli_Out() << arguments.file << ": no regions\n";
  std::vector<rgnC_SetData> all; // before anything is printed: who reads slowly must not hold up writers
  {
    const cls_ReadView view(model);
    for (const bme_RegionRoot& one : regions) all.push_back(bme_ContentsOf(model, one.region));
  }
  auto next = all.begin();
  for (const auto& [root, region] : regions) {
    const rgnC_SetData& contents = *next++;
    const long long count = cli_NumItems(contents);
    if (arguments.json)
      json.push_back({{"region", root},
                      {"name", region.Name()},
                      {"mesh", bme_OwnerText(region)},
                      {"kind", cli_KindText(region.GetSetTypeBits())},
                      {"index", contents.GetSetIndex()},
                      {"items", count}});
    else
      cli_Out() << Title(root) << ": " << cli_KindText(region.GetSetTypeBits()) << ", " << count << ' '
                << ItemName(contents, count) << '\n';
  }
  if (arguments.json) cli_PrintJson({{"file", arguments.file}, {"regions", json}});
}

void PrintOne(const Arguments& arguments, const cls_Database& model, const bme_RegionRoot& one) {
  const rgnC_SetData contents = bme_ContentsOf(model, one.region);
  const cow_String place = model.File() + ", " + one.root;
  std::map<int, bme_StoredMesh> meshes; // by identifier
  std::map<int, Contents> byMesh;
  const bme_MeshIndex index(model);
  cow_String meshRoots;
  for (int i = 0; i < contents.NumSubset(); ++i) {
    const rgnC_SubsetData& subset = contents.SubSet(i);
    auto found = byMesh.find(subset.MeshIndex());
    if (found == byMesh.end()) {
      const cow_String root = index.RootOf(one.region, subset.MeshIndex());
      if (!root.empty()) meshes.try_emplace(subset.MeshIndex(), model, root);
      meshRoots += (meshRoots.empty() ? "" : ", ") + (root.empty() ? "no mesh of the model" : root);
      const bme_StoredMesh* mesh = root.empty() ? nullptr : &meshes.at(subset.MeshIndex());
      found = byMesh.emplace(subset.MeshIndex(), Contents(place, mesh)).first;
    }
    found->second.Add(subset);
  }
  const long long count = cli_NumItems(contents);
  const char* kind = cli_KindText(one.region.GetSetTypeBits());
  cli_Json json = {{"file", arguments.file},
                   {"region", one.root},
                   {"name", one.region.Name()},
                   {"mesh", meshRoots},
                   {"kind", kind},
                   {"index", contents.GetSetIndex()},
                   {"items", count},
                   {"parts", cli_Json::array()}};
  if (!arguments.json)
    cli_Out() << one.root << ": " << kind << (meshRoots.empty() ? "" : " of " + meshRoots) << ", " << count
              << ' ' << ItemName(contents, count) << '\n';
  for (const auto& [id, all] : byMesh)
    for (const Part& part : all.Parts()) {
      if (!arguments.json) {
        cli_Out() << "  " << part.what << ": " << bme_CompactLabels(part.labels) << '\n';
        continue;
      }
      cli_Json facts = part.facts;
      facts["labels"] = part.labels;
      json["parts"].push_back(std::move(facts));
    }
  if (arguments.json) cli_PrintJson(json);
}

void Run(const Arguments& arguments) {
  cli_Console console;
  console.Begin("reading " + arguments.file);
  const cls_Database model = cli_OpenModel(arguments.file);
  std::vector<bme_RegionRoot> regions = bme_StoredRegions(model);
  bme_AddBareSets(model, regions);
  console.End();
  if (arguments.name.empty())
    List(arguments, model, regions);
  else
    PrintOne(arguments, model, Choose(model, regions, arguments.name));
  console.End();
}
} // namespace

void cli_AddSets(cli_Command& program) {
  cli_Command command = program.AddCommand("sets", "List the sets and surfaces of a model, or print one");
  auto arguments = std::make_shared<Arguments>();
  command.AddOption("MODEL", arguments->file, "Model file (.cgdb)").Required();
  command.AddOption("NAME", arguments->name,
                    "Set or surface to print: NAME if it is the only one, else node:NAME, element:NAME or "
                    "surface:NAME, or MESH/NAME as listed");
  command.AddFlag("--json", arguments->json, "Print the facts as JSON");
  command.Footer(
      "Nodes and elements are given by user label, 1:9:2 standing for 1,3,5,7,9. Faces and edges count\n"
      "from 0 as in \"coregeometry shapes\"; a shell has one face, which can be meant from behind.\n"
      "\n"
      "Example:\n"
      "  coregeometry sets bracket.cgdb fixed");
  command.OnRun([arguments] { Run(*arguments); });
}
