// bme_Turned.h: faces and edges of elements that were turned
#pragma once

#include <CoreGeometry/bme_Renumbering.h>
#include <CoreGeometry/rgnC_Facet.h>

class shp_Shape;

/// Faces and edges of old elements after their nodes were exchanged; tables are made once for each class.
///
/// Threads    one thread at a time; mesh and renumbering must outlive it.
class CORE_GEOMETRY_API bme_TurnedFaces {
public:
  bme_TurnedFaces(const bme_Mesh& mesh, const bme_Renumbering& renumbering)
      : mesh_(mesh), renumbering_(renumbering) {}

  const shp_Shape* ShapeOf(unsigned element);
  unsigned char TurnOf(unsigned element) const {
    return renumbering_.turns.empty() ? static_cast<unsigned char>(0) : renumbering_.turns[element];
  }
  rgnC_Facet Send(unsigned element, rgnC_Facet facet);
  rgnC_EdgeFacet Send(unsigned element, rgnC_EdgeFacet edge);

private:
  void Find(unsigned element);

  const bme_Mesh& mesh_;
  const bme_Renumbering& renumbering_;
  unsigned first_ = 0, end_ = 0; ///< elements of the class that the tables are of
  const shp_Shape* shape_ = nullptr;
  std::vector<int> faces_, edges_; ///< by face; by 4 * face + edge
};
