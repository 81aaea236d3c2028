#include <CoreGeometry/shp_ShapeDictionary.h>
#include <CoreUtils/atr_String.h>

#include <algorithm>
#include <bit>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace {
using Points = std::span<const shp_IsoPoint>;

/// An element of corners alone, for each family that has node coordinates.
const std::map<shp_Family, const char*> kLinearLabels = {
    {shp_Family::Line, "B31"},         {shp_Family::Triangle, "S3"},     {shp_Family::Quadrilateral, "S4"},
    {shp_Family::Tetrahedron, "C3D4"}, {shp_Family::Hexahedron, "C3D8"}, {shp_Family::Wedge, "C3D6"},
};

shp_IsoPoint Mean(Points points, unsigned members) {
  shp_IsoPoint sum{};
  int count = 0;
  for (std::size_t k = 0; k < points.size(); ++k)
    if (members >> k & 1) {
      ++count;
      for (std::size_t axis = 0; axis < 3; ++axis) sum[axis] += points[k][axis];
    }
  for (double& value : sum) value /= count;
  return sum;
}

TEST(shp_NodeCoordinates, EveryLabelHasItsCornersThenMidNodesOfTwoFourOrEightOfThem) {
  const shp_ShapeDictionary dictionary;
  for (const auto& [label, key] : dictionary.LabelTable()) {
    const shp_Shape& shape = *dictionary.GetShape(label);
    const Points nodes = shape.NodeCoordinates();
    const auto linear = kLinearLabels.find(shape.Options().Family());
    if (linear == kLinearLabels.end()) {
      EXPECT_TRUE(nodes.empty() && shape.NumNodes() == 1) << label;
      continue;
    }
    ASSERT_EQ(nodes.size(), static_cast<std::size_t>(shape.NumBaseNodes())) << label;
    const Points corners = dictionary.GetShape(linear->second)->NodeCoordinates();
    ASSERT_TRUE(std::ranges::equal(nodes.first(corners.size()), corners)) << label;
    for (std::size_t node = 0; node < nodes.size(); ++node) {
      EXPECT_EQ(std::ranges::count(nodes, nodes[node]), 1) << label << " node " << node;
      // all coordinates are halves and quarters, exact in binary
      bool isMean = node < corners.size();
      for (unsigned members = 0; members < 1U << corners.size(); ++members)
        if (const int count = std::popcount(members); count == 2 || count == 4 || count == 8)
          isMean |= Mean(corners, members) == nodes[node];
      EXPECT_TRUE(isMean) << label << " node " << node;
    }
  }
}

/// The mid nodes in node order, each by the two ends of its edge or of the first diagonal through it.
std::string Mids(const shp_ShapeDictionary& dictionary, const char* label) {
  const shp_Shape& shape = *dictionary.GetShape(label);
  const Points corners = dictionary.GetShape(kLinearLabels.at(shape.Options().Family()))->NodeCoordinates();
  std::string text;
  for (const shp_IsoPoint& node : shape.NodeCoordinates().subspan(corners.size())) {
    for (std::size_t a = 0, found = 0; a < corners.size() && !found; ++a)
      for (std::size_t b = a + 1; b < corners.size() && !found; ++b)
        if (Mean(corners, 1U << a | 1U << b) == node) {
          found = 1;
          text += atr_Format(text.empty() ? "%d%d" : " %d%d", {static_cast<int>(a), static_cast<int>(b)});
        }
  }
  return text;
}

TEST(shp_NodeCoordinates, MidNodesStandInTheOrderOfTheirEdgesAndFaces) {
  const shp_ShapeDictionary dictionary;
  const std::string base4 = "01 12 23 03", top4 = " 45 56 67 47", uprights4 = " 04 15 26 37";
  const std::string base3 = "01 12 02", top3 = " 34 45 35", uprights3 = " 03 14 25";
  const std::pair<const char*, std::string> orders[] = {
      {"B32", "01"},
      {"STRI65", base3},
      {"CINPE5R", "01"},
      {"GK3D6L", "01 23"}, // gasket
      {"PSI26", "01 23"},
      {"MCL6", "12 03"},    // cylindrical
      {"COH2D4P", "12 03"}, // cohesive
      {"S8R", base4},
      {"S9R5", base4 + " 02"},
      {"C3D10", base3 + " 03 13 23"},
      {"COH3D8P", uprights4.substr(1)},
      {"CCL12", uprights4.substr(1)},
      {"CIN3D12R", base4},
      {"GK3D18", base4 + top4 + " 02 46"},
      {"C3D20", base4 + top4 + uprights4},
      {"CCL24", base4 + top4 + uprights4 + " 05 16 27 07"},
      {"C3D27", base4 + top4 + uprights4 + " 02 46 05 16 27 07 06"},
      {"COH3D6P", uprights3.substr(1)},
      {"GK3D12M", base3 + top3},
      {"C3D15", base3 + top3 + uprights3},
      {"C3D15V", base3 + top3 + uprights3 + " 04 15 05"},
  };
  const auto nodesOf = [&](const cow_String& label) {
    return dictionary.GetShape(label)->NodeCoordinates().data();
  };
  std::set<const void*> patterns = {nodesOf("MASS")}; // which has none
  for (const auto& [family, label] : kLinearLabels) patterns.insert(nodesOf(label));
  for (const auto& [label, order] : orders) {
    EXPECT_EQ(Mids(dictionary, label), order) << label;
    patterns.insert(nodesOf(label));
  }
  for (const auto& [label, key] : dictionary.LabelTable())
    EXPECT_TRUE(patterns.contains(nodesOf(label))) << "no order is that of " << label;
  const Points hexahedron = dictionary.GetShape("C3D27")->NodeCoordinates();
  EXPECT_EQ(hexahedron[22], (shp_IsoPoint{0, -1, 0}));
  EXPECT_EQ(hexahedron[25], (shp_IsoPoint{-1, 0, 0}));
  EXPECT_EQ(hexahedron[26], (shp_IsoPoint{0, 0, 0}));
  EXPECT_EQ(dictionary.GetShape("C3D15V")->NodeCoordinates()[16], (shp_IsoPoint{0.5, 0.5, 0}));
}

TEST(shp_NodeCoordinates, LabelsWithTheSameNodesShareThem) {
  const shp_ShapeDictionary dictionary, other;
  const auto data = [](const shp_ShapeDictionary& from, const char* label) {
    return from.GetShape(label)->NodeCoordinates().data();
  };
  EXPECT_EQ(data(dictionary, "C3D20"), data(other, "DC3D20E"));
  EXPECT_EQ(data(dictionary, "CAXA84"), data(other, "S8R"));
}
} // namespace
