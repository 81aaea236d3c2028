// Reading mesh files of a million elements against reading their bytes into memory that is new, too, since a reader
// has to make some. "peak" is the most memory while a file is read, less what there was before, in sizes of the mesh.
#include "BlockMesh.h"
#include "SideBySide.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/fmt_Format.h>
#include <bit>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {
const DDB_CoreGeometry theLibrary;

std::string InFolder(const std::string& name) {
  const char* folder = std::getenv("BENCH_FOLDER"); // a folder on the disk to measure
  return (std::filesystem::path(folder ? folder : ".") / name).string();
}

double BytesOf(const bme_Mesh& mesh) {
  const bme_ElementData& elements = mesh.ElementData();
  std::size_t bytes = mesh.NodeData().Coordinates().Const().size_bytes()
                      + mesh.NodeData().UserNodeLabels().Const().size_bytes();
  for (unsigned i = 0; i < elements.NumClasses(); ++i)
    bytes += elements.GetClass(i).ElementConnectivity().Const().size_bytes()
             + elements.GetClass(i).UserElementLabels().size_bytes();
  return static_cast<double>(bytes);
}

/// A square of 2 n x n triangles in waves.
bme_Mesh Triangles(int n) {
  std::vector<float> xyz;
  std::vector<int> rows;
  for (int k = 0; k < (n + 1) * (n + 1); ++k) {
    const auto x = static_cast<float>(k % (n + 1)), y = static_cast<float>(k / (n + 1));
    xyz.insert(xyz.end(), {x, y, std::sin(x) + std::cos(y)});
  }
  for (int k = 0; k < n * n; ++k) {
    const int a = k % n + (n + 1) * (k / n), b = a + 1, c = a + n + 2, d = a + n + 1;
    rows.insert(rows.end(), {a, b, c, a, c, d});
  }
  return bme_MeshBuilder(xyz).Add({.type = "S3", .connectivity = rows}).Build(1);
}

/// Our nodes of a hexahedron are VTK's.
void WriteLegacy(const std::string& file, const bme_Mesh& mesh) {
  std::ofstream out(file, std::ios::binary);
  const auto put = [&](const auto& numbers) {
    for (const auto number : numbers) {
      auto bits = std::bit_cast<std::array<char, sizeof number>>(number);
      std::ranges::reverse(bits);
      out.write(bits.data(), bits.size());
    }
    out << '\n';
  };
  const bme_ElementClass& type = mesh.ElementData().GetClass(0);
  const auto count = static_cast<std::size_t>(type.NumElements());
  out << "# vtk DataFile Version 3.0\nblock\nBINARY\nDATASET UNSTRUCTURED_GRID\nPOINTS "
      << mesh.NodeData().NumNodes() << " float\n";
  put(mesh.NodeData().Coordinates().Const());
  out << "CELLS " << count << ' ' << 9 * count << '\n';
  std::vector<int> rows;
  for (std::size_t e = 0; e < count; ++e) {
    rows.push_back(8);
    const std::span<const int> row = type.Connectivity(static_cast<int>(e));
    rows.insert(rows.end(), row.begin(), row.end());
  }
  put(rows);
  out << "CELL_TYPES " << count << '\n';
  put(std::vector<int>(count, 12));
}

struct Way {
  const char *name, *format, *file;
  fmt_Encoding encoding = fmt_Encoding::Default;
};
constexpr Way kWays[] = {{"vtu raw", "vtu", "f_raw.vtu", fmt_Encoding::Default},
                         {"vtu ascii", "vtu", "f_ascii.vtu", fmt_Encoding::Ascii},
                         {"vtk binary", nullptr, "f.vtk"},
                         {"gmsh 4.1 binary", "gmsh", "f_binary.msh", fmt_Encoding::Binary},
                         {"gmsh 4.1 ascii", "gmsh", "f_ascii.msh", fmt_Encoding::Ascii},
                         {"stl binary", "stl", "f.stl", fmt_Encoding::Binary},
                         {"exodus", "exodus", "f.exo"}};

void Write(const Way& way, const std::string& file) {
  static const bme_Mesh solid =
      Block(*thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape("C3D8"), 100);
  static const bme_Mesh surface = Triangles(707);
  if (!way.format) return WriteLegacy(file, solid);
  uti_OutputFile output(file, {.force = true});
  fmt_WriteMesh(output, fmt_Find(way.format), way.format == std::string("stl") ? surface : solid, {},
                {.encoding = way.encoding});
}

char RawRead(const std::string& file) {
  const int fd = open(file.c_str(), O_RDONLY);
  const std::size_t size = std::filesystem::file_size(file);
  const std::unique_ptr<char[]> target(new char[size]); // not touched before
  for (std::size_t at = 0; at < size;) at += static_cast<std::size_t>(read(fd, target.get() + at, size - at));
  close(fd);
  return target[size / 2];
}

/// "VmHWM" or "VmRSS", in bytes.
double Memory(const std::string& what) {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;)
    if (double kilobytes = 0; word == what + ":" && status >> kilobytes) return 1024 * kilobytes;
  return 0;
}

void Read(benchmark::State& state, const Way& way) {
  const std::string file = InFolder(way.file);
  Write(way, file);
  double peak = 0;
  const auto work = [&] {
    std::ofstream("/proc/self/clear_refs") << 5; // the peak from now on
    const double before = Memory("VmRSS");
    const fmt_Import import = fmt_ReadMesh(file);
    peak = std::max(peak,
                    (Memory("VmHWM") - before) / BytesOf(*import.mesh)); // later turns find room in the heap
    return import.mesh->NodeData().NumNodes();
  };
  const double bytes = static_cast<double>(std::filesystem::file_size(file));
  SideBySide(state, bytes, work, [&] { return RawRead(file); });
  state.counters["MB"] = bytes / 1e6;
  state.counters["peak"] = peak;
  std::filesystem::remove(file);
}

const int kRegistered = [] {
  for (const Way& way : kWays)
    benchmark::RegisterBenchmark(way.name, [&way](benchmark::State& state) { Read(state, way); })
        ->UseManualTime()
        ->Iterations(7)
        ->Unit(benchmark::kMillisecond);
  return 0;
}();
} // namespace
