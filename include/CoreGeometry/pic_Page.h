// pic_Page.h: a page for browsers that shows the outside of a mesh
#pragma once

#include <CoreGeometry/pic_Scene.h>
#include <memory>

struct pic_PageView {
  cow_String title{};
  pic_Vector direction{1, -1.5, 1}; ///< from the model to the viewer, of any length but 0
  bool hasMeshEdges = true;         ///< edges of all faces at first
  double rate = 10;                 ///< frames a second when they are played
};

/// One HTML file that needs nothing else: the outside of a mesh to turn and to click at, its classes and sets to
/// switch on and off, values with a legend, frames and displacements. Coordinates and values have single
/// precision there.
///
/// Order      sets, then frames, then End(), which commits the file.
/// Errors     nex_TextException when the file cannot be written, when the library was built without the code of
///            such pages, and for displacements that are not three a node; nex_AssertionException for sets behind
///            frames.
/// Cost       no more than one frame in memory beside the mesh and its outside.
class CORE_GEOMETRY_PICTURE_API pic_Page {
public:
  /// `classes` is the outside of the whole mesh. All must outlive the page.
  pic_Page(uti_OutputFile& output, const bme_Mesh& mesh, const bme_Outside& classes);
  ~pic_Page();
  pic_Page(const pic_Page&) = delete;
  pic_Page& operator=(const pic_Page&) = delete;

  static bool IsBuilt() noexcept; ///< whether the library has the code of such pages

  /// The groups of an outside of sets from the first one that counts: 1 where group 0 is the whole mesh.
  void AddSets(const bme_Outside& sets, std::size_t firstGroup, bool areShown);
  /// Either may be null or empty. The field belongs to `classes`.
  void AddFrame(const cow_String& text, const pic_Field* field, std::span<const double> displacement);
  /// Values that the colours reach to, beside those of all frames.
  void Reach(double low, double high);
  /// Of the results, scale, legend and factor. An end of the scale that is not fixed is that of all values.
  void End(const pic_PageView& view, const pic_Results& results = {});

private:
  class Writer;
  std::unique_ptr<Writer> writer_;
};
