#include <CoreGeometry/bme_FEMConnect.h>

#include "EntityMeshes.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_ExternalEdges.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/shp_Shape.h>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>
#include <random>
#include <set>

namespace {
using Sets = std::vector<std::set<std::set<int>>>;

/// The corner sets by which elements meet, by looking at every face and edge.
Sets KeysOf(const bme_Mesh& mesh, bme_Across across) {
  Sets keys;
  for (unsigned e = 0; e < mesh.ElementData().NumElements(); ++e) {
    const bme_ElementClass& type = mesh.ElementData().GetElemClass(e);
    const auto row = type.Connectivity(static_cast<int>(e) - type.FirstElementIndex());
    const shp_Shape& shape = *type.Shape();
    const auto dims = static_cast<std::size_t>(shape.NumGeomDims());
    std::set<std::set<int>>& own = keys.emplace_back();
    const auto add = [&](std::span<const int> local, std::size_t least) {
      std::set<int> key;
      for (const int n : local) key.insert(row[static_cast<std::size_t>(n)]);
      const bool isKnown = *key.rbegin() < static_cast<int>(mesh.NodeData().NumNodes());
      if (key.size() >= least && isKnown) own.insert(key);
    };
    for (int face = 0; face < shape.NumFaces(); ++face) {
      const auto f = static_cast<std::size_t>(face);
      if (across == bme_Across::Face && dims == 3)
        add(shape.FaceNodes(face).first(static_cast<std::size_t>(shape.CornersPerFace()[f])), 3);
      for (int edge = 0; edge < shape.EdgesPerFace()[f]; ++edge) {
        const auto ends = shape.EdgeNodes(face, edge);
        const int corners[] = {ends.front(), ends.back()};
        if (across == bme_Across::Edge || (across == bme_Across::Face && dims == 2)) add(corners, 2);
        if (across == bme_Across::Face && dims == 1)
          for (const int& corner : corners) add({&corner, 1}, 1);
      }
    }
    if (across == bme_Across::Node)
      for (std::size_t n = 0; n < row.size(); ++n) {
        const int local = static_cast<int>(n);
        add({&local, 1}, 1);
      }
  }
  return keys;
}

class bme_FEMConnectTest : public ::testing::Test {
  const DDB_CoreGeometry library_;
};
} // namespace

TEST_F(bme_FEMConnectTest, AgreesWithEveryPairOfElements) {
  std::mt19937 random(11);
  for (int round = 0; round < 60; ++round) {
    const int numNodes = 9 + round % 4;
    MeshMaker maker;
    maker.Nodes(numNodes);
    for (const auto& [label, size] :
         {std::pair{"C3D8", 8}, {"C3D4", 4}, {"S4", 4}, {"C3D6", 6}, {"S3", 3}, {"B31", 2}}) {
      std::vector<int> rows(static_cast<std::size_t>(size * 4)); // nodes may be repeated within an element
      for (int& node : rows) node = static_cast<int>(random() % static_cast<unsigned>(numNodes));
      if (round % 7 == 0) rows[round % 4] = numNodes + 2; // no node of the mesh
      maker.Class(label, static_cast<std::size_t>(size), rows);
    }
    const bme_Mesh mesh = *maker.Make();
    const bme_FEMConnect& connect = mesh.Connectivity();
    for (const bme_Across across : {bme_Across::Node, bme_Across::Edge, bme_Across::Face}) {
      const Sets keys = KeysOf(mesh, across);
      const bme_Adjacency& rows = connect.Neighbours(across);
      ASSERT_EQ(rows.Count(), keys.size());
      for (unsigned e = 0; e < keys.size(); ++e) {
        std::vector<unsigned> expected;
        for (unsigned other = 0; other < keys.size(); ++other)
          if (other != e
              && std::ranges::any_of(keys[e], [&](const auto& key) { return keys[other].contains(key); }))
            expected.push_back(other);
        EXPECT_EQ(std::vector<unsigned>(rows[e].begin(), rows[e].end()), expected)
            << "element " << e << " round " << round << " across " << static_cast<int>(across);
      }
      const auto components = connect.FindComponents(across);
      for (unsigned e = 0; e < keys.size(); ++e) {
        std::set<unsigned> reached;
        for (const auto& ring : connect.Rings({&e, 1}, 100, across)) reached.insert(ring.begin(), ring.end());
        for (unsigned other = 0; other < keys.size(); ++other)
          EXPECT_EQ(reached.contains(other), components.ofElement[e] == components.ofElement[other]);
      }
    }
  }
}

TEST_F(bme_FEMConnectTest, SidesRingsAndNodesOfABox) {
  bme_Mesh mesh = *MeshMaker().Box(4, 3, 2).Make();
  const bme_FEMConnect& connect = mesh.Connectivity();
  EXPECT_EQ(connect.Neighbours(bme_Across::Face).items.size(), 2U * (3 * 3 * 2 + 4 * 2 * 2 + 4 * 3 * 1));
  EXPECT_EQ(connect.Neighbours(bme_Across::Node)[5].size(), 17U);
  EXPECT_EQ(connect.ElementsOfNodes()[0].size(), 1U);
  EXPECT_TRUE(connect.FreeNodes().empty());
  // the face at zeta = 1 of the first element is that at zeta = -1 of the one above
  using Side = bme_FEMConnect::Side;
  EXPECT_EQ(connect.NextAcross({0, 1}), (Side{12, 0}));
  EXPECT_EQ(connect.NextAcross({12, 0}), (Side{0, 1}));
  EXPECT_EQ(connect.NextAcross({0, 0}), (Side{0, 0}));
  EXPECT_THROW(connect.NextAcross({0, 6}), nex_OutOfRangeException);
  EXPECT_THROW(connect.NextAcross({24, 0}), nex_OutOfRangeException);
  const unsigned corner = 0;
  const auto rings = connect.Rings({&corner, 1}, 2, bme_Across::Face);
  EXPECT_EQ(rings[1], (std::vector<unsigned>{1, 4, 12}));
  EXPECT_EQ(rings[2], (std::vector<unsigned>{2, 5, 8, 13, 16}));

  // a copy has its own; a change is seen after it is announced
  const bme_Mesh copy = mesh;
  EXPECT_NE(&copy.Connectivity(), &connect);
  mesh.ElementDataToModify().RemoveElements(bme_FEMElemList(mesh, {0}).Complement());
  mesh.InvalidateMeshData();
  EXPECT_EQ(mesh.Connectivity().FreeNodes().size(), 60U - 8);
  EXPECT_EQ(copy.Connectivity().FreeNodes().size(), 0U);
}

TEST_F(bme_FEMConnectTest, CoincidentNodesAreThoseOfEveryPair) {
  std::mt19937 random(3);
  std::uniform_real_distribution<float> anywhere(-1, 1);
  for (const double tolerance : {0.0, 1e-7, 0.02, 0.1, 5.0}) {
    bme_NodeData nodes;
    std::vector<std::array<float, 3>> points;
    for (int i = 0; i < 300; ++i) {
      std::array<float, 3> p = {anywhere(random), anywhere(random), i % 3 ? 0.5F : anywhere(random)};
      if (i % 5 == 4) p = points[random() % points.size()];
      if (i % 10 == 9) p[1] += static_cast<float>(tolerance * 0.99);
      points.push_back(p);
      nodes.AppendNode(p[0], p[1], p[2]);
    }
    nodes.AppendNode(NAN, 0, 0);
    std::vector<unsigned> group(300);
    for (unsigned i = 0; i < 300; ++i) group[i] = i;
    for (bool changed = true; changed;) { // the smallest number spreads
      changed = false;
      for (unsigned i = 0; i < 300; ++i)
        for (unsigned j = 0; j < i; ++j) {
          double squared = 0;
          for (std::size_t a = 0; a < 3; ++a)
            squared += std::pow(static_cast<double>(points[i][a]) - static_cast<double>(points[j][a]), 2);
          if (squared > tolerance * tolerance || group[i] == group[j]) continue;
          group[i] = group[j] = std::min(group[i], group[j]);
          changed = true;
        }
    }
    std::vector<std::vector<unsigned>> expected;
    for (unsigned root = 0; root < 300; ++root) {
      std::vector<unsigned> members;
      for (unsigned i = 0; i < 300; ++i)
        if (group[i] == root) members.push_back(i);
      if (members.size() > 1) expected.push_back(members);
    }
    const bme_Adjacency found = bme_FindCoincidentNodes(nodes, tolerance);
    ASSERT_EQ(found.Count(), expected.size()) << tolerance;
    for (std::size_t k = 0; k < expected.size(); ++k)
      EXPECT_EQ(std::vector<unsigned>(found[k].begin(), found[k].end()), expected[k]) << tolerance;
  }
}

/// Distributions that are one cell, or few, to a grid that depends on the box; counted, since times are not
/// asserted.
TEST_F(bme_FEMConnectTest, CoincidentNodesAreFoundWhateverTheirDistribution) {
  struct Case {
    std::array<float, 3> place(int i) const {
      const auto at = static_cast<float>(i);
      switch (kind) {
      case 0: return {1, 2, 3};                               // all at one place
      case 1: return {at, 0, i == 0 ? 1e10F : 0};             // one far away
      case 2: return {i % 2 ? 1.0F : 0.0F, at * 1e-9F, 0};    // two dense places, apart
      case 3: return {i % 2 ? 0.001F : 0.0F, at * 1e-9F, 0};  // and together
      default: return {at * 3e33F, -at * 3e33F, 1e-40F * at}; // near both ends of single precision
      }
    }
    int kind;
    double tolerance;
    std::size_t groups, members;
  };
  constexpr int kNumNodes = 40000;
  for (const Case& one :
       {Case{0, 0, 1, 40000}, Case{0, 1e-3, 1, 40000}, Case{0, INFINITY, 1, 40000}, Case{1, 0.01, 0, 0},
        Case{2, 0.01, 2, 40000}, Case{2, 0.99, 2, 40000}, Case{3, 0.01, 1, 40000}, Case{4, 1e-6, 0, 0}}) {
    bme_NodeData nodes;
    for (int i = 0; i < kNumNodes; ++i) {
      const auto at = one.place(i);
      nodes.AppendNode(at[0], at[1], at[2]);
    }
    const bme_Adjacency found = bme_FindCoincidentNodes(nodes, one.tolerance);
    EXPECT_EQ(found.Count(), one.groups) << one.kind << ' ' << one.tolerance;
    EXPECT_EQ(found.items.size(), one.members) << one.kind << ' ' << one.tolerance;
  }
  for (const double wrong : {-1.0, -HUGE_VAL, std::nan("")})
    EXPECT_THROW(bme_FindCoincidentNodes(bme_NodeData(), wrong), nex_TextException) << wrong;
}

TEST_F(bme_FEMConnectTest, FacesGrowUpToTheAngle) {
  const bme_Mesh mesh = *MeshMaker().Box(3, 2, 2).Make();
  const bme_FEMFaceList outside = bme_ComputeFaces(bme_FEMElemList::All(mesh))->external;
  const bme_FEMFaceList seed(mesh, {bme_FaceWord(0, 0)}); // zeta = -1
  constexpr double kPi = std::numbers::pi;
  EXPECT_EQ(bme_GrowFaces(seed, outside, kPi / 6).Count(), 6U);
  EXPECT_EQ(bme_GrowFaces(seed, outside, 1.5).Count(), 6U);
  EXPECT_EQ(bme_GrowFaces(seed, outside, kPi / 2).Count(), outside.Count());
  EXPECT_EQ(bme_GrowFaces(seed, outside, kPi).Count(), outside.Count());
  EXPECT_EQ(bme_GrowFaces(seed, bme_FEMFaceList(mesh), kPi / 2), seed);
  const double wrong[] = {30, 360, -0.1, std::nan(""), std::numeric_limits<double>::infinity()};
  for (const double angle : wrong) {
    EXPECT_THROW(bme_GrowFaces(seed, outside, angle), nex_TextException) << angle;
    EXPECT_THROW(bme_ComputeEdges(outside, {.featureAngle = angle}), nex_TextException) << angle;
  }
}
