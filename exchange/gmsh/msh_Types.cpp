#include "msh_Types.h"

#include <CoreGeometry/bme_Pyramids.h>
#include <CoreGeometry/shp_Shape.h>
#include <algorithm>
#include <numeric>

namespace {
using enum exo_Cell;

/// Corners stand as in exo_CellNodes. The higher orders have no shape here, and neither has the pyramid of 14.
// clang-format off
constexpr msh_Type kTypes[] = {
    {1,  Line,          2,  "", true},
    {2,  Triangle,      3,  "", true},
    {3,  Quadrilateral, 4,  "", true},
    {4,  Tetrahedron,   4,  "", true},
    {5,  Hexahedron,    8,  "", true},
    {6,  Wedge,         6,  "", true},
    {7,  Pyramid,       5,  "", true},
    {8,  Line,          3,  "01", true},
    {9,  Triangle,      6,  "01 12 20", true},
    {10, Quadrilateral, 9,  "01 12 23 30 0123", true},
    {11, Tetrahedron,   10, "01 12 20 03 23 13", true},
    {12, Hexahedron,    27, "01 03 04 12 15 23 26 37 45 47 56 67 0123 0154 0374 1265 2376 4567 01234567", true},
    {13, Wedge,         18, "01 02 03 12 14 25 34 35 45 0143 0253 1254", true},
    {14, Pyramid,       14},
    {15, Point,         1,  "", true},
    {16, Quadrilateral, 8,  "01 12 23 30", true},
    {17, Hexahedron,    20, "01 03 04 12 15 23 26 37 45 47 56 67", true},
    {18, Wedge,         15, "01 02 03 12 14 25 34 35 45", true},
    {19, Pyramid,       13, "01 03 04 12 14 23 24 34", true},
    {20, Triangle, 9},       {21, Triangle, 10},      {22, Triangle, 12},      {23, Triangle, 15},
    {24, Triangle, 15},      {25, Triangle, 21},      {26, Line, 4},           {27, Line, 5},
    {28, Line, 6},           {29, Tetrahedron, 20},   {30, Tetrahedron, 35},   {31, Tetrahedron, 56},
    {36, Quadrilateral, 16}, {37, Quadrilateral, 25}, {38, Quadrilateral, 36}, {42, Triangle, 28},
    {43, Triangle, 36},      {44, Triangle, 45},      {45, Triangle, 55},      {46, Triangle, 66},
    {47, Quadrilateral, 49}, {48, Quadrilateral, 64}, {49, Quadrilateral, 81}, {50, Quadrilateral, 100},
    {51, Quadrilateral, 121}, {62, Line, 7},          {63, Line, 8},           {64, Line, 9},
    {65, Line, 10},          {66, Line, 11},          {71, Tetrahedron, 84},   {72, Tetrahedron, 120},
    {73, Tetrahedron, 165},  {74, Tetrahedron, 220},  {75, Tetrahedron, 286},  {90, Wedge, 40},
    {91, Wedge, 75},         {92, Hexahedron, 64},    {93, Hexahedron, 125},   {94, Hexahedron, 216},
    {95, Hexahedron, 343},   {96, Hexahedron, 512},   {97, Hexahedron, 729},   {98, Hexahedron, 1000},
    {106, Wedge, 126},       {107, Wedge, 196},       {108, Wedge, 288},       {109, Wedge, 405},
    {110, Wedge, 550},
};
// clang-format on
} // namespace

int msh_Type::NumDims() const {
  switch (cell) {
  case None:
  case Point: return 0;
  case Line: return 1;
  case Triangle:
  case Quadrilateral: return 2;
  default: return 3;
  }
}

cow_String msh_Type::Name() const {
  const auto isSame = [this](const msh_Type& other) {
    return other.cell == cell && other.numNodes == numNodes;
  };
  const cow_String name = (cell == Line ? "LINE" : cow_String(exo_CellName(cell))) + std::to_string(numNodes);
  return std::ranges::find_if(kTypes, isSame)->number == number ? name : name + "_" + std::to_string(number);
}

const msh_Type* msh_FindType(int number) {
  const msh_Type* at = std::ranges::find(kTypes, number, &msh_Type::number);
  return at == std::end(kTypes) ? nullptr : at;
}

exo_ElementType msh_LabelOf(const msh_Type& type, const exo_TypeMap& types) {
  exo_ElementType found = types.Find(type.Name(), type.numNodes, 3);
  if (!found.supported || type.cell == Point) return found;
  const std::vector<shp_IsoPoint> theirs = exo_CellNodes(type.cell, type.mids);
  const auto position = exo_MatchNodes(theirs, exo_NodeCoordinates(type.cell, type.numNodes));
  if (found.order.empty()) {
    found.order.resize(static_cast<std::size_t>(type.numNodes));
    std::iota(found.order.begin(), found.order.end(), 0);
  }
  for (int& at : found.order) at = position.value()[static_cast<std::size_t>(at)];
  if (found.order.size() == theirs.size() && std::ranges::is_sorted(found.order)) found.order.clear();
  return found;
}

std::optional<msh_Written> msh_WrittenAs(const bme_ElementClass& elements) {
  static constexpr shp_IsoPoint kOrigin[] = {{0, 0, 0}};
  const shp_Shape* shape = elements.Shape();
  msh_Written made{};
  if (!shape) {
    const auto* at = std::ranges::find_if(kTypes, [&](const msh_Type& type) {
      return type.numNodes == elements.NumNodesPerElem() && type.Name() == elements.ElemTypeLabel();
    });
    if (at == std::end(kTypes)) return std::nullopt;
    made.type = at;
    made.nodes.resize(static_cast<std::size_t>(at->numNodes));
    std::iota(made.nodes.begin(), made.nodes.end(), std::size_t{0});
    return made;
  }
  std::span<const shp_IsoPoint> nodes = shape->NodeCoordinates();
  std::vector<shp_IsoPoint> collapsed;
  if (bme_PyramidNodes(elements) > 0) nodes = collapsed = exo_Collapsed(nodes);
  if (nodes.empty() && shape->NumNodes() == 1) nodes = kOrigin;
  for (; !nodes.empty(); nodes = nodes.first(nodes.size() - 1))
    for (const msh_Type& type : kTypes) {
      if (!type.isPlaced) continue;
      const auto order = exo_MatchNodes(exo_CellNodes(type.cell, type.mids), nodes);
      if (!order) continue;
      made.type = &type;
      made.nodes.resize(static_cast<std::size_t>(type.numNodes));
      for (std::size_t i = nodes.size(); i-- > 0;) made.nodes[static_cast<std::size_t>((*order)[i])] = i;
      return made;
    }
  return std::nullopt;
}
