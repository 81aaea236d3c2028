// Shells that look to one side, and elements turned over.
#include "EntityMeshes.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_CleanMesh.h>
#include <CoreGeometry/bme_DivideMesh.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FaceTriangles.h>
#include <CoreGeometry/bme_OrientMesh.h>
#include <cmath>

namespace {
class bme_OrientMeshTest : public testing::Test {
protected:
  const DDB_CoreGeometry library_;

  /// The outside of a box as shells of one kind.
  static bme_MeshAndSets Skin(bool areTetrahedra, bool areQuadratic) {
    bme_MeshAndSets box{*MeshMaker().Box(3, 2, 2, areTetrahedra).Make()};
    if (areQuadratic) box = bme_ChangeOrder(box, true).result;
    const auto faces = bme_ComputeFaces(bme_FEMElemList::All(box.mesh));
    const std::vector<unsigned> words(faces->external.begin(), faces->external.end());
    return bme_ExtractFaces(box, words).result;
  }
  static void AddFront(bme_MeshAndSets& all) {
    rgnC_SetData front = bme_FEMFaceList::OfElements(bme_FEMElemList::All(all.mesh)).ToSet();
    all.sets.push_back({"front", bme_KindOf(front), front});
  }
  static double Volume(const bme_Mesh& mesh) {
    const auto triangles = bme_Triangulate(bme_FEMFaceList::OfElements(bme_FEMElemList::All(mesh)));
    double volume = 0;
    for (std::size_t i = 0; i < triangles.nodes.size(); i += 3) {
      const auto at = [&](std::size_t k) {
        return mesh.NodeData()[static_cast<unsigned>(triangles.nodes[i + k])];
      };
      const auto a = at(0), b = at(1), c = at(2);
      volume += a.x * (b.y * c.z - b.z * c.y) + a.y * (b.z * c.x - b.x * c.z) + a.z * (b.x * c.y - b.y * c.x);
    }
    return volume / 6;
  }
  /// A strip of quadrilaterals with half a turn, or none, along a circle.
  static bme_MeshAndSets Strip(bool isTwisted, int count) {
    MeshMaker maker;
    std::vector<int> rows;
    for (int i = 0; i < count; ++i) {
      const double angle = 2 * M_PI * i / count, tilt = isTwisted ? angle / 2 : 0;
      for (const double s : {-1., 1.}) {
        const double r = 4 + s * std::cos(tilt);
        for (const double x : {r * std::cos(angle), r * std::sin(angle), s * std::sin(tilt)})
          maker.xyz.push_back(static_cast<float>(x));
      }
      const int next = 2 * ((i + 1) % count), swap = isTwisted && i + 1 == count ? 1 : 0;
      for (const int node : {2 * i, 2 * i + 1, next + 1 - swap, next + swap}) rows.push_back(node);
    }
    maker.Class("S4", 4, rows);
    return {*maker.Make()};
  }
};

/// Nodes of a face as a cycle from its lowest one: it tells where the face looks.
std::vector<int> Cycle(const bme_FEMFaceList& faces, std::size_t i) {
  const bme_LocalNodes nodes = faces.FaceNodes(i);
  std::vector<int> cycle(nodes.Corners().begin(), nodes.Corners().end());
  std::rotate(cycle.begin(), std::ranges::min_element(cycle), cycle.end());
  return cycle;
}
} // namespace

TEST_F(bme_OrientMeshTest, ShellsTurnBackAndSurfacesKeepTheirSide) {
  for (const bool areTetrahedra : {false, true})
    for (const bool areQuadratic : {false, true}) {
      SCOPED_TRACE(testing::Message() << areTetrahedra << areQuadratic);
      bme_MeshAndSets skin = Skin(areTetrahedra, areQuadratic);
      AddFront(skin);
      ASSERT_NEAR(Volume(skin.mesh), 12, 1e-6);
      std::vector<unsigned> some;
      for (unsigned e = 1; e < skin.mesh.ElementData().NumElements(); e += 3) some.push_back(e);
      const bme_Edited mixed = bme_ReverseElements(skin, some);
      EXPECT_LT(std::abs(Volume(mixed.result.mesh)), 11);
      // the surface is where it was, seen from the same side
      const auto cycles = [](const bme_MeshAndSets& all) {
        std::multiset<std::vector<int>> found;
        const auto faces = bme_FEMFaceList::FromSet(all.mesh, all.sets[0].data);
        for (std::size_t i = 0; i < faces.Count(); ++i) found.insert(Cycle(faces, i));
        return found;
      };
      EXPECT_EQ(cycles(mixed.result), cycles(skin));
      const auto sent = bme_Send(bme_FEMFaceList::FromSet(skin.mesh, skin.sets[0].data), mixed.renumbering,
                                 mixed.result.mesh);
      EXPECT_EQ(sent, bme_FEMFaceList::FromSet(mixed.result.mesh, mixed.result.sets[0].data));
      // as few as possible are turned: those that were; then none; and all of them inwards
      const bme_Oriented back = bme_OrientMesh(mixed.result);
      EXPECT_EQ(back.turned, some);
      EXPECT_EQ(back.numPatches, 1U);
      EXPECT_TRUE(back.branching.empty() && back.oneSided.empty());
      EXPECT_EQ(cycles(back.result), cycles(skin));
      EXPECT_NEAR(Volume(back.result.mesh), 12, 1e-6);
      for (const std::array<double, 3> point : {std::array{50., -3., 1.}, {1., 1., 1.}})
        EXPECT_EQ(bme_OrientMesh(mixed.result, {.awayFrom = point}).turned, some);
      const std::vector<unsigned> seed{some[0]};
      const bme_Oriented inwards = bme_OrientMesh(mixed.result, {.seeds = seed});
      EXPECT_NEAR(Volume(inwards.result.mesh), -12, 1e-6);
      EXPECT_EQ(inwards.turned.size() + some.size(), skin.mesh.ElementData().NumElements());
      EXPECT_EQ(bme_Renumbering(mixed.renumbering.Then(back.renumbering)).turns,
                std::vector<unsigned char>(skin.mesh.ElementData().NumElements(), 0));
    }
}

TEST_F(bme_OrientMeshTest, OneSidedAndBranchingSurfacesAreToldAndWrongWordsRefused) {
  const bme_MeshAndSets strip = Strip(false, 12), moebius = Strip(true, 12);
  EXPECT_TRUE(bme_OrientMesh(strip).oneSided.empty());
  const bme_Oriented found = bme_OrientMesh(moebius);
  EXPECT_EQ(found.oneSided.size(), 12U);
  EXPECT_TRUE(found.turned.empty());
  const bme_Oriented up = bme_OrientMesh(strip, {.direction = std::array{0., 0., 1.}}),
                     down = bme_OrientMesh(strip, {.direction = std::array{0.1, 0., -1.}});
  EXPECT_EQ(up.turned.size() + down.turned.size(), 12U);
  EXPECT_TRUE(up.turned.empty() || down.turned.empty());
  // three plates at one edge: three patches, each as it was
  MeshMaker maker;
  maker.xyz = {0, 0, 0, 0, 0, 1, 1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1, 0, -1, 0, 0, -1, 1};
  maker.Class("S4", 4, {0, 1, 3, 2, 0, 1, 5, 4, 1, 0, 6, 7});
  const bme_MeshAndSets plates{*maker.Make()};
  const bme_Oriented three = bme_OrientMesh(plates);
  EXPECT_EQ(three.numPatches, 3U);
  EXPECT_EQ(three.branching, (std::vector<unsigned>{0, 1, 2}));
  EXPECT_TRUE(three.turned.empty());
  // without one of them two are a patch, and look to different sides of it
  const std::vector<unsigned> two{0, 1};
  const bme_Oriented pair = bme_OrientMesh(plates, {.elements = two});
  EXPECT_EQ(pair.numPatches, 1U);
  EXPECT_EQ(pair.turned, (std::vector<unsigned>{1}));
  const bme_MeshAndSets box{*MeshMaker().Box(1, 1, 1).Make()};
  EXPECT_EQ(bme_OrientMesh(box).numPatches, 0U);
  const std::vector<unsigned> first{0}, outside{5};
  EXPECT_EQ(ThrownBy([&] { bme_OrientMesh(plates, {.elements = two, .seeds = two}); }),
            "elements 1 and 2 are seeds of one patch, but look to different sides of it");
  EXPECT_EQ(ThrownBy([&] { bme_OrientMesh(box, {.seeds = first}); }),
            "element 1 is a seed, but none of the shells that are oriented");
  EXPECT_EQ(ThrownBy([&] {
              bme_OrientMesh(box, {.direction = std::array{0., 0., 0.}});
            }),
            "0, 0, 0 is no direction for shells to look along");
  EXPECT_NE(ThrownBy([&] { bme_ReverseElements(box, outside); }), "");
}
