// cli_Skin.h: triangles of the outside of a part of a mesh
#pragma once

#include "cli_Regions.h"

#include <CoreGeometry/bme_FaceTriangles.h>

/// Whether a part is named by the class: by its element type, its category or the last piece of that.
bool cli_IsPart(const bme_ElementClass& type, const cow_String& part);
/// Element types, and last pieces of categories, in the order of the classes.
std::vector<cow_String> cli_PartNames(const bme_ElementData& elements);

/// The outside of a part of a mesh, cut into triangles between the corners of the faces: surface elements as
/// they are, of solids the faces that no other solid of the part has; of a surface its own faces. A part is
/// an element type, the category of an element class or its last piece, or a set or surface of the mesh; an
/// empty name means the whole mesh.
///
/// Errors     nex_TextException, beginning with file and root: no such part, nothing that could meet
///            anything, elements with nodes that are not there.
bme_FaceTriangles cli_MakeSkin(const cls_Database& model, const cow_String& root, const bme_Mesh& mesh,
                               const cow_String& part);
