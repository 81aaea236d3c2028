#include "bme_ListMaking.h"

#include <CoreGeometry/rgnC_Facet.h>

bme_SetSource::Kind bme_SetSource::KindOf(const rgnC_SubsetData& subset) {
  switch (subset.SubsetType()) {
  case res_NODE_SET:
  case res_SURFACE_NODE: return Kind::Node;
  case res_SURFACE_EDGE: return Kind::Edge;
  case res_SURFACE_SET:
  case res_SURFACE_FACET: return subset.FacetIdArray().empty() ? Kind::Facetless : Kind::Face;
  case res_SURFACE_ELEMENT: return Kind::Facetless;
  case res_ELEMENT_SET: return Kind::Element;
  case res_SURFACE_ANALYTICAL: break;
  }
  return Kind::Nothing;
}

std::vector<unsigned> bme_SetSource::Elements(std::initializer_list<Kind> kinds) const {
  return Words({"element index", "element indices"}, kinds, mesh_.ElementData().NumElements(),
               [](unsigned id, int) { return id; });
}

std::vector<unsigned> bme_SetSource::Faces() const {
  return Words({"facet of an element index", "facets of element indices"}, {Kind::Face},
               bme_NumAddressable(mesh_), [&](unsigned id, int facetId) {
                 const shp_Shape* shape = mesh_.ElementData().GetElemClass(id).Shape();
                 if (!shape) return bme_kNotFound;
                 const rgnC_Facet facet = rgnC_FacetOf(*shape, facetId);
                 return bme_WordOfFace(*shape, id, facet.face, facet.isBack && shape->NumGeomDims() == 2);
               });
}

std::vector<unsigned> bme_SetSource::FacesOfFacetless() const {
  const auto shapeOf = [&](unsigned element) { return mesh_.ElementData().GetElemClass(element).Shape(); };
  std::vector<unsigned> words =
      Words({"face of an element index", "faces of element indices"}, {Kind::Facetless},
            bme_NumAddressable(mesh_), [&](unsigned id, int) {
              return shapeOf(id) && bme_NumListedFaces(*shapeOf(id)) > 0 ? id : bme_kNotFound;
            });
  bme_UnknownItems solids(mesh_, {"solid, by element index", "solids, by element index"}, treatment_,
                          ": no faces are named, so none can be chosen of ");
  const auto isSolid = [&](unsigned element) { return shapeOf(element)->NumGeomDims() == 3; };
  for (const unsigned element : words)
    if (isSolid(element)) solids.Add(element);
  solids.Settle();
  std::erase_if(words, isSolid);
  return words; // face 0 and the front, whose word is the element index
}

std::vector<unsigned> bme_SetSource::Edges() const {
  return Words({"edge of an element index", "edges of element indices"}, {Kind::Edge},
               bme_NumAddressable(mesh_), [&](unsigned id, int facetId) {
                 const shp_Shape* shape = mesh_.ElementData().GetElemClass(id).Shape();
                 const rgnC_EdgeFacet edge = rgnC_EdgeFacetOf(facetId);
                 return shape ? bme_WordOfEdge(*shape, id, edge.face, edge.edge) : bme_kNotFound;
               });
}

void bme_SetSource::RefuseIfNotEmpty(const char* entities) const {
  std::vector<cow_String> held;
  for (int i = 0; i < set_.NumSubset(); ++i) {
    const rgnC_SubsetData& subset = set_.SubSet(i);
    if (subset.NumItems() == 0) continue;
    cow_String what = omu_PrimEnum<res_SetTypeEnm>(subset.SubsetType()).Text();
    what += " of mesh " + std::to_string(subset.MeshIndex());
    if (std::ranges::find(held, what) == held.end()) held.push_back(what);
  }
  if (held.empty()) return;
  cow_String list;
  for (const cow_String& what : held) list += (list.empty() ? "" : ", ") + what;
  throw nex_TextException("mesh " + std::to_string(mesh_.Id()) + ": no " + entities + " in a set that holds "
                          + list);
}
