// Storing and reopening a mesh of 10 million nodes and 1 million hexahedra against a raw write + fsync and a
// raw read of the same bytes; one small durable commit against bare SQLite with the same rows and settings;
// copying a mesh.
#include "SideBySide.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <cls_Fields.h>
#include <fcntl.h>
#include <filesystem>
#include <numeric>
#include <random>
#include <sqlite3.h>
#include <unistd.h>

namespace {
const DDB_CoreGeometry theLibrary;
constexpr int kNodes = 10'000'000, kElements = 1'000'000;

std::string InFolder(const char* name) {
  const char* folder = std::getenv("BENCH_FOLDER"); // a folder on the disk to measure
  return (std::filesystem::path(folder ? folder : ".") / name).string();
}

const bme_Mesh& BigMesh() {
  static const bme_Mesh mesh = [] {
    cow_ArrayCOW<float> xyz;
    xyz.ResizeUninitialised(std::size_t{3} * kNodes);
    std::mt19937 random(1);
    for (float& x : xyz.Modify()) x = static_cast<float>(random());
    std::vector<int> labels(kNodes);
    std::iota(labels.begin(), labels.end(), 1);
    cow_ArrayCOW<int> rows;
    rows.ResizeUninitialised(std::size_t{8} * kElements);
    for (int& node : rows.Modify()) node = static_cast<int>(random() % kNodes);
    return bme_MeshBuilder(std::move(xyz), labels)
        .Add({.type = "C3D8", .connectivity = std::move(rows)})
        .Build(1, bme_ORPHAN_MESH);
  }();
  return mesh;
}

std::vector<std::span<const std::byte>> Arrays(const bme_Mesh& mesh) {
  return {std::as_bytes(mesh.NodeData().Coordinates().Const()),
          std::as_bytes(mesh.NodeData().UserNodeLabels().Const()),
          std::as_bytes(mesh.ElementData().GetClass(0).ElementConnectivity().Const())};
}

double TotalBytes() {
  double bytes = 0;
  for (const auto array : Arrays(BigMesh())) bytes += static_cast<double>(array.size());
  return bytes;
}

int RawWrite() {
  const std::string file = InFolder("bench_raw.bin");
  std::filesystem::remove(file);
  const int fd = open(file.c_str(), O_CREAT | O_WRONLY, 0600);
  for (auto array : Arrays(BigMesh()))
    while (!array.empty())
      array = array.subspan(static_cast<std::size_t>(write(fd, array.data(), array.size())));
  fsync(fd);
  return close(fd);
}

int RawRead() {
  const int fd = open(InFolder("bench_raw.bin").c_str(), O_RDONLY);
  for (const auto array : Arrays(BigMesh())) {
    const auto target = std::make_unique_for_overwrite<char[]>(array.size());
    std::span<char> rest(target.get(), array.size());
    while (!rest.empty()) rest = rest.subspan(static_cast<std::size_t>(read(fd, rest.data(), rest.size())));
    benchmark::DoNotOptimize(rest.data());
  }
  return close(fd);
}

int StoreMesh(int pageSize) {
  const std::string file = InFolder("bench_mesh.cgdb");
  std::filesystem::remove(file);
  cls_Database db = cls_Database::Create(file, {pageSize});
  cls_WritePass pass(db);
  // a copy that remembers no earlier file
  bme_Mesh mesh(BigMesh(), 1);
  pass.Put("mesh", mesh);
  pass.Commit();
  return 0;
}

void Store(benchmark::State& state) {
  SideBySide(
      state, TotalBytes(), [&] { return StoreMesh(static_cast<int>(state.range(0))); }, RawWrite);
}

void ReopenWarm(benchmark::State& state) {
  RawWrite();
  StoreMesh(static_cast<int>(state.range(0)));
  SideBySide(
      state, TotalBytes(),
      [&] {
        cls_Database db = cls_Database::Open(InFolder("bench_mesh.cgdb"));
        db.UseMemoryMap(state.range(1) != 0);
        return db.Get<bme_Mesh>("mesh")->Id();
      },
      RawRead);
}

void CopyMesh(benchmark::State& state) {
  for (auto _ : state) {
    bme_Mesh copy(BigMesh());
    benchmark::DoNotOptimize(copy);
  }
}

/// A small object of nine fields.
struct Small {
  static unsigned TypeId() { return 9009; }
  static void* Ctor(cls_ReadVisitor& visitor) { return new Small(visitor); }
  Small() = default;
  static constexpr auto StoredFields() {
    return cls_Fields{cls_Field{"a", &Small::a}, cls_Field{"b", &Small::b}, cls_Field{"c", &Small::c},
                      cls_Field{"d", &Small::d}, cls_Field{"e", &Small::e}, cls_Field{"f", &Small::f},
                      cls_Field{"g", &Small::g}, cls_Field{"h", &Small::h}, cls_Field{"i", &Small::i}};
  }
  explicit Small(const cls_ReadVisitor& visitor) : uid(visitor.GetUid()) {
    cls_ReadFields(visitor, *this, StoredFields());
  }
  void DBWrite(const cls_WriteVisitor& visitor) const {
    cls_WriteFields(visitor, TypeId(), uid, *this, StoredFields());
  }
  int a = 1, b = 2, c = 3;
  double d = 4, e = 5, f = 6;
  cow_String g = "seven", h = "eight", i = "nine";
  cls_Uid uid = cls_Uid::AllocateUid();
};

/// The same rows and settings in bare SQLite.
class Bare {
public:
  explicit Bare(const std::string& file) {
    std::filesystem::remove(file);
    sqlite3_open(file.c_str(), &db_);
    Do("PRAGMA page_size=16384; PRAGMA journal_mode=DELETE; PRAGMA synchronous=EXTRA; PRAGMA foreign_keys=ON;"
       "CREATE TABLE object(id INTEGER PRIMARY KEY, uid BLOB, class INTEGER, owner INTEGER);"
       "CREATE TABLE small(id INTEGER PRIMARY KEY REFERENCES object, a, b, c, d, e, f, g, h, i);"
       "CREATE TABLE root(name TEXT PRIMARY KEY, object INTEGER NOT NULL) WITHOUT ROWID");
    sqlite3_prepare_v2(db_, "INSERT INTO object VALUES(?1, zeroblob(16), 1, NULL)", -1, &object_, nullptr);
    sqlite3_prepare_v2(db_, "INSERT INTO small VALUES(?1, 1, 2, 3, 4.0, 5.0, 6.0, 'seven', 'eight', 'nine')",
                       -1, &small_, nullptr);
    sqlite3_prepare_v2(db_, "INSERT OR REPLACE INTO root VALUES(?2, ?1)", -1, &root_, nullptr);
    sqlite3_prepare_v2(db_, "DELETE FROM small WHERE id = ?1", -1, &dropSmall_, nullptr);
    sqlite3_prepare_v2(db_, "DELETE FROM object WHERE id = ?1", -1, &dropObject_, nullptr);
  }
  ~Bare() {
    for (sqlite3_stmt* statement : {object_, small_, root_, dropSmall_, dropObject_})
      sqlite3_finalize(statement);
    sqlite3_close(db_);
  }
  void Do(const char* sql) { sqlite3_exec(db_, sql, nullptr, nullptr, nullptr); }
  void Put(int id, const std::string& name) {
    sqlite3_bind_text(root_, 2, name.c_str(), -1, SQLITE_TRANSIENT);
    for (sqlite3_stmt* statement : {object_, small_, root_}) Run(statement, id);
  }
  void Drop(int id) {
    for (sqlite3_stmt* statement : {dropSmall_, dropObject_}) Run(statement, id);
  }

private:
  static void Run(sqlite3_stmt* statement, int id) {
    sqlite3_bind_int(statement, 1, id);
    sqlite3_step(statement);
    sqlite3_reset(statement);
  }
  sqlite3* db_ = nullptr;
  sqlite3_stmt *object_ = nullptr, *small_ = nullptr, *root_ = nullptr, *dropSmall_ = nullptr,
               *dropObject_ = nullptr;
};

void DescribeSmall() {
  omi_Singleton<cls_MetadataRegistrar>::Instance().initClassMetadata(
      [](cls_ClassRegistrar& registrar) {
        cls_DescribeClass<Small>(registrar, "Small", 1, Small::StoredFields());
      },
      7);
}

/// Opening a model and listing its roots, which are counted and checked, against reading their names in bare
/// SQLite.
void ListRoots(benchmark::State& state) {
  DescribeSmall();
  const std::string file = InFolder("bench_roots.cgdb");
  std::filesystem::remove(file);
  {
    cls_Database db = cls_Database::Create(file);
    cls_WritePass pass(db);
    const cow_CountedHld<Small> small(new Small);
    for (int i = 0; i < state.range(0); ++i) pass.Put("sets/Wing/small" + std::to_string(i), small);
    pass.Commit();
  }
  SideBySide(
      state, static_cast<double>(state.range(0)), [&] { return cls_Database::Open(file).Roots().Size(); },
      [&] {
        cow_List<cow_String> names;
        sqlite3* db = nullptr;
        sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
        sqlite3_exec(
            db, "SELECT name FROM root ORDER BY name",
            [](void* target, int, char** values, char**) {
              static_cast<cow_List<cow_String>*>(target)->Append(cow_String(values[0]));
              return 0;
            },
            &names, nullptr);
        sqlite3_close(db);
        return names.Size();
      });
}

void SmallCommit(benchmark::State& state) {
  DescribeSmall();
  const int objects = static_cast<int>(state.range(0));
  const bool replace = state.range(1) != 0;
  const Small small;
  const std::string file = InFolder("bench_small.cgdb");
  std::filesystem::remove(file);
  cls_Database db = cls_Database::Create(file);
  Bare bare(InFolder("bench_bare.db"));
  {
    cls_WritePass pass(db);
    bare.Do("BEGIN");
    for (int i = 1; i <= objects; ++i) {
      pass.Put("small" + std::to_string(i), small);
      bare.Put(i, "small" + std::to_string(i));
    }
    bare.Do("COMMIT");
    pass.Commit();
  }
  int next = objects, bareNext = objects, bareLast = 50;
  SideBySide(
      state, 1,
      [&] {
        cls_WritePass pass(db);
        pass.Put("small" + std::to_string(replace ? 50 : ++next), small);
        pass.Commit();
        return next;
      },
      [&] {
        bare.Do("BEGIN IMMEDIATE");
        ++bareNext;
        bare.Put(bareNext, "small" + std::to_string(replace ? 50 : bareNext));
        if (replace) bare.Drop(std::exchange(bareLast, bareNext));
        bare.Do("COMMIT");
        return bareNext;
      });
}
} // namespace

BENCHMARK(Store)->ArgName("page")->Arg(16384)->Arg(65536)->UseManualTime()->Iterations(5)->Unit(
    benchmark::kMillisecond);
BENCHMARK(ReopenWarm)
    ->ArgNames({"page", "map"})
    ->Args({16384, 0})
    ->Args({65536, 0})
    ->Args({65536, 1})
    ->UseManualTime()
    ->Iterations(7)
    ->Unit(benchmark::kMillisecond);
BENCHMARK(SmallCommit)
    ->ArgNames({"objects", "replace"})
    ->ArgsProduct({{100, 100000}, {0, 1}})
    ->UseManualTime()
    ->Iterations(100)
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(ListRoots)->Arg(100000)->UseManualTime()->Iterations(7)->Unit(benchmark::kMillisecond);
BENCHMARK(CopyMesh);
