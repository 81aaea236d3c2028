#include <CoreGeometry/odiC_CheckModel.h>

#include <BasicUtils/cls_Check.h>
#include <BasicUtils/cls_ReadView.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/shp_Shape.h>
#include <DiagnosticExtractor/ddr_DatabaseRoot.h>
#include <algorithm>
#include <map>

namespace {
/// The meshes of a model by their identifiers, each read once.
class Meshes {
public:
  explicit Meshes(const cls_Database& model) {
    for (const cow_String& root : model.RootsOf({bme_Mesh::TypeId()})) {
      const auto mesh = model.Get<bme_Mesh>(root);
      byId_.emplace(mesh->Id(), mesh);
    }
  }
  const bme_Mesh* Find(int id) const {
    const auto found = byId_.find(id);
    return found == byId_.end() ? nullptr : found->second.Get();
  }

private:
  std::multimap<int, cow_CountedHld<bme_Mesh>> byId_;
};

/// The element class of an element; null when the mesh has no such element.
const bme_ElementClass* ClassOf(const bme_Mesh& mesh, int element) {
  const auto& elements = mesh.ElementData();
  if (element < 0 || static_cast<unsigned>(element) >= elements.NumElements()) return nullptr;
  return &elements.GetElemClass(static_cast<unsigned>(element));
}

bool HasFacet(const bme_ElementClass& type, res_SetTypeEnm kind, int facet) {
  if (!type.IsSupported()) return true; // nothing is known of its faces
  const shp_Topology& shape = *type.Shape();
  if (kind == res_SURFACE_EDGE) {
    const rgnC_EdgeFacet edge = rgnC_EdgeFacetOf(facet);
    return facet >= 0 && edge.face < shape.NumFaces()
           && edge.edge < shape.EdgesPerFace()[static_cast<std::size_t>(edge.face)];
  }
  const int sides = shape.NumGeomDims() == 2 ? 2 : 1;
  return facet >= 0 && facet < sides * shape.NumFaces();
}

/// What is wrong with one entry of a subset, nullptr when nothing is.
const char* WrongWith(const bme_Mesh& mesh, const rgnC_SubsetData& subset, std::size_t i) {
  const int id = subset.IdArray()[i];
  const res_SetTypeEnm kind = subset.SubsetType();
  if (kind == res_NODE_SET || kind == res_SURFACE_NODE)
    return id >= 0 && static_cast<unsigned>(id) < mesh.NodeData().NumNodes() ? nullptr
                                                                             : "nodes outside the mesh";
  const bme_ElementClass* const type = ClassOf(mesh, id);
  if (!type) return "elements outside the mesh";
  if (subset.ClassIndex() >= 0 && type->ClassIndex() != subset.ClassIndex())
    return "elements of another class than the subset's";
  if (!subset.FacetIdArray().empty() && !HasFacet(*type, kind, subset.FacetIdArray()[i]))
    return "facets that the element does not have";
  return nullptr;
}

void CheckSet(const rgnC_SetData& set, const Meshes& meshes, chk_Findings& findings) {
  for (int at = 0; at < set.NumSubset(); ++at) {
    const rgnC_SubsetData& subset = set.SubSet(at);
    const cow_String where = "subset " + std::to_string(at) + ": ";
    const bme_Mesh* const mesh = meshes.Find(subset.MeshIndex());
    if (!mesh) {
      findings.Add("rgnC_SubsetData", "meshIndex",
                   where + "no mesh has the identifier " + std::to_string(subset.MeshIndex()),
                   "import the mesh again, or remove the set");
      continue;
    }
    std::map<cow_String, std::vector<long long>> wrong;
    for (std::size_t i = 0; i < subset.IdArray().size(); ++i)
      if (const char* what = WrongWith(*mesh, subset, i)) wrong[what].push_back(subset.IdArray()[i]);
    for (const auto& [what, ids] : wrong) {
      cow_String sentence = where + std::to_string(ids.size());
      sentence.append(" entries are ").append(what).append(" (listed by mesh index)");
      findings.Add("rgnC_SubsetData", "idArray", sentence, "put the set again from a mesh that fits it", ids);
    }
  }
}

/// Contents of sets against the meshes that they name, and references of regions to their sets.
void CheckSets(cls_Database& model, std::vector<chk_Finding>& all) {
  const cls_ReadView view(model);
  const Meshes meshes(model);
  const ddr_DatabaseRoot::Scope here(model);
  for (const cow_String& root : model.RootsOf({rgnC_SetData::TypeId(), rgnC_Region::TypeId()})) {
    chk_Findings findings(root, all);
    const unsigned type = model.TypeId(root);
    if (type == rgnC_SetData::TypeId()) CheckSet(*model.Get<rgnC_SetData>(root), meshes, findings);
    if (type != rgnC_Region::TypeId()) continue;
    const auto region = model.Get<rgnC_Region>(root);
    if (region->GetSetData().Path().empty()) continue; // a region without a set
    try {
      region->ConstSet();
    } catch (const nex_TextException& failure) {
      findings.Add("rgnC_Region", "setData", failure.Message(),
                   "put the set under that path, or remove the region");
    }
  }
}

bool HasFault(std::span<const chk_Finding> findings) {
  return std::ranges::any_of(findings,
                             [](const chk_Finding& one) { return one.weight == cls_Finding::Weight::Fault; });
}

void CheckMeshes(const cls_Database& model, std::vector<chk_Finding>& findings) {
  for (const cow_String& root : model.RootsOf({bme_Mesh::TypeId()})) {
    chk_Findings here(root, findings);
    const cow_CountedHld<bme_Mesh> mesh = model.Get<bme_Mesh>(root);
    const std::size_t before = findings.size();
    chk_Mesh(*mesh, here);
    if (HasFault(std::span(findings).subspan(before))) continue;
    const std::vector<unsigned> withoutSize = chk_Elements(*mesh, here);
    chk_Topology(*mesh, withoutSize, here);
  }
}
} // namespace

std::vector<chk_Finding> odiC_CheckModel(cls_Database& model) {
  std::vector<chk_Finding> findings;
  try {
    for (cls_Finding& stored : cls_Check(model)) findings.push_back({std::move(stored), {}, {}, 0});
    if (HasFault(findings)) return findings;
    CheckMeshes(model, findings);
    CheckSets(model, findings);
    odiC_CheckRuns(model, findings);
  } catch (const cls_BusyException&) {
    throw;
  } catch (const nex_TextException& failure) {
    findings.push_back(odiC_Unreadable(failure.Message()));
  }
  return findings;
}

chk_Finding odiC_Unreadable(const cow_String& message) {
  chk_Finding finding;
  finding.what = message;
  finding.advice = cls_kRestoreAdvice;
  return finding;
}
