#include <CoreGeometry/shp_ShapeDictionary.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <iomanip>
#include <sstream>
#include <vector>

namespace {
std::vector<std::string> Lines(const std::string& text) {
  EXPECT_TRUE(text.ends_with('\n'));
  std::istringstream stream(text);
  std::vector<std::string> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

/// A text buffer that counts flushes.
class FlushCounter : public std::stringbuf {
public:
  int NumFlushes() const { return numFlushes_; }

private:
  int sync() override { return ++numFlushes_, 0; }
  int numFlushes_ = 0;
};

TEST(shp_Printouts, TheShapeTableHasHeadingsARowALabelAndThreeSections) {
  const shp_ShapeDictionary dictionary;
  std::ostringstream stream;
  dictionary.PrintShapeTable(stream);
  const std::vector<std::string> lines = Lines(stream.str());
  ASSERT_GT(lines.size(), 3U + 22 + 1 + 695 + 3 * (3 + 695));
  EXPECT_EQ(lines[0], "------------------");
  EXPECT_EQ(lines[1], "Shape descriptors:");
  EXPECT_EQ(lines[2], lines[0]);
  EXPECT_EQ(lines[3], "Column  1: Version 5 Type");
  EXPECT_EQ(lines[12], "Column 10: Maximum integration points per face");
  EXPECT_EQ(lines[24], "Column 22: isCaxaElement flag");
  EXPECT_EQ(lines[25], "---------------------------------------------------");
  EXPECT_EQ(lines[26], "             AC1D2 1 3  2  2 1 1 2 2 2 F F F F F T F F F 1 F F F ");
  EXPECT_EQ(lines[720], "           WARP2D4 2 3  4  4 1 4 4 2 4 F F F F F T F T F 1 F F F ");
  EXPECT_EQ(std::count(lines.begin(), lines.end(),
                       "            CAXA41 2 2  8 16 1 4 4 2 2 F F F F F T T F F 1 F T F "),
            1);

  const std::string ruler = "-------------------------------";
  const auto section = [&](const std::string& title, const std::string& labelLine) {
    const auto start = std::find(lines.begin(), lines.end(), title);
    EXPECT_TRUE(lines.end() - start > 3 && start[-1] == ruler && start[1] == ruler) << title;
    return std::find(start, lines.end(), labelLine);
  };
  const auto connectivity = section("   Shape Connectivity Tables:", "----              C3D10 ----");
  ASSERT_GT(lines.end() - connectivity, 20);
  EXPECT_EQ(std::vector(connectivity + 1, connectivity + 10),
            (std::vector<std::string>{"3 3 3 3", "6 6 6 6", "3 3 3  3 3 3  3 3 3  3 3 3", "0 2 1 6 5 4",
                                      "0 1 3 4 8 7", "1 2 3 5 9 8", "0 3 2 7 9 6", "0 6 2", "2 5 1"}));
  EXPECT_NE(section("   Shape Weight Tables:", "----              AC1D2 ----"), lines.end());
  const auto inverse = section("Shape Inverse Topology Tables:", "              MASS");
  ASSERT_GT(lines.end() - inverse, 12);
  EXPECT_EQ(inverse[1], "nEdge= 0, nUniqueEdge= 0, nCorner= 1, edgesMask=00000000, facesMask=00000000");
  EXPECT_EQ(inverse[11], std::string(70, '-'));
  EXPECT_EQ(dictionary.NumShapes(), 695);
}

TEST(shp_Printouts, TheNodeCountScriptIsWrittenLineByLine) {
  const shp_ShapeDictionary dictionary;
  FlushCounter buffer;
  std::ostream stream(&buffer);
  dictionary.PrintLabelToNodecountTable(stream);
  const std::vector<std::string> lines = Lines(buffer.str());
  ASSERT_EQ(lines.size(), 10U + 695 + 4);
  EXPECT_EQ(buffer.NumFlushes(), 10 + 695 + 4);
  EXPECT_EQ(lines[0], "# A mapping of element label to the number of nodes");
  for (const std::size_t framed : {1U, 2U, 3U, 4U, 5U, 6U}) {
    EXPECT_EQ(lines[framed].size(), lines[1].size()) << framed;
    EXPECT_TRUE(lines[framed].starts_with("#****") && lines[framed].ends_with("****")) << framed;
  }
  EXPECT_EQ(lines[7], "#");
  EXPECT_EQ(lines[8], "def shp_GenerateShapeMap():");
  EXPECT_EQ(lines[9], "    shapeMap = {}");
  EXPECT_EQ(lines[10], "    shapeMap[\"AC1D2\"] = 2");
  EXPECT_EQ(std::count(lines.begin(), lines.end(), "    shapeMap[\"CAXA84\"] = 40"), 1);
  EXPECT_EQ(
      std::vector(lines.end() - 4, lines.end()),
      (std::vector<std::string>{"# unsupported elements", "    shapeMap[\"unsupported\"] = 0",
                                "    return shapeMap", "shp_NodesPerElement = shp_GenerateShapeMap()"}));
}

TEST(shp_Printouts, MembersStandOnTitledLines) {
  const shp_ShapeDictionary dictionary;
  std::ostringstream members;
  dictionary.GetShape("R3D4")->PrintMembers(members);
  std::vector<std::string> lines = Lines(members.str());
  std::erase_if(lines, [](const std::string& line) { return line.starts_with("Nodes per edge: "); });
  EXPECT_EQ(lines, (std::vector<std::string>{
                       "-----------",
                       "Geometry dimensions, Spatial dimensions: 2, 3",
                       "Nodes, Integration points and faces per elem: 4, 1, 1",
                       "Nodes, edges on face 0: 4, 4",
                       "Max edges, nodes per face, max nodes per edge: 4, 4, 2",
                       "Max integration points per face: 4",
                       "isAxiSymmetric, isInteraction, isInternal: F, T, F",
                       "isSurface, isRigid, hasResults: F, T, F",
                       "isSweepable, isExtrudable, isShrinkable: T, T, T",
                       "isAnalyticalRigidSurface, hasBoundingBoxSize: F, T",
                       "draw1DNormal: T",
                       "interpolationOrder: 1",
                       "isTwistedElement: F",
                       "isCaxaElement: F",
                       "--------------------------------------",
                   }));

  std::ostringstream all;
  dictionary.PrintAllShapes(all);
  EXPECT_NE(all.str().find("Version 5 Type: R3D4\n" + members.str() + "Version 5 Type: RAX2\n"),
            std::string::npos);
}

TEST(shp_Printouts, TheSettingsOfTheStreamDoNotMatter) {
  const shp_ShapeDictionary dictionary;
  std::ostringstream plain, odd;
  odd << std::hex << std::showbase << std::left << std::setfill('*') << std::setw(60);
  dictionary.PrintShapeTable(plain);
  dictionary.PrintShapeTable(odd);
  EXPECT_EQ(plain.str(), odd.str());
}
} // namespace
