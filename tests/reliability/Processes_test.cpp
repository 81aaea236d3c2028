// Several programs at one file: old or new, or a clear refusal, never a mixture.
#include "FaultyDisk.h"
#include "Models.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_Mesh.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;

class Processes : public testing::Test {
protected:
  Processes() {
    fs::create_directories(folder_);
    WriteModel(file_, 10);
  }
  ~Processes() override { fs::remove_all(folder_); }

  static cls_Database Writable(const cow_String& file) {
    cls_Database db = cls_Database::Open(file, cls_Database::Mode::ReadWrite);
    db.SetBusyTimeout(20);
    return db;
  }
  static cow_String MessageOf(const std::function<void()>& work) {
    try {
      work();
    } catch (const nex_TextException& failure) {
      return failure.Message();
    }
    return "(nothing was thrown)";
  }

  const DDB_CoreGeometry library_;
  const fs::path folder_ = fs::temp_directory_path() / ("processes_" + std::to_string(getpid()));
  const cow_String file_ = (folder_ / "model.cgdb").string(), other_ = (folder_ / "other.cgdb").string();
};
} // namespace

TEST_F(Processes, AReaderBesideAWriterSeesOneModelOrTheOther) {
  constexpr int kCommits = 60;
  const pid_t child = fork();
  if (child == 0) {
    try {
      WriteModel(other_, 400);
      const auto large = cls_Database::Open(other_).Get<bme_Mesh>("meshes/Wing");
      const auto small = cls_Database::Open(file_).Get<bme_Mesh>("meshes/Wing");
      cls_Database db = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
      for (int i = 0; i < kCommits; ++i) {
        cls_WritePass pass(db);
        pass.Put("meshes/Wing", i % 2 == 0 ? large : small);
        pass.Commit(); // waits for the reader
      }
      _exit(0);
    } catch (...) {
      _exit(1);
    }
  }
  int reads = 0, busy = 0, status = 0;
  std::set<unsigned> seen;
  while (waitpid(child, &status, WNOHANG) == 0) try {
      cls_Database db = cls_Database::Open(file_);
      db.SetBusyTimeout(1);
      const auto mesh = db.Get<bme_Mesh>("meshes/Wing");
      const bme_ElementData& elements = mesh->ElementData();
      const auto nodes = elements.GetClass(0).Connectivity(static_cast<int>(elements.NumElements()) - 1);
      EXPECT_EQ(mesh->NodeData().NumNodes(), 4 * elements.NumElements() + 4);
      EXPECT_EQ(static_cast<unsigned>(nodes.back()) + 1, mesh->NodeData().NumNodes());
      seen.insert(elements.NumElements());
      ++reads;
    } catch (const cls_BusyException&) {
      ++busy;
    }
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_GT(reads, 0) << busy << " times busy";
  for (const unsigned elements : seen) EXPECT_TRUE(elements == 10 || elements == 400) << elements;
  EXPECT_EQ(FaultsOf(file_), std::vector<std::string>());
}

TEST_F(Processes, ASecondWriterIsRefusedAndMayTryAgain) {
  int fromChild[2], toChild[2];
  ASSERT_EQ(pipe(fromChild) + pipe(toChild), 0);
  char byte = 0;
  const pid_t child = fork();
  if (child == 0) {
    cls_Database db = Writable(file_);
    cls_WritePass pass(db);
    pass.Remove("regions/Skin");
    const bool told = write(fromChild[1], "x", 1) == 1 && read(toChild[0], &byte, 1) == 1;
    if (told) pass.Commit();
    _exit(told ? 0 : 1);
  }
  ASSERT_EQ(read(fromChild[0], &byte, 1), 1);
  cls_Database db = Writable(file_);
  EXPECT_THROW(cls_WritePass pass(db), cls_BusyException);
  EXPECT_TRUE(db.Has("regions/Skin"));
  ASSERT_EQ(write(toChild[1], "x", 1), 1);
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_FALSE(db.Has("regions/Skin"));
  cls_WritePass pass(db);
  pass.Remove("meshes/Wing");
  pass.Commit();
  EXPECT_EQ(db.Roots().Size(), 0);
}

TEST_F(Processes, AFileThatVanishesIsNotWrittenIntoTheVoid) {
  const auto remove = [](cls_Database& db) {
    cls_WritePass pass(db);
    pass.Remove("regions/Skin");
    pass.Commit();
  };
  for (const bool duringThePass : {false, true}) {
    fs::remove(file_);
    WriteModel(file_, 10);
    cls_Database db = Writable(file_);
    if (!duringThePass) {
      fs::rename(file_, other_);
      EXPECT_NE(MessageOf([&] { remove(db); }).find("was moved or deleted"), cow_String::npos);
    } else {
      cls_WritePass pass(db);
      pass.Remove("regions/Skin");
      fs::rename(file_, other_);
      EXPECT_NE(MessageOf([&] { pass.Commit(); }).find("was moved or deleted"), cow_String::npos);
    }
    EXPECT_TRUE(cls_Database::Open(other_).Has("regions/Skin"));
    EXPECT_EQ(MessageOf([&] { Writable(file_); }), file_ + ": does not exist");
  }
}

TEST_F(Processes, AReadOnlyFolderAllowsReading) {
  const FaultyDisk disk(FaultyDisk::Fault::ReadOnlyFolder, 1);
  cls_Database db = Writable(file_);
  EXPECT_EQ(db.Get<bme_Mesh>("meshes/Wing")->NodeData().NumNodes(), 44U);
  cls_WritePass pass(db);
  EXPECT_NE(MessageOf([&] { pass.Remove("regions/Skin"); }).find("check the permissions of its folder"),
            cow_String::npos);
  EXPECT_NE(MessageOf([&] { cls_Database::Create(other_); }).find("cannot be opened"), cow_String::npos);
}
