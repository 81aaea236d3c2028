#include "bme_NodeNormals.h"

#include "bme_Making.h"
#include "bme_TypeLike.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/shp_Shape.h>
#include <numbers>

bool bme_CanBeSwept(const bme_ElementClass& type) {
  const shp_Shape* shape = type.Shape();
  return shape && type.NumElements() > 0 && shape->NumGeomDims() == 2 && shape->NumRings() == 1
         && !shape->IsAxiSymmetric() && !shape->IsInteraction() && !shape->IsAnalyticalRigidSurface()
         && shape->NodeCoordinates().size() == static_cast<std::size_t>(type.NumNodesPerElem());
}

std::vector<bme_Vector> bme_NodeNormals(const bme_Mesh& mesh) {
  const bme_NodeData& nodes = mesh.NodeData();
  std::vector<bme_Vector> normals(nodes.NumNodes(), bme_Vector{});
  std::vector<unsigned char> isUsed(nodes.NumNodes(), 0);
  std::vector<shp_IsoPoint> derivatives;
  for (unsigned c = 0; c < mesh.ElementData().NumClasses(); ++c) {
    const bme_ElementClass& type = mesh.ElementData().GetClass(c);
    if (!bme_CanBeSwept(type)) continue;
    const shp_Shape& shape = *type.Shape();
    const std::span<const shp_IsoPoint> places = shape.NodeCoordinates();
    derivatives.resize(places.size());
    const auto corners = static_cast<std::size_t>(bme_NumCorners(shape));
    wip_Poll poll(8192);
    for (int i = 0; i < type.NumElements(); ++i) {
      poll.Advance();
      const std::span<const int> row = type.Connectivity(i);
      for (std::size_t at = 0; at < places.size(); ++at) {
        shape.ShapeDerivatives(places[at], derivatives);
        bme_Vector a{}, b{};
        for (std::size_t k = 0; k < row.size(); ++k) {
          a = bme_Sum(a, derivatives[k][0], bme_PlaceOf(nodes, row[k]));
          b = bme_Sum(b, derivatives[k][1], bme_PlaceOf(nodes, row[k]));
        }
        const bme_Vector normal = bme_Cross(a, b);
        double angle = std::numbers::pi; // at mid nodes
        if (at < corners) {
          const bme_Vector own = bme_PlaceOf(nodes, row[at]);
          const bme_Vector next = bme_Sum(bme_PlaceOf(nodes, row[(at + 1) % corners]), -1, own),
                           before = bme_Sum(bme_PlaceOf(nodes, row[(at + corners - 1) % corners]), -1, own);
          angle = std::atan2(bme_Length(bme_Cross(next, before)), bme_Dot(next, before));
        }
        const auto node = static_cast<std::size_t>(row[at]);
        isUsed[node] = 1;
        if (const double length = bme_Length(normal); length > 0)
          normals[node] = bme_Sum(normals[node], angle / length, normal);
      }
    }
  }
  constexpr double kNothing = 1e-6;
  for (std::size_t node = 0; node < normals.size(); ++node) {
    if (isUsed[node] == 0) continue;
    const double length = bme_Length(normals[node]);
    if (!(length > kNothing))
      throw nex_TextException("node " + std::to_string(bme_LabelOfNode(nodes, static_cast<unsigned>(node)))
                              + " has no normal: its elements look to different sides, or have no area");
    normals[node] = bme_Sum({}, 1 / length, normals[node]);
  }
  return normals;
}
