// bme_SweptType.h: how a surface element becomes a solid
#pragma once

#include <CoreGeometry/bme_DivideMesh.h>
#include <optional>

class shp_Shape;

/// A solid that a surface element becomes in one layer.
struct bme_SweptType {
  struct Node {
    int local;       ///< of the surface element
    int level;       ///< 0 where the layer begins, 2 where it ends, 1 half way
    bool isOnAxis{}; ///< at every level
  };
  cow_String label;
  std::vector<Node> nodes; ///< in the order of the solid
  int startFace = -1, endFace = -1;
  std::vector<int> sideFaces{}; ///< by edges of the surface element, -1 for one on the axis

  /// The type for a sweep along the normal, or with `isAgainst` against it. With an edge on the axis the wedge or
  /// tetrahedron of which that is an edge. nex_TextException for a chosen type that does not fit; nothing where there is
  /// none.
  static std::optional<bme_SweptType> Of(const shp_Shape& surface, const bme_TypeChoice& types,
                                         bool isAgainst, int edgeOnAxis = -1);
};
