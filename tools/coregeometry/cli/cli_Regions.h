// cli_Regions.h: regions of a model file with the meshes that they are regions of
#pragma once

#include "cli_Model.h"
#include <CoreGeometry/bme_NamedSet.h>

#include <CoreGeometry/rgnC_Region.h>
#include <map>

struct cli_RegionRoot {
  cow_String root;
  rgnC_Region region;
};

/// Every root that is a region, sorted by root.
std::vector<cli_RegionRoot> cli_Regions(const cls_Database& model);

cow_String cli_OwnerText(const rgnC_Region& region); ///< its owners, outermost first, "a/b"
const char* cli_KindText(int setTypeBits);           ///< "node set", "surface", "set" when it is not one kind
long long cli_NumItems(const rgnC_SetData& set);     ///< of all its subsets
bool cli_HoldsElements(const rgnC_SetData& set, int meshId); ///< elements of that mesh, or parts of them
int cli_MeshId(const cls_Database& model, const cow_String& root); ///< without reading the mesh

/// The meshes of a model by their identifiers, looked up once for any number of regions.
class cli_MeshIndex {
public:
  explicit cli_MeshIndex(const cls_Database& model);
  /// The mesh with that identifier: the region's owner if it is one, else the first; empty when none is.
  cow_String RootOf(const rgnC_Region& region, int meshId) const;

private:
  std::multimap<int, cow_String> roots_; ///< sorted within an identifier
};

/// Adds contents that no region refers to, as regions without an owner.
void cli_AddBareSets(const cls_Database& model, std::vector<cli_RegionRoot>& regions);
rgnC_SetData cli_ContentsOf(const cls_Database& model,
                            const rgnC_Region& region); ///< nothing for a region that refers to nothing

/// Every set and surface with something of that mesh in it, or nothing and the mesh as its owner, by index.
std::vector<bme_NamedSet> cli_SetsOfMesh(const cls_Database& model, const cow_String& root);
