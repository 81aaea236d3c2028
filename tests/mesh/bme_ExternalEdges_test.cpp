#include "EntityMeshes.h"

#include <CoreGeometry/bme_ExternalEdges.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_FaceTriangles.h>
#include <CoreGeometry/bme_Messages.h>
#include <CoreGeometry/shp_Shape.h>
#include <gtest/gtest.h>

namespace {
bme_FEMFaceList Outside(const bme_Mesh& mesh) {
  return bme_ComputeFaces(bme_FEMElemList::All(mesh))->external;
}

/// Sum of the triangles' area vectors, and the volume that they enclose.
std::array<double, 4> AreaAndVolume(const bme_Mesh& mesh, const bme_FaceTriangles& triangles) {
  std::array<double, 4> sums{};
  const std::span<const float> xyz = mesh.NodeData().Coordinates().Const();
  for (std::size_t t = 0; t < triangles.words.size(); ++t) {
    std::array<std::array<double, 3>, 3> p{};
    for (std::size_t k = 0; k < 3; ++k)
      for (std::size_t i = 0; i < 3; ++i)
        p[k][i] = xyz[3 * static_cast<std::size_t>(triangles.nodes[3 * t + k]) + i];
    for (std::size_t i = 0; i < 3; ++i) {
      const std::size_t j = (i + 1) % 3, l = (i + 2) % 3;
      const double area =
          ((p[1][j] - p[0][j]) * (p[2][l] - p[0][l]) - (p[1][l] - p[0][l]) * (p[2][j] - p[0][j])) / 2;
      sums[i] += area;
      sums[3] += area * p[0][i] / 3;
    }
  }
  return sums;
}
} // namespace

class BoxEdges : public testing::TestWithParam<std::array<int, 4>> {};
TEST_P(BoxEdges, CloseAndFollowEuler) {
  const auto [a, b, c, isTetrahedra] = GetParam();
  const auto mesh = MeshMaker().Box(a, b, c, isTetrahedra != 0).Make();
  const bme_FEMFaceList outside = Outside(*mesh);
  const auto edges = bme_ComputeEdges(outside);
  ASSERT_TRUE(edges);
  EXPECT_EQ(bme_FEMNodeList::OfFaces(outside).Count() + outside.Count() - edges->unique.Count(), 2U);
  EXPECT_EQ(edges->feature.Count(), 4U * static_cast<unsigned>(a + b + c));
  EXPECT_TRUE(edges->free.IsEmpty() && edges->nonManifold.IsEmpty() && edges->inconsistent.IsEmpty());
  const auto sums = AreaAndVolume(*mesh, bme_Triangulate(outside));
  for (int i = 0; i < 3; ++i) EXPECT_NEAR(sums[i], 0, 1e-9);
  EXPECT_NEAR(sums[3], a * b * c, 1e-9);
  // twelve edges of the box, each a chain from corner to corner
  const auto chains = bme_ChainEdges(edges->feature);
  EXPECT_EQ(chains.size(), 12U);
  const std::vector<float> normals = *bme_ComputeNormals(outside);
  for (std::size_t i = 0; i < outside.Count(); ++i) {
    g3d_Vector one;
    const unsigned element = bme_ElementOf(outside[i]);
    EXPECT_TRUE(
        mesh->ComputeFaceNorml(mesh->ElementData().GetClass(0), element, bme_FaceOf(outside[i]), one));
    for (unsigned k = 0; k < 3; ++k) EXPECT_EQ(normals[3 * i + k], one[k]);
  }
}
INSTANTIATE_TEST_SUITE_P(Sizes, BoxEdges,
                         testing::Values(std::array{1, 1, 1, 0}, std::array{3, 4, 5, 0},
                                         std::array{4, 3, 2, 1}),
                         BoxName);

/// Layers of one body whose elements do not match share no nodes.
TEST(bme_ExternalEdges, OfLayersThatDoNotMatchAreThoseOfABrickEach) {
  const auto mesh = MeshMaker().Box(2, 3, 1).Box(3, 2, 2).Box(2, 3, 1).Make();
  const bme_FEMFaceList outside = Outside(*mesh);
  const auto edges = bme_ComputeEdges(outside);
  EXPECT_EQ(mesh->Connectivity().FindComponents(bme_Across::Face).count, 3U);
  EXPECT_EQ(outside.Count(), 22U + 32 + 22);
  EXPECT_EQ(edges->unique.Count(), 2 * outside.Count());
  EXPECT_TRUE(edges->free.IsEmpty() && edges->nonManifold.IsEmpty());
  EXPECT_EQ(bme_FEMNodeList::OfFaces(outside).Count() + outside.Count() - edges->unique.Count(), 3U * 2);
}

TEST(bme_ExternalEdges, TellBordersSeamsAndFlippedShells) {
  // a strip of three shells, the last one flipped and turned up by 90 degrees; a fourth on the first seam
  MeshMaker maker;
  maker.xyz = {0, 0, 0, 0, 1, 0, 1, 0, 0, 1, 1, 0, 2, 0, 0, 2, 1, 0, 2, 0, 1, 2, 1, 1, 1, 0, 1, 1, 1, 1};
  const auto mesh = maker.Class("S4", 4, {0, 2, 3, 1, 2, 4, 5, 3, 4, 5, 7, 6, 2, 3, 9, 8}).Make();
  const bme_FEMFaceList faces = bme_FEMFaceList::All(*mesh);
  const auto edges = bme_ComputeEdges(faces);
  ASSERT_TRUE(edges);
  EXPECT_EQ(edges->unique.Count(), 13U - 0U);
  EXPECT_EQ(edges->nonManifold.Count(), 1U);
  EXPECT_EQ(edges->feature.Count(), 1U);
  EXPECT_EQ(edges->free.Count(), 11U);
  EXPECT_TRUE(bme_ComputeEdges(bme_FEMFaceList(*mesh, {bme_FaceWord(0, 0), bme_FaceWord(0, 0, true)}))
                  ->nonManifold.IsEmpty())
      << "both sides count once";
  const auto strip = bme_ComputeEdges(bme_FEMFaceList(*mesh, {0, 1, 2}));
  EXPECT_EQ(strip->inconsistent, strip->feature) << "the seam of the flipped one";
  const auto border = bme_ChainEdges(strip->free);
  ASSERT_EQ(border.size(), 1U);
  EXPECT_TRUE(border.front().isClosed);
  EXPECT_EQ(border.front().words.size(), 8U);
  EXPECT_EQ(border.front().nodes.size(), 9U);
  EXPECT_FALSE(bme_ChainEdges(edges->feature).front().isClosed);
}

TEST(bme_ExternalEdges, TurnWithTheFeatureAngle) {
  MeshMaker maker;
  maker.xyz = {0, 0, 0, 0, 1, 0, 1, 0, 0, -1, 0, 0.5F}; // two triangles at 26.6 degrees
  const auto mesh = maker.Class("S3", 3, {0, 2, 1, 0, 1, 3}).Make();
  const bme_FEMFaceList faces = bme_FEMFaceList::All(*mesh);
  EXPECT_EQ(bme_ComputeEdges(faces, {.featureAngle = 0.46})->feature.Count(), 1U);
  EXPECT_TRUE(bme_ComputeEdges(faces, {.featureAngle = 0.47})->feature.IsEmpty());
}

TEST(bme_ExternalEdges, EndInAMessageWhenTheyCannotBeFound) {
  MeshMaker maker;
  const auto mesh = maker.Box(2, 1, 1).Class("C3D4", 4, {0, 1, 3, 99}).Make();
  const auto errorOf = [&](const bme_FEMFaceList& faces, const bme_EntityLimits& limits) {
    Listener listener;
    EXPECT_FALSE(bme_ComputeEdges(faces, {.limits = limits}));
    return listener.errors.size() == 1 ? listener.errors.front() : cow_String("not one error");
  };
  const bme_FEMFaceList all = bme_FEMFaceList::All(*mesh),
                        solids = bme_FEMFaceList::OfElements(bme_FEMElemList::OfClass(*mesh, 0));
  EXPECT_EQ(errorOf(all, {}), bme_MessageText(bme_EDGE_LIST_ERROR, "99"));
  EXPECT_EQ(errorOf(solids, {.elements = 1}), bme_MessageText(bme_TOO_MANY_FOR_EDGES));
  EXPECT_EQ(errorOf(solids, {.faces = 5}), bme_MessageText(bme_TOO_MANY_FOR_EDGES));
  g3d_Vector normal;
  const bme_ElementClass& broken = mesh->ElementData().GetClass(1);
  EXPECT_FALSE(mesh->ComputeFaceNorml(broken, 0, 1, normal));
  EXPECT_TRUE(mesh->ComputeFaceNorml(broken, 0, 0, normal)) << "the node that is not there is on other faces";
  EXPECT_FALSE(mesh->ComputeFaceNorml(broken, 0, 4, normal));
  EXPECT_FALSE(mesh->ComputeFaceNorml(broken, 1, 0, normal));
  {
    Listener listener;
    EXPECT_FALSE(bme_ComputeNormals(all));
    EXPECT_EQ(listener.errors, std::vector{bme_MessageText(bme_FACE_LIST_ERROR, "99")});
  }
  EXPECT_TRUE(mesh->ElementDataToModify().RemoveElements(bme_FEMElemList(*mesh, {1, 2})));
  EXPECT_EQ(errorOf(all, {}), bme_MessageText(bme_NEGATIVE_EDGES)) << "faces of elements that are gone";
}

TEST(bme_FaceTriangles, UseMidNodesWhenAsked) {
  struct Case {
    const char* type;
    std::size_t nodes, byCorners, byAll;
  };
  for (const Case& c : {Case{"C3D8", 8, 12, 12}, Case{"C3D20", 20, 12, 36}, Case{"C3D27", 27, 12, 48},
                        Case{"C3D10", 10, 4, 16}, Case{"C3D15", 15, 8, 26}, Case{"S4", 4, 2, 2},
                        Case{"S8R", 8, 2, 6}, Case{"S9R5", 9, 2, 8}, Case{"STRI65", 6, 1, 4}}) {
    const auto shape = bme_ElementClass(1, c.type, 0, 0, 0, "", 0, bme_ORIENTATION_NONE).Shape();
    ASSERT_TRUE(shape) << c.type;
    MeshMaker maker;
    std::vector<int> row;
    for (const shp_IsoPoint& iso : shape->NodeCoordinates()) {
      row.push_back(static_cast<int>(row.size()));
      for (const double value : iso) maker.xyz.push_back(static_cast<float>(value));
    }
    const auto mesh = maker.Class(c.type, c.nodes, row).Make();
    const bme_FEMFaceList faces = bme_FEMFaceList::All(*mesh);
    const bme_FaceTriangles corners = bme_Triangulate(faces), all = bme_Triangulate(faces, bme_NodesOf::All);
    EXPECT_EQ(corners.words.size(), c.byCorners) << c.type;
    EXPECT_EQ(all.words.size(), c.byAll) << c.type;
    const auto a = AreaAndVolume(*mesh, corners), b = AreaAndVolume(*mesh, all);
    for (std::size_t i = 0; i < 4; ++i)
      EXPECT_NEAR(a[i], b[i], 1e-6) << c.type << ": same surface either way";
  }
}
