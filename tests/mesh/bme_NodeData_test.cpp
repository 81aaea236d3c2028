#include <CoreGeometry/bme_NodeData.h>

#include <gtest/gtest.h>
#include <limits>

namespace {
constexpr int kSmallest = std::numeric_limits<int>::min(), kLargest = std::numeric_limits<int>::max();

bme_NodeData Labelled(const std::vector<int>& labels) {
  bme_NodeData nodes;
  for (const int label : labels) nodes.AppendNode(static_cast<float>(label), 0, 0, label);
  return nodes;
}

uti_CoordCont3D Coordinates(int nodes) {
  uti_CoordCont3D coordinates;
  coordinates.Resize(static_cast<std::size_t>(nodes));
  return coordinates;
}

cow_List<int> List(const std::vector<int>& labels) { return cow_List<int>(std::span<const int>(labels)); }

std::vector<int> LabelsOf(const bme_NodeData& nodes) {
  cow_List<int> labels;
  nodes.GetUserNodeLabels(labels);
  return {labels.begin(), labels.end()};
}
} // namespace

TEST(bme_NodeData, AnEmptyTableStartsLabellingAndAnUnlabelledOneNeverDoes) {
  bme_NodeData nodes;
  EXPECT_EQ(nodes.GetMaxUserNodeLabel(), 0);
  EXPECT_EQ(nodes.GetMeshNodeIndex(1), bme_kNotFound);
  nodes.AppendNode(1, 2, 3, 10);
  EXPECT_EQ(nodes.GetMeshNodeIndex(10), 0U);

  bme_NodeData unlabelled;
  unlabelled.AppendNode(0, 0, 0);
  unlabelled.AppendNode(1, 0, 0, 5);
  EXPECT_FALSE(unlabelled.HasUserNodeLabels());
  EXPECT_EQ(unlabelled.GetMeshNodeIndex(1), bme_kNotFound) << "there are no implicit node labels";
  EXPECT_EQ(unlabelled.GetMaxUserNodeLabel(), 2);
  EXPECT_EQ(unlabelled.CheckUserNodeLabels(cow_List<int>(std::span<const int>(std::vector<int>{1}))), 0);
}

TEST(bme_NodeData, LabelsOfEverySignAndSizeAreFound) {
  const bme_NodeData nodes = Labelled({-5, 5, kSmallest, kLargest, 0, -7, 5});
  EXPECT_EQ(nodes.GetMeshNodeIndex(-5), 0U);
  EXPECT_EQ(nodes.GetMeshNodeIndex(kSmallest), 2U);
  EXPECT_EQ(nodes.GetMeshNodeIndex(kLargest), 3U);
  EXPECT_EQ(nodes.GetMeshNodeIndex(0), 4U);
  EXPECT_EQ(nodes.GetMeshNodeIndex(7), bme_kNotFound);
  EXPECT_EQ(nodes.GetMeshNodeIndex(5), 6U) << "the last of equal labels wins";
  std::vector<unsigned> found(3);
  nodes.GetMeshNodeIndices(std::vector<int>{0, 1, -7}, found);
  EXPECT_EQ(found, (std::vector<unsigned>{4, bme_kNotFound, 5}));
  EXPECT_THROW(nodes.NextFreeLabel(), nex_TextException);
  bme_NodeData full = nodes;
  EXPECT_THROW(full.AppendNode(0, 0, 0), nex_TextException);
  EXPECT_EQ(full.NumNodes(), 7U) << "nothing was appended";
  EXPECT_EQ(Labelled({-7, -3}).GetMaxUserNodeLabel(), -3);
  EXPECT_EQ(Labelled({-7, -3}).NextFreeLabel(), 1);
}

TEST(bme_NodeData, UnknownLabelsAreReportedByPosition) {
  const bme_NodeData nodes = Labelled({1, 2, 3});
  const auto check = [&](std::vector<int> labels) {
    return nodes.CheckUserNodeLabels(cow_List<int>(std::span<const int>(labels)));
  };
  EXPECT_EQ(check({1, 3, 9, 2}), 2);
  EXPECT_EQ(check({3, 1}), 2);
  EXPECT_EQ(check({}), 0);
}

TEST(bme_NodeData, TheNextFreeLabelNeverGoesDown) {
  bme_NodeData nodes = Labelled({4, 9});
  EXPECT_EQ(nodes.NextFreeLabel(), 10);
  EXPECT_TRUE(nodes.DeleteNode(1));
  EXPECT_FALSE(nodes.DeleteNode(1));
  nodes.AppendNode(0, 0, 0);
  EXPECT_EQ(LabelsOf(nodes), (std::vector<int>{4, 10}));
  EXPECT_EQ(nodes.GetMeshNodeIndex(9), bme_kNotFound);
  nodes.SetUserNodeLabels(std::vector<int>{1, 2}.data());
  EXPECT_EQ(nodes.NextFreeLabel(), 11);
  nodes.SetUserNodeLabels(cow_List<int>(std::span<const int>(std::vector<int>{1, 2, 3})));
  EXPECT_FALSE(nodes.HasUserNodeLabels()) << "a list of another length counts as no labels";
  EXPECT_EQ(nodes.GetMeshNodeIndex(1), bme_kNotFound);
}

TEST(bme_NodeData, LabelsThatAreGivenAreAboveEveryLabelThatIsStored) {
  struct Case {
    int nodes;
    std::vector<int> labels;
    bool deletesFirst;
    int appended, expected; ///< the last label after that many unlabelled nodes
  };
  for (const Case& c : {Case{2, {1, 2, 3}, false, 2, 4},
                        {2, {100, 200, 300}, false, 2, 301},
                        {4, {50, 60, 70}, true, 1, 71},
                        {1, {7, -9}, false, 2, 8}}) {
    bme_NodeData nodes(Coordinates(c.nodes));
    nodes.SetUserNodeLabels(List(c.labels));
    EXPECT_EQ(c.deletesFirst && nodes.DeleteNode(0), c.deletesFirst);
    const int next = nodes.NextFreeLabel();
    for (int i = 0; i < c.appended; ++i) nodes.AppendNode(0, 0, 0);
    EXPECT_EQ(LabelsOf(nodes).back(), c.expected);
    EXPECT_EQ(next, c.expected);
    EXPECT_TRUE(nodes.HasUserNodeLabels());
  }
  bme_NodeData nodes; // labels of nodes that never came
  nodes.SetUserNodeLabels(List({1, 2}));
  nodes.AppendNodes(Labelled({8, 9}));
  EXPECT_EQ(LabelsOf(nodes), (std::vector<int>{8, 9}));
  EXPECT_EQ(nodes.GetMeshNodeIndex(9), 1U);
}

TEST(bme_NodeData, DeletingNodesMovesTheKeptOnesInAnyOrder) {
  bme_NodeData nodes = Labelled({10, 20, 30, 40, 50});
  const bme_NodeData before = nodes;
  nodes.DeleteNodes(std::vector<int>{2, -1, 0, 1, -4}.data());
  EXPECT_EQ(LabelsOf(nodes), (std::vector<int>{30, 40, 10}));
  for (const int label : {10, 30, 40})
    EXPECT_EQ(nodes[nodes.GetMeshNodeIndex(label)].x, static_cast<float>(label));
  EXPECT_EQ(before.NumNodes(), 5U) << "copies keep what they had";
  EXPECT_THROW(nodes.DeleteNodes(std::vector<int>{0, 0, 1}.data()), nex_AssertionException);
  EXPECT_THROW(nodes.DeleteNodes(std::vector<int>{0, 7, 1}.data()), nex_AssertionException);
  nodes.DeleteNodes(std::vector<int>{-1, -1, -1}.data());
  EXPECT_EQ(nodes.NumNodes(), 0U);
  EXPECT_TRUE(nodes.UserNodeLabels().IsEmpty());
}

TEST(bme_NodeData, AppendingTablesKeepsGivesOrDropsLabels) {
  bme_NodeData unlabelled;
  unlabelled.AppendNode(7, 7, 7);
  unlabelled.AppendNode(8, 8, 8);
  bme_NodeData nodes;
  nodes.AppendNodes(Labelled({3, 1}));
  EXPECT_EQ(LabelsOf(nodes), (std::vector<int>{3, 1}));
  nodes.AppendNodes(unlabelled);
  EXPECT_EQ(LabelsOf(nodes), (std::vector<int>{3, 1, 4, 5}));
  nodes.AppendNodes(nodes);
  EXPECT_EQ(nodes.NumNodes(), 8U);
  EXPECT_EQ(nodes[7].x, 8.0F);
  unlabelled.AppendNodes(nodes);
  EXPECT_FALSE(unlabelled.HasUserNodeLabels());
  EXPECT_EQ(unlabelled.NumNodes(), 10U);
}

TEST(bme_NodeData, CoordinatesAreSharedUntilChanged) {
  bme_NodeData nodes = Labelled({1, 2});
  const bme_NodeData copy = nodes;
  EXPECT_EQ(copy.Coordinates().Const().data(), nodes.Coordinates().Const().data());
  EXPECT_TRUE(copy == nodes);
  EXPECT_TRUE(nodes.SetNodalCoord(1, 9, 9, 9));
  EXPECT_FALSE(nodes.SetNodalCoord(2, 9, 9, 9));
  EXPECT_EQ(copy[1].x, 2.0F);
  EXPECT_FALSE(copy == nodes);
  EXPECT_TRUE(nodes.AreNodesEqual(0, 1, 9.0F));
  EXPECT_FALSE(nodes.AreNodesEqual(0, 1, 8.0F));
  EXPECT_FALSE(nodes.AreNodesEqual(0, 5, 9.0F));
  EXPECT_THROW(nodes[2], nex_OutOfRangeException);
}
