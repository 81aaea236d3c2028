// bme_NamedSet.h: a set of a mesh under the name that files and pictures give it
#pragma once

#include <CoreGeometry/rgnC_Region.h>

class cls_WritePass;

/// Contents of a set with its name and kind.
struct bme_NamedSet {
  cow_String name; ///< no two of a mesh are alike
  rgnC_SetType kind = rgnC_NONE;
  rgnC_SetData data;
};

/// Where regions and their contents stand in a model: "regions/<mesh>/<name>" and "sets/<mesh>/<name>".
inline constexpr const char *bme_kRegionFolder = "regions/", *bme_kSetFolder = "sets/";

/// The kind of region that names such contents.
CORE_GEOMETRY_API rgnC_SetType bme_KindOf(const rgnC_SetData& contents) noexcept;

/// Stores contents and the region that names them: with the mesh, which is that of the root "meshes/<mesh>", as
/// its owner, the kind of the contents, and their path. Contents without a label get the name as theirs. What
/// stood under these roots before is replaced.
///
/// Errors     nex_TextException for an empty name, and as cls_WritePass.
CORE_GEOMETRY_API void bme_PutSet(cls_WritePass& pass, const cow_String& mesh, const cow_String& name,
                                  const rgnC_SetData& contents);
