// pic_Scene.h: a picture of the outside of a mesh
#pragma once

#include <CoreGeometry/PictureExport.h>
#include <CoreGeometry/bme_Outside.h>
#include <CoreGeometry/pic_Canvas.h>

class dtu_Datum;

enum class pic_Background { Shaded, White, Transparent };

struct pic_View {
  pic_Vector direction{1, -1.5, 1}; ///< from the model to the viewer, of any length but 0
  int width = 1200, height = 900;
  bool hasMeshEdges = false; ///< edges of all faces, not only feature edges
  pic_Background background = pic_Background::Shaded;
  cow_String title{};     ///< a line at the top, none when empty
  bool hasLegend = false; ///< colours with the names of their groups, at the right, and a scale bar below
  bool hasAxes = true;    ///< in the lower left corner; the mesh keeps clear of them
};

CORE_GEOMETRY_PICTURE_API pic_Colour pic_GroupColour(int group); ///< the same ten again and again
CORE_GEOMETRY_PICTURE_API cow_String pic_ColourName(int group);

/// Parallel projection that shows everything, z upwards where it can. Nodes are dots, seen through the mesh. Datums are
/// seen through the mesh, in thinner lines: points as crosses, axes and planes as far as the mesh goes, planes
/// with their normal, systems with their axes in the colours of those in the corner.
CORE_GEOMETRY_PICTURE_API pic_Canvas pic_Draw(const bme_Outside& outside, std::span<const float> coordinates,
                                              const pic_View& view,
                                              std::span<const dtu_Datum* const> datums = {});
