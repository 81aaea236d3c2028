#include "bme_SweptType.h"

#include "bme_ClassWalk.h"
#include "bme_TypeLike.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <algorithm>
#include <cmath>

namespace {
struct Row {
  std::size_t corners, nodes;
  const char *solid, *atAxis; ///< atAxis: with an edge on it
};
constexpr Row kRows[] = {{3, 3, "C3D6", "C3D4"},
                         {3, 6, "C3D15", "C3D10"},
                         {4, 4, "C3D8", "C3D6"},
                         {4, 8, "C3D20", "C3D15"},
                         {4, 9, "C3D27", nullptr}};

/// A place in the surface element, and how far it is in the layer, from 0 to 1.
struct Place {
  shp_IsoPoint iso{};
  double along = 0;
  bool isOnAxis = false;
};

/// Of a node of a wedge or tetrahedron with an edge on the axis: distance from the axis, and how far along.
Place AtAxis(const shp_IsoPoint& node, std::span<const shp_IsoPoint> corners, int edge) {
  std::array<double, 4> weights{}; // of the corners from the edge's first one on
  double sum = 0, end = 0;         // off the axis, and of it at the end of the layer
  if (corners.size() == 3) {
    sum = node[1] + node[2];
    end = node[2];
    weights = {1 - node[0] - sum, node[0], sum, 0};
  } else {
    const double along = (node[2] + 1) / 2;
    sum = node[0] + node[1];
    end = node[1];
    weights = {(1 - sum) * (1 - along), (1 - sum) * along, sum * along, sum * (1 - along)};
  }
  constexpr double kNothing = 1e-9;
  Place place{{}, sum > kNothing ? end / sum : 0, sum <= kNothing};
  for (std::size_t k = 0; k < corners.size(); ++k)
    for (std::size_t axis = 0; axis < 3; ++axis)
      place.iso[axis] += weights[k] * corners[(k + static_cast<std::size_t>(edge)) % corners.size()][axis];
  return place;
}

int FindNode(std::span<const shp_IsoPoint> nodes, const shp_IsoPoint& place) {
  constexpr double kTolerance = 1e-9;
  const auto found = std::ranges::find_if(nodes, [&](const shp_IsoPoint& node) {
    return std::abs(node[0] - place[0]) + std::abs(node[1] - place[1]) < kTolerance;
  });
  return found == nodes.end() ? -1 : static_cast<int>(found - nodes.begin());
}

void FindFaces(const shp_Shape& surface, const shp_Shape& solid, bme_SweptType& type) {
  type.sideFaces.assign(bme_NumEdges(surface, 0), -1);
  for (int face = 0; face < solid.NumFaces(); ++face) {
    std::vector<int> levels, locals;
    for (const int corner : bme_Corners(solid, static_cast<unsigned>(face))) {
      const bme_SweptType::Node& node = type.nodes[static_cast<std::size_t>(corner)];
      if (!node.isOnAxis) levels.push_back(node.level);
      locals.push_back(node.local);
    }
    if (std::ranges::count(levels, 0) == std::ssize(levels)) {
      type.startFace = face;
    } else if (std::ranges::count(levels, 2) == std::ssize(levels)) {
      type.endFace = face;
    } else {
      for (int edge = 0; edge < static_cast<int>(type.sideFaces.size()); ++edge) {
        const std::span<const int> ends = surface.EdgeNodes(0, edge);
        const auto isEnd = [&](int local) { return local == ends.front() || local == ends.back(); };
        if (std::ranges::all_of(locals, isEnd)) type.sideFaces[static_cast<std::size_t>(edge)] = face;
      }
    }
  }
}
} // namespace

std::optional<bme_SweptType> bme_SweptType::Of(const shp_Shape& surface, const bme_TypeChoice& types,
                                               bool isAgainst, int edgeOnAxis) {
  const std::span<const shp_IsoPoint> nodes = surface.NodeCoordinates();
  const std::size_t numCorners = bme_NumCorners(surface);
  const auto row = std::ranges::find_if(
      kRows, [&](const Row& one) { return one.corners == numCorners && one.nodes == nodes.size(); });
  if (row == std::end(kRows) || (edgeOnAxis >= 0 && !row->atAxis)) return std::nullopt;
  const auto& dictionary = thr_ThreadSingleton<shp_ShapeDictionary>::Instance();
  const shp_Shape* solid = dictionary.GetShape(edgeOnAxis >= 0 ? row->atAxis : row->solid);
  if (const auto chosen = types.find(surface.Label()); edgeOnAxis < 0 && chosen != types.end()) {
    const shp_Shape* own = dictionary.GetShape(chosen->second);
    if (!own || own->NumGeomDims() != 3 || own->NumRings() != 1 || own->IsInteraction()
        || !std::ranges::equal(own->NodeCoordinates(), solid->NodeCoordinates()))
      throw nex_TextException(chosen->second + " for " + surface.Label() + ": it is no type of solids with "
                              + std::to_string(solid->NumNodes()) + " nodes as " + solid->Label());
    solid = own;
  }
  bme_SweptType type{solid->Label(), {}};
  for (const shp_IsoPoint& node : solid->NodeCoordinates()) {
    const Place place = edgeOnAxis >= 0 ? AtAxis(node, nodes.first(numCorners), edgeOnAxis)
                                        : Place{{node[0], node[1], 0}, (node[2] + 1) / 2};
    const int local = FindNode(nodes, place.iso), level = static_cast<int>(std::lround(2 * place.along));
    if (local < 0) return std::nullopt;
    type.nodes.push_back({local, place.isOnAxis ? 0 : isAgainst ? 2 - level : level, place.isOnAxis});
  }
  FindFaces(surface, *solid, type);
  return type;
}
