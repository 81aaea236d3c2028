// bme_StoredSets.h: the sets and surfaces of a model, with the meshes that they are of
#pragma once

#include <BasicUtils/cls_Database.h>
#include <CoreGeometry/bme_NamedSet.h>
#include <map>
#include <vector>

inline constexpr const char* bme_kMeshFolder = "meshes/";

/// A region and the root under which it is stored.
struct bme_RegionRoot {
  cow_String root;
  rgnC_Region region;
};

/// Every root that is a region, sorted by root.
CORE_GEOMETRY_API std::vector<bme_RegionRoot> bme_StoredRegions(const cls_Database& model);
/// Adds contents that no region refers to, as regions without an owner.
CORE_GEOMETRY_API void bme_AddBareSets(const cls_Database& model, std::vector<bme_RegionRoot>& regions);
/// Nothing for a region that refers to nothing.
CORE_GEOMETRY_API rgnC_SetData bme_ContentsOf(const cls_Database& model, const rgnC_Region& region);
CORE_GEOMETRY_API cow_String bme_OwnerText(const rgnC_Region& region); ///< its owners, outermost first, "a/b"
/// The identifier of a mesh, without reading its nodes and elements.
CORE_GEOMETRY_API int bme_StoredMeshId(const cls_Database& model, const cow_String& root);

/// The meshes of a model by their identifiers, looked up once for any number of regions.
class CORE_GEOMETRY_API bme_MeshIndex {
public:
  explicit bme_MeshIndex(const cls_Database& model);
  /// The mesh with that identifier: the region's owner if it is one, else the first; empty when none is.
  cow_String RootOf(const rgnC_Region& region, int meshId) const;

private:
  std::multimap<int, cow_String> roots_; ///< sorted within an identifier
};

/// Every set and surface with something of the mesh of that root in it, or nothing and the mesh as its owner, by
/// index.
CORE_GEOMETRY_API std::vector<bme_NamedSet> bme_SetsOfMesh(const cls_Database& model, const cow_String& root);
