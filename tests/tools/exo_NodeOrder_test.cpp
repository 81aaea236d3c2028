// Node orders of imported elements, judged by where the nodes stand.
#include "ExodusWriter.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/exo_Import.h>
#include <CoreGeometry/shp_Shape.h>
#include <cmath>
#include <gtest/gtest.h>

namespace {
/// Where the format puts the nodes of a type, in halves: 0, 1, 2 along x, y, z of the box around the element.
struct Element {
  const char* type;
  int numNodes;
  int dims;
  const char* label;
  std::vector<const char*> nodes;

  std::string Name() const {
    return std::string(type) + "_" + std::to_string(numNodes) + "_in_" + std::to_string(dims) + "D";
  }
  friend void PrintTo(const Element& element, std::ostream* out) { *out << element.Name(); }
};
const std::vector<const char*> kHex20 = {"000", "200", "220", "020", "002", "202", "222",
                                         "022", "100", "210", "120", "010", "001", "201",
                                         "221", "021", "102", "212", "122", "012"};
const std::vector<const char*> kWedge15 = {"000", "200", "020", "002", "202", "022", "100", "110",
                                           "010", "001", "201", "021", "102", "112", "012"};
const std::vector<const char*> kTet10 = {"000", "200", "020", "002", "100",
                                         "110", "010", "001", "101", "011"};
const std::vector<const char*> kQuad9 = {"000", "200", "220", "020", "100", "210", "120", "010", "110"};
const std::vector<const char*> kTri6 = {"000", "200", "020", "100", "110", "010"};
const std::vector<const char*> kLine3 = {"000", "200", "100"};

std::vector<const char*> First(const std::vector<const char*>& nodes, std::size_t count) {
  return {nodes.begin(), nodes.begin() + static_cast<std::ptrdiff_t>(count)};
}
std::vector<const char*> With(std::vector<const char*> nodes, std::initializer_list<const char*> more) {
  nodes.insert(nodes.end(), more);
  return nodes;
}

std::vector<Element> Elements() {
  return {
      {"HEX8", 8, 3, "C3D8", First(kHex20, 8)},
      {"hex", 20, 3, "C3D20", kHex20},
      {"HEX27", 27, 3, "C3D27", With(kHex20, {"111", "110", "112", "011", "211", "101", "121"})},
      {"TETRA", 4, 3, "C3D4", First(kTet10, 4)},
      {"tet10", 10, 3, "C3D10", kTet10},
      {"WEDGE", 6, 3, "C3D6", First(kWedge15, 6)},
      {"WEDGE15", 15, 3, "C3D15", kWedge15},
      {"WEDGE18", 18, 3, "C3D15V", With(kWedge15, {"101", "111", "011"})},
      {"SHELL4", 4, 3, "S4", First(kQuad9, 4)},
      {"SHELL", 8, 3, "S8R", First(kQuad9, 8)},
      {"SHELL9", 9, 3, "S9R5", kQuad9},
      {"QUAD", 4, 3, "S4", First(kQuad9, 4)},
      {"TRISHELL3", 3, 3, "S3", First(kTri6, 3)},
      {"SHELL3", 3, 3, "S3", First(kTri6, 3)},
      {"TRI6", 6, 3, "STRI65", kTri6},
      {"TRI", 3, 2, "CPS3", First(kTri6, 3)},
      {"tri6", 6, 2, "CPS6", kTri6},
      {"QUAD4", 4, 2, "CPS4", First(kQuad9, 4)},
      {"QUAD8", 8, 2, "CPS8", First(kQuad9, 8)},
      {"BEAM", 2, 3, "B31", First(kLine3, 2)},
      {"BEAM3", 3, 3, "B32", kLine3},
      {"BAR2", 2, 3, "B31", First(kLine3, 2)},
      {"TRUSS", 2, 3, "T3D2", First(kLine3, 2)},
      {"truss3", 3, 3, "T3D3", kLine3},
      {"BAR", 2, 2, "B21", First(kLine3, 2)},
      {"BEAM", 3, 2, "B22", kLine3},
      {"TRUSS", 2, 2, "T2D2", First(kLine3, 2)},
      {"TRUSS3", 3, 2, "T2D3", kLine3},
      {"BAR2", 2, 1, "B21", First(kLine3, 2)},
  };
}

/// One element of the type, sheared so that no two directions look alike.
ExodusMesh MeshOf(const Element& element) {
  ExodusMesh mesh;
  mesh.dims = element.dims;
  ExodusBlock block{1, element.type, element.numNodes, {}};
  for (const char* halves : element.nodes) {
    const double x = (halves[0] - '0') / 2.0, y = (halves[1] - '0') / 2.0, z = (halves[2] - '0') / 2.0;
    const double at[] = {3 + 2 * x + 0.25 * y, 5 * y + 0.5 * z, 1 + 8 * z};
    mesh.xyz.insert(mesh.xyz.end(), at, at + element.dims);
    block.nodes.push_back(static_cast<std::int64_t>(block.nodes.size()) + 1);
  }
  mesh.blocks = {block};
  return mesh;
}

class NodeOrder : public testing::TestWithParam<Element> {
  DDB_CoreGeometry library_;
};

TEST_P(NodeOrder, PutsEveryNodeWhereTheShapeHasIt) {
  const Element& element = GetParam();
  const TestFolder folder;
  MeshOf(element).Write(folder / "one.exo");
  const fmt_Import import = exo_ReadMesh(folder / "one.exo");
  const bme_ElementClass& type = import.mesh->ElementData().GetClass(0);
  ASSERT_EQ(type.ElemTypeLabel(), element.label);
  ASSERT_TRUE(type.IsSupported());
  const auto iso = type.Shape()->NodeCoordinates();
  const auto nodes = type.Connectivity(0);
  ASSERT_EQ(iso.size(), nodes.size());
  // boxes of iso coordinates are [0, 1] along area and volume coordinates, [-1, 1] along the others
  shp_IsoPoint low = iso[0];
  for (const shp_IsoPoint& point : iso)
    for (std::size_t axis = 0; axis < 3; ++axis) low[axis] = std::min(low[axis], point[axis]);
  for (std::size_t k = 0; k < nodes.size(); ++k) {
    double unit[3];
    for (std::size_t axis = 0; axis < 3; ++axis)
      unit[axis] = (iso[k][axis] - low[axis]) / (low[axis] < 0 ? 2 : 1);
    float x = 0, y = 0, z = 0;
    ASSERT_TRUE(import.mesh->NodeData().GetNodalCoord(static_cast<unsigned>(nodes[k]), x, y, z));
    EXPECT_NEAR(x, 3 + 2 * unit[0] + 0.25 * unit[1], 1e-5) << "node " << k;
    if (element.dims > 1) {
      EXPECT_NEAR(y, 5 * unit[1] + 0.5 * unit[2], 1e-5) << "node " << k;
    }
    if (element.dims > 2) {
      EXPECT_NEAR(z, 1 + 8 * unit[2], 1e-5) << "node " << k;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(EveryType, NodeOrder, testing::ValuesIn(Elements()),
                         [](const auto& info) { return info.param.Name(); });

TEST(NodeOrderOfTheFormat, RefusesShapesWithNodesElsewhere) {
  const auto hex20 = exo_NodeCoordinates(exo_Cell::Hexahedron, 20);
  const auto order = exo_FindNodeOrder(exo_Cell::Hexahedron, hex20);
  ASSERT_TRUE(order);
  EXPECT_TRUE(std::ranges::is_sorted(*order));
  auto moved = hex20;
  moved[13][0] = 0.5;
  EXPECT_FALSE(exo_FindNodeOrder(exo_Cell::Hexahedron, moved));
  EXPECT_FALSE(exo_FindNodeOrder(exo_Cell::Wedge, hex20));
  EXPECT_EQ(exo_FindCell(hex20), exo_Cell::Hexahedron);
  EXPECT_EQ(exo_FindCell(moved), exo_Cell::None);
}
} // namespace
