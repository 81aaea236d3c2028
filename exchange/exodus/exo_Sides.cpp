#include <CoreGeometry/exo_Sides.h>

#include <CoreGeometry/rgnC_Facet.h>
#include <algorithm>
#include <numeric>
#include <set>
#include <string_view>

namespace {
using enum exo_Cell;
using enum exo_SideForm;

/// The corners of every side, in the order of the Exodus II format. A word is one side, seen from outside.
struct Row {
  exo_Cell cell;
  exo_SideForm form; ///< of surfaces; the others have one row
  std::string_view sides;
};
// clang-format off
constexpr Row kRows[] = {
    {Point,         Edges,          "0"},
    {Line,          Edges,          "01 10"},
    {Triangle,      Edges,          "01 12 20"},
    {Triangle,      FacesThenEdges, "012 021 01 12 20"},
    {Quadrilateral, Edges,          "01 12 23 30"},
    {Quadrilateral, FacesThenEdges, "0123 0321 01 12 23 30"},
    {Tetrahedron,   Edges,          "013 123 032 021"},
    {Pyramid,       Edges,          "014 124 234 043 0321"},
    {Wedge,         Edges,          "0143 1254 0352 021 345"},
    {Hexahedron,    Edges,          "0154 1265 2376 0473 0321 4567"},
};
// clang-format on

const Row* FindRow(exo_Cell cell, exo_SideForm form) {
  const bool isSurface = cell == Triangle || cell == Quadrilateral;
  const auto* at = std::ranges::find_if(
      kRows, [&](const Row& row) { return row.cell == cell && (!isSurface || row.form == form); });
  return at == std::end(kRows) ? nullptr : at;
}

/// Same corners, whatever comes first and whichever way round.
bool HasCorners(std::span<const int> nodes, std::span<const int> corners) {
  return nodes.size() == corners.size() && std::ranges::is_permutation(nodes, corners);
}

/// The second corner follows the first in the loop.
bool GoesAlong(std::span<const int> loop, std::span<const int> corners) {
  const auto at = static_cast<std::size_t>(std::ranges::find(loop, corners[0]) - loop.begin());
  return loop[(at + 1) % loop.size()] == corners[1];
}

/// Corners and order are those of the file's element.
exo_Side Match(std::span<const int> corners, std::span<const int> order, const shp_Topology& shape) {
  const bool isSurface = shape.NumGeomDims() == 2;
  const auto theirs = [&](int node) { return order.empty() ? node : order[static_cast<std::size_t>(node)]; };
  std::vector<int> loop;
  for (int face = 0; face < shape.NumFaces(); ++face) {
    loop.clear(); // without the corners that are collapsed to one
    for (const int node : shape.FaceNodes(face).first(
             static_cast<std::size_t>(shape.CornersPerFace()[static_cast<std::size_t>(face)])))
      if (loop.empty() || theirs(node) != loop.back()) loop.push_back(theirs(node));
    if (loop.size() > 1 && loop.front() == loop.back()) loop.pop_back();
    if (corners.size() != 2 && HasCorners(loop, corners)) // a line is its edge
      return {res_SURFACE_FACET, rgnC_FacetId(shape, {face, isSurface && !GoesAlong(loop, corners)})};
    for (int edge = 0; edge < shape.EdgesPerFace()[static_cast<std::size_t>(face)]; ++edge) {
      const auto nodes = shape.EdgeNodes(face, edge);
      const int ends[] = {theirs(nodes.front()), theirs(nodes.back())};
      if (HasCorners(ends, corners)) return {res_SURFACE_EDGE, rgnC_EdgeFacetId({face, edge})};
    }
  }
  return {};
}
} // namespace

std::vector<exo_Side> exo_FindSides(exo_Cell cell, exo_SideForm form, std::span<const int> order,
                                    const shp_Topology& shape) {
  std::vector<exo_Side> sides;
  const Row* row = FindRow(cell, form);
  if (!row) return sides;
  for (std::string_view rest = row->sides; !rest.empty();) {
    const std::string_view word = rest.substr(0, rest.find(' '));
    std::vector<int> corners;
    for (const char c : word) corners.push_back(c - '0');
    const exo_Side side = Match(corners, order, shape);
    // the second side of a line is its one edge again, which must not become the first
    const bool isTaken = std::ranges::any_of(
        sides, [&](const exo_Side& other) { return other.kind == side.kind && other.facet == side.facet; });
    sides.push_back(isTaken ? exo_Side() : side);
    rest.remove_prefix(std::min(rest.size(), word.size() + 1));
  }
  return sides;
}

std::vector<int> exo_CountSideNodes(std::span<const exo_Side> sides, std::span<const int> order,
                                    const shp_Topology& shape) {
  std::vector<int> counts, all(static_cast<std::size_t>(shape.NumNodes()));
  std::iota(all.begin(), all.end(), 0);
  for (const exo_Side& side : sides) {
    std::span<const int> nodes = all;
    if (side.kind == res_SURFACE_FACET) nodes = shape.FaceNodes(rgnC_FacetOf(shape, side.facet).face);
    if (side.kind == res_SURFACE_EDGE) {
      const rgnC_EdgeFacet edge = rgnC_EdgeFacetOf(side.facet);
      nodes = shape.EdgeNodes(edge.face, edge.edge);
    }
    std::set<int> theirs; // those of a collapsed face are counted once
    for (const int node : nodes) theirs.insert(order.empty() ? node : order[static_cast<std::size_t>(node)]);
    counts.push_back(static_cast<int>(theirs.size()));
  }
  return counts;
}
