#include <CoreGeometry/bme_DivideMesh.h>

#include "bme_Vectors.h"

#include <BasicUtils/wip_Poll.h>
#include <CoreGeometry/bme_CleanMesh.h>
#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_Quality.h>
#include <CoreGeometry/shp_Shape.h>

namespace {
/// Nodes that are seen from outside: of faces of solids that no other has, and all of surfaces and lines.
std::vector<unsigned char> OuterNodes(const bme_Mesh& mesh) {
  std::vector<unsigned char> marks(mesh.NodeData().NumNodes(), 0);
  if (const auto faces = bme_ComputeFaces(bme_FEMElemList::All(mesh)))
    for (const unsigned node : bme_FEMNodeList::OfFaces(faces->external)) marks[node] = 1;
  for (unsigned c = 0; c < mesh.ElementData().NumClasses(); ++c) {
    const bme_ElementClass& type = mesh.ElementData().GetClass(c);
    if (const shp_Shape* shape = type.Shape(); !shape || shape->NumGeomDims() > 2) continue;
    for (const int node : type.ElementConnectivity().Const()) marks[static_cast<std::size_t>(node)] = 1;
  }
  return marks;
}

bme_Vector PointOf(const bme_Mesh& shells, const bme_NearestElement& at) {
  const bme_ElementClass& type = shells.ElementData().GetElemClass(at.element);
  const std::span<const int> row = type.Connectivity(static_cast<int>(at.element) - type.FirstElementIndex());
  std::vector<double> functions(row.size());
  type.Shape()->ShapeFunctions(at.iso, functions);
  bme_Vector point{};
  for (std::size_t k = 0; k < row.size(); ++k)
    point = bme_Sum(point, functions[k], bme_PlaceOf(shells.NodeData(), row[k]));
  return point;
}

std::vector<unsigned> FoldedElements(const bme_Mesh& mesh) {
  std::vector<unsigned> folded;
  constexpr bme_QualityMeasure kMeasure[] = {bme_QualityMeasure::ScaledJacobian};
  for (unsigned c = 0; c < mesh.ElementData().NumClasses(); ++c) {
    const std::vector<double> values = bme_Quality(mesh, c, kMeasure)[0];
    for (std::size_t i = 0; i < values.size(); ++i)
      if (values[i] <= 0)
        folded.push_back(static_cast<unsigned>(mesh.ElementData().GetClass(c).FirstElementIndex())
                         + static_cast<unsigned>(i));
  }
  return folded;
}
} // namespace

bme_Projected bme_ProjectNodes(const bme_Edited& edited, const bme_FEMFaceList& surface, double distance) {
  if (!(distance > 0))
    throw nex_TextException("a distance of " + std::to_string(distance)
                            + " is none within which nodes are on a surface");
  if (surface.IsEmpty()) throw nex_TextException("there are no faces to move nodes to");
  const bme_Edited shells = bme_ExtractFaces({surface.Mesh()}, {surface.begin(), surface.end()});
  const bme_ElementLocator locator(shells.result.mesh);
  bme_Projected made{edited};
  const bme_Renumbering& map = made.renumbering;
  const std::vector<unsigned char> isOuter = OuterNodes(made.result.mesh);
  const bme_NodeData before = made.result.mesh.NodeData();
  std::vector<signed char> isNear(map.nodes.to.size(), -1); // of old nodes, when they are asked for
  const auto isOn = [&](unsigned old) {
    if (isNear[old] < 0) {
      const int now = map.nodes.to[old];
      isNear[old] = now >= 0 && locator.FindNearest(bme_PlaceOf(before, now)).distance <= distance ? 1 : 0;
    }
    return isNear[old] != 0;
  };
  const std::span<float> xyz = made.result.mesh.NodeDataToModify().CoordinatesToModify();
  std::size_t number = 0;
  wip_Poll poll(256);
  for (unsigned node = 0; node < map.nodes.from.size() && number + 1 < map.made.starts.size(); ++node) {
    if (map.nodes.from[node] >= 0) continue;
    poll.Advance();
    const auto parents =
        std::span(map.made.parents)
            .subspan(map.made.starts[number], map.made.starts[number + 1] - map.made.starts[number]);
    ++number;
    if (isOuter[node] == 0 || !std::ranges::all_of(parents, isOn)) continue;
    const bme_NearestElement nearest = locator.FindNearest(bme_PlaceOf(before, static_cast<int>(node)));
    if (nearest.element == bme_kNotFound) continue;
    const bme_Vector point = PointOf(shells.result.mesh, nearest);
    for (std::size_t axis = 0; axis < 3; ++axis) xyz[3 * node + axis] = static_cast<float>(point[axis]);
    made.moved.push_back(node);
    made.largest = std::max(made.largest, nearest.distance);
  }
  made.folded = FoldedElements(made.result.mesh);
  return made;
}
