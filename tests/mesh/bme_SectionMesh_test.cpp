// Sections of meshes of every family: areas and moments that are known, and values that are linear.
#include "EntityMeshes.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_CleanMesh.h>
#include <CoreGeometry/bme_DivideMesh.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_SectionMesh.h>
#include <CoreGeometry/bme_SweepMesh.h>
#include <cmath>
#include <numbers>

namespace {
class bme_SectionMeshTest : public testing::Test {
protected:
  const DDB_CoreGeometry library_;

  /// The same box of 4 x 3 x 2 of several shapes.
  static std::vector<bme_MeshAndSets> Boxes() {
    const bme_MeshAndSets hexahedra{*MeshMaker().Box(4, 3, 2).Make()};
    std::vector<bme_MeshAndSets> boxes{hexahedra, {*MeshMaker().Box(4, 3, 2, true).Make()}};
    std::vector<unsigned> low;
    for (unsigned e = 0; e < 12; ++e) low.push_back(bme_FaceWord(e, 0));
    const bme_MeshAndSets plate = bme_SplitElements(bme_ExtractFaces(hexahedra, low).result).result;
    boxes.push_back({bme_ExtrudeMesh(plate, {0, 0, 2}, 2).result.mesh}); // wedges
    boxes.push_back(bme_ChangeOrder(hexahedra, true).result);
    return boxes;
  }
};
} // namespace

TEST_F(bme_SectionMeshTest, BoxesHaveTheSectionsOfABox) {
  struct Case {
    bme_CutPlane plane;
    double area, aboutFirst, aboutSecond;
    std::array<double, 3> centre;
  };
  const double root = std::sqrt(2.);
  const Case cases[] = {
      {{{1.3, 9, 9}, {5, 0, 0}}, 6, 27. * 2 / 12, 8. * 3 / 12, {1.3, 1.5, 1}}, // first axis z, second -y
      {{{0, 0, 1}, {0, 0, 1}}, 12, 4 * 27. / 12, 3 * 64. / 12, {2, 1.5, 1}},   // through nodes
      {{{0, 0, 0.75}, {0, 0, -1}}, 12, 4 * 27. / 12, 3 * 64. / 12, {2, 1.5, 0.75}},
      {{{1, 0, 0}, {1, -1, 0}}, 6 * root, 3 * root * 8 / 12, 2 * std::pow(3 * root, 3) / 12, {2.5, 1.5, 1}}};
  for (const bme_MeshAndSets& box : Boxes())
    for (const unsigned refinements : {0U, 1U})
      for (const Case& one : cases) {
        SCOPED_TRACE(testing::Message() << box.mesh.ElementData().GetClass(0).ElemTypeLabel() << ' '
                                        << one.area << ' ' << refinements);
        bme_CutPlane plane = one.plane;
        plane.refinements = refinements;
        const bme_Section section = bme_CutMesh(box, plane);
        const bme_SectionMoments& moments = section.moments;
        EXPECT_NEAR(moments.area, one.area, 1e-9);
        for (std::size_t k = 0; k < 3; ++k) EXPECT_NEAR(moments.centre[k], one.centre[k], 1e-9);
        EXPECT_NEAR(moments.aboutFirst, one.aboutFirst, 1e-9);
        EXPECT_NEAR(moments.aboutSecond, one.aboutSecond, 1e-9);
        EXPECT_NEAR(moments.product, 0, 1e-9);
        EXPECT_NEAR(moments.largest, std::max(one.aboutFirst, one.aboutSecond), 1e-9);
        EXPECT_NEAR(bme_CalculateMeasures(section.result.mesh).area.Total(), one.area, 1e-5);
        EXPECT_TRUE(section.remarks.empty());
        // one patch, of which the border is that of the box; nodes are the sums that they are said to be
        const bme_Mesh& mesh = section.result.mesh;
        EXPECT_EQ(mesh.Connectivity().FindComponents(bme_Across::Face).count, 1U);
        const bme_Renumbering& map = section.renumbering;
        ASSERT_EQ(map.made.starts.size(), mesh.NodeData().NumNodes() + 1U);
        for (unsigned node = 0; node < mesh.NodeData().NumNodes(); ++node) {
          double y = 0, weights = 0;
          for (auto k = map.made.starts[node]; k < map.made.starts[node + 1]; ++k) {
            y += map.made.weights[k] * box.mesh.NodeData()[map.made.parents[k]].y;
            weights += map.made.weights[k];
          }
          ASSERT_NEAR(mesh.NodeData()[node].y, y, 1e-6);
          ASSERT_NEAR(weights, 1, 1e-12);
        }
        for (const int element : map.elements.from) ASSERT_GE(element, 0);
      }
}

TEST_F(bme_SectionMeshTest, CurvedElementsAreFollowedAndSurfacesGiveLines) {
  // a quarter of a ring of 1 to 2, of mid nodes on arcs: radius and height are x and z of a plate
  MeshMaker maker;
  maker.xyz = {1, 0, 0, 2, 0, 0, 2, 0, 1, 1, 0, 1};
  maker.Class("S4", 4, {0, 1, 2, 3});
  const bme_MeshAndSets section = bme_ChangeOrder({*maker.Make()}, true).result;
  const bme_MeshAndSets ring = bme_RevolveMesh(section, {0, 0, 0}, {0, 0, 1}, 2 * std::numbers::pi, 4).result;
  const double volume = bme_CalculateMeasures(ring.mesh).volume.Total(); // of height 1
  double error = 12;
  for (const unsigned refinements : {0U, 1U, 2U, 3U}) {
    const bme_Section cut = bme_CutMesh(ring, {{0, 0, 0.4}, {0, 0, 1}, refinements});
    const double now = std::abs(cut.moments.area - volume);
    EXPECT_LT(now, error / 3);
    error = now;
    EXPECT_NEAR(cut.moments.aboutFirst, cut.moments.aboutSecond, 1e-5);
  }
  EXPECT_LT(error, 0.1);
  // the outside of a box
  const bme_MeshAndSets box{*MeshMaker().Box(4, 3, 2).Make()};
  const auto outside = bme_ComputeFaces(bme_FEMElemList::All(box.mesh))->external;
  const bme_Edited shells = bme_ExtractFaces(box, {outside.begin(), outside.end()});
  const bme_Section lines = bme_CutMesh(shells.result, {{0, 0, 0.25}, {0, 0, 1}});
  EXPECT_NEAR(lines.length, 14, 1e-9);
  EXPECT_EQ(lines.moments.area, 0);
  EXPECT_NEAR(lines.lineCentre[0], 2, 1e-9);
  EXPECT_EQ(lines.result.mesh.ElementData().NumElements(), 14U);
  EXPECT_EQ(bme_CutMesh(box, {{0, 0, 5}, {0, 0, 1}}).result.mesh.ElementData().NumElements(), 0U);
  EXPECT_EQ(ThrownBy([&] { bme_CutMesh(box, {{0, 0, 0}, {0, 0, 0}}); }), "0, 0, 0 is no normal of a plane");
}
