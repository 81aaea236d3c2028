// A disk that fails, fills up or dies at any change of any operation leaves the old model or the new one.
#include "FaultyDisk.h"
#include "Models.h"

#include <CoreGeometry/DDB_CoreGeometry.h>
#include <gtest/gtest.h>
#include <iostream>
#include <sys/wait.h>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;

class ModelUnderFaults : public testing::TestWithParam<ModelChange> {
protected:
  ModelUnderFaults() {
    fs::create_directories(folder_);
    const ModelChange& change = GetParam();
    if (change.prepare) change.prepare(before_);
    old_ = ContentOf(before_);
    Restore();
    change.change(file_);
    new_ = ContentOf(file_);
  }
  ~ModelUnderFaults() override { fs::remove_all(folder_); }

  void Restore() const {
    for (const char* end : {"", "-journal"}) fs::remove(file_ + end);
    if (fs::exists(before_)) fs::copy_file(before_, file_);
  }
  bool Throws() const {
    try {
      GetParam().change(file_);
      return false;
    } catch (const nex_TextException& failure) {
      EXPECT_TRUE(failure.Message().starts_with(file_ + ": ")) << failure.Message();
      return true;
    }
  }
  /// Old or new, and sound; a file that was not made can be made again.
  void ExpectWhole(bool mustBeNew, const std::string& when) const {
    const std::string content = ContentOf(file_);
    if (mustBeNew) {
      EXPECT_EQ(content == new_, true) << when << ": " << content.substr(0, 300);
    }
    if (!GetParam().prepare && content != new_) {
      EXPECT_NO_THROW(GetParam().change(file_)) << when;
      EXPECT_EQ(ContentOf(file_), new_) << when;
    } else {
      EXPECT_TRUE(content == old_ || content == new_) << when << ": " << content.substr(0, 300);
    }
    EXPECT_EQ(FaultsOf(file_), std::vector<std::string>()) << when;
  }

  const DDB_CoreGeometry library_;
  const fs::path folder_ = fs::temp_directory_path() / ("faults_" + std::to_string(getpid()));
  const cow_String before_ = (folder_ / "before.cgdb").string(), file_ = (folder_ / "model.cgdb").string();
  std::string old_, new_;
};
} // namespace

TEST_P(ModelUnderFaults, SurvivesAFailingFullOrDyingDisk) {
  struct Kind {
    FaultyDisk::Fault fault;
    unsigned seeds; ///< different outcomes of one power cut
  };
  int points = 0;
  for (const auto& [fault, seeds] :
       {Kind{FaultyDisk::Fault::Fail, 1}, {FaultyDisk::Fault::Full, 1}, {FaultyDisk::Fault::Die, 4}}) {
    bool happened = true;
    for (int nth = 1; happened && !HasFailure(); ++nth)
      for (unsigned seed = 0; seed < seeds; ++seed, ++points) {
        Restore();
        bool threw = false;
        {
          FaultyDisk disk(fault, nth);
          threw = Throws();
          happened = disk.Happened();
          if (fault == FaultyDisk::Fault::Die) disk.LosePower(static_cast<unsigned>(nth) + 1000 * seed);
        }
        ExpectWhole(!threw, "fault " + std::to_string(static_cast<int>(fault)) + " at change "
                                + std::to_string(nth) + ", seed " + std::to_string(seed));
      }
  }
  std::cout << "  " << points << " faults\n";
}

TEST_P(ModelUnderFaults, SurvivesAKilledProcess) {
  int points = 0;
  for (int nth = 1, code = 9; code == 9 && !HasFailure(); ++nth, ++points) {
    Restore();
    const pid_t child = fork();
    if (child == 0) {
      const FaultyDisk disk(FaultyDisk::Fault::Kill, nth);
      GetParam().change(file_);
      _exit(0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    code = WEXITSTATUS(status);
    ExpectWhole(code == 0, "kill before change " + std::to_string(nth));
  }
  std::cout << "  " << points - 1 << " kills\n";
}

INSTANTIATE_TEST_SUITE_P(Every, ModelUnderFaults,
                         testing::ValuesIn(ModelChanges().begin(), ModelChanges().end()),
                         [](const auto& info) { return std::string(info.param.name); });
