// Several databases on several threads. Each case is a process of its own, so that its threads are the first
// to ask for the class registry; the preset tsan runs them under the thread sanitizer.
#include "ThreadExecutor.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/bme_MeshBuilder.h>
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

/// Every number of some measures.
static std::vector<double> NumbersOf(const bme_Measures& measures) {
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

TEST(Threads, GiveMeasuresOfTheSameBits) {
  const DDB_CoreGeometry library;
  // shells and solids between random nodes: flat, turned inside out, with sums that cancel
  std::mt19937 random(7);
  std::uniform_real_distribution<float> place(-1, 1);
  std::vector<float> xyz(3 * 2000);
  for (float& x : xyz) x = place(random);
  const auto rows = [&](std::size_t width, std::size_t count) {
    std::vector<int> nodes(width * count);
    for (int& node : nodes) node = static_cast<int>(random() % 2000);
    return nodes;
  };
  const bme_Mesh mesh = bme_MeshBuilder(xyz)
                            .Add({.type = "C3D8", .connectivity = rows(8, 20000)})
                            .Add({.type = "S4", .connectivity = rows(4, 200)})
                            .Add({.type = "B31", .connectivity = rows(2, 20000)})
                            .Build();
  bme_MeasureOptions options;
  options.density = [](const bme_ElementClass&, int element) { return 1 + element % 7; };
  options.thickness = [](const bme_ElementClass&, int) { return 0.01; };
  const std::vector<double> serial = NumbersOf(bme_CalculateMeasures(mesh, options));
  EXPECT_GT(serial.size(), 10000U); // many are inside out
  for (const unsigned numThreads : {1U, 2U, 3U, 7U}) {
    ThreadExecutor executor(numThreads, numThreads);
    const wip_ExecutorScope lent(&executor);
    EXPECT_EQ(NumbersOf(bme_CalculateMeasures(mesh, options)), serial);
  }
}
