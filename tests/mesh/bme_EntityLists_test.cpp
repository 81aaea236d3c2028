#include "EntityMeshes.h"

#include <CoreGeometry/bme_FEMEdgeList.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/gsl_BBox.h>
#include <CoreGeometry/rgnC_Facet.h>
#include <CoreGeometry/rgnC_SetData.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <gtest/gtest.h>
#include <random>
#include <set>

namespace {
using Words = std::vector<unsigned>;
template<class List> Words WordsOf(const List& list) { return {list.begin(), list.end()}; }

rgnC_SubsetData Subset(int mesh, res_SetTypeEnm type, const std::vector<int>& ids,
                       const std::vector<int>& facets = {}) {
  return {mesh,
          rgnC_SubsetData::kNoClass,
          0,
          0,
          type,
          false,
          rgnC_SubsetData::Ids(ids),
          rgnC_SubsetData::Ids(facets)};
}

cow_String FailureOf(const std::function<void()>& work) {
  try {
    work();
  } catch (const nex_TextException& failure) {
    return failure.Message();
  }
  return "no failure";
}

/// The same laws for each kind of list.
template<class List> void CheckSetLaws(const bme_Mesh& mesh, const bme_Mesh& other) {
  const List all = List::All(mesh);
  std::mt19937 random(5);
  const auto some = [&] {
    Words words;
    for (const unsigned word : all)
      if (random() % 3 != 0)
        words.insert(words.begin() + static_cast<long>(random() % (words.size() + 1)), {word, word});
    return List(mesh, words);
  };
  for (int round = 0; round < 20; ++round) {
    const List a = some(), b = some();
    const std::set<unsigned> inA(a.begin(), a.end()), inB(b.begin(), b.end());
    Words both, either, onlyA, one, notA;
    for (const unsigned word : all) {
      const bool isA = inA.contains(word), isB = inB.contains(word);
      EXPECT_EQ(a.Contains(word), isA);
      if (isA && isB) both.push_back(word);
      if (isA || isB) either.push_back(word);
      if (isA && !isB) onlyA.push_back(word);
      if (isA != isB) one.push_back(word);
      if (!isA) notA.push_back(word);
    }
    EXPECT_EQ(WordsOf(a.Intersection(b)), both);
    EXPECT_EQ(WordsOf(a.Union(b)), either);
    EXPECT_EQ(WordsOf(a.Difference(b)), onlyA);
    EXPECT_EQ(WordsOf(a.SymmetricDifference(b)), one);
    EXPECT_EQ(WordsOf(a.Complement()), notA);
  }
  EXPECT_EQ(all.Complement(), List(mesh));
  EXPECT_EQ(FailureOf([&] { (void)all.Union(List(other)); }),
            "lists of two meshes, with the identifiers 1 and 2, cannot be combined");
}
} // namespace

TEST(bme_EntityLists, FollowTheLawsOfSets) {
  const auto make = [](unsigned id) {
    MeshMaker maker;
    return maker.Box(2, 2, 1)
        .Class("S4", 4, {0, 1, 4, 3})
        .Class("B31", 2, {0, 1})
        .Class("MASS", 1, {2})
        .Make(id);
  };
  const auto mesh = make(1), other = make(2);
  CheckSetLaws<bme_FEMNodeList>(*mesh, *other);
  CheckSetLaws<bme_FEMElemList>(*mesh, *other);
  CheckSetLaws<bme_FEMFaceList>(*mesh, *other);
  CheckSetLaws<bme_FEMEdgeList>(*mesh, *other);
  EXPECT_EQ(bme_FEMFaceList::All(*mesh).Count(), 4U * 6 + 1);
  EXPECT_EQ(bme_FEMEdgeList::All(*mesh).Count(), 4U * 24 + 4 + 1);
}

TEST(bme_EntityLists, AreMadeFromLabelsAndGiveThemBack) {
  MeshMaker maker;
  maker.Nodes(4).Class("B31", 2, {0, 1, 1, 2}, {30, -7}).Class("S3", 3, {0, 1, 2}, {12});
  const auto mesh = maker.Make();
  const std::vector<int> nodeLabels = {5, -5, 100, 1};
  mesh->NodeDataToModify().SetUserNodeLabels(nodeLabels.data());
  using Labels = std::vector<int>;
  EXPECT_EQ(WordsOf(bme_FEMNodeList::FromLabels(*mesh, Labels{1, -5, 1})), (Words{1, 3}));
  EXPECT_EQ(bme_FEMNodeList(*mesh, {3, 1}).Labels(), (Labels{-5, 1}));
  const auto elements = bme_FEMElemList::FromLabels(*mesh, Labels{12, 30});
  EXPECT_EQ(WordsOf(elements), (Words{0, 2}));
  EXPECT_EQ(elements.Labels(), (Labels{30, 12}));
  const Labels unknown = {12, 30, 1, 2, 3};
  EXPECT_EQ(WordsOf(bme_FEMElemList::FromLabels(*mesh, unknown, bme_Unknown::Skip)), (Words{0, 2}));
  EXPECT_EQ(FailureOf([&] { bme_FEMElemList::FromLabels(*mesh, unknown); }),
            "mesh 1 does not have 3 element labels: 1, 2, 3");
  Labels many(25);
  for (int i = 0; i < 25; ++i) many[static_cast<std::size_t>(i)] = 200 + i;
  EXPECT_EQ(
      FailureOf([&] { bme_FEMNodeList::FromLabels(*mesh, many); }),
      "mesh 1 does not have 25 node labels: 200, 201, 202, 203, 204, 205, 206, 207, 208, 209, 210, 211, 212, "
      "213, 214, 215, 216, 217, 218, 219, ...");
  EXPECT_EQ(FailureOf([&] { bme_FEMElemList(*mesh, {0, 3}); }), "mesh 1 does not have 1 element index: 3");

  const auto plain = MeshMaker().Box(1, 1, 2).Make();
  EXPECT_EQ(bme_FEMElemList::FromLabels(*plain, Labels{2}).Labels(), Labels{2}) << "implicit element labels";
  EXPECT_TRUE(bme_FEMNodeList::FromLabels(*plain, Labels{1}, bme_Unknown::Skip).IsEmpty());
  EXPECT_EQ(bme_FEMNodeList(*plain, {4}).Labels(), Labels{5});
}

TEST(bme_EntityLists, WriteLabelsAsRanges) {
  const auto text = [](const std::vector<int>& labels) { return bme_CompactLabels(labels); };
  EXPECT_EQ(text({}), "");
  EXPECT_EQ(text({1, 3, 5, 7, 205}), "1:7:2,205");
  EXPECT_EQ(text({1, 2, 4, 5, 6}), "1,2,4:6");
  EXPECT_EQ(text({-2147483647 - 1, 0, 2147483647}), "-2147483648,0,2147483647");
}

TEST(bme_EntityLists, AreMadeFromSets) {
  MeshMaker maker;
  const auto mesh = maker.Box(1, 1, 1).Class("S4", 4, {0, 1, 3, 2}).Make();
  rgnC_SetData set;
  set.AppendSubset(Subset(1, res_NODE_SET, {3, 1}));
  set.AppendSubset(Subset(2, res_NODE_SET, {7}));
  set.AppendSubset(Subset(1, res_SURFACE_FACET, {0, 1, 1}, {4, 0, 1}));
  set.AppendSubset(Subset(1, res_SURFACE_EDGE, {0}, {4 * 2 + 3}));
  EXPECT_EQ(WordsOf(bme_FEMNodeList::FromSet(*mesh, set)), (Words{1, 3}));
  EXPECT_EQ(WordsOf(bme_FEMFaceList::FromSet(*mesh, set)),
            (Words{bme_FaceWord(0, 4), bme_FaceWord(1, 0), bme_FaceWord(1, 0, true)}));
  EXPECT_EQ(WordsOf(bme_FEMEdgeList::FromSet(*mesh, set)), Words{bme_EdgeWord(0, 2, 3)});
  EXPECT_EQ(WordsOf(bme_FEMElemList::FromSet(*mesh, set)), (Words{0, 1}));
  rgnC_SetData wrong;
  wrong.AppendSubset(Subset(1, res_SURFACE_FACET, {1, 5, 0}, {2, 0, 6}));
  EXPECT_TRUE(bme_FEMFaceList::FromSet(*mesh, wrong, bme_Unknown::Skip).Count() <= 1);
  EXPECT_NE(FailureOf([&] { bme_FEMFaceList::FromSet(*mesh, wrong); }), "no failure");
}

TEST(bme_EntityLists, FollowFromEachOther) {
  MeshMaker maker;
  const auto mesh =
      maker.Box(3, 1, 1).Class("C3D10", 10, {0, 1, 4, 8, 20, 21, 22, 23, 24, 25}).Nodes(26).Make();
  const bme_FEMElemList first(*mesh, {0}), tetrahedron(*mesh, {3});
  const bme_FEMNodeList corners = bme_FEMNodeList::OfElements(tetrahedron, bme_NodesOf::Corners);
  EXPECT_EQ(WordsOf(corners), (Words{0, 1, 4, 8}));
  EXPECT_EQ(bme_FEMNodeList::OfElements(tetrahedron).Count(), 10U);
  EXPECT_EQ(WordsOf(bme_FEMElemList::OfNodes(corners, bme_Touching::AnyNode)), (Words{0, 1, 3}));
  EXPECT_TRUE(bme_FEMElemList::OfNodes(corners, bme_Touching::AllNodes).IsEmpty());
  const bme_FEMNodeList ofFirst = bme_FEMNodeList::OfElements(first);
  EXPECT_EQ(bme_FEMElemList::OfNodes(ofFirst, bme_Touching::AllNodes), first);
  const bme_FEMFaceList faces = bme_FEMFaceList::OfElements(tetrahedron);
  EXPECT_EQ(faces.Count(), 4U);
  EXPECT_EQ(bme_FEMNodeList::OfFaces(faces, bme_NodesOf::Corners), corners);
  EXPECT_EQ(bme_FEMNodeList::OfFaces(faces).Count(), 10U);
  EXPECT_EQ(bme_FEMElemList::OfFaces(faces), tetrahedron);
  const bme_FEMEdgeList edges = bme_FEMEdgeList::OfFaces(faces);
  EXPECT_EQ(edges, bme_FEMEdgeList::OfElements(tetrahedron));
  EXPECT_EQ(bme_FEMNodeList::OfEdges(edges, bme_NodesOf::Corners), corners);
  EXPECT_EQ(bme_FEMNodeList::OfEdges(edges).Count(), 10U);
  EXPECT_EQ(bme_FEMElemList::OfEdges(edges), tetrahedron);
  const bme_LocalNodes edge = edges.EdgeNodes(0);
  EXPECT_EQ((std::vector<int>(edge.Nodes().begin(), edge.Nodes().end())), (std::vector<int>{0, 22, 4}));
  EXPECT_EQ(WordsOf(bme_FEMNodeList::InBox(*mesh, gsl_BBox(gsl_Point(0.5, 0, 0), gsl_Point(1, 0, 1)))),
            (Words{1, 9}));
  const gsl_BBox half(gsl_Point(1, -1, -1), gsl_Point(3, 2, 2));
  EXPECT_EQ(WordsOf(bme_FEMElemList::InBox(*mesh, half, bme_Touching::AllNodes)), (Words{1, 2}));
  EXPECT_EQ(WordsOf(bme_FEMElemList::InBox(*mesh, half, bme_Touching::AnyNode)), (Words{0, 1, 2, 3}));
}

TEST(bme_EntityLists, HaveWordsForEveryShape) {
  for (const auto& [label, key] : thr_ThreadSingleton<shp_ShapeDictionary>::Instance().LabelTable()) {
    const shp_Shape& shape = *thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(label);
    ASSERT_LE(shape.NumFaces(), static_cast<int>(bme_kMaxWordFaces)) << label;
    ASSERT_LE(shape.MaxEdgesPerFace(), 4) << label;
    ASSERT_LE(shape.MaxNodesPerFace(), static_cast<int>(bme_LocalNodes().nodes.size())) << label;
    for (const int corners : shape.CornersPerFace()) ASSERT_LE(corners, 4) << label;
    MeshMaker maker;
    std::vector<int> row;
    while (static_cast<int>(row.size()) < shape.NumNodes()) row.push_back(static_cast<int>(row.size()));
    const auto mesh = maker.Nodes(shape.NumNodes()).Class(label, row.size(), row).Make();
    // making a list checks each word
    const bme_FEMFaceList faces = bme_FEMFaceList::All(*mesh);
    const bme_FEMEdgeList edges = bme_FEMEdgeList::All(*mesh);
    const bme_FEMNodeList nodes =
        bme_FEMNodeList::OfElements(bme_FEMElemList::All(*mesh), bme_NodesOf::Corners);
    for (const unsigned node : bme_FEMNodeList::OfEdges(edges, bme_NodesOf::Corners))
      EXPECT_TRUE(nodes.Contains(node)) << label;
    for (const unsigned node : bme_FEMNodeList::OfFaces(faces, bme_NodesOf::Corners))
      EXPECT_TRUE(nodes.Contains(node)) << label;
  }
}

TEST(bme_EntityLists, RemoveTheirElements) {
  MeshMaker maker;
  maker.Nodes(6)
      .Class("B31", 2, {0, 1, 1, 2, 2, 3}, {7, 8, 9})
      .Class("S3", 3, {0, 1, 2}, {4})
      .Class("MASS", 1, {5}, {1});
  const auto mesh = maker.Make();
  const bme_Mesh before = *mesh;
  const bme_FEMElemList some(*mesh, {0, 2, 3});
  EXPECT_TRUE(mesh->ElementDataToModify().RemoveElements(some));
  const bme_ElementData& left = mesh->ElementData();
  EXPECT_EQ(bme_FEMElemList::All(*mesh).Labels(), (std::vector<int>{8, 1}));
  EXPECT_EQ(left.NumClasses(), 3U);
  EXPECT_EQ(left.GetMeshElemIndexFromLabel(1), 1U);
  EXPECT_EQ(left.GetMeshElemIndexFromLabel(4), bme_kNotFound);
  EXPECT_EQ(before.ElementData().NumElements(), 5U);
  EXPECT_FALSE(mesh->ElementDataToModify().RemoveElements(some)) << "the last one is gone";
  EXPECT_EQ(left.NumElements(), 2U);
}
