// cli_Skin.h: triangles of the outside of a part of a mesh
#pragma once

#include <CoreGeometry/bme_Mesh.h>
#include <vector>

/// Triangles on the corners of the faces that are seen from outside: shells and plane elements as they are,
/// of solids the faces that no other solid of the part has. Curved edges are taken as straight.
struct cli_Skin {
  std::vector<int> triangles;    ///< three node indices each
  std::vector<unsigned> element; ///< of each triangle, mesh element index
};

/// Names of a class by which a part is chosen: its element type, its category, the last piece of that.
bool cli_IsPart(const bme_ElementClass& type, const cow_String& part);

/// Of the classes that the part names, or of all when it is empty. Throws nex_TextException, beginning with
/// `place`, when there is no such class, none of them has faces, or an element has a node that is not there.
cli_Skin cli_MakeSkin(const bme_Mesh& mesh, const cow_String& part, const cow_String& place);
