// Long work asks the channel of its thread whether to stop; work that is stopped leaves everything as it was.
#include "EntityMeshes.h"

#include <CoreGeometry/bme_CleanMesh.h>
#include <CoreGeometry/bme_CombineMeshes.h>
#include <CoreGeometry/bme_DivideMesh.h>
#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_ExternalEdges.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMNodeList.h>
#include <CoreGeometry/bme_FaceTriangles.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_RenumberMesh.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Travel.h>
#include <CoreGeometry/gsl_TriTriDirDist.h>
#include <CoreGeometry/gsl_Vector.h>
#include <CoreGeometry/shp_Shape.h>
#include <limits>
#include <numbers>

namespace {
/// Says stop at one of the questions, and never else.
class Stopper : public wip_WIPBase {
public:
  Stopper() { thr_ThreadSingleton<wip_WIP>::Instance().SetSink(this); }
  ~Stopper() override { thr_ThreadSingleton<wip_WIP>::Instance().SetSink(nullptr); }
  bool IsCancelled() override { return ++asked == stopAt; }

  long asked = 0, stopAt = 0;
};

/// Numbers that tell one result of a piece of work from another.
using Result = std::vector<double>;
Result Of(const bme_Edited& edited) {
  const auto xyz = edited.result.mesh.NodeData().Coordinates().Const();
  Result all(xyz.begin(), xyz.end());
  for (const int node : edited.result.mesh.ElementData().GetClass(0).ElementConnectivity().Const())
    all.push_back(node);
  return all;
}
Result Of(const bme_Adjacency& rows) { return {rows.items.begin(), rows.items.end()}; }
template<class List> Result Of(const List& list) { return {list.begin(), list.end()}; }

struct Work {
  const char* name;
  std::function<Result()> run;
  long leastQuestions; ///< for the mesh below
};
} // namespace

TEST(Cancelling, WorkThatMayLastAsksAndLeavesEverythingWhenItIsStopped) {
  const auto mesh = MeshMaker().Box(40, 40, 15).Make(), flat = MeshMaker().Box(60, 60, 1).Make();
  const bme_FEMElemList all = bme_FEMElemList::All(*mesh);
  const bme_FEMFaceList outside = bme_ComputeFaces(all)->external;
  const bme_FEMEdgeList edges = bme_ComputeEdges(outside)->unique;
  const bme_FEMConnect kept(*mesh);
  const bme_ElementLocator locator(*mesh);
  std::vector<double> points, low, high;
  for (int i = 0; i < 30000; ++i)
    points.insert(points.end(), {i % 401 / 10.0, i % 397 / 10.0, i % 149 / 10.0});
  for (const float x : flat->NodeData().Coordinates().Const()) low.push_back(static_cast<double>(x));
  high = low;
  for (std::size_t i = 2; i < high.size(); i += 3) high[i] += 5 + 1e-3 * high[i - 2];
  const std::vector<int> triangles =
      bme_Triangulate(bme_ComputeFaces(bme_FEMElemList::All(*flat))->external, bme_NodesOf::Corners).nodes;
  const gsl_Vector down(0, 0, -1);
  const shp_Shape& shape = *mesh->ElementData().GetClass(0).Shape();
  const std::vector<float> values(std::size_t{8} * 20000, 2.5F);
  constexpr auto kPoints = res_INTEGRATION_POINT;

  const bme_MeshAndSets edit{*mesh};
  std::vector<unsigned> half(all.begin(), all.begin() + 10000);
  const double turned[4][4] = {{0, 1, 0, 0}, {1, 0, 0, 0}, {0, 0, 2, 0}, {0, 0, 0, 1}};

  const Work works[] = {
      {"extracted elements", [&] { return Of(bme_ExtractElements(edit, half)); }, 2},
      {"extracted faces", [&] { return Of(bme_ExtractFaces(edit, outside.Words())); }, 1},
      {"clean", [&] { return Of(bme_Edited(bme_CleanMesh(edit))); }, 10},
      {"merged nodes", [&] { return Of(bme_Edited(bme_MergeNodes(edit, {.tolerance = 1.01}))); }, 2},
      {"low bandwidth", [&] { return Of(bme_ReorderMesh({*mesh}, bme_NodeOrder::Bandwidth)); }, 2},
      {"along a curve", [&] { return Of(bme_ReorderMesh(edit, bme_NodeOrder::Curve)); }, 2},
      {"transformed", [&] { return Of(bme_TransformMesh(edit, gsl_Matrix(turned))); }, 1},
      {"quadratic", [&] { return Of(bme_ChangeOrder(edit, true)); }, 3},
      {"split", [&] { return Of(bme_SplitElements(edit)); }, 3},
      {"refined", [&] { return Of(bme_RefineMesh(edit)); }, 3},
      {"elements of nodes", [&] { return Of(bme_FEMConnect(*mesh).ElementsOfNodes()); }, 6},
      {"neighbours across nodes", [&] { return Of(bme_FEMConnect(*mesh).Neighbours(bme_Across::Node)); }, 3},
      {"neighbours across edges", [&] { return Of(bme_FEMConnect(*mesh).Neighbours(bme_Across::Edge)); }, 5},
      {"neighbours across faces", [&] { return Of(bme_FEMConnect(*mesh).Neighbours(bme_Across::Face)); }, 5},
      {"components",
       [&] { return Result{double(bme_FEMConnect(*mesh).FindComponents(bme_Across::Face).count)}; }, 5},
      {"rings",
       [&] {
         const unsigned seed = 0;
         return Result{double(bme_FEMConnect(*mesh).Rings({&seed, 1}, 100, bme_Across::Node).size())};
       },
       5},
      {"nodes of elements", [&] { return Of(bme_FEMNodeList::OfElements(all)); }, 1},
      {"elements of nodes in a box",
       [&] { return Of(bme_FEMElemList::OfNodes(bme_FEMNodeList::All(*mesh), bme_Touching::AllNodes)); }, 1},
      {"faces of elements", [&] { return Of(bme_FEMFaceList::OfElements(all)); }, 1},
      {"edges of faces", [&] { return Of(bme_FEMEdgeList::OfFaces(outside)); }, 1},
      {"edges of elements", [&] { return Of(bme_FEMEdgeList::OfElements(all)); }, 1},
      {"grown faces", [&] { return Of(bme_GrowFaces(outside, outside, std::numbers::pi)); }, 2},
      {"chains", [&] { return Result{double(bme_ChainEdges(edges).size())}; }, 2},
      {"triangles", [&] { return Of(bme_Triangulate(outside).nodes); }, 1},
      {"duplicates", [&] { return Result{double(bme_FindDuplicates(all).size())}; }, 5},
      {"measures", [&] { return Result{bme_CalculateMeasures(*mesh).volume.Total()}; }, 90},
      {"a locator", [&] { return Result{double(bme_ElementLocator(*mesh).NumElements())}; }, 4},
      {"located points",
       [&] {
         std::vector<bme_ElementHit> hits(points.size() / 3);
         locator.FindEach(points, hits);
         Result elements;
         for (const bme_ElementHit& hit : hits) elements.push_back(hit.element);
         return elements;
       },
       10},
      {"extrapolation",
       [&] {
         std::vector<float> atNodes(values.size());
         shape.ExtrapolateEachToNodes(20000, values, kPoints, atNodes, 1);
         return Of(atNodes);
       },
       3},
      {"travel",
       [&] {
         gsl_Travel travel;
         EXPECT_TRUE(gsl_FindTravel(low, triangles, high, triangles, down, travel));
         return Result{travel.distance};
       },
       5},
      {"travel by octrees",
       [&] {
         gsl_ArrayTriTriDirDist search(low, triangles, high, triangles);
         search.SetDirection(down);
         double distance = std::numeric_limits<double>::max();
         EXPECT_TRUE(search.FindDirectionalDistance(distance));
         return Result{distance};
       },
       5},
  };
  for (const Work& work : works) {
    Result expected;
    long asked = 0;
    {
      Stopper stopper;
      expected = work.run();
      asked = stopper.asked;
    }
    EXPECT_GE(asked, work.leastQuestions) << work.name;
    EXPECT_FALSE(expected.empty()) << work.name;
    for (const long stopAt : {1L, (asked + 1) / 2, asked}) {
      Stopper stopper;
      stopper.stopAt = stopAt;
      EXPECT_THROW(work.run(), wip_Cancelled) << work.name << " at question " << stopAt;
      EXPECT_EQ(stopper.asked, stopAt) << work.name;
      EXPECT_EQ(work.run(), expected) << work.name;
    }
  }
  for (const long stopAt : {1L, 3L, 8L}) {
    Stopper stopper;
    stopper.stopAt = stopAt;
    EXPECT_THROW(kept.Neighbours(bme_Across::Node), wip_Cancelled);
  }
  EXPECT_EQ(Of(kept.Neighbours(bme_Across::Node)), Of(bme_FEMConnect(*mesh).Neighbours(bme_Across::Node)));
}
