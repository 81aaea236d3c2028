// Values on another mesh: linear fields are exact, and loads keep their resultants.
#include "../mesh/EntityMeshes.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_DivideMesh.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FaceTriangles.h>
#include <CoreGeometry/odiC_Integral.h>
#include <CoreGeometry/odiC_Map.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <cmath>
#include <filesystem>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;

class odiC_MapTest : public testing::Test {
protected:
  odiC_MapTest() : file_(fs::temp_directory_path() / ("map" + std::to_string(::getpid()) + ".cgdb")) {
    fs::remove(file_);
  }
  ~odiC_MapTest() override { fs::remove(file_); }

  /// A mesh of a box that is moved, scaled and bent: z gets bend x y.
  static bme_Mesh Box(std::array<int, 3> counts, std::array<double, 3> size, std::array<double, 3> low,
                      double bend = 0, bool areTetrahedra = false) {
    MeshMaker maker;
    maker.Box(counts[0], counts[1], counts[2], areTetrahedra);
    for (std::size_t i = 0; i < maker.xyz.size(); i += 3) {
      for (std::size_t k = 0; k < 3; ++k)
        maker.xyz[i + k] = static_cast<float>(low[k] + maker.xyz[i + k] * size[k] / counts[k]);
      maker.xyz[i + 2] += static_cast<float>(bend) * maker.xyz[i] * maker.xyz[i + 1];
    }
    return *maker.Make();
  }
  static double Linear(const double* p) { return 3 + 2 * p[0] - p[1] + 0.5 * p[2]; }

  /// A run with a linear scalar, a vector at nodes, a value of each element, and one of each of some faces.
  odiC_Run RunOn(const bme_Mesh& mesh, const bme_FEMFaceList* faces = nullptr) {
    cls_Database model = cls_Database::Create(file_.string());
    {
      cls_WritePass pass(model);
      pass.Put("meshes/a", mesh);
      pass.Commit();
    }
    odiC_RunWriter writer(model, "results/a/r", mesh);
    writer.BeginStep("s");
    writer.BeginFrame({.value = 1});
    std::vector<double> scalars, vectors, ofElements;
    for (unsigned i = 0; i < mesh.NodeData().NumNodes(); ++i) {
      const double p[] = {mesh.NodeData()[i].x, mesh.NodeData()[i].y, mesh.NodeData()[i].z};
      scalars.push_back(Linear(p));
      for (const double x : p) vectors.push_back(2 * x + 1);
    }
    for (unsigned e = 0; e < mesh.ElementData().NumElements(); ++e) ofElements.push_back(e);
    const auto put = [&](const char* name, res_DataTypeEnm type, const odiC_Layout& layout,
                         const std::vector<double>& values) {
      writer.PutField(writer.AddVariable(odiC_Variable(name, type)), writer.AddLayout(layout),
                      cow_ArrayCOW<double>(std::span<const double>(values)));
    };
    put("T", res_SCALAR, odiC_FullLayout(mesh, res_NODAL), scalars);
    put("U", res_VECTOR, odiC_FullLayout(mesh, res_NODAL), vectors);
    put("E", res_SCALAR, odiC_FullLayout(mesh, res_WHOLE_ELEMENT), ofElements);
    if (faces) {
      odiC_LayoutBlock block;
      block.position = res_ELEMENT_FACE;
      block.classIndex = 0;
      std::vector<int> entities, facets;
      std::vector<double> pressures;
      for (const unsigned word : *faces) {
        entities.push_back(static_cast<int>(bme_ElementOf(word)));
        facets.push_back(static_cast<int>(bme_FaceOf(word)));
        pressures.push_back(10 + static_cast<double>(pressures.size() % 7));
      }
      block.numEntities = static_cast<int>(entities.size());
      block.entities = cow_ArrayCOW<int>(std::span<const int>(entities));
      block.faces = cow_ArrayCOW<int>(std::span<const int>(facets));
      odiC_Layout layout;
      layout.completeness = res_PARTIAL_FIELD;
      layout.Add(block);
      put("P", res_SCALAR, layout, pressures);
    }
    writer.Commit();
    model_ = std::make_unique<cls_Database>(cls_Database::Open(file_.string()));
    return odiC_Run::Open(*model_, "results/a/r");
  }

  /// Faces of the outside whose normal looks along z or against it.
  static bme_FEMFaceList Facing(const bme_Mesh& mesh, double sign) {
    const auto outside = bme_ComputeFaces(bme_FEMElemList::All(mesh))->external;
    const auto normals = bme_ComputeNormals(outside);
    std::vector<unsigned> words;
    for (std::size_t i = 0; i < outside.Count(); ++i)
      if (static_cast<double>((*normals)[3 * i + 2]) * sign > 0.5) words.push_back(outside[i]);
    return {mesh, words};
  }

  const DDB_CoreGeometry library_;
  fs::path file_;
  std::unique_ptr<cls_Database> model_;
};
} // namespace

TEST_F(odiC_MapTest, LinearFieldsAreExactInsideAndMissingOutside) {
  const bme_Mesh donor = Box({4, 3, 5}, {2, 2, 2}, {0, 0, 0});
  const odiC_Run run = RunOn(donor);
  const odiC_When when{};
  for (const bool areTetrahedra : {false, true})
    for (const res_OutputPositionEnm position : {res_NODAL, res_INTEGRATION_POINT, res_WHOLE_ELEMENT}) {
      const bme_Mesh target = Box({3, 4, 3}, {1.5, 1.5, 1.5}, {0.2, 0.3, 0.1}, 0, areTetrahedra);
      const odiC_Map map(odiC_Values(run, "T"), target, {.position = position});
      EXPECT_TRUE(map.Unmapped().empty());
      EXPECT_EQ(map.LargestDistance(), 0);
      EXPECT_EQ(map.Layout().completeness, res_FULL_FIELD);
      const std::vector<double> values = map.Read(when);
      // its mean over the target is the value at the centre
      double sum = 0;
      for (const double value : values) sum += value / static_cast<double>(values.size());
      const double centre[] = {0.95, 1.05, 0.85};
      EXPECT_NEAR(sum, Linear(centre), 1e-5);
      for (unsigned i = 0; i < values.size() && position == res_NODAL; ++i) {
        const double p[] = {target.NodeData()[i].x, target.NodeData()[i].y, target.NodeData()[i].z};
        ASSERT_NEAR(values[i], Linear(p), 1e-5);
      }
    }
  // a quarter of the nodes along x are outside, at 0.5 and 1 from the donor
  const bme_Mesh wide = Box({6, 1, 1}, {3, 1, 1}, {0, 0, 0});
  for (const auto& [distance, count] : {std::pair{0., 8U}, {0.6, 4U}, {1.1, 0U}}) {
    const odiC_Map map(odiC_Values(run, "U"), wide, {.distance = distance});
    EXPECT_EQ(map.Unmapped().size(), count);
    EXPECT_EQ(map.Layout().numRows + static_cast<int>(count), 28);
    const std::vector<double> values = map.Read(when);
    for (int row = 0; row < map.Layout().numRows; ++row) {
      const auto node = static_cast<unsigned>(map.Layout().blocks[0].Entity(row));
      const double x = std::min(2., static_cast<double>(wide.NodeData()[node].x));
      ASSERT_NEAR(values[3 * static_cast<std::size_t>(row)], 2 * x + 1, 1e-5);
    }
  }
}

TEST_F(odiC_MapTest, SurfacesTakeTheSideThatIsMeant) {
  const bme_Mesh donor = Box({5, 4, 1}, {2, 2, 0.1}, {0, 0, 0}, 0.3),
                 target = Box({3, 7, 1}, {2, 2, 0.06}, {0, 0, 0.02}, 0.3);
  const auto all = bme_ComputeFaces(bme_FEMElemList::All(donor))->external;
  const odiC_Run run = RunOn(donor);
  for (const double side : {1., -1.})
    for (const odiC_Sides sides : {odiC_Sides::Same, odiC_Sides::Opposite}) {
      const bme_FEMFaceList faces = Facing(target, side);
      const odiC_Map map(odiC_Values(run, "T"), target,
                         {.distance = 0.2, .donorFaces = &all, .targetFaces = &faces, .sides = sides});
      EXPECT_EQ(map.Layout().numRows, 32);
      // the other surface of the donor is 0.02 or 0.08 away
      const bool isTop = (side > 0) == (sides == odiC_Sides::Same);
      const bool isNear = sides == odiC_Sides::Same;
      const std::vector<double> values = map.Read({});
      for (int row = 0; row < map.Layout().numRows; ++row) {
        const auto node = static_cast<unsigned>(map.Layout().blocks[0].Entity(row));
        const double x = target.NodeData()[node].x, y = target.NodeData()[node].y,
                     p[] = {x, y, (isTop ? 0.1 : 0) + 0.3 * x * y};
        ASSERT_NEAR(values[static_cast<std::size_t>(row)], Linear(p), isNear ? 0.03 : 0.08);
      }
    }
  const bme_FEMFaceList top = Facing(target, 1);
  EXPECT_NE(ThrownBy([&] {
              const odiC_Map map(odiC_Values(run, "T"), target, {.donorFaces = &all, .targetFaces = &top});
            }).find("a distance of 0.000000 is none within which a place is taken"),
            cow_String::npos);
}

TEST_F(odiC_MapTest, LoadsKeepForceAndMoment) {
  // the top of a bent fluid box below the bottom of a coarser solid, with a gap
  const bme_Mesh fluid = Box({9, 8, 2}, {4, 3, 1}, {0, 0, -1}, 0.2);
  const bme_FEMFaceList wet = Facing(fluid, 1);
  const odiC_Run run = RunOn(fluid, &wet);
  for (const bool isQuadratic : {false, true})
    for (const bool areTetrahedra : {false, true}) {
      bme_Mesh solid = Box({4, 5, 1}, {4, 3, 1}, {0, 0, 0.03}, 0.2, areTetrahedra);
      if (isQuadratic) solid = bme_ChangeOrder({solid}, true).result.mesh;
      const bme_FEMFaceList bottom = Facing(solid, -1);
      const odiC_MapOptions options{
          .distance = 0.5, .donorFaces = &wet, .targetFaces = &bottom, .sides = odiC_Sides::Opposite};
      for (const char* name : {"T", "U", "P", "E"}) {
        SCOPED_TRACE(testing::Message() << name << isQuadratic << areTetrahedra);
        const odiC_Loads loads = odiC_TransferLoads(odiC_Values(run, name), {}, solid, options);
        EXPECT_EQ(loads.areaMissing, 0);
        EXPECT_GT(loads.largestDistance, 0.02);
        EXPECT_LT(loads.largestDistance, 0.1);
        double force = 0, moment = 0;
        for (std::size_t k = 0; k < 3; ++k) {
          force = std::max(force, std::abs(loads.forceBefore[k]));
          moment = std::max(moment, std::abs(loads.momentBefore[k]));
        }
        EXPECT_GT(force, 10);
        for (std::size_t k = 0; k < 3; ++k) {
          EXPECT_NEAR(loads.forceAfter[k], loads.forceBefore[k], 1e-10 * force);
          EXPECT_NEAR(loads.momentAfter[k], loads.momentBefore[k], 1e-10 * moment);
        }
        if (*name == 'P') {
          EXPECT_GT(loads.forceAfter[2], 12 * 10); // pushes the solid up
        }
      }
      // the field is linear and the surface z = 0.2 x y, so the sum along z is known: T over the projection
      const odiC_Loads known = odiC_TransferLoads(odiC_Values(run, "T"), {}, solid, options);
      EXPECT_NEAR(known.forceAfter[2], 12 * (3 + 2 * 2 - 1.5) + 0.5 * 0.2 * 8 * 4.5, 1e-4);
      const odiC_Loads none = odiC_TransferLoads(
          odiC_Values(run, "T"), {}, solid, {.distance = 1e-3, .donorFaces = &wet, .targetFaces = &bottom});
      EXPECT_GT(none.areaMissing, 12); // more than the projection
      EXPECT_EQ(none.unmapped.size(), 72U);
    }
}
