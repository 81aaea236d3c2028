#include <CoreGeometry/shp_ShapeDictionary.h>

#include <algorithm>
#include <bit>
#include <gtest/gtest.h>
#include <set>
#include <sstream>

namespace {
using Mask = shp_InverseTopoTable::Mask;
using Address = std::pair<int, int>; ///< face, edge

struct Edges {
  int count = -1;
  int faces[shp_InverseTopoTable::kMaxEdges] = {}, edges[shp_InverseTopoTable::kMaxEdges] = {};
  std::vector<Address> List() const {
    std::vector<Address> list;
    for (int k = 0; k < count; ++k) list.emplace_back(faces[k], edges[k]);
    return list;
  }
};
std::vector<Address> FromNodes(const shp_Shape& shape, int a, int b) {
  Edges found;
  shape.EdgesFromNodes(a, b, found.count, found.faces, found.edges);
  return found.List();
}
std::vector<Address> FromNode(const shp_Shape& shape, int node) {
  Edges found;
  shape.EdgesFromNode(node, found.count, found.faces, found.edges);
  return found.List();
}
Mask Bit(const Address& address) { return Mask{1} << (4 * address.first + address.second); }

class shp_InverseTopoTableTest : public testing::Test {
protected:
  const shp_Shape& Shape(const cow_String& label) const { return *dictionary_.GetShape(label); }
  const shp_ShapeDictionary dictionary_;
};

TEST_F(shp_InverseTopoTableTest, AgreesWithTheFaceAndEdgeTablesOfEveryShape) {
  for (const auto& [label, key] : dictionary_.LabelTable()) {
    SCOPED_TRACE(label);
    const shp_Shape& shape = Shape(label);
    if (shape.NumBaseNodes() < 2) continue;
    std::vector<std::pair<Address, std::set<int>>> edges; // with their ends
    std::set<int> corners;
    std::set<std::set<int>> unique;
    for (int face = 0; face < shape.NumFaces(); ++face)
      for (int edge = 0; edge < shape.EdgesPerFace()[static_cast<std::size_t>(face)]; ++edge) {
        const auto nodes = shape.EdgeNodes(face, edge);
        edges.push_back({{face, edge}, {nodes.front(), nodes.back()}});
        corners.insert({nodes.front(), nodes.back()});
        unique.insert(edges.back().second);
      }
    EXPECT_EQ(shape.NumEdges(), static_cast<int>(edges.size()));
    EXPECT_EQ(shape.NumUniqueEdges(), static_cast<int>(unique.size()));
    EXPECT_EQ(shape.NumCorners(), static_cast<int>(corners.size()));
    EXPECT_EQ(shape.FacesMask(), (Mask{1} << shape.NumFaces()) - 1);

    Mask all = 0;
    for (const auto& [address, ends] : edges) all |= Bit(address);
    EXPECT_EQ(shape.EdgesMask(), all);
    std::vector<shp_InverseTopoTable::MaskPair> pairs; // by both faces, then by both edges
    for (int face = 0; face < shape.NumFaces(); ++face)
      for (int later = face + 1; later < shape.NumFaces(); ++later)
        for (const auto& [address, ends] : edges)
          for (const auto& [other, otherEnds] : edges)
            if (address.first == face && other.first == later && ends == otherEnds)
              pairs.push_back({Bit(address) | Bit(other), ~Bit(other)});
    EXPECT_TRUE(std::ranges::equal(shape.UniqueEdgeMasks(), pairs));
    Mask kept = all;
    shape.UniqueEdge(kept);
    EXPECT_EQ(std::popcount(kept), shape.NumUniqueEdges());
    Mask back = kept;
    shape.NonUniqueEdge(back);
    EXPECT_EQ(back, all);

    for (const auto& [address, ends] : edges) {
      Mask same = 0, faces = 0, grown = Bit(address);
      for (const auto& [other, otherEnds] : edges)
        if (otherEnds == ends) {
          same |= Bit(other);
          faces |= Mask{1} << other.first;
        }
      shape.NonUniqueEdge(grown);
      EXPECT_EQ(grown, same);
      EXPECT_EQ(shape.FacesOfEdge(address.first, address.second), faces);
    }
    for (int a = 0; a < 16; ++a) {
      std::vector<Address> ofNode;
      Mask facesOfNode = 0;
      for (const auto& [address, ends] : edges)
        if (ends.contains(a)) {
          ofNode.push_back(address);
          facesOfNode |= Mask{1} << address.first;
        }
      EXPECT_EQ(FromNode(shape, a), ofNode) << a;
      EXPECT_EQ(shape.FacesOfNode(a), facesOfNode) << a;
      for (int b = 0; b < 16; ++b) {
        std::vector<Address> joining;
        for (const auto& [address, ends] : edges)
          if (ends == std::set{a, b}) joining.push_back(address);
        EXPECT_EQ(FromNodes(shape, a, b), joining) << a << ' ' << b;
      }
    }
    for (int face = 0; face < shape.NumFaces(); ++face) {
      const auto loop = shape.FaceNodes(face).first(
          static_cast<std::size_t>(shape.CornersPerFace()[static_cast<std::size_t>(face)]));
      for (std::size_t k = 0; loop.size() > 2 && k < loop.size(); ++k) {
        const int a = loop[k], b = loop[(k + 1) % loop.size()], c = loop[(k + 2) % loop.size()];
        EXPECT_EQ(shape.FaceFromNodes(a, b, c), face);
        EXPECT_NE(shape.FaceFromNodes(c, b, a), face);
      }
    }
  }
}

TEST_F(shp_InverseTopoTableTest, OnlyCornersAreNodesOfEdges) {
  const shp_Shape& hexahedron = Shape("C3D20");
  Mask first = 1; // the edge between corners 0 and 3
  hexahedron.NonUniqueEdge(first);
  EXPECT_EQ(first, Bit({0, 0}) | Bit({5, 2}));
  EXPECT_EQ(FromNodes(hexahedron, 0, 3), FromNodes(hexahedron, 3, 0));
  EXPECT_TRUE(FromNodes(hexahedron, 0, 6).empty());
  EXPECT_TRUE(FromNodes(hexahedron, 8, 7).empty()); // beyond the table
  // numbers from 16 on stand for other pairs
  EXPECT_EQ(FromNodes(hexahedron, 16, 0), FromNodes(hexahedron, 0, 1));
  for (const int node : {-1, 8, 119, 120, 1 << 30}) {
    EXPECT_TRUE(FromNode(hexahedron, node).empty()) << node;
    EXPECT_TRUE(FromNodes(hexahedron, -1, node).empty() && FromNodes(hexahedron, node, -1).empty()) << node;
    EXPECT_EQ(hexahedron.FaceFromNodes(0, node, 2), -1) << node;
  }
  EXPECT_TRUE(FromNode(Shape("MASS"), 0).empty() && FromNodes(Shape("MASS"), 0, 0).empty());
}

TEST_F(shp_InverseTopoTableTest, PrintsItsTablesUnderTheirNames) {
  std::ostringstream stream;
  Shape("S3").PrintInverseTable(stream);
  EXPECT_EQ(stream.str(), "nEdge= 3, nUniqueEdge= 3, nCorner= 3, edgesMask=00000007, facesMask=00000001\n"
                          "faceCornersTable:\n0 1 2\n"
                          "faceFromNodesTable:\n33 258 528\n"
                          "faceNodeMaskTable:\n00000001 00000001 00000001\n"
                          "faceEdgeMaskTable:\n00000001 00000001 00000001\n"
                          "edgeEndsTable:\n0 1 1 2 2 0\n"
                          "edgeFromNodesTable:\n0.0\n0.1\n0.2\n"
                          "edgesFromNodesTable:\n0.0 0.2\n0.0 0.1\n0.2 0.1\n"
                          "edgeNodeMaskTable:\n00000005 00000003 00000006\n"
                          "edgeFaceMaskTable:\n00000007\n"
                              + std::string(70, '-') + "\n");
  const std::pair<const char*, const char*> solids[] = {
      {"C3D8", "00000108 fffffeff 00001004 ffffefff 00080002 "}, // by both faces
      {"C3D4", "00000014 ffffffef "}};
  for (const auto& [label, first] : solids) {
    std::ostringstream solid;
    Shape(label).PrintInverseTable(solid);
    EXPECT_NE(solid.str().find(std::string("\nUniqueEdgeMasks: \n") + first), std::string::npos)
        << solid.str();
    EXPECT_NE(solid.str().find("\nNonUniqueEdgeMasks: \n"), std::string::npos);
  }
}
} // namespace
