#include <CoreGeometry/exo_NodeOrder.h>

#include <algorithm>
#include <cmath>

namespace {
using enum exo_Cell;

struct NamedCell {
  exo_Cell cell;
  std::string_view name;
};
constexpr NamedCell kCells[] = {{Point, "SPHERE"},       {Line, "BEAM"},         {Triangle, "TRI"},
                                {Quadrilateral, "QUAD"}, {Tetrahedron, "TETRA"}, {Pyramid, "PYRAMID"},
                                {Wedge, "WEDGE"},        {Hexahedron, "HEX"}};

constexpr shp_IsoPoint kPoint[] = {{0, 0, 0}};
constexpr shp_IsoPoint kLine[] = {{-1, 0, 0}, {1, 0, 0}};
constexpr shp_IsoPoint kTriangle[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
constexpr shp_IsoPoint kQuadrilateral[] = {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}};
constexpr shp_IsoPoint kTetrahedron[] = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
constexpr shp_IsoPoint kPyramid[] = {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}, {0, 0, 1}};
constexpr shp_IsoPoint kWedge[] = {{0, 0, -1}, {1, 0, -1}, {0, 1, -1}, {0, 0, 1}, {1, 0, 1}, {0, 1, 1}};
constexpr shp_IsoPoint kPixel[] = {{-1, -1, 0}, {1, -1, 0}, {-1, 1, 0}, {1, 1, 0}};
constexpr shp_IsoPoint kMirroredWedge[] = {kWedge[0], kWedge[2], kWedge[1], kWedge[3], kWedge[5], kWedge[4]};
constexpr shp_IsoPoint kHexahedron[] = {{-1, -1, -1}, {1, -1, -1}, {1, 1, -1}, {-1, 1, -1},
                                        {-1, -1, 1},  {1, -1, 1},  {1, 1, 1},  {-1, 1, 1}};
constexpr shp_IsoPoint kVoxel[] = {{-1, -1, -1}, {1, -1, -1}, {-1, 1, -1}, {1, 1, -1},
                                   {-1, -1, 1},  {1, -1, 1},  {-1, 1, 1},  {1, 1, 1}};

/// Nodes after the corners, in the order of the Exodus II format. A word is one node: the mean of its
/// corners.
struct Row {
  exo_Cell cell;
  std::span<const shp_IsoPoint> corners;
  std::string_view mids;
};
// clang-format off
constexpr Row kRows[] = {
    {Point,         kPoint,         ""},
    {Line,          kLine,          ""},
    {Line,          kLine,          "01"},
    {Triangle,      kTriangle,      ""},
    {Triangle,      kTriangle,      "01 12 20"},
    {Quadrilateral, kQuadrilateral, ""},
    {Quadrilateral, kQuadrilateral, "01 12 23 30"},
    {Quadrilateral, kQuadrilateral, "01 12 23 30 0123"},
    {Tetrahedron,   kTetrahedron,   ""},
    {Tetrahedron,   kTetrahedron,   "01 12 20 03 13 23"},
    {Pyramid,       kPyramid,       ""},
    {Pyramid,       kPyramid,       "01 12 23 30 04 14 24 34"},
    {Wedge,         kWedge,         ""},
    {Wedge,         kWedge,         "01 12 20 03 14 25 34 45 53"},
    {Wedge,         kWedge,         "01 12 20 03 14 25 34 45 53 0143 1254 2035"},
    {Hexahedron,    kHexahedron,    ""},
    {Hexahedron,    kHexahedron,    "01 12 23 30 04 15 26 37 45 56 67 74"},
    {Hexahedron,    kHexahedron,    "01 12 23 30 04 15 26 37 45 56 67 74 01234567 0123 4567 0374 1265 0154 2376"},
};

/// The same of VTK's cells; of two with the same nodes the first is written.
struct VtkRow {
  int type;
  std::string_view name;
  std::span<const shp_IsoPoint> corners;
  std::string_view mids;
};
constexpr VtkRow kVtkRows[] = {
    {1,  "VTK_VERTEX",                            kPoint,         ""},
    {3,  "VTK_LINE",                              kLine,          ""},
    {21, "VTK_QUADRATIC_EDGE",                    kLine,          "01"},
    {5,  "VTK_TRIANGLE",                          kTriangle,      ""},
    {22, "VTK_QUADRATIC_TRIANGLE",                kTriangle,      "01 12 20"},
    {9,  "VTK_QUAD",                              kQuadrilateral, ""},
    {30, "VTK_QUADRATIC_LINEAR_QUAD",             kQuadrilateral, "01 23"},
    {23, "VTK_QUADRATIC_QUAD",                    kQuadrilateral, "01 12 23 30"},
    {28, "VTK_BIQUADRATIC_QUAD",                  kQuadrilateral, "01 12 23 30 0123"},
    {10, "VTK_TETRA",                             kTetrahedron,   ""},
    {24, "VTK_QUADRATIC_TETRA",                   kTetrahedron,   "01 12 20 03 13 23"},
    {14, "VTK_PYRAMID",                           kPyramid,       ""},
    {27, "VTK_QUADRATIC_PYRAMID",                 kPyramid,       "01 12 23 30 04 14 24 34"},
    {13, "VTK_WEDGE",                             kWedge,         ""},
    {31, "VTK_QUADRATIC_LINEAR_WEDGE",            kWedge,         "01 12 20 34 45 53"},
    {26, "VTK_QUADRATIC_WEDGE",                   kWedge,         "01 12 20 34 45 53 03 14 25"},
    {32, "VTK_BIQUADRATIC_QUADRATIC_WEDGE",       kWedge,         "01 12 20 34 45 53 03 14 25 0143 1254 2035"},
    {12, "VTK_HEXAHEDRON",                        kHexahedron,    ""},
    {25, "VTK_QUADRATIC_HEXAHEDRON",              kHexahedron,    "01 12 23 30 45 56 67 74 04 15 26 37"},
    {33, "VTK_BIQUADRATIC_QUADRATIC_HEXAHEDRON",  kHexahedron,    "01 12 23 30 45 56 67 74 04 15 26 37 0374 1265 0154 2376"},
    {29, "VTK_TRIQUADRATIC_HEXAHEDRON",           kHexahedron,    "01 12 23 30 45 56 67 74 04 15 26 37 0374 1265 0154 2376 0123 4567 01234567"},
    {8,  "VTK_PIXEL",                             kPixel,         ""},
    {11, "VTK_VOXEL",                             kVoxel,         ""},
};
// clang-format on

/// The corners, then the mean of the corners of each word.
std::vector<shp_IsoPoint> Nodes(std::span<const shp_IsoPoint> corners, std::string_view mids) {
  std::vector<shp_IsoPoint> nodes(corners.begin(), corners.end());
  for (std::string_view rest = mids; !rest.empty();) {
    const std::string_view word = rest.substr(0, rest.find(' '));
    shp_IsoPoint mean{};
    for (const char corner : word)
      for (std::size_t axis = 0; axis < 3; ++axis)
        mean[axis] +=
            corners[static_cast<std::size_t>(corner - '0')][axis] / static_cast<double>(word.size());
    nodes.push_back(mean);
    rest.remove_prefix(std::min(rest.size(), word.size() + 1));
  }
  return nodes;
}

bool Coincide(const shp_IsoPoint& a, const shp_IsoPoint& b) {
  constexpr double kTolerance = 1e-6;
  for (std::size_t axis = 0; axis < 3; ++axis)
    if (std::abs(a[axis] - b[axis]) > kTolerance) return false;
  return true;
}
} // namespace

std::vector<shp_IsoPoint> exo_NodeCoordinates(exo_Cell cell, int numNodes) {
  for (const Row& row : kRows) {
    if (row.cell != cell) continue;
    std::vector<shp_IsoPoint> nodes = Nodes(row.corners, row.mids);
    if (nodes.size() == static_cast<std::size_t>(numNodes)) return nodes;
  }
  return {};
}

std::vector<shp_IsoPoint> exo_CellNodes(exo_Cell cell, std::string_view mids) {
  const Row* row = std::ranges::find(kRows, cell, &Row::cell);
  return row == std::end(kRows) ? std::vector<shp_IsoPoint>() : Nodes(row->corners, mids);
}

std::optional<std::vector<int>> exo_MatchNodes(std::span<const shp_IsoPoint> theirs,
                                               std::span<const shp_IsoPoint> ours) {
  if (theirs.empty() || theirs.size() > ours.size()) return std::nullopt;
  std::vector<int> order;
  std::vector<char> isUsed(theirs.size());
  for (const shp_IsoPoint& node : ours) {
    const auto at = std::ranges::find_if(theirs, [&](const auto& other) { return Coincide(node, other); });
    if (at == theirs.end()) return std::nullopt;
    order.push_back(static_cast<int>(at - theirs.begin()));
    isUsed[static_cast<std::size_t>(at - theirs.begin())] = 1;
  }
  if (std::ranges::count(isUsed, 0) > 0) return std::nullopt;
  return order;
}

std::vector<shp_IsoPoint> exo_Collapsed(std::span<const shp_IsoPoint> ours) {
  std::vector<shp_IsoPoint> collapsed;
  for (const auto& [x, y, z] : ours) collapsed.push_back({x * (1 - z) / 2, y * (1 - z) / 2, (1 + z) / 2});
  return collapsed;
}

std::optional<std::vector<int>> exo_FindNodeOrder(exo_Cell cell, std::span<const shp_IsoPoint> ours,
                                                  int numNodes) {
  return exo_MatchNodes(exo_NodeCoordinates(cell, numNodes), ours);
}
std::optional<std::vector<int>> exo_FindNodeOrder(exo_Cell cell, std::span<const shp_IsoPoint> ours) {
  return exo_FindNodeOrder(cell, ours, static_cast<int>(ours.size()));
}

exo_Cell exo_FindCell(std::span<const shp_IsoPoint> ours) {
  const auto at = std::ranges::find_if(
      kCells, [&](const NamedCell& each) { return exo_FindNodeOrder(each.cell, ours).has_value(); });
  return at == std::end(kCells) ? None : at->cell;
}

std::string_view exo_CellName(exo_Cell cell) {
  const auto at = std::ranges::find(kCells, cell, &NamedCell::cell);
  return at == std::end(kCells) ? std::string_view() : at->name;
}

namespace {
std::span<const shp_IsoPoint> CornersOf(const VtkRow& row, exo_VtkWedges wedges) {
  const bool isWedge = row.corners.data() == std::data(kWedge), isLinear = row.mids.empty();
  const bool isMirrored =
      isWedge && (wedges == exo_VtkWedges::Mirrored || (wedges == exo_VtkWedges::LinearMirrored && isLinear));
  return isMirrored ? std::span(kMirroredWedge) : row.corners;
}
} // namespace

std::optional<exo_VtkCell> exo_FindVtkCell(std::span<const shp_IsoPoint> ours, exo_VtkWedges wedges) {
  for (const VtkRow& row : kVtkRows)
    if (auto order = exo_MatchNodes(Nodes(CornersOf(row, wedges), row.mids), ours))
      return exo_VtkCell{row.type, row.name, std::move(*order)};
  return std::nullopt;
}

std::optional<exo_VtkNodes> exo_VtkNodesOf(int type, exo_VtkWedges wedges) {
  const auto* const row = std::ranges::find(kVtkRows, type, &VtkRow::type);
  if (row == std::end(kVtkRows)) return std::nullopt;
  return exo_VtkNodes{row->name, exo_FindCell(row->corners), Nodes(CornersOf(*row, wedges), row->mids)};
}
