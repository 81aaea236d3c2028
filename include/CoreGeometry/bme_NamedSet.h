// bme_NamedSet.h: a named set of a mesh, and how it is found and stored
#pragma once

#include <CoreGeometry/rgnC_Region.h>
#include <span>

class cls_WritePass;

/// Contents of a set with its name and kind.
struct bme_NamedSet {
  cow_String name; ///< several sets of a mesh may share it
  rgnC_SetType kind = rgnC_NONE;
  rgnC_SetData data;
  cow_String root{}; ///< unique among the sets of its mesh; empty when the name is

  const cow_String& Root() const noexcept { return root.empty() ? name : root; }
};

/// Folders of the regions and of their contents in a model: "regions/<mesh>/<name>" and "sets/<mesh>/<name>".
inline constexpr const char *bme_kRegionFolder = "regions/", *bme_kSetFolder = "sets/";

/// The kind of region that fits these contents.
CORE_GEOMETRY_API rgnC_SetType bme_KindOf(const rgnC_SetData& contents) noexcept;

/// Finds a set by "name", by "kind:name" (the kind is node, element or surface), or by its root; null when
/// there is none. When several sets share name and kind, the name means the one that has it as its root; the
/// others are found by their roots.
///
/// Errors     nex_TextException, beginning with `place`, that lists the sets when the text fits several.
CORE_GEOMETRY_API const bme_NamedSet* bme_FindSet(std::span<const bme_NamedSet> sets,
                                                  const cow_String& wanted, const cow_String& place);
/// "node", "element" or "surface".
CORE_GEOMETRY_API const char* bme_KindWord(rgnC_SetType kind) noexcept;

/// The region of a set of a mesh: with the mesh as its owner, the kind and the path of the contents.
///
/// Errors     nex_TextException for an empty name.
CORE_GEOMETRY_API rgnC_Region bme_RegionOf(const cow_String& mesh, const bme_NamedSet& set);

/// Stores contents and their region: the region gets the mesh (of the root "meshes/<mesh>") as its owner, the
/// kind of the contents, and their path. Contents without a label get the name as label. Objects that these
/// roots had before are replaced.
///
/// Errors     nex_TextException for an empty name, and as cls_WritePass.
CORE_GEOMETRY_API void bme_PutSet(cls_WritePass& pass, const cow_String& mesh, const cow_String& name,
                                  const rgnC_SetData& contents);
/// The same under the set's own root; the region keeps the name.
CORE_GEOMETRY_API void bme_PutSet(cls_WritePass& pass, const cow_String& mesh, const bme_NamedSet& set);
