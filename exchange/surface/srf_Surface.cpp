#include "srf_Surface.h"

#include <CoreGeometry/bme_Placement.h>
#include <CoreGeometry/exo_Export.h>
#include <cmath>

namespace {
double SquareOf(std::span<const float> xyz, int a, int b) {
  double sum = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double length = static_cast<double>(xyz[3 * static_cast<std::size_t>(b) + axis])
                          - static_cast<double>(xyz[3 * static_cast<std::size_t>(a) + axis]);
    sum += length * length;
  }
  return sum;
}

/// Calls each(triangle) for a polygon that is cut from one corner, a quadrilateral along its shorter diagonal.
template<class Each> void Cut(std::span<const int> ring, std::span<const float> xyz, Each each) {
  const std::size_t count = ring.size();
  const bool isOther = count == 4 && SquareOf(xyz, ring[1], ring[3]) < SquareOf(xyz, ring[0], ring[2]);
  const std::size_t first = isOther ? 1 : 0;
  for (std::size_t k = 1; k + 1 < count; ++k) {
    const std::array<int, 3> triangle{ring[first], ring[(first + k) % count], ring[(first + k + 1) % count]};
    each(triangle);
  }
}

/// Corners with the middles beside them, and the rest around the centre or between the middles.
template<class Each> void CutQuadratic(const bme_LocalNodes& face, std::span<const float> xyz, Each each) {
  const std::size_t corners = face.corners;
  for (std::size_t k = 0; k < corners; ++k) {
    const int before = face.nodes[corners + (k + corners - 1) % corners], middle = face.nodes[corners + k];
    each(std::array<int, 3>{before, face.nodes[k], middle});
    if (face.count > 2 * corners) each(std::array<int, 3>{before, middle, face.nodes[2 * corners]});
  }
  if (face.count == 2 * corners) Cut(face.Nodes().subspan(corners), xyz, each);
}
} // namespace

srf_Surface::srf_Surface(const bme_Mesh& mesh, std::span<const bme_NamedSet> sets, const cow_String& name,
                         const cow_String& place)
    : mesh_(mesh) {
  const bme_Placement placement(mesh);
  if (placement.IsTurned()) mesh_.ApplyTransform(placement.Turn());
  const gsl_Point origin = placement.ToPlaced().NewOrigin();
  shift_ = {origin[0], origin[1], origin[2]};
  const std::vector<std::string> names(name.empty() ? 0 : 1, name);
  outside_ = bme_FindOutside(mesh_, sets, names, place);
  if (!outside_.points.empty())
    throw nex_TextException(place + ": \"" + name + "\" is a set of nodes, no surface");
  if (outside_.faces.empty()) throw nex_TextException(place + ": there are no faces, lines alone");
  const auto note = [this](const char* what, long long count, const cow_String& detail = {}) {
    if (count > 0) ledger_.push_back({what, count, detail});
  };
  note("elements", mesh.ElementData().NumElements(),
       std::to_string(outside_.faces.size()) + " faces of them are written");
  note("sets", static_cast<long long>(sets.size()) - (name.empty() ? 0 : 1));
  note("line elements", static_cast<long long>(outside_.lines.size()), "they have no faces");
  note("faces and lines with nodes that have no finite coordinates", outside_.notFinite, "left out");
  note("elements of types without a shape", outside_.withoutShape, "their faces are not known");
  long long curved = 0;
  for (const bme_OuterFace& face : outside_.faces) curved += face.HasMidNodes();
  note("faces with middle nodes", curved, "cut into flat triangles");
  exo_ListNotMesh(mesh, ledger_);
}

void srf_Surface::ForEach(bool whole, const std::function<void(const srf_Polygon&)>& each) const {
  const std::span<const float> xyz = Coordinates();
  for (const bme_OuterFace& face : outside_.faces) {
    const auto pass = [&](const std::array<int, 3>& triangle) { each({face.group, triangle}); };
    if (face.HasMidNodes())
      CutQuadratic(face.nodes, xyz, pass);
    else if (whole)
      each({face.group, face.nodes.Corners()});
    else
      Cut(face.nodes.Corners(), xyz, pass);
  }
}

std::vector<int> srf_Surface::UsedNodes() const {
  std::vector<int> number(mesh_.NodeData().NumNodes(), -1);
  ForEach(true, [&](const srf_Polygon& polygon) {
    for (const int node : polygon.nodes) number[static_cast<std::size_t>(node)] = 0;
  });
  int count = 0;
  for (int& one : number)
    if (one == 0) one = count++;
  return number;
}

std::array<float, 3> srf_Normal(std::span<const int> nodes, std::span<const float> xyz) {
  const auto at = [&](std::size_t k, std::size_t axis) {
    const auto node = [&](std::size_t i) { return 3 * static_cast<std::size_t>(nodes[i % nodes.size()]); };
    return static_cast<double>(xyz[node(k) + axis]) - static_cast<double>(xyz[node(0) + axis]);
  };
  std::array<double, 3> sum{};
  for (std::size_t k = 1; k + 1 < nodes.size(); ++k)
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const std::size_t b = (axis + 1) % 3, c = (axis + 2) % 3;
      sum[axis] += at(k, b) * at(k + 1, c) - at(k, c) * at(k + 1, b);
    }
  const double length = std::sqrt(sum[0] * sum[0] + sum[1] * sum[1] + sum[2] * sum[2]);
  std::array<float, 3> normal{};
  for (std::size_t axis = 0; axis < 3 && length > 0; ++axis)
    normal[axis] = static_cast<float>(sum[axis] / length);
  return normal;
}
