#include "shp/AllocationCounter.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/odiC_OverFrames.h>
#include <CoreGeometry/odiC_Reduce.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;

/// A bar of 8 x 8 x n cubes with stresses at integration points in some frames.
class Bar {
public:
  Bar(int length, int numFrames) {
    file_ = fs::temp_directory_path() / ("bar" + std::to_string(::getpid()) + ".cgdb");
    fs::remove(file_);
    std::vector<float> xyz;
    for (int x = 0; x <= length; ++x)
      for (int k = 0; k < 81; ++k)
        xyz.insert(xyz.end(), {static_cast<float>(x), static_cast<float>(k % 9), static_cast<float>(k / 9)});
    std::vector<int> cubes;
    for (int x = 0; x < length; ++x)
      for (int k = 0; k < 64; ++k)
        for (const int corner : {0, 81, 82, 1, 9, 90, 91, 10})
          cubes.push_back(81 * x + k % 8 + k / 8 * 9 + corner);
    const bme_Mesh mesh = bme_MeshBuilder(xyz).Add({"C3D8", cubes}).Build();
    cls_Database model = cls_Database::Create(file_.string());
    cls_WritePass pass(model);
    pass.Put("meshes/bar", mesh);
    pass.Commit();
    odiC_RunWriter run(model, "results/bar/a", mesh);
    const int s = run.AddVariable(odiC_Variable("S", res_TENSOR_3D_FULL));
    const odiC_Layout layout = odiC_FullLayout(mesh, res_INTEGRATION_POINT);
    const int places = run.AddLayout(layout);
    run.BeginStep("Pull");
    for (int frame = 0; frame < numFrames; ++frame) {
      run.BeginFrame({.value = 1.0 * frame});
      std::vector<float> values(static_cast<std::size_t>(layout.numRows) * 6);
      for (std::size_t k = 0; k < values.size(); ++k)
        values[k] = static_cast<float>((k * 7919 + 31U * static_cast<unsigned>(frame)) % 1000);
      run.PutField(s, places, cow_ArrayCOW<float>(values));
      run.Commit();
    }
  }
  ~Bar() { fs::remove(file_); }
  Bar(const Bar&) = delete;
  Bar& operator=(const Bar&) = delete;

  /// Bytes that work takes above the mesh, the header and the layout.
  long PeakOf(const std::function<void(const odiC_Values&)>& work) const {
    const cls_Database model = cls_Database::Open(file_.string());
    const odiC_Run run = odiC_Run::Open(model, "results/bar/a");
    const odiC_Values values = odiC_Values(run, "S").Invariant(res_MISES);
    static_cast<void>(run.Mesh().NodeData().Coordinates().Const()[0]);
    static_cast<void>(run.Mesh().ElementData().GetClass(0).ElementConnectivity().Const()[0]);
    static_cast<void>(run.Field(0, 0, 0));
    ResetPeakBytes();
    work(values);
    return PeakBytes();
  }

private:
  fs::path file_;
};

TEST(odiC_Memory, DoesNotGrowWithTheModelOrTheFrames) {
  const DDB_CoreGeometry library;
  constexpr int kLengths[] = {80, 320}; // frames of 1 and 4 MB
  constexpr long kBlocks = 5 << 19;
  struct Case {
    const char* what;
    long perNode, perRow; ///< bytes that it may take beside its blocks
    std::function<void(const odiC_Values&)> work;
  };
  const auto over = [](odiC_OverFrames kind) {
    return [kind](const odiC_Values& values) { static_cast<void>(odiC_Over(values, kind)); };
  };
  const Case cases[] = {
      {"extremes", 0, 0, [](const odiC_Values& values) { static_cast<void>(odiC_AbsMax(values)); }},
      {"sums", 0, 0, [](const odiC_Values& values) { static_cast<void>(odiC_Reduce(values)); }},
      {"histogram", 0, 0, [](const odiC_Values& values) { static_cast<void>(odiC_HistogramOf(values, 9)); }},
      // groups take 12 bytes a node, and 24 more while they are made
      {"means at nodes", 8 + 12 + 24, 0,
       [](const odiC_Values& values) { static_cast<void>(odiC_Reduce(values.AtNodes())); }},
      {"means of components", 6 * 8 + 12 + 24, 0,
       [](const odiC_Values& values) {
         static_cast<void>(odiC_Reduce(values.AtNodes({.order = odiC_Order::After})));
       }},
      {"envelope", 0, 32, over(odiC_OverFrames::Max)},
      {"mean over frames", 0, 32, over(odiC_OverFrames::Mean)}};
  for (const int length : kLengths) {
    const Bar bar(length, 6);
    for (const Case& one : cases) {
      const long peak = bar.PeakOf(one.work);
      EXPECT_LE(peak, kBlocks + one.perNode * 81 * (length + 1) + one.perRow * 512 * length)
          << one.what << " of " << length;
    }
  }
}
} // namespace
