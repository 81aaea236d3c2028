#include <CoreGeometry/shp_ShapeDictionary.h>

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
#include <set>
#include <sstream>

namespace {
using Labels = std::set<cow_String>;

class shp_TopologyTest : public testing::Test {
protected:
  const shp_Shape& Shape(const cow_String& label) const { return *dictionary_.GetShape(label); }

  Labels LabelsWhere(const auto& condition) const {
    Labels labels;
    for (const auto& [label, key] : dictionary_.LabelTable())
      if (condition(Shape(label))) labels.insert(label);
    return labels;
  }

  const shp_ShapeDictionary dictionary_;
};

TEST_F(shp_TopologyTest, EveryNodePatternHasItsRowOfTheShapeTable) {
  // dims, space, nodes, points, faces, edges/face, nodes/face, nodes/edge, points/face, axisymmetric,
  // interaction, internal, surface, rigid, results, sweep, extrude, analytic, order, twisted, rings, flag 73
  const std::pair<const char*, const char*> rows[] = {
      {"MASS", "1 3  1  1 1 1 1 1 1 F T F F F T F F F 1 F F F "},
      {"ARSSS", "1 2  1  1 1 1 1 1 1 T F F T F T T F T 1 F F F "},
      {"ARSSE", "1 2  1  1 1 1 1 1 1 F F F T F T F T T 1 F F F "},
      {"ARSC", "1 3  1  1 1 1 1 1 1 F F F T F T F T T 1 F F F "},
      {"ARSR", "1 3  1  1 1 1 1 1 1 F F F T F T T F T 1 F F F "},
      {"RNODE2D", "1 2  1  1 1 1 1 1 1 F T T T T F F F F 1 F F F "},
      {"PSURF2", "1 2  1  1 1 1 1 1 1 T T T T F T F F F 1 F F F "},
      {"B31", "1 3  2  1 1 1 2 2 2 F F F F F T F F F 1 F F F "},
      {"SAX2", "1 2  3  2 1 1 3 3 2 T F F F F T T F F 2 F F F "},
      {"LSURF1", "1 2  2  1 1 1 2 2 2 F T T T F T F T F 1 F F F "},
      {"LSURF2", "1 2  2  1 1 1 2 2 2 T T T T F T T F F 1 F F F "},
      {"SAXA11", "1 2  4  4 1 1 2 2 2 F F F F F T T F F 1 F T F "},
      {"SAXA24", "1 2 15 20 1 1 3 3 2 F F F F F T T F F 2 F T F "},
      {"CPE3", "2 2  3  1 1 3 3 2 2 F F F F F T F T F 1 F F F "},
      {"S3", "2 3  3  1 1 3 3 2 1 F F F F F T F F F 1 F F F "},
      {"STRI65", "2 3  6  3 1 3 6 3 3 F F F F F T F F F 2 F F F "},
      {"CGAX4R", "2 2  4  1 1 4 4 2 2 T F F F F T T F F 1 T F F "},
      {"R3D4", "2 3  4  1 1 4 4 2 4 F T F F T F F F F 1 F F F "},
      {"CINPE4", "2 2  4  4 1 3 4 2 2 F F F F F T F T F 1 F F F "},
      {"CINPE5R", "2 2  5  4 1 3 5 3 2 F F F F F T F T F 2 F F F "},
      {"GK3D6L", "2 3  6  3 1 4 6 3 4 F F F F F T F F F 2 F F F "},
      {"MCL6", "2 3  6  3 1 4 6 3 4 F F F F F T F F F 3 F F F "},
      {"CPS8R", "2 2  8  4 1 4 8 3 2 F F F F F T F T F 2 F F F "},
      {"S9R5", "2 3  9  4 1 4 9 3 4 F F F F F T F F F 2 F F F "},
      {"MCL9", "2 3  9  6 1 4 9 3 4 F F F F F T F F F 3 F F F "},
      {"CAXA84", "2 2 40 90 1 4 8 3 2 F F F F F T T F F 2 F T F "},
      {"C3D4", "3 3  4  1 4 3 3 2 1 F F F F F T F F F 1 F F F "},
      {"C3D10", "3 3 10  4 4 3 6 3 3 F F F F F T F F F 2 F F F "},
      {"C3D8R", "3 3  8  1 6 4 4 2 4 F F F F F T F F F 1 F F F "},
      {"CIN3D12R", "3 3 12  8 6 4 8 3 4 F F F F F T F F F 2 F F F "},
      {"COH3D8P", "3 3 12  4 6 4 6 3 4 F F F F F T F F F 3 F F F "},
      {"CCL12", "3 3 12 12 6 4 6 3 4 F F F F F T F F F 3 F F F "},
      {"GK3D18", "3 3 18  9 6 4 9 3 4 F F F F F T F F F 2 F F F "},
      {"C3D20", "3 3 20 27 6 4 8 3 4 F F F F F T F F F 2 F F F "},
      {"CCL24R", "3 3 24 12 6 4 9 3 4 F F F F F T F F F 3 F F F "},
      {"C3D27R", "3 3 27 14 6 4 9 3 4 F F F F F T F F F 2 F F F "},
      {"C3D27RC1", "3 3 27  5 6 4 9 3 4 F F F F F T F F F 2 F F F "},
      {"C3D6", "3 3  6  2 5 4 4 2 4 F F F F F T F F F 1 F F F "},
      {"COH3D6P", "3 3  9  3 5 4 6 3 4 F F F F F T F F F 3 F F F "},
      {"GK3D12M", "3 3 12  6 5 4 6 3 4 F F F F F T F F F 2 F F F "},
      {"C3D15", "3 3 15  9 5 4 8 3 4 F F F F F T F F F 2 F F F "},
      {"C3D15V", "3 3 18  9 5 4 9 3 4 F F F F F T F F F 2 F F F "},
      {"CCL18", "3 3 18  9 5 4 9 3 4 F F F F F T F F F 3 F F F "},
  };
  std::set<const void*> patterns;
  for (const auto& [label, expected] : rows) {
    std::ostringstream row;
    Shape(label).PrintMembersInTable(row);
    EXPECT_EQ(row.str(), expected + std::string("\n")) << label;
    patterns.insert(Shape(label).NodeCoordinates().data());
  }
  for (const auto& [label, key] : dictionary_.LabelTable())
    EXPECT_TRUE(patterns.contains(Shape(label).NodeCoordinates().data()))
        << "no row has the nodes of " << label;
}

TEST_F(shp_TopologyTest, OnlyLabelsMadeForItDepartFromTheGeneralRule) {
  // integration at the nodes replaces another listed count
  EXPECT_EQ(LabelsWhere([](auto& s) { return s.NumBaseIntPts() != s.Options().NumIntPts(); }),
            (Labels{"ISL31", "ISL31A"}));
  EXPECT_EQ(Shape("ISL31").NumIntPts(), 2);
  // internal surfaces lose sweep and extrusion
  EXPECT_EQ(LabelsWhere([](auto& s) { return s.IsAxiSymmetric() && !s.IsSweepable(); }),
            (Labels{"AXIINT2", "PSURF2"}));
  EXPECT_EQ(LabelsWhere([](auto& s) { return s.Options().HasBit(67) && !s.IsExtrudable(); }), Labels{});
  // infinite quadrilaterals are open
  EXPECT_EQ(LabelsWhere([](auto& s) {
              return s.Options().Family() == shp_Family::Quadrilateral && s.MaxEdgesPerFace() != 4;
            }),
            (Labels{"CINAX4", "CINAX5R", "CINPE4", "CINPE5R", "CINPS4", "CINPS5R"}));
  EXPECT_EQ(LabelsWhere([](auto& s) { return s.IsContinuumShell(); }),
            (Labels{"SC6R", "SC6RT", "SC8R", "SC8RT"}));
  EXPECT_EQ(LabelsWhere([](auto& s) { return s.HasFlag73(); }), Labels{});
  EXPECT_EQ(LabelsWhere([](auto& s) { return s.IsCohesive() != s.Label().starts_with("COH"); }), Labels{});
  EXPECT_TRUE(Shape("GKPE4").IsGasket() && Shape("LS6").IsGasket() && !Shape("PSI24").IsGasket());
  EXPECT_TRUE(Shape("DC3D8").HasNodalIntegration() && Shape("AC1D2").HasNodalIntegration());
  EXPECT_FALSE(Shape("C3D8").HasNodalIntegration());
}

TEST_F(shp_TopologyTest, RingsMultiplyNodesAndPointsOfRingElementsOnly) {
  EXPECT_EQ(LabelsWhere([](auto& s) { return s.IsCaxaElement(); }).size(), 12U * 4);
  EXPECT_EQ(LabelsWhere([](auto& s) { return s.IsNumberedSolid(); }).size(), 14U * 3);
  EXPECT_EQ(Shape("CAXA41").NumNodes(), 8);
  EXPECT_EQ(Shape("CAXA44").NumNodes(), 20);
  EXPECT_EQ(Shape("C3D8C3").Options().RingCount(), 3);
  EXPECT_EQ(Shape("C3D8C3").NumNodes(), 8);
  for (const auto& [label, key] : dictionary_.LabelTable()) {
    const shp_Shape& shape = Shape(label);
    const int number = label.back() - '0';
    const int rings = shape.IsCaxaElement() ? number + 1 : 1;
    EXPECT_EQ(shape.Options().RingCount(), shape.IsCaxaElement() || shape.IsNumberedSolid() ? number : 0)
        << label;
    EXPECT_EQ(shape.NumNodes(), shape.NumBaseNodes() * rings) << label;
    EXPECT_EQ(shape.NumIntPts(), shape.NumBaseIntPts() * rings * (shape.IsCaxaElement() ? 2 : 1)) << label;
  }
}

TEST_F(shp_TopologyTest, ColumnsOfEveryLabelAgreeWithEachOther) {
  for (const auto& [label, key] : dictionary_.LabelTable()) {
    const shp_Shape& s = Shape(label);
    EXPECT_TRUE(s.NumNodes() > 0 && s.NumNodes() <= 40 && s.NumIntPts() > 0) << label;
    EXPECT_EQ(s.NumFaces() > 1, s.NumGeomDims() == 3) << label;
    EXPECT_LE(s.NumGeomDims(), s.NumSpatialDims()) << label;
    EXPECT_TRUE(s.NumGeomDims() == 3 ? s.MaxNodesPerFace() < s.NumBaseNodes()
                                     : s.MaxNodesPerFace() == s.NumBaseNodes())
        << label;
    EXPECT_LE(s.MaxNodesPerEdge(), s.MaxNodesPerFace()) << label;
    EXPECT_FALSE(s.IsSweepable() && s.IsExtrudable()) << label;
    EXPECT_TRUE(!s.IsAnalyticalRigidSurface() || s.IsSweepable() || s.IsExtrudable()) << label;
    // a code stands for one node count of one family or for all its higher ones; the linear one for order 1
    const std::set linearCodes = {1, 3, 5, 8, 10, 12};
    EXPECT_EQ(linearCodes.contains(s.ShapeCode()), s.InterpOrder() == 1 && s.NumBaseNodes() > 1) << label;
    EXPECT_EQ(s.ShapeCode() == 7, s.Options().Family() == shp_Family::Quadrilateral && s.NumBaseNodes() == 9)
        << label;
    EXPECT_EQ(s.ShapeCode() == 0, s.NumBaseNodes() == 1) << label;
  }
}

RC_GTEST_PROP(shp_Topology, AnyKeyGivesADescriptor, ()) {
  const auto bits = *rc::gen::container<std::vector<int>>(rc::gen::inRange(0, 128));
  LongKey key;
  key.setBits(static_cast<int>(bits.size()), bits.data());
  const shp_Shape shape("ANY", key, 0);
  RC_ASSERT(!(shape.IsSweepable() && shape.IsExtrudable()));
  const auto size = static_cast<int>(shape.NodeCoordinates().size());
  RC_ASSERT(size == 0 || size == shape.NumBaseNodes());
  RC_ASSERT(shape.ShapeCode() >= 0 && shape.ShapeCode() <= 13);
  RC_ASSERT(shape.InterpOrder() >= 0 && shape.InterpOrder() <= 3);

  // of each group the lowest bit counts: more bits above it change nothing
  for (const auto& [first, last] : {std::pair(1, 8), {10, 22}, {30, 44}, {90, 93}}) {
    LongKey more = key;
    bool found = false;
    for (int bit = first; bit <= last; ++bit) {
      if (found) more.setBits(1, &bit);
      found |= key.hasBit(bit);
    }
    const shp_Options options(key), other(more);
    RC_ASSERT(options.Family() == other.Family() && options.NumNodes() == other.NumNodes());
    RC_ASSERT(options.NumIntPts() == other.NumIntPts() && options.RingCount() == other.RingCount());
  }
}

TEST(shp_Topology, AnEmptyKeyHasNoFamilyAndNoFaces) {
  const shp_Shape shape("NONE", LongKey{}, 0);
  EXPECT_EQ(shape.Options().Family(), shp_Family::None);
  EXPECT_EQ(shape.NumGeomDims() + shape.NumNodes() + shape.NumFaces() + shape.InterpOrder(), 0);
  EXPECT_EQ(shape.MaxNodesPerFace() * shape.MaxNodesPerEdge() * shape.MaxIntPtsPerFace(), 1);
  EXPECT_EQ(shape.NumSpatialDims(), 3);
  EXPECT_TRUE(shape.NodeCoordinates().empty());
  // a hexahedron of 9 nodes does not exist
  const shp_Shape odd("ODD", LongKey{6, 15, 37}, 0);
  EXPECT_EQ(odd.NumFaces(), 6);
  EXPECT_EQ(odd.MaxNodesPerFace() + odd.MaxNodesPerEdge() + odd.InterpOrder(), 0);
}
} // namespace
