// Several databases on several threads. Each case is a process of its own, so that its threads are the first
// to ask for the class registry; the preset tsan runs them under the thread sanitizer.
#include "ThreadExecutor.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_ElementLocator.h>
#include <CoreGeometry/bme_ExternalFaces.h>
#include <CoreGeometry/bme_FEMConnect.h>
#include <CoreGeometry/bme_FEMElemList.h>
#include <CoreGeometry/bme_FEMFaceList.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/bme_Outside.h>
#include <CoreGeometry/bme_Quality.h>
#include <CoreGeometry/bme_StoredMesh.h>
#include <CoreGeometry/chk_Findings.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <CoreGeometry/gsl_Travel.h>
#include <CoreGeometry/shp_Shape.h>
#include <barrier>
#include <filesystem>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>

namespace {
/// Runs the work on six threads that start at the same moment.
template<class Work> void OnSixThreads(const Work& work) {
  std::barrier start(6);
  std::vector<std::jthread> threads;
  for (int i = 0; i < 6; ++i)
    threads.emplace_back([&, i] {
      start.arrive_and_wait();
      work(i);
    });
}
} // namespace

TEST(Threads, EachReadAModelOfTheirOwn) {
  const DDB_CoreGeometry library;
  std::atomic<unsigned> elements = 0;
  OnSixThreads([&](int) {
    const cls_Database db = cls_Database::Open(TEST_FILES "/meshes_0.1.0/model.cgdb");
    elements += db.Get<bme_Mesh>("meshes/Right")->ElementData().NumElements();
  });
  EXPECT_EQ(elements, 6U * 216U);
}

TEST(Threads, EachWriteACopyOfOneMesh) {
  const DDB_CoreGeometry library;
  const auto folder = std::filesystem::temp_directory_path() / ("threads_" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);
  const auto mesh = cls_Database::Open(TEST_FILES "/meshes_0.1.0/model.cgdb").Get<bme_Mesh>("meshes/Left");
  OnSixThreads([&](int i) {
    const cow_String file = (folder / (std::to_string(i) + ".cgdb")).string();
    bme_Mesh copy(*mesh);
    copy.NodeDataToModify().AppendNode(9, 9, static_cast<float>(i));
    {
      cls_Database db = cls_Database::Create(file);
      cls_WritePass pass(db);
      pass.Put("mesh", copy);
      pass.Commit();
    }
    EXPECT_EQ(cls_Database::Open(file).Get<bme_Mesh>("mesh")->NodeData().NumNodes(), 344U);
  });
  EXPECT_EQ(mesh->NodeData().NumNodes(), 343U);
  std::filesystem::remove_all(folder);
}

TEST(Threads, SeeWhatOtherOwnersDidBeforeTheyDroppedTheirHandle) {
  for (int round = 0; round < 200; ++round) {
    cow_COW<std::vector<int>> mine(new std::vector<int>(3, round));
    std::jthread other([theirs = mine, round]() mutable { theirs.Modify()[0] = theirs.Const()[1] - round; });
    EXPECT_EQ(mine.Modify()[2]++, round);
  }
}

namespace {
/// Every number of some measures.
std::vector<double> NumbersOf(const bme_Measures& measures) {
  std::vector<double> numbers;
  for (const bme_Moments* moments : {&measures.length, &measures.area, &measures.volume, &measures.mass}) {
    gsl_Point centre;
    moments->GetCentre(centre);
    numbers.insert(numbers.end(),
                   {moments->Total(), moments->SignedTotal(), centre[0], centre[1], centre[2]});
    for (const auto& row : moments->InertiaAbout({1, 2, 3}))
      numbers.insert(numbers.end(), row.begin(), row.end());
  }
  for (const auto* labels : {&measures.inverted, &measures.zero, &measures.withoutNodes})
    numbers.insert(numbers.end(), labels->begin(), labels->end());
  return numbers;
}

std::vector<double> MeasuresOf(const bme_Mesh& mesh) {
  bme_MeasureOptions options;
  options.density = [](const bme_ElementClass&, int element) { return 1 + element % 7; };
  options.thickness = [](const bme_ElementClass&, int) { return 0.01; };
  return NumbersOf(bme_CalculateMeasures(mesh, options));
}

/// In a block of 27 cubes each way that are sheared and bent, so that their boxes overlap.
std::vector<double> FoundPoints(const bme_Mesh&) {
  constexpr int kSide = 27, kNodes = kSide + 1;
  std::vector<float> xyz;
  std::vector<int> cubes;
  for (int k = 0; k < kNodes * kNodes * kNodes; ++k) {
    const auto x = static_cast<float>(k % kNodes), y = static_cast<float>(k / kNodes % kNodes),
               z = static_cast<float>(k / kNodes / kNodes);
    xyz.insert(xyz.end(),
               {(2 * x + 0.6F * y) / kSide - 1, 2 * y / kSide - 1 + 0.001F * x * z, 2 * z / kSide - 1});
    if (x < kSide && y < kSide && z < kSide)
      for (const int layer : {0, kNodes * kNodes})
        for (const int step : {0, 1, 1 + kNodes, kNodes}) cubes.push_back(k + layer + step);
  }
  const bme_Mesh mesh = bme_MeshBuilder(xyz).Add({"C3D8", cubes}).Build();
  const bme_ElementLocator locator(mesh);
  std::vector<double> points, numbers{1.0 * locator.NumElements()};
  for (int k = 0; k < 30000; ++k)
    for (const int step : {7, 11, 13}) points.push_back(k * step % 1009 / 1009.0 * 2.2 - 1.1);
  std::vector<bme_ElementHit> hits(points.size() / 3);
  locator.FindEach(points, hits);
  for (const bme_ElementHit& hit : hits) {
    numbers.insert(numbers.end(), {1.0 * hit.element, 1.0 * static_cast<int>(hit.location)});
    if (shp_IsHeld(hit.location)) numbers.insert(numbers.end(), hit.iso.begin(), hit.iso.end());
  }
  return numbers;
}

std::vector<double> AtNodes(const bme_Mesh& mesh) {
  const bme_ElementClass& cubes = mesh.ElementData().GetClass(0);
  const shp_Shape& shape = *cubes.Shape();
  const auto count = static_cast<std::size_t>(cubes.NumElements());
  std::vector<float> values(count * 8 * 3), nodes(count * 8 * 3);
  for (std::size_t k = 0; k < values.size(); ++k) values[k] = static_cast<float>(k * k % 1013) * 0.37F;
  shape.ExtrapolateEachToNodes(cubes.NumElements(), values, res_INTEGRATION_POINT, nodes, 3);
  return {nodes.begin(), nodes.end()};
}

/// Many faces between random nodes are those of three elements or more; most have their corners far apart.
std::vector<double> FacesOf(const bme_Mesh& mesh) {
  std::vector<double> words;
  bme_FaceOptions options;
  options.wantInterior = true;
  const auto add = [&](const bme_Mesh& of) {
    const std::optional<bme_FaceSets> faces = bme_ComputeFaces(bme_FEMElemList::All(of), options);
    for (const bme_FEMFaceList* list :
         {&faces->external, &faces->interior, &faces->shared, &faces->collapsed}) {
      words.push_back(static_cast<double>(list->Count()));
      for (std::size_t i = 0; i < list->Count(); ++i) words.push_back((*list)[i]);
    }
  };
  add(mesh);
  // thin plates, numbered along their length, with an element at random here and there: pieces of both kinds
  std::mt19937 random(5);
  std::vector<float> xyz;
  std::vector<int> cubes;
  constexpr int kLength = 9000;
  for (int k = 0; k <= kLength; ++k)
    for (int i = 0; i < 10; ++i) {
      xyz.insert(xyz.end(), {static_cast<float>(k), static_cast<float>(i / 2), static_cast<float>(i % 2)});
      if (k == kLength || i >= 8 || i % 2 == 1) continue;
      const int start = 10 * k + i;
      for (const int corner : {0, 10, 12, 2, 1, 11, 13, 3})
        cubes.push_back(random() % 50 == 0 ? static_cast<int>(random() % (10 * kLength)) : start + corner);
    }
  add(bme_MeshBuilder(xyz).Add({"C3D8", cubes}).Build());
  return words;
}

/// What depends on records that are sorted: elements across edges and faces, duplicates, nodes at one place, edges
/// of the outside, findings of the check; and what is computed from all coordinates.
std::vector<double> RelationsOf(const bme_Mesh& mesh) {
  std::vector<double> numbers;
  const auto add = [&](const auto& values) { numbers.insert(numbers.end(), values.begin(), values.end()); };
  for (const bme_Across across : {bme_Across::Node, bme_Across::Edge, bme_Across::Face})
    add(bme_FEMConnect(mesh).Neighbours(across).items);
  for (const auto& pair : bme_FindDuplicates(bme_FEMElemList::All(mesh))) add(pair);
  for (const bme_OuterEdge& edge : bme_FindOutside(mesh, {}, {}, "mesh").edges) {
    add(edge.ends);
    numbers.push_back(edge.isFeature ? 1 : 0);
  }
  std::vector<chk_Finding> findings;
  chk_Findings collected("mesh", findings);
  add(chk_Elements(mesh, collected));
  for (const chk_Finding& finding : findings) add(finding.what);
  const bme_FEMElemList all = bme_FEMElemList::All(mesh);
  std::vector<unsigned> thirds;
  for (std::size_t k = 0; k < all.Words().size(); k += 3) thirds.push_back(all.Words()[k]);
  const auto interface = bme_ComputeInterface(bme_FEMElemList(mesh, thirds), all); // against the others
  for (std::size_t k = 0; k < interface->Count(); ++k) numbers.push_back((*interface)[k]);
  // more nodes than one piece of a sort or of coordinates has
  std::mt19937 random(11);
  std::vector<float> xyz(3 * 150000);
  for (float& x : xyz) x = static_cast<float>(random() % 100);
  bme_Mesh cloud = bme_MeshBuilder(xyz).Build();
  gsl_Matrix turn;
  turn.AxisRotation(gsl_Point(1, 2, 3), gsl_Vector(0, 0, 1), 0.3);
  cloud.ApplyTransform(turn);
  add(cloud.NodeData().Coordinates().Const());
  const gsl_BBox box = cloud.GetBBox();
  for (unsigned axis = 0; axis < 3; ++axis) add(std::array{box.Min()[axis], box.Max()[axis]});
  add(bme_FindCoincidentNodes(cloud.NodeData(), 0.001).items);
  std::vector<int> labels(150000);
  for (int& label : labels) label = static_cast<int>(random() % 200000);
  std::vector<unsigned> indices(labels.size());
  cloud.NodeDataToModify().SetUserNodeLabels(labels.data());
  cloud.NodeData().GetMeshNodeIndices(labels, indices);
  add(indices);
  return numbers;
}

std::vector<double> QualityOf(const bme_Mesh& mesh) {
  std::vector<bme_QualityMeasure> all;
  for (std::size_t k = 0; k < bme_QualityMeasures().size(); ++k)
    all.push_back(static_cast<bme_QualityMeasure>(k));
  std::vector<double> numbers;
  for (unsigned type = 0; type < mesh.ElementData().NumClasses(); ++type)
    for (const auto& row : bme_Quality(mesh, type, all))
      numbers.insert(numbers.end(), row.begin(), row.end());
  return numbers;
}

/// Travels of a triangle onto a rough wall and of the wall onto the triangle: the leaves of the trees decide which
/// of equal ones is found.
std::vector<double> TravelsOf(const bme_Mesh&) {
  std::mt19937 random(2);
  constexpr int kSide = 200;
  std::vector<float> wall;
  std::vector<int> triangles;
  for (int k = 0; k < kSide * kSide; ++k)
    wall.insert(wall.end(), {static_cast<float>(k % kSide), static_cast<float>(k / kSide),
                             static_cast<float>(random() % 4) / 4});
  for (int k = 0; k + kSide + 1 < kSide * kSide; ++k)
    if (k % kSide != kSide - 1)
      triangles.insert(triangles.end(), {k, k + 1, k + kSide + 1, k, k + kSide + 1, k + kSide});
  wall[3 * 777] = std::numeric_limits<float>::quiet_NaN();
  const std::vector<float> corners{50, 50, -5, 70, 52, -5, 55, 73, -5};
  const std::vector<int> one{0, 1, 2};
  const gsl_TriangleTree large(wall, triangles), small(corners, one);
  std::vector<double> numbers{static_cast<double>(large.NumTriangles())};
  for (int i = 0; i < 2000; ++i) {
    const gsl_Vector direction(0.03 * (i % 50) - 0.7, 0.04 * (i / 50) - 0.8, 1);
    for (const bool isForward : {true, false}) {
      gsl_Travel travel;
      const bool isMet = isForward ? gsl_FindTravel(large, small, direction, travel)
                                   : gsl_FindTravel(small, large, direction * -1.0, travel);
      numbers.insert(numbers.end(), {1.0 * isMet, travel.distance, 1.0 * travel.fixedTriangle,
                                     1.0 * travel.movableTriangle});
    }
  }
  return numbers;
}

/// Arrays of several chunks: one is checked, and looked at, while the next one is read or written.
std::vector<double> StoredAndRead(const bme_Mesh&) {
  constexpr int kNodes = 600'000;
  std::vector<float> xyz(3 * std::size_t{kNodes});
  std::vector<int> labels(kNodes);
  for (std::size_t i = 0; i < xyz.size(); ++i) xyz[i] = static_cast<float>(i * i % 100'003) + 1e6F * (i % 3);
  for (std::size_t i = 0; i < labels.size(); ++i) labels[i] = static_cast<int>(i * 7919 % kNodes) * 3;
  const auto file = std::filesystem::temp_directory_path() / ("stored_" + std::to_string(getpid()) + ".cgdb");
  cls_Database db = cls_Database::Create(file.string());
  cls_WritePass pass(db);
  const bme_Mesh made = bme_MeshBuilder(xyz, labels).Build();
  pass.Put("mesh", made);
  pass.Commit();
  const auto mesh = db.Get<bme_Mesh>("mesh");
  const g3d_Sphere& sphere = mesh->BoundingSphere();
  std::vector<double> numbers{sphere.x, sphere.y, sphere.z, sphere.radius,
                              1.0 * mesh->NodeData().NextFreeLabel()};
  const std::span<const float> read = mesh->NodeData().Coordinates().Const();
  numbers.insert(numbers.end(), read.begin(), read.end());
  const std::vector<int> some{0, 3, 4, 3 * 7919, 3 * kNodes - 3, 3 * kNodes};
  for (const unsigned node : bme_StoredMesh(db, "mesh").FindNodes(some)) numbers.push_back(node);
  std::filesystem::remove(file);
  return numbers;
}

struct LentWork {
  const char* name;
  std::vector<double> (*run)(const bme_Mesh& mesh);
};
void PrintTo(const LentWork& work, std::ostream* out) { *out << work.name; }

class LentThreads : public testing::TestWithParam<LentWork> {};
} // namespace

TEST_P(LentThreads, GiveTheSameBits) {
  const DDB_CoreGeometry library;
  // shells and solids between random nodes near each other: flat, turned inside out, with sums that cancel
  std::mt19937 random(7);
  std::uniform_real_distribution<float> place(-1, 1);
  std::vector<float> xyz(3 * 2000);
  for (float& x : xyz) x = place(random);
  for (std::size_t k = 0; k < 2000; ++k) xyz[3 * k] = static_cast<float>(k) / 1000 - 1;
  const auto rows = [&](std::size_t width, std::size_t count) {
    std::vector<int> nodes;
    for (std::size_t k = 0; k < count; ++k) {
      const auto start = static_cast<int>(random() % 1900);
      for (std::size_t i = 0; i < width; ++i) nodes.push_back(start + static_cast<int>(random() % 100));
    }
    return nodes;
  };
  const bme_Mesh mesh = bme_MeshBuilder(xyz)
                            .Add({.type = "C3D8", .connectivity = rows(8, 20000)})
                            .Add({.type = "S4", .connectivity = rows(4, 200)})
                            .Add({.type = "B31", .connectivity = rows(2, 20000)})
                            .Build();
  const std::vector<double> serial = GetParam().run(mesh);
  EXPECT_GT(serial.size(), 10000U);
  for (const unsigned numThreads : {1U, 2U, 3U, 7U}) {
    ThreadExecutor executor(numThreads, numThreads);
    const wip_ExecutorScope lent(&executor);
    EXPECT_EQ(GetParam().run(mesh), serial) << numThreads;
  }
}
INSTANTIATE_TEST_SUITE_P(Every, LentThreads,
                         testing::ValuesIn({LentWork{"measures", MeasuresOf},
                                            {"locator", FoundPoints},
                                            {"extrapolation", AtNodes},
                                            {"faces", FacesOf},
                                            {"relations", RelationsOf},
                                            {"quality", QualityOf},
                                            {"travel", TravelsOf},
                                            {"stored", StoredAndRead}}),
                         [](const auto& info) { return std::string(info.param.name); });
