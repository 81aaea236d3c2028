#include "cli_SetReport.h"

#include "cli_Console.h"

#include <CoreGeometry/bme_EntityList.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreUtils/atr_Near.h>
#include <algorithm>
#include <map>

namespace {
const char* ItemName(const rgnC_SetData& set, std::uint64_t count) {
  const bool isOne = count == 1;
  switch (set.GetSetType()) {
  case res_NODE_SET: return isOne ? "node" : "nodes";
  case res_ELEMENT_SET: return isOne ? "element" : "elements";
  default: return isOne ? "facet" : "facets";
  }
}

cow_String Title(const cow_String& root) {
  return root.starts_with(bme_kRegionFolder) ? root.substr(cow_String(bme_kRegionFolder).size()) : root;
}

cli_SetPart Describe(const cli_SetMesh& mesh, const rgnC_SubsetData& subset, bool areNodes, int facet) {
  cli_SetPart part;
  part.facts["subset"] = omu_FindText(omu_EnumTable<res_SetTypeEnm>::entries, subset.SubsetType());
  const char* const numbers = !mesh.isThere                     ? "indices"
                              : areNodes && !mesh.hasNodeLabels ? "node indices"
                              : areNodes                        ? "nodes"
                                                                : "";
  part.what = numbers;
  const auto add = [&](const cow_String& text) { part.what += (part.what.empty() ? "" : ", ") + text; };
  const shp_Shape* shape = nullptr;
  if (subset.ClassIndex() >= 0) {
    part.facts["class"] = subset.ClassIndex();
    add("class " + std::to_string(subset.ClassIndex()));
    const bme_ElementClass* type =
        mesh.isThere ? mesh.classAt(static_cast<std::size_t>(subset.ClassIndex())) : nullptr;
    if (type) {
      shape = type->Shape();
      add(type->ElemTypeLabel());
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

} // namespace

void cli_SetArguments::AddTo(cli_Command command) {
  command.AddOption("MODEL", file, "Model file (.cgdb)").Required();
  command.AddOption("NAME", name,
                    "Set or surface to print: NAME if it is the only one, else node:NAME, element:NAME or "
                    "surface:NAME, or MESH/NAME as listed");
  command.AddFlag("--json", json, "Print the facts as JSON");
}

const bme_RegionRoot& cli_ChooseRegion(const cls_Database& model, const cow_String& file,
                                       const std::vector<bme_RegionRoot>& regions, const cow_String& name) {
  std::vector<bme_NamedSet> sets;
  for (const bme_RegionRoot& one : regions) {
    if (one.root == name) return one;
    const rgnC_SetData contents = bme_ContentsOf(model, one.region);
    sets.push_back({one.region.Name(), bme_KindOf(contents), contents, Title(one.root)});
  }
  if (const bme_NamedSet* found = bme_FindSet(sets, name, file))
    return regions[static_cast<std::size_t>(found - sets.data())];
  std::vector<cow_String> names;
  names.reserve(sets.size());
  for (const bme_NamedSet& set : sets) names.push_back(set.name);
  throw nex_TextException(file + ": no set or surface \"" + name + '"' + atr_Alternatives(name, names));
}

void cli_ListRegions(const std::string& file, std::span<const cli_RegionFacts> regions, bool isJson) {
  cli_Json json = cli_Json::array();
  if (!isJson && regions.empty()) cli_Out() << file << ": no regions\n";
  for (const cli_RegionFacts& one : regions) {
    const auto& [root, region] = *one.region;
    const char* kind = cli_KindText(region.GetSetTypeBits());
    if (isJson)
      json.push_back({{"region", root},
                      {"name", region.Name()},
                      {"mesh", bme_OwnerText(region)},
                      {"kind", kind},
                      {"index", one.contents.GetSetIndex()},
                      {"items", one.numItems}});
    else
      cli_Out() << Title(root) << ": " << kind << ", " << one.numItems << ' '
                << ItemName(one.contents, one.numItems) << '\n';
  }
  if (isJson) cli_PrintJson({{"file", file}, {"regions", json}});
}

void cli_AddSetParts(const cli_SetMesh& mesh, const rgnC_SubsetData& subset,
                     std::vector<cli_SetPart>& parts) {
  const bool isNodes = subset.SubsetType() == res_NODE_SET || subset.SubsetType() == res_SURFACE_NODE;
  std::map<int, std::vector<int>> byFacet;
  const std::span<const int> ids = subset.IdArray(), facets = subset.FacetIdArray();
  if (facets.empty()) byFacet[-1].assign(ids.begin(), ids.end());
  for (std::size_t i = 0; i < facets.size(); ++i) byFacet[facets[i]].push_back(ids[i]);
  for (auto& [facet, items] : byFacet) {
    if (mesh.isThere) mesh.toLabels(items, isNodes);
    if (!subset.IsUnsorted()) std::ranges::sort(items);
    parts.push_back(Describe(mesh, subset, isNodes, facet));
    parts.back().labels = std::move(items);
  }
}

void cli_PrintRegion(const std::string& file, const cow_String& mesh, const cli_RegionFacts& facts,
                     std::span<const cli_SetPart> parts, bool isJson) {
  const auto& [root, region] = *facts.region;
  const char* kind = cli_KindText(region.GetSetTypeBits());
  cli_Json json = {{"file", file},
                   {"region", root},
                   {"name", region.Name()},
                   {"mesh", mesh},
                   {"kind", kind},
                   {"index", facts.contents.GetSetIndex()},
                   {"items", facts.numItems},
                   {"parts", cli_Json::array()}};
  if (!isJson)
    cli_Out() << root << ": " << kind << (mesh.empty() ? "" : " of " + mesh) << ", " << facts.numItems << ' '
              << ItemName(facts.contents, facts.numItems) << '\n';
  for (const cli_SetPart& part : parts) {
    if (!isJson) {
      cli_Out() << "  " << part.what << ": " << bme_CompactLabels(part.labels) << '\n';
      continue;
    }
    cli_Json one = part.facts;
    one["labels"] = part.labels;
    json["parts"].push_back(std::move(one));
  }
  if (isJson) cli_PrintJson(json);
}
