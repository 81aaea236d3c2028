#include <CoreGeometry/bme_Measures.h>

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/dtu_DatumCsys.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>
#include <random>

namespace {
/// Elements with nodes of their own, in double precision.
struct Model {
  bme_ElementData elements;
  std::vector<double> xyz;

  bme_ElementClass& Add(const char* label, const std::vector<std::vector<std::array<double, 3>>>& nodes) {
    cow_ArrayCOW<int> connectivity;
    std::vector<int> all;
    for (const auto& element : nodes)
      for (const auto& p : element) {
        all.push_back(static_cast<int>(xyz.size() / 3));
        xyz.insert(xyz.end(), p.begin(), p.end());
      }
    connectivity.Append(all);
    elements.AddElementClass(new bme_ElementClass(label, cls_xp2DArrayInt(nodes[0].size(), connectivity)));
    return elements.GetClassToModify(elements.NumClasses() - 1);
  }
  bme_Mesh Mesh() const {
    uti_CoordCont3D coordinates;
    for (std::size_t i = 0; i < xyz.size(); i += 3)
      coordinates.Append(static_cast<float>(xyz[i]), static_cast<float>(xyz[i + 1]),
                         static_cast<float>(xyz[i + 2]));
    return {1, new bme_NodeData(coordinates), new bme_ElementData(elements), bme_ORPHAN_MESH, nullptr};
  }
};

/// The cube [-1, 1]^3 in n^3 parts, through a map.
template<class Map> Model Grid(const char* label, int n, Map map) {
  const auto nodes = thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(label)->NodeCoordinates();
  std::vector<std::vector<std::array<double, 3>>> all;
  for (int i = 0; i < n * n * n; ++i) {
    all.emplace_back();
    const std::array<int, 3> cell = {i % n, i / n % n, i / n / n};
    for (const shp_IsoPoint& node : nodes) {
      std::array<double, 3> p;
      for (std::size_t a = 0; a < 3; ++a) p[a] = (2 * cell[a] + 1 + node[a]) / n - 1;
      all.back().push_back(map(p));
    }
  }
  Model model;
  model.Add(label, all);
  return model;
}

std::array<double, 3> ToBrick(const std::array<double, 3>& p) { return {100 + p[0], 2 * p[1] - 7, 3 * p[2]}; }

bme_ElementValue Always(double value) {
  return [value](const bme_ElementClass&, int) { return value; };
}

class bme_MeasuresTest : public ::testing::Test {
  const DDB_CoreGeometry library_;
};
} // namespace

TEST_F(bme_MeasuresTest, CylinderOfQuadraticSectors) {
  Model model;
  std::vector<std::vector<std::array<double, 3>>> sectors;
  const auto nodes =
      thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape("C3D15")->NodeCoordinates();
  for (int k = 0; k < 12; ++k) {
    sectors.emplace_back();
    for (const shp_IsoPoint& node : nodes) {
      const double radius = node[0] + node[1] > 0.9 ? 1 : node[0] + node[1];
      const double angle = (k + (radius > 0 ? node[1] / (node[0] + node[1]) : 0)) * std::numbers::pi / 6;
      sectors.back().push_back({radius * std::cos(angle), radius * std::sin(angle), (1 + node[2]) / 2});
    }
  }
  model.Add("C3D15", sectors);
  const bme_Measures exact = bme_CalculateMeasures(model.elements, model.xyz);
  EXPECT_NEAR(exact.volume.Total(), 3.141104721640, 1e-12);
  EXPECT_TRUE(exact.inverted.empty());
  const bme_Mesh mesh = model.Mesh();
  EXPECT_NEAR(bme_CalculateMeasures(mesh).volume.Total(), 3.141104721640, 1e-7);
  EXPECT_NEAR(mesh.ElementData().GetClass(0).Volume(mesh.NodeData()), 3.141104721640, 1e-7);
  EXPECT_EQ(mesh.ElementData().GetClass(0).Area(mesh.NodeData()), 0);
  // the outer face of a sector, and the straight edge along the axis
  const double arc = 2 * std::sin(std::numbers::pi / 12), sagitta = 1 - std::cos(std::numbers::pi / 12);
  const double slope = 4 * sagitta / arc; // of the parabola at its ends
  const double length = arc / 2 * (std::hypot(1, slope) + std::asinh(slope) / slope);
  double outer = 0;
  for (int face = 2; face < 5; ++face) outer += bme_CalculateFaceArea(mesh, 3, face);
  EXPECT_NEAR(outer, length + 2, 1e-6);
  EXPECT_NEAR(bme_CalculateEdgeLength(mesh, 3, 2, 1), 1, 1e-6);
  EXPECT_THROW(bme_CalculateFaceArea(mesh, 12, 0), nex_OutOfRangeException);
}

TEST_F(bme_MeasuresTest, BrickWithParallelAxesAndFrames) {
  const Model model = Grid("C3D8", 3, ToBrick); // 2 x 4 x 6
  const bme_Measures measures = bme_CalculateMeasures(model.elements, model.xyz, {.density = Always(0.5)});
  const double mass = 24;
  EXPECT_NEAR(measures.volume.Total(), 48, 1e-11);
  EXPECT_NEAR(measures.mass.Total(), mass, 1e-11);
  gsl_Point centre;
  ASSERT_TRUE(measures.mass.GetCentre(centre));
  EXPECT_NEAR(centre[0], 100, 1e-11);
  EXPECT_NEAR(centre[1], -7, 1e-12);
  bme_Tensor own;
  ASSERT_TRUE(measures.mass.GetInertiaAboutCentre(own));
  EXPECT_NEAR(own[0][0], mass * (16 + 36) / 12, 1e-9);
  EXPECT_NEAR(own[1][1], mass * (4 + 36) / 12, 1e-9);
  EXPECT_NEAR(own[2][2], mass * (4 + 16) / 12, 1e-9);
  // parallel axes
  const bme_Tensor origin = measures.mass.InertiaAbout(gsl_Point(0, 0, 0));
  EXPECT_NEAR(origin[0][0], own[0][0] + mass * 49, 1e-8);
  EXPECT_NEAR(origin[2][2], own[2][2] + mass * (49 + 10000), 1e-6);
  EXPECT_NEAR(origin[0][1], mass * 700, 1e-7);
  // a frame at the centre, turned a third about the diagonal: x -> y -> z -> x
  const dtu_DatumCsys csys(1, 0, centre, gsl_Vector(0, 2, 0), gsl_Vector(0, 1, 1), gsl_Vector(1, 0, 0),
                           dtu_CYLINDRICAL);
  gsl_Matrix frame;
  ASSERT_TRUE(bme_GetFrame(csys, frame));
  const bme_Tensor turned = measures.mass.In(frame).InertiaAbout(gsl_Point(0, 0, 0));
  EXPECT_NEAR(turned[0][0], own[1][1], 1e-9);
  EXPECT_NEAR(turned[1][1], own[2][2], 1e-9);
  EXPECT_NEAR(turned[2][2], own[0][0], 1e-9);

  // principal moments do not depend on how the brick lies
  gsl_Matrix turn;
  turn.AxisRotation(gsl_Point(3, 2, 1), gsl_Vector(1, -2, 0.5), 1.1);
  Model lying = model;
  turn.Transform(lying.xyz);
  std::array<double, 3> moments, expected;
  std::array<gsl_Vector, 3> axes, axesBefore;
  const bme_Measures after = bme_CalculateMeasures(lying.elements, lying.xyz, {.density = Always(0.5)});
  ASSERT_TRUE(after.mass.GetPrincipal(moments, axes));
  ASSERT_TRUE(measures.mass.GetPrincipal(expected, axesBefore));
  for (std::size_t k = 0; k < 3; ++k) {
    EXPECT_NEAR(moments[k], expected[k], 1e-9);
    turn.Transform(axesBefore[k]);
    EXPECT_NEAR(std::abs(axesBefore[k].DotProduct(axes[k])), 1, 1e-9);
  }
  EXPECT_NEAR(axes[0].CrossProduct(axes[1]).DotProduct(axes[2]), 1, 1e-12);
}

TEST_F(bme_MeasuresTest, OrderOfTheElementsDoesNotShow) {
  const auto bent = [](const std::array<double, 3>& p) {
    return std::array<double, 3>{p[0] + 0.2 * std::sin(3 * p[1]), p[1] + 0.1 * p[0] * p[2], p[2] * 1e3};
  };
  const Model model = Grid("C3D20", 4, bent);
  std::vector<int> rows(model.elements.GetClass(0).ElementConnectivity().Const().begin(),
                        model.elements.GetClass(0).ElementConnectivity().Const().end());
  std::vector<std::size_t> order(64);
  for (std::size_t i = 0; i < 64; ++i) order[i] = i;
  const bme_Measures before = bme_CalculateMeasures(model.elements, model.xyz);
  std::mt19937 random(7);
  for (int round = 0; round < 5; ++round) {
    std::shuffle(order.begin(), order.end(), random);
    std::vector<int> shuffled;
    for (const std::size_t e : order) shuffled.insert(shuffled.end(), &rows[20 * e], &rows[20 * e] + 20);
    cow_ArrayCOW<int> connectivity;
    connectivity.Append(shuffled);
    bme_ElementData elements;
    elements.AddElementClass(new bme_ElementClass("C3D20", cls_xp2DArrayInt(20, connectivity)));
    const bme_Measures after = bme_CalculateMeasures(elements, model.xyz);
    EXPECT_EQ(after.volume.Total(), before.volume.Total());
    EXPECT_EQ(after.volume.InertiaAbout(gsl_Point(1, 2, 3)), before.volume.InertiaAbout(gsl_Point(1, 2, 3)));
  }
}

TEST_F(bme_MeasuresTest, WhatIsNotKnownIsReported) {
  Model model;
  model.Add("S4R", {{{0, 0, 1}, {2, 0, 1}, {2, 3, 1}, {0, 3, 1}}}).SetUserElementLabels(std::vector<int>{10});
  model.Add("B31", {{{0, 0, 0}, {0, 0, 5}}}).SetUserElementLabels(std::vector<int>{20});
  model.Add("MASS", {{{1, 1, 1}}}).SetUserElementLabels(std::vector<int>{30});
  model.Add("PYRAMID5", {{{}, {}, {}, {}, {}}}).SetUserElementLabels(std::vector<int>{40});
  model.Add("R3D4", {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}})
      .SetUserElementLabels(std::vector<int>{50}); // rigid: no body
  model
      .Add("CPS4",
           {{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}}, {{0, 0, 0}, {0, 1, 0}, {1, 1, 0}, {1, 0, 0}}})
      .SetUserElementLabels(std::vector<int>{60, 61}); // the second one clockwise
  model.Add("CAX4", {{{1, 0, 0}, {2, 0, 0}, {2, 1, 0}, {1, 1, 0}}})
      .SetUserElementLabels(std::vector<int>{70});
  model.Add("SAX1", {{{1, 0, 0}, {1, 2, 0}}}).SetUserElementLabels(std::vector<int>{80});
  model
      .Add("C3D4",
           {{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 0, 1}}})
      .SetUserElementLabels(std::vector<int>{90, 91}); // flat; inside out
  model.elements.GetClassToModify(4).ConnectivityToModify()[2] = 999;
  using Labels = std::vector<int>;

  const bme_Measures bare = bme_CalculateMeasures(model.elements, model.xyz, {.density = Always(2)});
  EXPECT_EQ(bare.numElements, 11);
  EXPECT_EQ(bare.noThickness, (Labels{10, 60, 61, 80}));
  EXPECT_EQ(bare.noSectionArea, Labels{20});
  EXPECT_EQ(bare.noPointMass, Labels{30});
  EXPECT_EQ(bare.withoutShape, Labels{40});
  EXPECT_EQ(bare.withoutNodes, Labels{50});
  EXPECT_EQ(bare.inverted, (Labels{61, 91}));
  EXPECT_EQ(bare.zero, Labels{90});
  EXPECT_NEAR(bare.area.Total(), 6 + 2 + 1, 1e-12);
  EXPECT_NEAR(bare.area.SignedTotal(), 6 + 0 + 1, 1e-12);
  EXPECT_NEAR(bare.length.Total(), 5 + 2, 1e-12);
  const double ring = std::numbers::pi * 3;
  EXPECT_NEAR(bare.volume.Total(), ring + 1.0 / 6, 1e-12);
  EXPECT_NEAR(bare.volume.SignedTotal(), ring - 1.0 / 6, 1e-12);

  const bme_Measures full = bme_CalculateMeasures(
      model.elements, model.xyz,
      {.thickness = Always(0.1),
       .sectionArea = Always(0.01),
       .density = [](const bme_ElementClass& type,
                     int) { return type.ElemTypeLabel() == "B31" ? std::nullopt : std::optional(2.0); },
       .pointMass = Always(7)});
  const double volume = 0.8 + 0.05 + ring + 0.1 * 4 * std::numbers::pi + 1.0 / 6;
  EXPECT_NEAR(full.volume.Total(), volume, 1e-12);
  EXPECT_NEAR(full.mass.Total(), 2 * (volume - 0.05) + 7, 1e-12);
  EXPECT_EQ(full.noDensity, Labels{20});
  EXPECT_TRUE(full.noThickness.empty());

  // what is not a size is not known, with its labels
  for (const double wrong : {-0.1, std::nan(""), std::numeric_limits<double>::infinity()}) {
    const bme_Measures thin = bme_CalculateMeasures(model.elements, model.xyz,
                                                    {.thickness = Always(wrong),
                                                     .sectionArea = Always(wrong),
                                                     .density = Always(2),
                                                     .pointMass = Always(wrong)});
    EXPECT_EQ(thin.noThickness, bare.noThickness) << wrong;
    EXPECT_EQ(thin.noSectionArea, bare.noSectionArea) << wrong;
    EXPECT_EQ(thin.noPointMass.size(), 1U) << wrong;
    EXPECT_EQ(thin.volume.Total(), bare.volume.Total()) << wrong;
    const bme_Measures heavy = bme_CalculateMeasures(model.elements, model.xyz,
                                                     {.thickness = Always(0.1),
                                                      .sectionArea = Always(0.01),
                                                      .density = Always(wrong),
                                                      .pointMass = Always(7)});
    EXPECT_EQ(heavy.noDensity.size(), 8U) << wrong;
    EXPECT_EQ(heavy.mass.Total(), 7) << wrong;
  }
  EXPECT_FALSE(bare.noThickness.empty());

  // a plate with its thickness is a brick
  Model plate;
  plate.Add("S4R", {{{0, 0, 1}, {2, 0, 1}, {2, 3, 1}, {0, 3, 1}}});
  bme_Tensor inertia;
  ASSERT_TRUE(bme_CalculateMeasures(plate.elements, plate.xyz, {.thickness = Always(0.5)})
                  .volume.GetInertiaAboutCentre(inertia));
  EXPECT_NEAR(inertia[0][0], 3 * (9 + 0.25) / 12, 1e-12);
  EXPECT_NEAR(inertia[2][2], 3 * (9 + 4) / 12.0, 1e-12);

  // some of the elements, each once
  const bme_Mesh mesh = model.Mesh();
  const std::vector<unsigned> some = {7, 0, 1, 0};
  EXPECT_EQ(bme_CalculateMeasures(mesh, some).numElements, 3);
  EXPECT_NEAR(bme_CalculateArea(mesh, some), 7, 1e-6);
  EXPECT_NEAR(bme_CalculateLength(mesh, some), 5, 1e-6);
  EXPECT_NEAR(bme_CalculateVolume(mesh, some), ring, 1e-5);
  EXPECT_THROW(bme_CalculateVolume(mesh, std::vector<unsigned>{11}), nex_OutOfRangeException);
  const bme_FEMElemList list(mesh, some), all = bme_FEMElemList::All(mesh);
  const bme_MeasureOptions thick = {.thickness = Always(0.5)};
  EXPECT_EQ(bme_CalculateMeasures(list, thick).numElements, 3);
  EXPECT_EQ(bme_CalculateMeasures(list, thick).volume.Total(),
            bme_CalculateMeasures(mesh, some, thick).volume.Total());
  for (const auto& [ofList, ofRest, ofMesh] :
       {std::array{bme_CalculateLength(list), bme_CalculateLength(all.Difference(list)),
                   bme_CalculateLength(mesh)},
        {bme_CalculateArea(list), bme_CalculateArea(all.Difference(list)), bme_CalculateArea(mesh)},
        {bme_CalculateVolume(list), bme_CalculateVolume(all.Difference(list)), bme_CalculateVolume(mesh)}}) {
    EXPECT_GT(std::min(ofList, ofRest), 0.1);
    EXPECT_NEAR(ofList + ofRest, ofMesh, 1e-9);
  }
  EXPECT_NEAR(bme_CalculateLength(list), 5, 1e-6);
  EXPECT_EQ(bme_CalculateArea(bme_FEMElemList::OfClass(mesh, 5)),
            mesh.ElementData().GetClass(5).Area(mesh.NodeData()));
  EXPECT_NEAR(mesh.ElementData().GetClass(5).Area(mesh.NodeData(), 1), 1, 1e-6);
}
