// Meshes of others, when they are there.
#include <CoreGeometry/bme_ExternalEdges.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/exo_Import.h>
#include <CoreGeometry/shp_Shape.h>
#include <filesystem>
#include <gtest/gtest.h>

namespace {
/// A brick of hexahedra that share their nodes, by its numbers of elements along three directions.
struct Brick {
  std::size_t a, b, c;
};

bme_FEMElemList SolidsOf(const bme_Mesh& mesh) {
  bme_FEMElemList solids(mesh);
  for (unsigned i = 0; i < mesh.ElementData().NumClasses(); ++i)
    if (const shp_Shape* shape = mesh.ElementData().GetClass(i).Shape(); shape && shape->NumGeomDims() == 3)
      solids = solids.Union(bme_FEMElemList::OfClass(mesh, i));
  return solids;
}

/// The outside of some solids: a closed surface, of which every edge has two faces that pass it both ways.
struct Surface {
  explicit Surface(const bme_FEMElemList& solids) {
    const auto sets = bme_ComputeFaces(solids, {.wantInterior = true});
    const auto ofEdges = bme_ComputeEdges(sets->external);
    faces = sets->external.Count();
    allFaces = faces + sets->interior.Count() / 2;
    edges = ofEdges->unique.Count();
    nodes = bme_FEMNodeList::OfFaces(sets->external).Count();
    EXPECT_TRUE(sets->shared.IsEmpty() && sets->collapsed.IsEmpty());
    EXPECT_TRUE(ofEdges->free.IsEmpty() && ofEdges->nonManifold.IsEmpty() && ofEdges->inconsistent.IsEmpty());
  }
  long Euler() const {
    return static_cast<long>(nodes) - static_cast<long>(edges) + static_cast<long>(faces);
  }

  std::size_t nodes, edges, faces, allFaces;
};

/// Solids that meet at faces, in the order of their first elements.
std::vector<bme_FEMElemList> PartsOf(const bme_FEMElemList& solids) {
  const auto components = bme_FEMConnect(solids.Mesh()).FindComponents(bme_Across::Face);
  std::vector<std::vector<unsigned>> parts(components.count);
  for (const unsigned element : solids) parts[components.ofElement[element]].push_back(element);
  std::vector<bme_FEMElemList> lists;
  for (const std::vector<unsigned>& part : parts)
    if (!part.empty()) lists.emplace_back(solids.Mesh(), part);
  return lists;
}

class RealMeshes : public testing::Test {
protected:
  /// The outside of a brick is a sphere in the eyes of topology: nodes - edges + faces is 2, and with four
  /// edges a face, each of two faces, there are twice as many edges as faces. Each inner face belongs to two
  /// of the six of every element. Bricks that share no nodes add up.
  static void ExpectBricks(const char* name, const std::vector<Brick>& bricks) {
    const std::string file = std::string(SHARED_DATA) + "/" + name;
    if (!std::filesystem::exists(file)) GTEST_SKIP() << "no " << file;
    const exo_Import import = exo_ReadMesh(file, exo_TypeMap());
    const bme_FEMElemList solids = SolidsOf(*import.mesh);
    const std::vector<bme_FEMElemList> parts = PartsOf(solids);
    ASSERT_EQ(parts.size(), bricks.size());
    std::size_t faces = 0, allFaces = 0;
    for (std::size_t i = 0; i < parts.size(); ++i) {
      const auto [a, b, c] = bricks[i];
      EXPECT_EQ(parts[i].Count(), a * b * c);
      EXPECT_EQ(bme_FEMNodeList::OfElements(parts[i]).Count(), (a + 1) * (b + 1) * (c + 1));
      const Surface outside(parts[i]);
      EXPECT_EQ(outside.faces, 2 * (a * b + b * c + c * a));
      EXPECT_EQ(2 * outside.allFaces, 6 * a * b * c + outside.faces);
      EXPECT_EQ(outside.edges, 2 * outside.faces);
      EXPECT_EQ(outside.Euler(), 2);
      faces += outside.faces;
      allFaces += outside.allFaces;
    }
    const Surface whole(solids);
    EXPECT_EQ(whole.faces, faces);
    EXPECT_EQ(whole.allFaces, allFaces);
    EXPECT_EQ(whole.edges, 2 * faces);
    EXPECT_EQ(whole.Euler(), 2 * static_cast<long>(bricks.size()));
  }
};
} // namespace

/// Two cubes of 4 x 4 x 4 that share the nodes between them; shells on their faces.
TEST_F(RealMeshes, OfTwoCubesWithOneSideInCommonAreOneBrick) {
  ExpectBricks("hex8_shell4_sets.g", {{4, 4, 8}});
}

/// Five layers of a cube, each in elements of its own size.
TEST_F(RealMeshes, OfLayersThatDoNotMatchAreABrickEach) {
  ExpectBricks("results_hex8_5steps.e", {{2, 10, 10}, {3, 15, 15}, {2, 10, 10}, {1, 5, 5}, {2, 10, 10}});
}
