#include "../module/mesh/faces/bme_Duplicates.h"
#include "EntityMeshes.h"

#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_Messages.h>
#include <CoreGeometry/shp_Shape.h>
#include <gtest/gtest.h>
#include <map>
#include <numeric>
#include <random>
#include <set>

namespace {
using Corners = std::set<int>;
using Words = std::vector<unsigned>;

Corners CornersOf(const bme_FEMFaceList& faces, std::size_t i) {
  const bme_LocalNodes face = faces.FaceNodes(i);
  return {face.Corners().begin(), face.Corners().end()};
}
std::multiset<Corners> AllCorners(const bme_FEMFaceList& faces) {
  std::multiset<Corners> all;
  for (std::size_t i = 0; i < faces.Count(); ++i) all.insert(CornersOf(faces, i));
  return all;
}
Words WordsOf(const bme_FEMFaceList& faces) { return {faces.begin(), faces.end()}; }

/// Solids of a few nodes each, some nodes twice in an element, many faces shared by several.
MeshMaker Tangle(std::mt19937& random, int numNodes, int numElements) {
  MeshMaker maker;
  maker.Nodes(numNodes);
  for (const auto& [type, columns] :
       {std::pair{"C3D8", 8}, {"C3D6", 6}, {"C3D4", 4}, {"S4R", 4}, {"B31", 2}}) {
    std::vector<int> rows;
    for (int e = 0; e < numElements; ++e) {
      std::vector<int> nodes(static_cast<std::size_t>(numNodes));
      std::iota(nodes.begin(), nodes.end(), 0);
      std::ranges::shuffle(nodes, random);
      if (random() % 3 == 0) nodes[random() % columns] = nodes[random() % columns];
      rows.insert(rows.end(), nodes.begin(), nodes.begin() + columns);
    }
    maker.Class(type, static_cast<std::size_t>(columns), rows);
  }
  return maker;
}

bme_FaceSets BruteForce(const bme_FEMElemList& elements, bool cover) {
  const bme_Mesh& mesh = elements.Mesh();
  const bme_FEMFaceList all = bme_FEMFaceList::OfElements(elements);
  struct Owners {
    std::set<unsigned> elements;
    Words words;
    bool isCovered = false;
  };
  std::map<Corners, Owners> faces;
  Words external, interior, shared, collapsed;
  for (std::size_t i = 0; i < all.Count(); ++i) {
    const Corners corners = CornersOf(all, i);
    const bool isShell = mesh.ElementData().GetElemClass(bme_ElementOf(all[i])).Shape()->NumGeomDims() == 2;
    if (corners.size() < 3)
      collapsed.push_back(all[i]);
    else if (isShell)
      external.push_back(all[i]);
    Owners& owners = faces[corners];
    owners.isCovered |= isShell && cover;
    if (corners.size() < 3 || isShell) continue;
    owners.elements.insert(bme_ElementOf(all[i]));
    owners.words.push_back(all[i]);
  }
  for (const auto& [corners, owners] : faces) {
    Words& to = owners.elements.size() == 1 ? external : owners.elements.size() == 2 ? interior : shared;
    if (owners.elements.size() != 1 || !owners.isCovered)
      to.insert(to.end(), owners.words.begin(), owners.words.end());
  }
  return {{mesh, external}, {mesh, interior}, {mesh, shared}, {mesh, collapsed}};
}
} // namespace

TEST(bme_ExternalFaces, AreThoseThatBruteForceFinds) {
  std::mt19937 random(7);
  std::size_t numShared = 0, numExternal = 0;
  for (int round = 0; round < 300; ++round) {
    const int numNodes = 8 + static_cast<int>(random() % 4);
    const auto mesh = Tangle(random, numNodes, 1 + static_cast<int>(random() % 12)).Make();
    Words some;
    for (unsigned e = 0; e < mesh->ElementData().NumElements(); ++e)
      if (random() % 4 != 0) some.push_back(e);
    const bme_FEMElemList elements(*mesh, some);
    const bme_FaceOptions options{.shellsCoverSolids = random() % 2 == 0, .wantInterior = true};
    const auto found = bme_ComputeFaces(elements, options);
    const bme_FaceSets expected = BruteForce(elements, options.shellsCoverSolids);
    ASSERT_TRUE(found);
    ASSERT_EQ(WordsOf(found->external), WordsOf(expected.external)) << round;
    ASSERT_EQ(WordsOf(found->interior), WordsOf(expected.interior)) << round;
    ASSERT_EQ(WordsOf(found->shared), WordsOf(expected.shared)) << round;
    ASSERT_EQ(WordsOf(found->collapsed), WordsOf(expected.collapsed)) << round;
    numShared += found->shared.Count();
    numExternal += found->external.Count();
  }
  EXPECT_GT(numShared, 1000U);
  EXPECT_GT(numExternal, 1000U);
}

class BoxFaces : public testing::TestWithParam<std::array<int, 4>> {};
TEST_P(BoxFaces, AreItsSurface) {
  const auto [a, b, c, isTetrahedra] = GetParam();
  const auto mesh = MeshMaker().Box(a, b, c, isTetrahedra != 0).Make();
  const auto found = bme_ComputeFaces(bme_FEMElemList::All(*mesh), {.wantInterior = true});
  ASSERT_TRUE(found);
  EXPECT_EQ(found->external.Count(), 2U * static_cast<unsigned>(a * b + b * c + c * a) << isTetrahedra);
  EXPECT_EQ(found->external.Count() + found->interior.Count(), bme_FEMFaceList::All(*mesh).Count());
  EXPECT_TRUE(found->shared.IsEmpty() && found->collapsed.IsEmpty());
  // outside(A or B) = outside(A) xor outside(B), by corners
  Words inA, inB;
  std::mt19937 random(3);
  for (unsigned e = 0; e < mesh->ElementData().NumElements(); ++e)
    (random() % 2 == 0 ? inA : inB).push_back(e);
  const bme_FEMElemList partA(*mesh, inA), partB(*mesh, inB);
  const auto outsideA = AllCorners(bme_ComputeFaces(partA)->external),
             outsideB = AllCorners(bme_ComputeFaces(partB)->external);
  std::multiset<Corners> either;
  std::ranges::set_symmetric_difference(outsideA, outsideB, std::inserter(either, either.end()));
  EXPECT_EQ(either, AllCorners(found->external));
  // the interface is what both have
  std::multiset<Corners> both;
  std::ranges::set_intersection(outsideA, outsideB, std::inserter(both, both.end()));
  EXPECT_EQ(both, AllCorners(*bme_ComputeInterface(partA, partB)));
  EXPECT_EQ(both, AllCorners(*bme_ComputeInterface(partB, partA)));
}
INSTANTIATE_TEST_SUITE_P(Sizes, BoxFaces,
                         testing::Values(std::array{1, 1, 1, 0}, std::array{3, 4, 5, 0},
                                         std::array{20, 17, 9, 0}, std::array{4, 3, 2, 1},
                                         std::array{18, 9, 12, 1}),
                         BoxName);

TEST(bme_ExternalFaces, MeetByCornersOrByAllNodesAsAsked) {
  // a tetrahedron of 10 nodes between one of 4 nodes, and one of 10 nodes with the same mid nodes
  MeshMaker maker;
  const auto mesh = maker.Nodes(20)
                        .Class("C3D10", 10, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 0, 2, 1, 10, 6, 5, 4, 11, 12, 13})
                        .Class("C3D4", 4, {0, 1, 3, 14})
                        .Make();
  const bme_FEMElemList all = bme_FEMElemList::All(*mesh);
  EXPECT_EQ(bme_ComputeFaces(all)->external.Count(), 8U);
  EXPECT_EQ(bme_ComputeFaces(all, {.matchAllNodes = true})->external.Count(), 10U);
  const bme_FEMElemList quadratic = bme_FEMElemList::OfClass(*mesh, 0),
                        linear = bme_FEMElemList::OfClass(*mesh, 1);
  EXPECT_EQ(WordsOf(*bme_ComputeInterface(quadratic, linear)), Words{bme_FaceWord(0, 1)});
  EXPECT_TRUE(bme_ComputeInterface(quadratic, linear, {.matchAllNodes = true})->IsEmpty());
}

TEST(bme_ExternalFaces, OfSurfaceElementsAreListedFromOneSideOrBoth) {
  MeshMaker maker;
  const auto mesh =
      maker.Nodes(8).Class("C3D8", 8, {0, 1, 2, 3, 4, 5, 6, 7}).Class("S4", 4, {4, 5, 6, 7}).Make();
  const bme_FEMElemList all = bme_FEMElemList::All(*mesh);
  EXPECT_EQ(bme_ComputeFaces(all)->external.Count(), 7U);
  const auto found = bme_ComputeFaces(all, {.bothSides = true, .shellsCoverSolids = true});
  EXPECT_EQ(found->external.Count(), 7U) << "five faces of the solid, two sides of the shell";
  EXPECT_FALSE(found->external.Contains(bme_FaceWord(0, 1)));
  ASSERT_TRUE(found->external.Contains(bme_FaceWord(1, 0, true)));
  const bme_LocalNodes back = found->external.FaceNodes(6);
  EXPECT_EQ((std::vector<int>(back.Nodes().begin(), back.Nodes().end())), (std::vector<int>{4, 7, 6, 5}));
}

/// However many sets share a hash: each later element with the first of the same nodes and dimension.
TEST(bme_ExternalFaces, FindTheDuplicatesThatBruteForceFindsWhateverTheHash) {
  std::mt19937 random(13);
  std::size_t numPairs = 0, numOthers = 0;
  for (int round = 0; round < 60; ++round) {
    const auto mesh = Tangle(random, 8, 12).Make();
    const bme_FEMElemList all = bme_FEMElemList::All(*mesh);
    using Key = std::pair<int, Corners>;
    std::map<Key, unsigned> first;
    std::vector<std::array<unsigned, 2>> expected;
    for (const unsigned element : all) {
      const bme_ElementClass& type = mesh->ElementData().GetElemClass(element);
      const auto row = type.Connectivity(static_cast<int>(element) - type.FirstElementIndex());
      const auto [at, isNew] =
          first.try_emplace({type.Shape()->NumGeomDims(), Corners(row.begin(), row.end())}, element);
      if (!isNew) expected.push_back({at->second, element});
    }
    std::ranges::sort(expected);
    EXPECT_EQ(bme_FindDuplicates(all), expected);
    EXPECT_EQ(bme_FindDuplicatesBy(all, [](std::span<const int>) { return 0U; }), expected);
    EXPECT_EQ(
        bme_FindDuplicatesBy(all, [](std::span<const int> set) { return static_cast<unsigned>(set[0] % 2); }),
        expected);
    numPairs += expected.size();
    numOthers += first.size();
  }
  EXPECT_GT(numPairs, 100U);
  EXPECT_GT(numOthers, 100U);
}

TEST(bme_ExternalFaces, EndInAMessageWhenTheyCannotBeFound) {
  MeshMaker maker;
  maker.Box(2, 1, 1).Class("NOSUCH", 2, {0, 1}).Class("C3D4", 4, {0, 1, 2, 99}).Class("S3", 3, {0, 1, -1});
  const auto mesh = maker.Make();
  const auto errorOf = [&](const bme_FEMElemList& elements, const bme_FaceOptions& options) {
    Listener listener;
    EXPECT_FALSE(bme_ComputeFaces(elements, options));
    return listener.errors.size() == 1 ? listener.errors.front() : cow_String("not one error");
  };
  const bme_FEMElemList all = bme_FEMElemList::All(*mesh), solids = bme_FEMElemList::OfClass(*mesh, 0);
  EXPECT_EQ(errorOf(all, {}), bme_MessageText(bme_UNSUPPORTED_TYPE, "NOSUCH"));
  EXPECT_EQ(errorOf(all.Difference(bme_FEMElemList::OfClass(*mesh, 3)), {.exclude = bme_EXCLUDE_UNSUPPORTED}),
            bme_MessageText(bme_FACE_LIST_ERROR, "99"));
  EXPECT_EQ(errorOf(bme_FEMElemList::OfClass(*mesh, 3), {}), bme_MessageText(bme_FACE_LIST_ERROR, "-1"));
  EXPECT_EQ(errorOf(solids, {.limits = {.elements = 1}}), bme_MessageText(bme_TOO_MANY_FOR_FACES));
  EXPECT_EQ(errorOf(solids, {.limits = {.faces = 5}}), bme_MessageText(bme_TOO_MANY_FOR_FACES));
  Listener listener;
  EXPECT_TRUE(bme_ComputeFaces(solids, {.limits = {.elements = 2, .faces = 6}}));
  EXPECT_EQ(listener.states, std::vector{bme_MessageText(bme_COMPUTING_FACES)});
  EXPECT_EQ(listener.lastFraction, 1);
  listener.lastFraction = 0;
  listener.cancel = true;
  EXPECT_THROW(bme_ComputeFaces(solids), wip_Cancelled);
}

TEST(bme_ExternalFaces, ExcludeTheKindsOfElementsThatAreNotWanted) {
  MeshMaker maker;
  const auto mesh = maker.Nodes(8).Class("R3D4", 4, {0, 1, 2, 3}).Class("S4", 4, {4, 5, 6, 7}).Make();
  const bme_FEMElemList all = bme_FEMElemList::All(*mesh);
  EXPECT_EQ(bme_ComputeFaces(all)->external.Count(), 2U);
  EXPECT_EQ(WordsOf(bme_ComputeFaces(all, {.exclude = bme_EXCLUDE_RIGID})->external),
            Words{bme_FaceWord(1, 0)});
}
