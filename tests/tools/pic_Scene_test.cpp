// Drawing asks the channel of its thread whether to stop; what is stopped leaves no file.
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/exo_Import.h>
#include <CoreGeometry/pic_Scene.h>
#include <filesystem>
#include <gtest/gtest.h>

namespace {
/// Says stop at one of the questions, and never else.
class Stopper : public wip_WIPBase {
public:
  explicit Stopper(long at) : stopAt(at) { thr_ThreadSingleton<wip_WIP>::Instance().SetSink(this); }
  ~Stopper() override { thr_ThreadSingleton<wip_WIP>::Instance().SetSink(nullptr); }
  bool IsCancelled() override { return ++asked == stopAt; }

  long asked = 0, stopAt;
};
} // namespace

TEST(Drawing, IsStoppedAtAnyQuestionAndLeavesNoFile) {
  const DDB_CoreGeometry library;
  const fmt_Import import = exo_ReadMesh(SAMPLE);
  const std::filesystem::path folder = testing::TempDir() + "Drawing";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
  const auto draw = [&] {
    const bme_Outside outside = bme_FindOutside(*import.mesh, {}, {}, "sample");
    uti_OutputFile output((folder / "a.png").string());
    pic_Draw(outside, import.mesh->NodeData().Coordinates().Const(), pic_View()).WritePng(output);
  };
  long questions = 0;
  {
    Stopper never(-1);
    draw();
    questions = never.asked;
  }
  EXPECT_GT(questions, 40) << "1200 x 900 pixels of nine samples are more than 50 ms of work";
  std::filesystem::remove(folder / "a.png");
  for (long at = 1; at <= questions; at += 1 + questions / 20) {
    Stopper stopper(at);
    EXPECT_THROW(draw(), wip_Cancelled) << at;
    EXPECT_EQ(stopper.asked, at) << "no question after the answer";
    EXPECT_TRUE(std::filesystem::is_empty(folder)) << at;
  }
}
