// Surfaces swept to solids: volumes by area and length, Euler numbers, and where sets are.
#include "EntityMeshes.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_CleanMesh.h>
#include <CoreGeometry/bme_DivideMesh.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FaceTriangles.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_OrientMesh.h>
#include <CoreGeometry/bme_SweepMesh.h>
#include <CoreGeometry/chk_Findings.h>
#include <cmath>
#include <functional>
#include <map>
#include <numbers>

namespace {
constexpr double kPi = std::numbers::pi;

/// 4 x 3 quadrilaterals, of which some are two triangles, x from 0 to 4 and z from 0 to 3; every third one is turned over.
bme_MeshAndSets Plate(bool isQuadratic, bool areTriangles) {
  MeshMaker maker;
  for (int z = 0; z < 4; ++z)
    for (int x = 0; x < 5; ++x)
      for (const int value : {x, 0, z}) maker.xyz.push_back(static_cast<float>(value));
  std::vector<int> quadrilaterals, triangles;
  for (int z = 0; z < 3; ++z)
    for (int x = 0; x < 4; ++x) {
      const int a = x + 5 * z;
      if (areTriangles && (x + z) % 2 == 0)
        for (const int node : {a, a + 1, a + 6, a, a + 6, a + 5}) triangles.push_back(node);
      else
        for (const int node : {a, a + 1, a + 6, a + 5}) quadrilaterals.push_back(node);
    }
  maker.Class("S4R", 4, quadrilaterals);
  if (areTriangles) maker.Class("S3", 3, triangles);
  bme_MeshAndSets plate{*maker.Make()};
  if (isQuadratic) plate = bme_ChangeOrder(plate, true, {{"S4R", "S8R"}}).result;
  std::vector<unsigned> some;
  for (unsigned e = 0; e < plate.mesh.ElementData().NumElements(); e += 3) some.push_back(e);
  plate = bme_ReverseElements(plate, some).result;
  const auto add = [&](const char* name, rgnC_SetData data) {
    data.SetIndex(static_cast<int>(plate.sets.size()) + 1);
    plate.sets.push_back({name, bme_KindOf(data), data});
  };
  std::vector<unsigned> nodes, elements{0, 2, 5}, faces{bme_FaceWord(1, 0), bme_FaceWord(3, 0, true)};
  for (unsigned i = 0; i < plate.mesh.NodeData().NumNodes(); ++i)
    if (plate.mesh.NodeData()[i].z == 0) nodes.push_back(i);
  add("low", bme_FEMNodeList(plate.mesh, nodes).ToSet());
  add("some", bme_FEMElemList(plate.mesh, elements).ToSet());
  add("faces", bme_FEMFaceList(plate.mesh, faces).ToSet());
  add("top", bme_FEMEdgeList(plate.mesh, {bme_EdgeWord(1, 0, 0), bme_EdgeWord(2, 0, 1)}).ToSet());
  return plate;
}

double VolumeOf(const bme_Mesh& mesh) { return bme_CalculateMeasures(mesh).volume.SignedTotal(); }

double AreaOf(const bme_MeshAndSets& all, const char* name) {
  const bme_NamedSet* set = bme_FindSet(all.sets, name, "m");
  if (!set) return -1;
  const auto faces = bme_FEMFaceList::FromSet(all.mesh, set->data);
  const std::vector<unsigned> words(faces.begin(), faces.end());
  return bme_CalculateMeasures(bme_ExtractFaces({all.mesh}, words).result.mesh).area.Total();
}

std::size_t NumFaults(const bme_Mesh& mesh) {
  std::vector<chk_Finding> found;
  chk_Findings findings("m", found);
  chk_Mesh(mesh, findings);
  chk_Elements(mesh, findings);
  return static_cast<std::size_t>(std::ranges::count_if(
      found, [](const chk_Finding& one) { return one.weight == cls_Finding::Weight::Fault; }));
}

/// Corners less edges plus faces less solids: 1 for a ball, 0 for a ring.
int Euler(const bme_Mesh& mesh) {
  std::set<int> corners;
  std::set<std::vector<int>> edges, faces;
  const auto all = bme_FEMFaceList::OfElements(bme_FEMElemList::All(mesh));
  for (std::size_t i = 0; i < all.Count(); ++i) {
    const bme_LocalNodes nodes = all.FaceNodes(i);
    std::set<int> face(nodes.Corners().begin(), nodes.Corners().end());
    corners.insert(face.begin(), face.end());
    for (std::size_t k = 0; k < nodes.corners; ++k) {
      const int a = nodes.nodes[k], b = nodes.nodes[(k + 1) % nodes.corners];
      if (a != b) edges.insert({std::min(a, b), std::max(a, b)});
    }
    if (face.size() > 2) faces.insert({face.begin(), face.end()});
  }
  return static_cast<int>(corners.size()) - static_cast<int>(edges.size()) + static_cast<int>(faces.size())
         - static_cast<int>(mesh.ElementData().NumElements());
}

class bme_SweepMeshTest : public testing::Test {
protected:
  const DDB_CoreGeometry library_;
};
} // namespace

TEST_F(bme_SweepMeshTest, ExtrusionsHaveAreaTimesLengthAndSetsAreSwept) {
  for (const bool isQuadratic : {false, true})
    for (const bool areTriangles : {false, true})
      for (const std::array<double, 3> vector : {std::array{0., 5., 0.}, {1., -2.5, 0.5}}) {
        SCOPED_TRACE(testing::Message() << isQuadratic << areTriangles << vector[0]);
        const bme_MeshAndSets plate = Plate(isQuadratic, areTriangles);
        const bme_Swept swept = bme_ExtrudeMesh(plate, vector, 3);
        const bme_MeshAndSets& made = swept.result;
        EXPECT_TRUE(swept.remarks.empty());
        EXPECT_EQ(NumFaults(made.mesh), 0U);
        EXPECT_NEAR(VolumeOf(made.mesh), 12 * std::abs(vector[1]), 1e-4);
        EXPECT_EQ(Euler(made.mesh), 1);
        EXPECT_EQ(made.mesh.ElementData().NumElements(), 3 * plate.mesh.ElementData().NumElements());
        EXPECT_NEAR(AreaOf(made, "bottom"), 12, 1e-5);
        EXPECT_NEAR(AreaOf(made, "top-2"), 12, 1e-5);
        // all nodes of z = 0 before the sweep are in the set, and all solids of the elements
        const auto low = bme_FEMNodeList::FromSet(made.mesh, made.sets[0].data);
        for (unsigned node = 0; node < made.mesh.NodeData().NumNodes(); ++node)
          ASSERT_EQ(low.Contains(node), plate.mesh.NodeData()[swept.baseNodes[node]].z == 0);
        const auto some = bme_FEMElemList::FromSet(plate.mesh, plate.sets[1].data);
        EXPECT_EQ(bme_Send(some, swept.renumbering, made.mesh),
                  bme_FEMElemList::FromSet(made.mesh, made.sets[1].data));
        // faces look to the side to which those of the shells looked, and edges are sides of three layers
        const auto before = bme_FEMFaceList::FromSet(plate.mesh, plate.sets[2].data),
                   after = bme_FEMFaceList::FromSet(made.mesh, made.sets[2].data);
        const auto normals = bme_ComputeNormals(before), now = bme_ComputeNormals(after);
        ASSERT_EQ(after.Count(), 2U);
        for (std::size_t i = 0; i < 2; ++i) EXPECT_NEAR((*now)[3 * i + 1], (*normals)[3 * i + 1], 1e-6);
        EXPECT_EQ(bme_FEMFaceList::FromSet(made.mesh, made.sets[3].data).Count(), 6U);
        EXPECT_NEAR(AreaOf(made, "top"), AreaOf(bme_ExtrudeMesh(plate, vector, 1).result, "top"), 1e-5);
      }
}

TEST_F(bme_SweepMeshTest, RevolutionsFollowPappusAndCloseUp) {
  for (const bool isQuadratic : {false, true})
    for (const bool areTriangles : {false, true})
      for (const double radius : {0., 2.}) { // of the inner edge: on the axis, or a ring
        SCOPED_TRACE(testing::Message() << isQuadratic << areTriangles << radius);
        const bme_MeshAndSets plate = Plate(isQuadratic, areTriangles);
        const double moment = 12 * (radius + 2); // the centre is 2 from the inner edge
        const std::array<double, 3> point{-radius, 0, 7}, axis{0, 0, 2};
        for (const double angle : {kPi / 2, -kPi / 3, 2 * kPi}) {
          const bme_Swept swept = bme_RevolveMesh(plate, point, axis, angle, 12);
          const double step = std::abs(angle) / 12;
          // linear solids have chords; parabolas through three points of an arc are much nearer to it
          const double chord = isQuadratic ? step : std::sin(step);
          EXPECT_NEAR(VolumeOf(swept.result.mesh), 12 * chord * moment, isQuadratic ? 0.3 : 1e-3);
          EXPECT_EQ(NumFaults(swept.result.mesh), 0U);
          const bool isClosed = angle > 6;
          EXPECT_EQ(Euler(swept.result.mesh), isClosed && radius > 0 ? 0 : 1);
          EXPECT_EQ(bme_FindSet(swept.result.sets, "bottom", "m") == nullptr, isClosed);
          EXPECT_EQ(swept.remarks.size(), isClosed ? 1U : 0U); // the surface of faces is empty
          if (!isClosed) {
            EXPECT_NEAR(AreaOf(swept.result, "bottom"), 12, 1e-4);
            EXPECT_NEAR(AreaOf(swept.result, "top-2"), 12, 1e-4);
          }
        }
      }
}

TEST_F(bme_SweepMeshTest, OffsetsOfPlatesAndSpheresHaveTheirThickness) {
  bme_MeshAndSets plate = Plate(false, true);
  plate = bme_OrientMesh(plate, {.direction = std::array{0., 1., 0.}}).result;
  const auto range = [](const bme_Mesh& mesh) {
    std::array<double, 2> both{1e9, -1e9};
    for (unsigned i = 0; i < mesh.NodeData().NumNodes(); ++i) {
      both[0] = std::min(both[0], static_cast<double>(mesh.NodeData()[i].y));
      both[1] = std::max(both[1], static_cast<double>(mesh.NodeData()[i].y));
    }
    return both;
  };
  const std::tuple<bme_OffsetSide, double, double> sides[] = {
      {bme_OffsetSide::Top, 0, 0.5}, {bme_OffsetSide::Bottom, -0.5, 0}, {bme_OffsetSide::Both, -0.25, 0.25}};
  for (const auto& [side, from, to] : sides) {
    const bme_Swept swept = bme_OffsetMesh(plate, 0.5, side, 2);
    EXPECT_NEAR(VolumeOf(swept.result.mesh), 6, 1e-5);
    EXPECT_NEAR(range(swept.result.mesh)[0], from, 1e-6);
    EXPECT_NEAR(range(swept.result.mesh)[1], to, 1e-6);
    for (const auto& [name, y] : {std::pair{"bottom", from}, {"top-2", to}}) {
      const auto faces =
          bme_FEMFaceList::FromSet(swept.result.mesh, bme_FindSet(swept.result.sets, name, "m")->data);
      EXPECT_EQ(faces.Count(), plate.mesh.ElementData().NumElements());
      for (const unsigned node : bme_FEMNodeList::OfFaces(faces))
        EXPECT_NEAR(swept.result.mesh.NodeData()[node].y, y, 1e-6);
    }
  }
  // the outside of a box that is blown up to a sphere
  bme_MeshAndSets box{*MeshMaker().Box(6, 6, 6).Make()};
  const auto outside = bme_ComputeFaces(bme_FEMElemList::All(box.mesh))->external;
  bme_MeshAndSets ball = bme_ExtractFaces(box, {outside.begin(), outside.end()}).result;
  ball = bme_ChangeOrder(ball, true).result;
  const std::span<float> xyz = ball.mesh.NodeDataToModify().CoordinatesToModify();
  for (std::size_t i = 0; i < xyz.size(); i += 3) {
    const double x = xyz[i] - 3, y = xyz[i + 1] - 3, z = xyz[i + 2] - 3,
                 r = std::sqrt(x * x + y * y + z * z) / 3;
    for (const auto& [k, value] : {std::pair{0U, x}, {1U, y}, {2U, z}})
      xyz[i + k] = static_cast<float>(value / r);
  }
  const bme_Swept shell = bme_OffsetMesh(ball, 0.5, bme_OffsetSide::Top, 1);
  EXPECT_NEAR(VolumeOf(shell.result.mesh), 4 * kPi / 3 * (std::pow(3.5, 3) - 27), 0.05);
  EXPECT_EQ(Euler(shell.result.mesh), 2);
  EXPECT_EQ(NumFaults(shell.result.mesh), 0U);
}

TEST_F(bme_SweepMeshTest, WhatHasNoSolidIsRefused) {
  const bme_MeshAndSets plate = Plate(false, false), box{*MeshMaker().Box(1, 1, 1).Make()};
  const std::pair<std::function<void()>, const char*> cases[] = {
      {[&] {
         bme_ExtrudeMesh(plate, {1, 0, 1}, 2);
       },
       "element class 0 (S4R): element 1 would become a solid without volume"},
      {[&] {
         bme_ExtrudeMesh(plate, {0, 1, 1}, 0);
       },
       "a sweep needs at least one layer"},
      {[&] {
         bme_ExtrudeMesh(box, {0, 1, 1}, 1);
       },
       "the mesh has no surface elements to sweep"},
      {[&] {
         bme_ExtrudeMesh(plate, {0, 1, 0}, 1, {{"S4R", "C3D20"}});
       },
       "C3D20 for S4R: it is no type of solids with 8 nodes as C3D8"},
      {[&] {
         bme_RevolveMesh(plate, {1.5, 0, 0}, {0, 0, 1}, 1, 1);
       },
       "element class 0 (S4R): element 2 would be swept to both of its sides"},
      {[&] {
         bme_RevolveMesh(plate, {-1, 0, 0}, {0, 0, 1}, 2 * kPi, 2);
       },
       "layers of half a turn or more have no shape: more than 2 are needed"},
      {[&] { bme_OffsetMesh(plate, 0.1, bme_OffsetSide::Top, 1); },
       "node 2 has no normal: its elements look to different sides, or have no area"},
      {[&] { bme_OffsetMesh(plate, -1, bme_OffsetSide::Top, 1); },
       "a thickness of -1.000000 is not above 0"}};
  for (const auto& [call, message] : cases) EXPECT_EQ(ThrownBy(call), message);
  const bme_Swept chosen = bme_ExtrudeMesh(plate, {0, 1, 0}, 1, {{"S4R", "C3D8R"}});
  EXPECT_EQ(chosen.result.mesh.ElementData().GetClass(0).ElemTypeLabel(), "C3D8R");
}
