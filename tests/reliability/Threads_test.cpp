// Several databases on several threads. Each case is a process of its own, so that its threads are the first
// to ask for the class registry; the preset tsan runs them under the thread sanitizer.
#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_Mesh.h>
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
