// bme_NamedSet.h: a set of a mesh under the name that files and pictures give it
#pragma once

#include <CoreGeometry/rgnC_Region.h>
#include <span>

class cls_WritePass;

/// Contents of a set with its name and kind.
struct bme_NamedSet {
  cow_String name; ///< several sets of a mesh may share it
  rgnC_SetType kind = rgnC_NONE;
  rgnC_SetData data;
  cow_String root{}; ///< distinguishes it from the others of its mesh; empty when the name does

  const cow_String& Root() const noexcept { return root.empty() ? name : root; }
};

/// Where regions and their contents stand in a model: "regions/<mesh>/<name>" and "sets/<mesh>/<name>".
inline constexpr const char *bme_kRegionFolder = "regions/", *bme_kSetFolder = "sets/";

/// The kind of region that names such contents.
CORE_GEOMETRY_API rgnC_SetType bme_KindOf(const rgnC_SetData& contents) noexcept;

/// The set that is meant by "name", by "kind:name" with the kind node, element or surface, or by its root; null when
/// there is none. Of several of one name and kind, the one with that name as its root; the others by their roots.
///
/// Errors     nex_TextException, beginning with `place`, that lists the sets when several are meant.
CORE_GEOMETRY_API const bme_NamedSet* bme_FindSet(std::span<const bme_NamedSet> sets,
                                                  const cow_String& wanted, const cow_String& place);
/// "node", "element" or "surface".
CORE_GEOMETRY_API const char* bme_KindWord(rgnC_SetType kind) noexcept;

/// Stores contents and the region that names them: with the mesh, which is that of the root "meshes/<mesh>", as
/// its owner, the kind of the contents, and their path. Contents without a label get the name as theirs. What
/// stood under these roots before is replaced.
///
/// Errors     nex_TextException for an empty name, and as cls_WritePass.
CORE_GEOMETRY_API void bme_PutSet(cls_WritePass& pass, const cow_String& mesh, const cow_String& name,
                                  const rgnC_SetData& contents);
/// The same under the roots of its own; the region keeps the name.
CORE_GEOMETRY_API void bme_PutSet(cls_WritePass& pass, const cow_String& mesh, const bme_NamedSet& set);
