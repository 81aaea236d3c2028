// A mesh read piece by piece gives what the whole mesh gives.
#include "EntityMeshes.h"

#include <CoreGeometry/bme_StoredMesh.h>
#include <StoredTest.h>
#include <numeric>
#include <random>

namespace {
/// More nodes and elements than one piece of an array holds. Some labels are used twice; a class is empty and
/// one has no shape.
std::unique_ptr<bme_Mesh> BigMesh(bool hasLabels, std::mt19937& random) {
  constexpr int kNodes = 700'000, kRods = 600'000;
  MeshMaker maker;
  maker.xyz.resize(3 * std::size_t{kNodes});
  for (std::size_t i = 0; i < maker.xyz.size(); ++i) // axes that cannot be mistaken for each other
    maker.xyz[i] = static_cast<float>(random() % 1000 + 1000 * (i % 3));
  const auto rows = [&](std::size_t count) {
    std::vector<int> nodes(count);
    std::ranges::generate(nodes, [&] { return static_cast<int>(random() % kNodes); });
    return nodes;
  };
  const auto labels = [&](std::size_t count) {
    std::vector<int> some(hasLabels ? count : 0);
    std::ranges::generate(some, [&] { return static_cast<int>(random() % 3'000'000) - 1000; });
    return some;
  };
  maker.Class("C3D8", 8, {}).Class("T3D2", 2, rows(2 * kRods), labels(kRods));
  maker.Class("NOSUCH", 5, rows(50), labels(10)).Class("S3", 3, rows(300), labels(100));
  std::unique_ptr<bme_Mesh> mesh = maker.Make(7);
  if (hasLabels) mesh->NodeDataToModify().SetUserNodeLabels(labels(kNodes).data());
  return mesh;
}

class StoredMesh : public StoredTest, public testing::WithParamInterface<bool> {};
} // namespace

TEST_P(StoredMesh, GivesWhatTheMeshGives) {
  std::mt19937 random(1);
  const std::unique_ptr<bme_Mesh> mesh = BigMesh(GetParam(), random);
  const bme_NodeData& nodes = mesh->NodeData();
  const bme_ElementData& elements = mesh->ElementData();
  cls_Database model = Create();
  cls_WritePass pass(model);
  pass.Put("meshes/big", *mesh);
  pass.Commit();
  const bme_StoredMesh stored(model, "meshes/big");
  EXPECT_EQ(stored.NumNodes(), nodes.NumNodes());
  EXPECT_EQ(stored.NumElements(), elements.NumElements());
  EXPECT_EQ(stored.HasUserElementLabels(), elements.HasUserElementLabels());
  std::ostringstream printed, expected;
  stored.Print(printed);
  mesh->Print(expected);
  EXPECT_EQ(printed.str(), expected.str());

  std::vector<int> labels{-2'147'483'647 - 1, 2'147'483'647, -1000, 0, 1, 600'110, 600'111};
  for (int i = 0; i < 3000; ++i) labels.push_back(static_cast<int>(random() % 3'000'000) - 1000);
  for (const std::size_t count : {std::size_t{0}, std::size_t{1}, std::size_t{3}, labels.size()}) {
    const std::span<const int> some = std::span(labels).last(count);
    std::vector<unsigned> nodesFound(count), elementsFound(count);
    nodes.GetMeshNodeIndices(some, nodesFound);
    elements.GetMeshElemIndices(some, elementsFound);
    EXPECT_EQ(stored.FindNodes(some), nodesFound);
    EXPECT_EQ(stored.FindElements(some), elementsFound);
  }

  gsl_BBox box;
  std::size_t numNumbers = 0;
  stored.ForEachCoordinates([&](std::span<const float> piece) {
    ASSERT_EQ(piece.size() % 3, 0U);
    ASSERT_TRUE(std::ranges::equal(piece, nodes.Coordinates().Const().subspan(numNumbers, piece.size())));
    numNumbers += piece.size();
    box.Add(piece);
  });
  EXPECT_EQ(numNumbers, nodes.Coordinates().Const().size());
  EXPECT_EQ(box, mesh->GetBBox());
  const auto reread = model.Get<bme_Mesh>("meshes/big");
  EXPECT_EQ(reread->BoundingSphere(), mesh->BoundingSphere());
  EXPECT_EQ(reread->NodeData().NextFreeLabel(), nodes.NextFreeLabel());

  std::vector<int> some(2000);
  std::ranges::generate(some, [&] { return static_cast<int>(random() % nodes.NumNodes()); });
  const std::vector<float> xyz = stored.Coordinates(some);
  const std::vector<int> labelsOfNodes = stored.NodeLabels(some);
  for (std::size_t i = 0; i < some.size(); ++i) {
    const auto at = static_cast<std::size_t>(some[i]);
    ASSERT_TRUE(
        std::ranges::equal(std::span(xyz).subspan(3 * i, 3), nodes.Coordinates().Const().subspan(3 * at, 3)));
    ASSERT_EQ(labelsOfNodes[i], GetParam() ? nodes.UserNodeLabels().Const()[at] : some[i]);
  }

  for (const unsigned element : {0U, 599'999U, 600'000U, 600'009U, 600'010U, 600'109U}) {
    unsigned classIndex = 0, inClass = 0;
    ASSERT_TRUE(elements.GetClassAndElemIndex(element, classIndex, inClass));
    const bme_ElementClass& type = elements.GetClass(classIndex);
    const std::span<const int> row = type.Connectivity(static_cast<int>(inClass));
    EXPECT_EQ(&stored.ClassOf(element), &stored.Classes()[classIndex]);
    EXPECT_TRUE(std::ranges::equal(stored.Connectivity(element), row));
    const int label = GetParam() ? type.UserElementLabels()[inClass] : static_cast<int>(element) + 1;
    const bme_Mesh alone = stored.ElementAlone(element);
    const bme_ElementClass& one = alone.ElementData().GetClass(0);
    EXPECT_EQ(one.ElemTypeLabel(), type.ElemTypeLabel());
    EXPECT_EQ(one.UserElementLabels()[0], label);
    for (std::size_t i = 0; i < row.size(); ++i)
      EXPECT_EQ(alone.NodeData()[static_cast<unsigned>(one.Connectivity(0)[i])],
                nodes[static_cast<unsigned>(row[i])]);
  }
  EXPECT_NE(ThrownBy([&] { stored.Coordinates(std::array{700'000}); }).find("700000"), cow_String::npos);
}

INSTANTIATE_TEST_SUITE_P(Labels, StoredMesh, testing::Bool());
