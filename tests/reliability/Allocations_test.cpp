// Memory that runs out at any allocation: a clear exception, no leak, and the old model or the new one.
#include "FailingAllocator.h"
#include "Models.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_Mesh.h>
#include <functional>
#include <gtest/gtest.h>
#include <iostream>
#include <new>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;

class Memory : public testing::TestWithParam<ModelChange> {
protected:
  static void SetUpTestSuite() { WatchSqlite(); }
  Memory() { fs::create_directories(folder_); }
  ~Memory() override { fs::remove_all(folder_); }

  /// Runs `work` again and again, the n-th allocation failing, until none fails; `after` looks at what each
  /// run has left. Returns the number of failures tried.
  template<class Before, class Work, class After>
  long FailEach(const Before& before, const Work& work, const After& after) {
    before();
    work(); // what is built once and kept is built now
    long tried = 0;
    for (long nth = 1;; nth += 1 + nth / 150, ++tried) {
      before();
      const long blocks = BlocksInUse();
      bool failed = false, happened = false;
      {
        const FailingAllocation fault(nth);
        try {
          work();
        } catch (const std::bad_alloc&) {
          failed = true;
        }
        happened = fault.Happened();
      }
      EXPECT_EQ(BlocksInUse(), blocks) << "allocation " << nth;
      after(failed);
      if (HasFailure()) ADD_FAILURE() << "allocation " << nth;
      if (!happened || HasFailure()) return tried;
    }
  }

  const DDB_CoreGeometry library_;
  const fs::path folder_ = fs::temp_directory_path() / ("memory_" + std::to_string(getpid()));
  const cow_String before_ = (folder_ / "before.cgdb").string(), file_ = (folder_ / "model.cgdb").string();
};
} // namespace

TEST_P(Memory, RunsOutWhileAModelIsChanged) {
  const ModelChange& change = GetParam();
  if (change.prepare) change.prepare(before_);
  const auto restore = [&] {
    for (const char* end : {"", "-journal"}) fs::remove(file_ + end);
    if (change.prepare) fs::copy_file(before_, file_);
  };
  restore();
  change.change(file_);
  const std::string old = ContentOf(before_), now = ContentOf(file_);
  const long tried = FailEach(
      restore, [&] { change.change(file_); },
      [&](bool failed) {
        if (failed && !change.prepare) {
          change.change(file_);
          failed = false;
        }
        const std::string left = ContentOf(file_);
        EXPECT_TRUE(left == now || (failed && left == old)) << left.substr(0, 300);
      });
  std::cout << "  " << tried << " failed allocations\n";
}

INSTANTIATE_TEST_SUITE_P(Every, Memory, testing::ValuesIn(ModelChanges().begin(), ModelChanges().end()),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_F(Memory, RunsOutWhileAModelIsRead) {
  WriteModel(file_, 200);
  const auto whole = [&] {
    EXPECT_EQ(cls_Database::Open(file_).Get<bme_Mesh>("meshes/Wing")->NodeData().NumNodes(), 804U);
  };
  long tried = FailEach([] {}, whole, [](bool) {});
  // a check makes every object of a file, and these files have one of every class
  for (const cow_String& file : {file_, cow_String(TEST_FILES "/present_0.1.0/model.cgdb"),
                                 cow_String(TEST_FILES "/datums_0.1.0/model.cgdb")})
    tried += FailEach([] {}, [&] { EXPECT_TRUE(cls_Check(cls_Database::Open(file)).empty()); }, [](bool) {});
  tried += FailEach([] {}, [&] { cls_Database::Open(file_).Resolve("meshes/Wing.elemData.classes[0]"); },
                    [](bool) {});
  const cls_Database db = cls_Database::Open(file_);
  for (long nth = 1; nth < 300; ++nth) { // one connection goes on after every failure
    try {
      const FailingAllocation fault(nth);
      db.Get<bme_Mesh>("meshes/Wing");
    } catch (const std::bad_alloc&) {
    }
    EXPECT_EQ(db.Get<bme_Mesh>("meshes/Wing")->NodeData().NumNodes(), 804U);
  }
  std::cout << "  " << tried << " failed allocations\n";
}

TEST_F(Memory, RunsOutInAnOpenPassWhichGoesOn) {
  WriteModel(before_, 50);
  const auto mesh = cls_Database::Open(before_).Get<bme_Mesh>("meshes/Wing");
  FailEach(
      [&] {
        fs::remove(file_);
        WriteModel(file_, 20);
      },
      [&] {
        cls_Database db = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
        cls_WritePass pass(db);
        try {
          pass.Put("meshes/Wing", mesh);
        } catch (const std::bad_alloc&) {
          try { // the failed Put has changed nothing; the pass goes on unless SQLite had to end it
            pass.Remove("regions/Skin");
            pass.Commit();
          } catch (const nex_TextException& failure) {
            EXPECT_NE(failure.Message().find("the write pass has ended"), cow_String::npos);
          }
          throw;
        }
        pass.Commit();
      },
      [&](bool failed) {
        const cls_Database db = cls_Database::Open(file_);
        EXPECT_EQ(db.Get<bme_Mesh>("meshes/Wing")->NodeData().NumNodes(), failed ? 84U : 204U);
      });
}
