#include <CoreGeometry/exo_Types.h>

#include <BasicUtils/nex_Exception.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <algorithm>
#include <charconv>
#include <numeric>

namespace {
using enum exo_Cell;

struct Spelling {
  std::string_view name;
  std::string_view family;
};
constexpr Spelling kSpellings[] = {
    {"HEX", "HEX"},         {"HEXA", "HEX"},       {"HEXAHEDRON", "HEX"},     {"BRICK", "HEX"},
    {"TET", "TET"},         {"TETRA", "TET"},      {"TETRAHEDRON", "TET"},    {"WEDGE", "WEDGE"},
    {"PYRAMID", "PYRAMID"}, {"PYRA", "PYRAMID"},   {"PYR", "PYRAMID"},        {"QUAD", "QUAD"},
    {"QUADRI", "QUAD"},     {"SHELL", "SHELL"},    {"QUADRILATERAL", "QUAD"}, {"TRI", "TRI"},
    {"TRIANGLE", "TRI"},    {"TRISHELL", "SHELL"}, {"SHELLTRI", "SHELL"},     {"BEAM", "BEAM"},
    {"BAR", "BAR"},         {"ROD", "BAR"},        {"TRUSS", "TRUSS"},        {"SPHERE", "SPHERE"},
    {"CIRCLE", "SPHERE"},   {"POINT", "SPHERE"},   {"MASS", "SPHERE"},        {"NODE", "SPHERE"},
    {"EDGE", "BAR"},        {"LINE", "BAR"},
};

/// Default labels; null where an element type has none.
struct Row {
  std::string_view family;
  int numNodes;
  exo_Cell inPlane, inSpace;
  const char* labelInPlane;
  const char* labelInSpace;
};
// clang-format off
constexpr Row kRows[] = {
    {"HEX",     8,  Hexahedron,    Hexahedron,    "C3D8",   "C3D8"},
    {"HEX",     20, Hexahedron,    Hexahedron,    "C3D20",  "C3D20"},
    {"HEX",     27, Hexahedron,    Hexahedron,    "C3D27",  "C3D27"},
    {"TET",     4,  Tetrahedron,   Tetrahedron,   "C3D4",   "C3D4"},
    {"TET",     10, Tetrahedron,   Tetrahedron,   "C3D10",  "C3D10"},
    {"WEDGE",   6,  Wedge,         Wedge,         "C3D6",   "C3D6"},
    {"WEDGE",   15, Wedge,         Wedge,         "C3D15",  "C3D15"},
    {"WEDGE",   18, Wedge,         Wedge,         "C3D15V", "C3D15V"},
    {"PYRAMID", 5,  Pyramid,       Pyramid,       nullptr,  "C3D8"},
    {"PYRAMID", 13, Pyramid,       Pyramid,       nullptr,  "C3D20"},
    {"QUAD",    4,  Quadrilateral, Quadrilateral, "CPS4",   "S4"},
    {"QUAD",    8,  Quadrilateral, Quadrilateral, "CPS8",   "S8R"},
    {"QUAD",    9,  Quadrilateral, Quadrilateral, nullptr,  "S9R5"},
    {"TRI",     3,  Triangle,      Triangle,      "CPS3",   "S3"},
    {"TRI",     6,  Triangle,      Triangle,      "CPS6",   "STRI65"},
    {"SHELL",   2,  Line,          Line,          "B21",    nullptr},
    {"SHELL",   3,  Line,          Triangle,      "B22",    "S3"},
    {"SHELL",   4,  Quadrilateral, Quadrilateral, "CPS4",   "S4"},
    {"SHELL",   6,  Triangle,      Triangle,      "CPS6",   "STRI65"},
    {"SHELL",   8,  Quadrilateral, Quadrilateral, "CPS8",   "S8R"},
    {"SHELL",   9,  Quadrilateral, Quadrilateral, nullptr,  "S9R5"},
    {"BEAM",    2,  Line,          Line,          "B21",    "B31"},
    {"BEAM",    3,  Line,          Line,          "B22",    "B32"},
    {"BAR",     2,  Line,          Line,          "B21",    "B31"},
    {"BAR",     3,  Line,          Line,          "B22",    "B32"},
    {"TRUSS",   2,  Line,          Line,          "T2D2",   "T3D2"},
    {"TRUSS",   3,  Line,          Line,          "T2D3",   "T3D3"},
    {"SPHERE",  1,  Point,         Point,         "MASS",   "MASS"},
};
// clang-format on

const shp_Shape* FindShape(const cow_String& label) {
  return thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(label);
}

bool IsLetter(char c) { return c >= 'A' && c <= 'Z'; }

/// The letters before the first digit or sign, as a family where it is a known spelling of one.
cow_String FamilyOf(const cow_String& upperName) {
  const auto end = std::ranges::find_if_not(upperName, IsLetter);
  const std::string_view letters(upperName.data(), static_cast<std::size_t>(end - upperName.begin()));
  const auto* at = std::ranges::find(kSpellings, letters, &Spelling::name);
  return at != std::end(kSpellings) ? cow_String(at->family) : upperName;
}

const Row* FindRow(std::string_view family, int numNodes) {
  const auto* at = std::ranges::find_if(
      kRows, [&](const Row& row) { return row.family == family && row.numNodes == numNodes; });
  return at == std::end(kRows) ? nullptr : at;
}

/// Node order for a label; nothing when the cell's nodes do not stand where the label's shape has them.
std::optional<std::vector<int>> OrderFor(const shp_Shape& shape, exo_Cell cell, int numNodes) {
  const auto ours = shape.NodeCoordinates();
  if (cell == Pyramid) {
    if (shape.NumGeomDims() != 3) return std::nullopt;
    return exo_FindNodeOrder(cell, exo_Collapsed(ours), numNodes);
  }
  if (shape.NumNodes() != numNodes) return std::nullopt;
  if (ours.size() != static_cast<std::size_t>(numNodes)) {
    if (numNodes != 1 || (cell != Point && cell != None)) return std::nullopt;
    return std::vector<int>();
  }
  if (cell == None) cell = exo_FindCell(ours);
  std::optional<std::vector<int>> order = exo_FindNodeOrder(cell, ours);
  if (order && std::ranges::is_sorted(*order)) order->clear();
  return order;
}

/// The name that most programs read: those that write none of our labels do not look at the node count of a block,
/// so it stands in the name, but for the first order of three families whose name with a count few know.
cow_String NameWith(std::string_view family, int numNodes) {
  constexpr std::pair<std::string_view, int> kBare[] = {
      {"TETRA", 4}, {"WEDGE", 6}, {"PYRAMID", 5}, {"SPHERE", 1}};
  cow_String name(family == "TET" ? "TETRA" : family);
  for (const auto& [bare, count] : kBare)
    if (name == bare && numNodes == count) return name;
  return name + std::to_string(numNodes);
}

/// Sides of a quadrilateral are its edges everywhere; those of a triangle only in a plane.
exo_SideForm SideFormOf(std::string_view family, int numDims) {
  const bool hasFaces = family == "SHELL" || (family == "TRI" && numDims == 3);
  return hasFaces ? exo_SideForm::FacesThenEdges : exo_SideForm::Edges;
}
} // namespace

void exo_TypeMap::Override(const cow_String& assignment) {
  const auto Refuse = [&](const cow_String& why) {
    throw nex_TextException("\"" + assignment + "\": " + why);
  };
  const std::size_t equals = assignment.find('=');
  if (equals == cow_String::npos || equals == 0 || equals + 1 == assignment.size())
    Refuse("not of the form TYPE=LABEL, like HEX8=C3D8R");
  const cow_String type = cow_ToUpper(assignment.substr(0, equals)),
                   label = cow_ToUpper(assignment.substr(equals + 1));
  const std::size_t letters = type.find_last_not_of("0123456789") + 1;
  int numNodes = 0;
  std::from_chars(type.data() + letters, type.data() + type.size(), numNodes);
  if (letters == 0 || numNodes <= 0) Refuse("the type must end with its number of nodes, like HEX8");
  const shp_Shape* shape = FindShape(label);
  if (!shape) Refuse("no element label " + label);
  const cow_String family = FamilyOf(type.substr(0, letters));
  const Row* row = FindRow(family, numNodes);
  if (shape->NumNodes() != numNodes && (!row || row->inSpace != Pyramid))
    Refuse("label " + label + " has " + std::to_string(shape->NumNodes()) + " nodes, type " + type + " has "
           + std::to_string(numNodes));
  const bool fits = row ? OrderFor(*shape, row->inSpace, numNodes) || OrderFor(*shape, row->inPlane, numNodes)
                        : OrderFor(*shape, None, numNodes).has_value();
  if (!fits) Refuse("the nodes of " + type + " do not stand where label " + label + " has its nodes");
  overrides_.push_back({family, numNodes, label});
}

void exo_TypeMap::Override(const cow_String& typeName, int numNodes, const cow_String& label) {
  overrides_.push_back({FamilyOf(cow_ToUpper(typeName)), numNodes, label});
}

exo_ElementType exo_TypeMap::Find(const cow_String& typeName, int numNodes, int numDims) const {
  const cow_String upper = cow_ToUpper(typeName), family = FamilyOf(upper);
  const Row* row = FindRow(family, numNodes);
  const exo_Cell cell = !row ? None : numDims == 3 ? row->inSpace : row->inPlane;
  cow_String label;
  if (row && (numDims == 3 ? row->labelInSpace : row->labelInPlane))
    label = numDims == 3 ? row->labelInSpace : row->labelInPlane;
  else if (!row)
    label = upper; // a type named like an element label is that label, if its nodes agree
  bool isOverridden = false;
  for (const Entry& entry : overrides_) {
    const bool isNamed = entry.family == family || entry.family + std::to_string(numNodes) == upper;
    if (entry.numNodes != numNodes || !isNamed) continue;
    label = entry.label;
    isOverridden = true;
  }
  if (const shp_Shape* shape = label.empty() ? nullptr : FindShape(label))
    if (auto order = OrderFor(*shape, cell, numNodes)) {
      const exo_Cell found = cell == None ? exo_FindCell(shape->NodeCoordinates()) : cell;
      std::vector<exo_Side> sides;
      if (row || shape->NumGeomDims() == 3) // who knows how the sides of other surfaces count
        sides = exo_FindSides(found, SideFormOf(family, numDims), *order, *shape);
      return {shape->Label(), true, std::move(*order), found == Pyramid, std::move(sides)};
    }
  if (isOverridden)
    throw nex_TextException("the nodes of " + typeName + " with " + std::to_string(numNodes)
                            + " nodes do not stand where label " + label + " has its nodes");
  exo_ElementType kept;
  kept.label = typeName.empty() ? cow_String("unnamed type") : typeName;
  // a name that means another element here must not be taken for it
  if (FindShape(kept.label)) kept.label += " (" + std::to_string(numNodes) + " nodes)";
  return kept;
}

bool exo_AreOneType(const cow_String& a, const cow_String& b) {
  return FamilyOf(cow_ToUpper(a)) == FamilyOf(cow_ToUpper(b));
}

std::optional<exo_TypeName> exo_NameType(const shp_Shape& shape, int numDims, int pyramidNodes) {
  static constexpr shp_IsoPoint kOrigin[] = {{0, 0, 0}};
  if (pyramidNodes > 0) {
    exo_TypeName made;
    made.name = NameWith(exo_CellName(Pyramid), pyramidNodes);
    made.order = *exo_FindNodeOrder(Pyramid, exo_Collapsed(shape.NodeCoordinates()), pyramidNodes);
    made.sides = exo_FindSides(Pyramid, exo_SideForm::Edges, made.order, shape);
    made.label = exo_TypeMap().Find(made.name, pyramidNodes, numDims).label;
    made.numNodes = pyramidNodes;
    return made;
  }
  std::span<const shp_IsoPoint> nodes = shape.NodeCoordinates();
  if (nodes.empty() && shape.NumNodes() == 1) nodes = kOrigin;
  exo_Cell cell = None;
  while (!nodes.empty() && (cell = exo_FindCell(nodes)) == None) nodes = nodes.first(nodes.size() - 1);
  if (cell == None) return std::nullopt;
  const int numNodes = static_cast<int>(nodes.size());
  const bool isShell = shape.NumGeomDims() == 2 && numDims == 3;
  const Row* best = nullptr;
  int bestWorth = -1;
  for (const Row& row : kRows) {
    const bool isInSpace = numDims == 3;
    if (row.numNodes != numNodes || (isInSpace ? row.inSpace : row.inPlane) != cell) continue;
    // a shell is a quadrilateral to some programs, so lines and triangles have names of their own
    if (row.family == "SHELL" && cell != Quadrilateral) continue;
    const char* label = isInSpace ? row.labelInSpace : row.labelInPlane;
    const bool hasSides = !isShell || SideFormOf(row.family, numDims) == exo_SideForm::FacesThenEdges;
    const int worth = (label && label == shape.Label() ? 4 : 0) + (hasSides ? 2 : 0) + (label ? 1 : 0);
    if (worth <= bestWorth) continue;
    best = &row;
    bestWorth = worth;
  }
  exo_TypeName made;
  const std::string_view family = best ? best->family : exo_CellName(cell);
  made.name = NameWith(family, numNodes);
  made.numNodes = numNodes;
  made.order = *exo_FindNodeOrder(cell, nodes);
  made.sides = exo_FindSides(cell, SideFormOf(family, numDims), made.order, shape);
  made.label = exo_TypeMap().Find(made.name, numNodes, numDims).label;
  return made;
}
