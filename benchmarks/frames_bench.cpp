// Frames of results in a file: 20 frames of a stress at one million nodes (24 MB each) are appended, read, searched for the
// largest Mises stress, and followed at one node, against raw writes with fsync and raw reads of the same bytes; two
// frames are combined. Set BENCH_FOLDER to a folder on the disk to measure.
#include "SideBySide.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/odiC_OverFrames.h>
#include <CoreGeometry/odiC_Reduce.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

namespace {
const DDB_CoreGeometry theLibrary;
constexpr int kNodes = 1'000'000, kFrames = 20;
constexpr std::size_t kNumbers = 6 * std::size_t{kNodes}, kBytes = kNumbers * sizeof(float);

std::string InFolder(const char* name) {
  const char* folder = std::getenv("BENCH_FOLDER");
  return (std::filesystem::path(folder ? folder : ".") / name).string();
}

/// A file that goes when the program ends.
struct OwnFile {
  explicit OwnFile(const char* name) : path(InFolder(name)) { std::filesystem::remove(path); }
  ~OwnFile() {
    std::error_code ignored;
    std::filesystem::remove(path, ignored);
  }
  OwnFile(const OwnFile&) = delete;
  OwnFile& operator=(const OwnFile&) = delete;
  const std::string path;
};

const bme_Mesh& Mesh() {
  static const bme_Mesh mesh = [] {
    std::vector<float> xyz(3 * std::size_t{kNodes});
    for (std::size_t i = 0; i < xyz.size(); ++i) xyz[i] = static_cast<float>(i % 1000);
    return bme_MeshBuilder(xyz).Build();
  }();
  return mesh;
}

cow_ArrayCOW<float> Numbers(int frame) {
  cow_ArrayCOW<float> all;
  all.ResizeUninitialised(kNumbers);
  unsigned random = static_cast<unsigned>(frame) + 1;
  for (float& one : all.Modify()) {
    random = random * 1664525U + 1013904223U;
    one = static_cast<float>(random >> 8U) * 1e-3F;
  }
  return all;
}

const std::string& ModelFile() {
  static const OwnFile file("bench_frames.cgdb");
  static const bool isWritten = [] {
    cls_Database model = cls_Database::Create(file.path, {.pageSize = 65536});
    cls_WritePass pass(model);
    pass.Put("meshes/m", Mesh());
    pass.Commit();
    odiC_RunWriter run(model, "results/m/a", Mesh());
    const int s = run.AddVariable(odiC_Variable("S", res_TENSOR_3D_FULL, "MPa"));
    const int atNodes = run.AddLayout(odiC_FullLayout(Mesh(), res_NODAL));
    run.BeginStep("Step", odiC_STATIC);
    for (int frame = 0; frame < kFrames; ++frame) {
      run.BeginFrame({.value = static_cast<double>(frame)});
      run.PutField(s, atNodes, Numbers(frame));
      run.Commit();
    }
    return true;
  }();
  static_cast<void>(isWritten);
  return file.path;
}
std::string RawFile() {
  static const OwnFile file("bench_frames.bin");
  static const bool isWritten = [] {
    const int fd = open(file.path.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
    for (int frame = 0; frame < kFrames; ++frame) {
      const cow_ArrayCOW<float> numbers = Numbers(frame);
      if (write(fd, numbers.Const().data(), kBytes) != static_cast<ssize_t>(kBytes)) std::abort();
    }
    close(fd);
    return true;
  }();
  static_cast<void>(isWritten);
  return file.path;
}
const odiC_Run& Run() {
  static const cls_Database model = cls_Database::Open(ModelFile());
  static const odiC_Run run = odiC_Run::Open(model, "results/m/a");
  return run;
}

int RawRead(int firstFrame, int count, std::vector<float>& numbers) {
  const int fd = open(RawFile().c_str(), O_RDONLY);
  for (int frame = firstFrame; frame < firstFrame + count; ++frame)
    if (pread(fd, numbers.data(), kBytes, static_cast<off_t>(kBytes) * frame) != static_cast<ssize_t>(kBytes))
      std::abort();
  return close(fd);
}

void ReadingAFrame(benchmark::State& state) {
  std::vector<float> numbers(kNumbers), raw(kNumbers);
  SideBySide(
      state, kNodes,
      [&] {
        Run().Field(0, 7, 0).Read(0, numbers);
        return numbers[5];
      },
      [&] { return RawRead(7, 1, raw); });
  state.counters["of_raw"] = 1 / state.counters["ratio"];
}

void LargestMisesOfAllFrames(benchmark::State& state) {
  std::vector<float> raw(kNumbers);
  const odiC_Values mises = odiC_Values(Run(), "S").Invariant(res_MISES);
  SideBySide(
      state, kFrames * kNodes, [&] { return odiC_Max(mises)->value; },
      [&] {
        for (int frame = 0; frame < kFrames; ++frame) Run().Field(0, frame, 0).Read(0, raw);
        return raw[5];
      });
  state.counters["of_reading"] = 1 / state.counters["ratio"];
}

void OneNodeOverAllFrames(benchmark::State& state) {
  const odiC_Values xx = odiC_Values(Run(), "S", odiC_Selection().Nodes({654321})).Component("xx");
  SideBySide(
      state, kFrames,
      [&] {
        double sum = 0;
        for (const odiC_Reduced& frame : odiC_Reduce(xx)) sum += frame.sum;
        return sum;
      },
      [] { return 0; });
  state.counters["ms_a_frame"] = state.counters["ns"] / 1e6;
}

void AppendingAFrame(benchmark::State& state) {
  const std::string name = InFolder("bench_append.cgdb"), rawName = InFolder("bench_append.bin");
  std::filesystem::remove(name);
  cls_Database model = cls_Database::Create(name, {.pageSize = 65536});
  cls_WritePass pass(model);
  pass.Put("meshes/m", Mesh());
  pass.Commit();
  odiC_RunWriter run(model, "results/m/a", Mesh());
  const int s = run.AddVariable(odiC_Variable("S", res_TENSOR_3D_FULL, "MPa"));
  const int atNodes = run.AddLayout(odiC_FullLayout(Mesh(), res_NODAL));
  run.BeginStep("Step", odiC_STATIC);
  const int fd = open(rawName.c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600);
  constexpr int kAppended = 8;
  std::vector<cow_ArrayCOW<float>>
      numbers; // each differs: an array that was stored before is not stored again
  for (int i = 0; i < kAppended; ++i) numbers.push_back(Numbers(i));
  std::size_t frame = 0;
  SideBySide(
      state, kNodes,
      [&] {
        run.BeginFrame({.value = static_cast<double>(frame)});
        run.PutField(s, atNodes, numbers[frame++]);
        run.Commit();
        return frame;
      },
      [&] {
        if (write(fd, numbers[frame].Const().data(), kBytes) != static_cast<ssize_t>(kBytes)) std::abort();
        return fsync(fd);
      });
  close(fd);
  std::filesystem::remove(name);
  std::filesystem::remove(rawName);
}

void CombiningTwoFrames(benchmark::State& state) {
  std::vector<float> a(kNumbers), b(kNumbers);
  const odiC_Values s(Run(), "S");
  const odiC_LoadCase cases[] = {{1.35, s, {0, 1}}, {-1.5, s, {0, 2}}};
  SideBySide(
      state, kNodes,
      [&] {
        double last = 0;
        const odiC_SourcePointer sum = odiC_Combination(cases);
        odiC_ForEachRange(*sum, [&](const odiC_Range& range) { last = range.values.back(); });
        return last;
      },
      [&] {
        Run().Field(0, 1, 0).Read(0, a);
        Run().Field(0, 2, 0).Read(0, b);
        return a[3] + b[3];
      });
  state.counters["of_reading"] = 1 / state.counters["ratio"];
}

BENCHMARK(ReadingAFrame)->UseManualTime()->Iterations(15)->Unit(benchmark::kMillisecond);
BENCHMARK(LargestMisesOfAllFrames)->UseManualTime()->Iterations(3)->Unit(benchmark::kMillisecond);
BENCHMARK(OneNodeOverAllFrames)->UseManualTime()->Iterations(15)->Unit(benchmark::kMillisecond);
BENCHMARK(AppendingAFrame)->UseManualTime()->Iterations(8)->Unit(benchmark::kMillisecond);
BENCHMARK(CombiningTwoFrames)->UseManualTime()->Iterations(8)->Unit(benchmark::kMillisecond);
} // namespace
