#include "EntityMeshes.h"

#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/shp_Shape.h>
#include <cmath>

namespace {
/// What is given to a builder, right at first: a brick and a shell on it, all of it labelled.
struct Given {
  std::vector<float> xyz = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0, 0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1};
  std::vector<int> nodeLabels = {10, 20, 30, 40, 50, 60, 70, 80};
  unsigned dimension = 3;
  bme_Block bricks{.type = "C3D8R", .connectivity = brickNodes, .labels = brickLabels, .category = "solid"},
      shells{.type = "S4", .connectivity = shellNodes, .labels = shellLabels};
  std::vector<int> brickNodes = {0, 1, 2, 3, 4, 5, 6, 7}, brickLabels = {7}, shellNodes = {0, 1, 2, 3},
                   shellLabels = {3};

  bme_Mesh Build() {
    bricks.connectivity = brickNodes;
    bricks.labels = brickLabels;
    shells.connectivity = shellNodes;
    shells.labels = shellLabels;
    return bme_MeshBuilder(xyz, nodeLabels, dimension).Add(bricks).Add(shells).Build(4);
  }
};
} // namespace

TEST(bme_MeshBuilder, MakesWhatIsGiven) {
  const bme_Mesh mesh = Given().Build();
  EXPECT_EQ(mesh.Id(), 4);
  EXPECT_EQ(mesh.NodeData().GetMeshNodeIndex(30), 2U);
  EXPECT_DOUBLE_EQ(mesh.BoundingSphere().radius, std::sqrt(3.0) / 2);
  ASSERT_EQ(mesh.ElementData().NumClasses(), 2U);
  EXPECT_EQ(mesh.GetMeshElemIndexFromLabel(3), 1U);
  const bme_ElementClass& bricks = mesh.ElementData().GetClass(0);
  EXPECT_EQ(bricks.CategoryLabel(), "solid");
  EXPECT_EQ(bricks.MeshIndex(), 4);
  EXPECT_EQ(bricks.Connectivity(0)[6], 6);
}

TEST(bme_MeshBuilder, CopiesSpansOnceAndArraysNever) {
  std::vector<float> xyz(3 * 50'000);
  for (std::size_t i = 0; i < xyz.size(); ++i) xyz[i] = static_cast<float>(i);
  std::vector<int> nodes(8 * 40'000);
  for (std::size_t i = 0; i < nodes.size(); ++i) nodes[i] = static_cast<int>(i * 7 % 50'000);
  const bme_Mesh copied = bme_MeshBuilder(xyz).Add({"C3D8", nodes}).Build();
  EXPECT_TRUE(std::ranges::equal(copied.NodeData().Coordinates().Const(), xyz)) << "over several slices";
  EXPECT_TRUE(std::ranges::equal(copied.ElementData().GetClass(0).ElementConnectivity().Const(), nodes));

  cow_ArrayCOW<float> ownXyz(xyz);
  cow_ArrayCOW<int> ownNodes(nodes);
  const void *xyzAt = ownXyz.Const().data(), *nodesAt = ownNodes.Const().data();
  bme_Mesh moved = bme_MeshBuilder(std::move(ownXyz)).Add({"C3D8", std::move(ownNodes)}).Build();
  EXPECT_EQ(moved.NodeData().Coordinates().Const().data(), xyzAt);
  EXPECT_EQ(moved.ElementData().GetClass(0).ElementConnectivity().Const().data(), nodesAt);
  EXPECT_EQ(moved.NodeDataToModify().CoordinatesToModify().data(), xyzAt) << "nobody else holds it";
}

TEST(bme_MeshBuilder, NamesBlockElementAndValueOfWhatIsWrong) {
  struct Case {
    const char* message;
    void (*spoil)(Given&);
  };
  const Case cases[] = {
      {"nodes: 23 coordinates are not three for each node", [](Given& g) { g.xyz.pop_back(); }},
      {"nodes: 7 labels for 8 nodes", [](Given& g) { g.nodeLabels.pop_back(); }},
      {"nodes: dimension 4 is neither 2 nor 3", [](Given& g) { g.dimension = 4; }},
      {"node 5: y = nan is not a finite number", [](Given& g) { g.xyz[16] = std::nanf(""); }},
      {"node 0: x = -inf is not a finite number", [](Given& g) { g.xyz[0] = -INFINITY; }},
      {"node 3: label -4 is negative", [](Given& g) { g.nodeLabels[3] = -4; }},
      {"node 6: label 20 is that of node 1, too", [](Given& g) { g.nodeLabels[6] = 20; }},
      {"block 0 (C3D8R): 7 node indices do not make rows of 8", [](Given& g) { g.brickNodes.pop_back(); }},
      {"block 1 (S4): 2 labels for 1 elements",
       [](Given& g) {
         g.shellLabels = {1, 2};
       }},
      {"block 0 (C3D8R), element 0: node 8 is outside 0..7", [](Given& g) { g.brickNodes[7] = 8; }},
      {"block 1 (S4), element 1: node -1 is outside 0..7",
       [](Given& g) {
         g.shellNodes = {0, 1, 2, 3, 4, 5, 6, -1};
         g.shellLabels = {1, 2};
       }},
      {"block 1 (S4), element 0: label -2 is negative", [](Given& g) { g.shellLabels = {-2}; }},
      {"block 1 (S4), element 0: label 7 is that of block 0 (C3D8R), element 0, too",
       [](Given& g) { g.shellLabels = {7}; }},
      {"block 1 (S4): the elements have no labels, but those of block 0 (C3D8R) have",
       [](Given& g) { g.shellLabels.clear(); }},
      {"block 0 (C3D8R): 4 nodes for each element, where the type has 8",
       [](Given& g) { g.bricks.nodesPerElement = 4; }},
      {"block 1 (OWN): the type has no shape, so nodesPerElement must say how long rows are, not 0",
       [](Given& g) { g.shells.type = "OWN"; }},
      {kNothingThrown,
       [](Given& g) {
         g.shells.type = "OWN";
         g.shells.nodesPerElement = 2;
         g.shellLabels = {9, 8}; // any order
       }},
      {kNothingThrown, [](Given& g) { g.brickLabels.clear(), g.shellLabels.clear(), g.nodeLabels.clear(); }},
      {kNothingThrown, [](Given& g) { g.shellNodes.clear(), g.shellLabels.clear(); }},
  };
  for (const Case& one : cases) {
    Given given;
    one.spoil(given);
    EXPECT_EQ(ThrownBy([&] { given.Build(); }), one.message);
  }
}
