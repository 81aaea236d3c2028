// pic_Scene.h: a picture of the outside of a mesh
#pragma once

#include <CoreGeometry/PictureExport.h>
#include <CoreGeometry/bme_Outside.h>
#include <CoreGeometry/pic_Canvas.h>
#include <CoreGeometry/pic_Field.h>
#include <limits>
#include <optional>

class dtu_Datum;

/// What is shown, in the directions of the picture: to the right, up and to the viewer; model length.
struct CORE_GEOMETRY_PICTURE_API pic_Extent {
  static constexpr double kFar = std::numeric_limits<double>::infinity();
  pic_Vector low{kFar, kFar, kFar}, high{-kFar, -kFar, -kFar};

  void Add(const pic_Extent& other);
};

enum class pic_Background { Shaded, White, Transparent };

struct pic_View {
  pic_Vector direction{1, -1.5, 1}; ///< from the model to the viewer, of any length but 0
  int width = 1200, height = 900;
  bool hasMeshEdges = false; ///< edges of all faces, not only feature edges
  pic_Background background = pic_Background::Shaded;
  cow_String title{};     ///< a line at the top, none when empty
  bool hasLegend = false; ///< colours with the names of their groups, at the right, and a scale bar below
                          ///< (the colours of values, if there are any)
  bool hasAxes = true;    ///< in the lower left corner; the mesh keeps clear of them
  std::optional<pic_Extent>
      extent{}; ///< what must fit, such as all frames of an animation; what is drawn by default
};

CORE_GEOMETRY_PICTURE_API pic_Colour pic_GroupColour(int group); ///< the same ten again and again
CORE_GEOMETRY_PICTURE_API cow_String pic_ColourName(int group);

/// Parallel projection that shows everything, z upwards where it can. Nodes are dots, seen through the mesh. Datums are
/// seen through the mesh, in thinner lines: points as crosses, axes and planes as far as the mesh goes, planes
/// with their normal, systems with their axes in the colours of those in the corner.
CORE_GEOMETRY_PICTURE_API pic_Canvas pic_Draw(const bme_Outside& outside, std::span<const float> coordinates,
                                              const pic_View& view,
                                              std::span<const dtu_Datum* const> datums = {});
/// The same with values instead of the colours of groups, and displaced. Values, not colours, are linear in
/// triangles; faces with middle nodes are cut into 4 (triangles) or 8. Datums stay where they are.
CORE_GEOMETRY_PICTURE_API pic_Canvas pic_Draw(const bme_Outside& outside, std::span<const float> coordinates,
                                              const pic_View& view, const pic_Results& results,
                                              std::span<const dtu_Datum* const> datums = {});
/// Of the mesh, displaced if the results say so, as `view` is directed.
CORE_GEOMETRY_PICTURE_API pic_Extent pic_ExtentOf(const bme_Outside& outside,
                                                  std::span<const float> coordinates, const pic_View& view,
                                                  const pic_Results& results = {});
