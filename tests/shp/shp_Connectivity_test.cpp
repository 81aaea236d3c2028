#include "../module/shp/impl/tables/shp_FactsCheck.h"

#include <CoreGeometry/shp_ShapeDictionary.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <numeric>
#include <set>

namespace {
using Nodes = std::vector<int>;
using Point = shp_IsoPoint;

Point operator-(const Point& a, const Point& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
double Dot(const Point& a, const Point& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Point Cross(const Point& a, const Point& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
Point Mean(std::span<const Point> nodes, std::span<const int> members) {
  Point mean{};
  for (const int node : members)
    for (std::size_t axis = 0; axis < 3; ++axis)
      mean[axis] += nodes[static_cast<std::size_t>(node)][axis] / static_cast<double>(members.size());
  return mean;
}

bool IsInfinite(const shp_Shape& shape) { return shape.Options().HasBit(57); }
bool IsClosedSolid(const shp_Shape& shape) {
  return shape.NumGeomDims() == 3
         && !(shape.Options().Family() == shp_Family::Hexahedron && IsInfinite(shape));
}

/// Length, area or volume with a sign, of the corners.
double Measure(const shp_Shape& shape, std::span<const Point> nodes) {
  if (shape.NumGeomDims() == 1) return nodes[1][0] - nodes[0][0];
  double sum = 0;
  for (int face = 0; face < shape.NumFaces(); ++face) {
    const auto numCorners = static_cast<std::size_t>(shape.CornersPerFace()[static_cast<std::size_t>(face)]);
    const auto corners = shape.FaceNodes(face).first(numCorners);
    const auto at = [&](std::size_t k) { return nodes[static_cast<std::size_t>(corners[k])]; };
    for (std::size_t k = 1; k + 1 < numCorners; ++k) {
      const Point area = Cross(at(k) - at(0), at(k + 1) - at(0));
      sum += shape.NumGeomDims() == 2 ? area[2] / 2 : Dot(at(0), area) / 6;
    }
  }
  return sum;
}

class shp_ConnectivityTest : public testing::Test {
protected:
  const shp_Shape& Shape(const cow_String& label) const { return *dictionary_.GetShape(label); }
  /// Calls check(shape) for every label.
  void ForEachShape(const auto& check) const {
    for (const auto& [label, key] : dictionary_.LabelTable()) {
      SCOPED_TRACE(label);
      check(Shape(label));
      if (HasFatalFailure()) return;
    }
  }
  static void ForEachEdge(const shp_Shape& shape, const auto& check) {
    for (int face = 0; face < shape.NumFaces(); ++face)
      for (int edge = 0; edge < shape.EdgesPerFace()[static_cast<std::size_t>(face)]; ++edge)
        check(face, edge, shape.EdgeNodes(face, edge));
  }

  const shp_ShapeDictionary dictionary_;
};

TEST_F(shp_ConnectivityTest, FacesHaveCornersThenMiddlesOfTheirEdgesThenTheCentre) {
  ForEachShape([&](const shp_Shape& shape) {
    ASSERT_EQ(shape.NodesPerFace().size(), static_cast<std::size_t>(shape.NumFaces()));
    const auto nodes = shape.NodeCoordinates();
    int longest = 0;
    for (int face = 0; face < shape.NumFaces(); ++face) {
      const auto faceNodes = shape.FaceNodes(face);
      longest = std::max(longest, static_cast<int>(faceNodes.size()));
      EXPECT_EQ(static_cast<int>(faceNodes.size()), shape.NodesPerFace()[static_cast<std::size_t>(face)]);
      EXPECT_EQ(std::set(faceNodes.begin(), faceNodes.end()).size(), faceNodes.size());
      const auto numCorners =
          static_cast<std::size_t>(shape.CornersPerFace()[static_cast<std::size_t>(face)]);
      const auto corners = faceNodes.first(numCorners);
      // each side may have a middle, in the order of the sides; one more node is the centre
      std::size_t next = numCorners;
      for (std::size_t k = 0; k < numCorners && next < faceNodes.size(); ++k) {
        const Nodes side = {corners[k], corners[(k + 1) % numCorners]};
        next += nodes[static_cast<std::size_t>(faceNodes[next])] == Mean(nodes, side);
      }
      if (next < faceNodes.size()) {
        EXPECT_EQ(nodes[static_cast<std::size_t>(faceNodes[next++])], Mean(nodes, corners));
      }
      EXPECT_EQ(next, faceNodes.size());
    }
    EXPECT_EQ(longest, shape.MaxNodesPerFace());
  });
}

TEST_F(shp_ConnectivityTest, EdgesRunFromCornerToCornerThroughTheirMiddle) {
  ForEachShape([&](const shp_Shape& shape) {
    int longest = shape.NumBaseNodes() == 1 ? 1 : 0;
    ForEachEdge(shape, [&](int face, int edge, std::span<const int> nodes) {
      const auto corners = shape.FaceNodes(face).first(
          static_cast<std::size_t>(shape.CornersPerFace()[static_cast<std::size_t>(face)]));
      EXPECT_EQ(nodes.front(), corners[static_cast<std::size_t>(edge)]);
      EXPECT_EQ(nodes.back(), corners[static_cast<std::size_t>(edge + 1) % corners.size()]);
      longest = std::max(longest, static_cast<int>(nodes.size()));
      const Nodes ends = {nodes.front(), nodes.back()};
      const auto middle = std::ranges::find(shape.NodeCoordinates(), Mean(shape.NodeCoordinates(), ends));
      ASSERT_EQ(nodes.size(), middle == shape.NodeCoordinates().end() ? 2U : 3U);
      if (nodes.size() == 3) {
        EXPECT_EQ(nodes[1], middle - shape.NodeCoordinates().begin());
      }
    });
    EXPECT_EQ(longest, shape.MaxNodesPerEdge());
  });
}

TEST_F(shp_ConnectivityTest, SolidsAreClosedOutwardAndOfOnePiece) {
  int numClosed = 0;
  ForEachShape([&](const shp_Shape& shape) {
    if (shape.NumGeomDims() != 3) return;
    const auto nodes = shape.NodeCoordinates();
    const Point centre = Mean(nodes, Nodes{0, 1, 2, 3}), top = Mean(nodes, Nodes{shape.NumCorners() - 1});
    const Point inside = Mean(std::array{centre, top}, Nodes{0, 1});
    for (int face = 0; face < 6 && face < shape.NumFaces(); ++face) {
      const auto corner = [&](std::size_t k) {
        return nodes[static_cast<std::size_t>(shape.FaceNodes(face)[k])];
      };
      EXPECT_GT(Dot(Cross(corner(1) - corner(0), corner(2) - corner(0)), corner(0) - inside), 0) << face;
    }
    if (!IsClosedSolid(shape)) return;
    ++numClosed;
    std::multiset<std::pair<int, int>> directed;
    ForEachEdge(shape, [&](int, int, std::span<const int> e) { directed.emplace(e.front(), e.back()); });
    for (const auto& [from, to] : directed)
      EXPECT_TRUE(directed.count({from, to}) == 1 && directed.count({to, from}) == 1) << from << '-' << to;
    EXPECT_EQ(shape.NumCorners() - shape.NumUniqueEdges() + shape.NumFaces(), 2);
    EXPECT_EQ(static_cast<int>(shape.NonUniqueEdgeMasks().size()), shape.NumEdges());
  });
  EXPECT_GT(numClosed, 140);
}

TEST_F(shp_ConnectivityTest, ReversingMirrorsTheElementAndTwiceIsTheIdentity) {
  ForEachShape([&](const shp_Shape& shape) {
    Nodes elementNodes(static_cast<std::size_t>(shape.NumNodes()));
    std::iota(elementNodes.begin(), elementNodes.end(), 100);
    const Nodes before = elementNodes;
    shape.ReverseElemConnectivity(elementNodes);
    for (std::size_t k = 0; k < before.size(); ++k)
      EXPECT_EQ(elementNodes[k], before[static_cast<std::size_t>(shape.ReversalPermutation()[k])]);
    if (shape.NumBaseNodes() > 1) {
      std::vector<Point> mirrored;
      for (std::size_t k = 0; k < shape.NodeCoordinates().size(); ++k)
        mirrored.push_back(shape.NodeCoordinates()[static_cast<std::size_t>(elementNodes[k] - 100)]);
      EXPECT_GT(Measure(shape, shape.NodeCoordinates()), 0);
      EXPECT_LT(Measure(shape, mirrored), 0);
      // mid nodes go with their edges
      ForEachEdge(shape, [&](int, int, std::span<const int> nodes) {
        if (nodes.size() == 3) {
          EXPECT_EQ(mirrored[static_cast<std::size_t>(nodes[1])],
                    Mean(mirrored, Nodes{nodes.front(), nodes.back()}));
        }
      });
    }
    shape.ReverseElemConnectivity(elementNodes);
    EXPECT_EQ(elementNodes, before);
  });
}

TEST_F(shp_ConnectivityTest, ReversedFacesAndEdgesAreThoseSeenFromTheOtherSide) {
  ForEachShape([&](const shp_Shape& shape) {
    const auto nodes = shape.NodeCoordinates();
    for (int face = 0; face < shape.NumFaces(); ++face) {
      const Nodes original(shape.FaceNodes(face).begin(), shape.FaceNodes(face).end());
      const auto numCorners =
          static_cast<std::size_t>(shape.CornersPerFace()[static_cast<std::size_t>(face)]);
      Nodes reversed = original;
      shape.ReverseFaceConnectivity(reversed, face);
      EXPECT_EQ(reversed[0], original[0]);
      for (std::size_t k = 0; numCorners > 2 && k < numCorners; ++k)
        EXPECT_EQ(reversed[(numCorners - k) % numCorners], original[k]);
      // the middles still stand in the order of the edges
      std::size_t next = numCorners;
      for (std::size_t k = 0; k < numCorners && next < reversed.size(); ++k) {
        const Nodes side = {reversed[k], reversed[(k + 1) % numCorners]};
        next += nodes[static_cast<std::size_t>(reversed[next])] == Mean(nodes, side);
      }
      EXPECT_GE(next + 1, reversed.size());
      shape.ReverseFaceConnectivity(reversed, face);
      EXPECT_EQ(reversed, original);
    }
    ForEachEdge(shape, [&](int face, int edge, std::span<const int> e) {
      Nodes reversed(e.begin(), e.end());
      shape.ReverseEdgeConnectivity(reversed, face, edge);
      std::ranges::reverse(reversed);
      EXPECT_TRUE(std::ranges::equal(reversed, e));
    });
  });
}

TEST_F(shp_ConnectivityTest, VariantsKeepTheirNumbering) {
  const auto face = [&](const char* label, int index, int ring = 0) {
    const auto nodes = Shape(label).FaceNodes(index, ring);
    return Nodes(nodes.begin(), nodes.end());
  };
  EXPECT_EQ(face("CINPE5R", 0), (Nodes{3, 0, 1, 2, 4}));
  EXPECT_EQ(face("CIN3D12R", 2), (Nodes{4, 0, 1, 5, 8}));
  EXPECT_EQ(face("CIN3D18R", 2), (Nodes{4, 0, 1, 5, 8, 12}));
  EXPECT_EQ(face("COH3D8P", 2), (Nodes{0, 1, 5, 4, 9, 8}));
  EXPECT_EQ(face("C3D27", 4), (Nodes{3, 7, 6, 2, 19, 14, 18, 10, 24}));
  EXPECT_EQ(face("CAXA41", 0, 1), (Nodes{4, 5, 6, 7}));
  EXPECT_EQ(face("CAXA41", 0, 2), Nodes{});
  EXPECT_EQ(Shape("CAXA82").EdgeNodes(0, 3, 2)[1], 7 + 16);
  EXPECT_EQ(Shape("CAXA82").ReversalPermutation()[17], 19);
  EXPECT_EQ(Shape("CAXA82").FaceNodeTable().size(), 24U);
  const auto reversal = Shape("GK3D6L").ReversalPermutation();
  EXPECT_EQ(Nodes(reversal.begin(), reversal.end()), (Nodes{1, 0, 3, 2, 4, 5}));
  EXPECT_EQ(Shape("MCL6").ReversalPermutation()[4], 5);
  // an infinite element keeps its far side
  EXPECT_EQ(Shape("CINPE4").ReversalPermutation()[0], 1);
  Nodes gasket = {10, 11, 12, 13, 14, 15};
  Shape("GK3D6L").ReverseFaceConnectivity(gasket, 0);
  EXPECT_EQ(gasket, (Nodes{10, 13, 12, 11, 15, 14}));
  Nodes elementNodes(16), onFace(4, -1), onEdge(3, -1);
  std::iota(elementNodes.begin(), elementNodes.end(), 100);
  Shape("CAXA41").FaceConnectivity(elementNodes, 0, onFace, 1);
  EXPECT_EQ(onFace, (Nodes{104, 105, 106, 107}));
  Shape("CPE8").EdgeConnectivity(elementNodes, 0, 3, onEdge);
  EXPECT_EQ(onEdge, (Nodes{103, 107, 100}));
  EXPECT_TRUE(Shape("C3D8").FaceNodes(6).empty() && Shape("C3D8").EdgeNodes(0, 4).empty());
  EXPECT_TRUE(Shape("MASS").EdgeNodes(0, 0).empty());
  const shp_Shape odd("ODD", LongKey{6, 15, 37}, 0); // nine nodes
  EXPECT_TRUE(odd.FaceNodes(0).empty() && odd.NodesPerFace().empty() && odd.ReversalPermutation().empty());
}

TEST_F(shp_ConnectivityTest, FaceNormalsSkipWhatHasNoDirection) {
  const std::vector<float> unitCube = {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0,
                                       0, 0, 1, 1, 0, 1, 1, 1, 1, 0, 1, 1};
  const Nodes elementNodes = {0, 1, 2, 3, 4, 5, 6, 7};
  std::array<double, 3> normal{};
  const Point outward[] = {{0, 0, -1}, {0, 0, 1}, {0, -1, 0}, {1, 0, 0}, {0, 1, 0}, {-1, 0, 0}};
  for (int face = 0; face < 6; ++face) {
    EXPECT_EQ(Shape("C3D8").ComputeFaceNormal(elementNodes, face, unitCube, normal), 1);
    for (std::size_t axis = 0; axis < 3; ++axis)
      EXPECT_EQ(normal[axis], outward[static_cast<std::size_t>(face)][axis]) << face;
  }
  // a triangle written as a quadrilateral
  EXPECT_EQ(Shape("S4").ComputeFaceNormal(Nodes{0, 1, 1, 2}, 0, unitCube, normal), 1);
  EXPECT_EQ(normal[2], 1);
  EXPECT_EQ(Shape("S4").ComputeFaceNormal(Nodes{0, 1, 1, 0}, 0, unitCube, normal), 0);
  const std::vector<float> straight = {0, 0, 0, 1, 0, 0, 2, 0, 0};
  EXPECT_EQ(Shape("S3").ComputeFaceNormal(Nodes{0, 1, 2}, 0, straight, normal), 0);
  EXPECT_EQ(normal, (std::array<double, 3>{}));
  normal.fill(7);
  EXPECT_EQ(Shape("B32").ComputeFaceNormal(Nodes{0, 1, 2}, 0, unitCube, normal), 0); // two corners only
  EXPECT_EQ(normal, (std::array<double, 3>{}));
  EXPECT_EQ(Shape("MASS").ComputeFaceNormal(Nodes{0}, 0, unitCube, normal), 0);
}

shp_Facts Changed(const shp_Facts& facts, const auto& changeCorner, const auto& changeLoop) {
  shp_Facts changed{
      .numDims = facts.numDims, .numSimplexDims = facts.numSimplexDims, .corners = {}, .faces = {}};
  for (int k = 0; k < facts.NumCorners(); ++k)
    changed.corners.Append(facts.corners[static_cast<std::size_t>(changeCorner(k))]);
  for (int face = 0; face < facts.NumFaces(); ++face) {
    shp_FaceLoop loop;
    for (std::size_t k = 0; k < facts.faces[static_cast<std::size_t>(face)].size(); ++k)
      loop.Append(facts.faces[static_cast<std::size_t>(face)]
                             [static_cast<std::size_t>(changeLoop(face, static_cast<int>(k)))]);
    changed.faces.Append(loop);
  }
  return changed;
}

TEST_F(shp_ConnectivityTest, ASlipInTheFactsOfAFamilyIsRefused) {
  const auto same = [](int index) { return index; };
  const auto swapped = [](int a, int b) {
    return [=](int index) { return index == a ? b : index == b ? a : index; };
  };
  const auto isRight = [](const shp_Facts& facts) {
    return shp_FactsCheck::IsSound(facts) && shp_FactsCheck::HasFixedOrder(facts);
  };
  for (const shp_Facts& facts : {kTriangle, kQuadrilateral, kTetrahedron, kHexahedron, kWedge}) {
    EXPECT_TRUE(isRight(Changed(facts, same, [](int, int k) { return k; })));
    for (int changed = 0; changed < facts.NumFaces(); ++changed) {
      const auto size = static_cast<int>(facts.faces[static_cast<std::size_t>(changed)].size());
      for (int turn = 1; turn < size; ++turn)
        EXPECT_FALSE(isRight(
            Changed(facts, same, [&](int face, int k) { return face == changed ? (k + turn) % size : k; })))
            << "face " << changed << " turned, of " << facts.NumFaces();
      for (int other = 0; other < changed; ++other) {
        shp_Facts exchanged{.numDims = facts.numDims,
                            .numSimplexDims = facts.numSimplexDims,
                            .corners = facts.corners,
                            .faces = {}};
        for (int face = 0; face < facts.NumFaces(); ++face)
          exchanged.faces.Append(facts.faces[static_cast<std::size_t>(swapped(changed, other)(face))]);
        EXPECT_FALSE(isRight(exchanged)) << "faces " << other << ' ' << changed << " of " << facts.NumFaces();
      }
    }
    for (int b = 1; b < facts.NumCorners(); ++b)
      for (int a = 0; a < b; ++a)
        EXPECT_FALSE(shp_FactsCheck::IsSound(Changed(facts, swapped(a, b), [](int, int k) { return k; })))
            << "corners " << a << ' ' << b << " of " << facts.NumCorners();
    for (int changed = 0; changed < facts.NumFaces(); ++changed)
      for (int b = 1; b < static_cast<int>(facts.faces[static_cast<std::size_t>(changed)].size()); ++b)
        for (int a = 0; a < b; ++a)
          EXPECT_FALSE(shp_FactsCheck::IsSound(
              Changed(facts, same, [&](int face, int k) { return face == changed ? swapped(a, b)(k) : k; })))
              << "face " << changed << " of " << facts.NumFaces();
  }
}
TEST_F(shp_ConnectivityTest, AReferenceDomainOfAnotherKindIsRefused) {
  for (shp_Facts facts : {kLine, kTriangle, kQuadrilateral, kTetrahedron, kHexahedron, kWedge}) {
    const int right = facts.numSimplexDims;
    for (facts.numSimplexDims = 0; facts.numSimplexDims < 4; ++facts.numSimplexDims)
      EXPECT_EQ(shp_FactsCheck::IsSound(facts), facts.numSimplexDims == right)
          << facts.NumCorners() << " corners";
  }
  // closed and outward, but not a product of a simplex and intervals: what is asked of the row has no answer
  shp_Facts pyramid{.numDims = 3,
                    .numSimplexDims = 0,
                    .corners = {{-1, -1, 0}, {1, -1, 0}, {1, 1, 0}, {-1, 1, 0}, {0, 0, 1}},
                    .faces = {{0, 3, 2, 1}, {0, 1, 4}, {1, 2, 4}, {2, 3, 4}, {3, 0, 4}}};
  for (; pyramid.numSimplexDims < 4; ++pyramid.numSimplexDims) EXPECT_FALSE(shp_FactsCheck::IsSound(pyramid));
}
} // namespace
