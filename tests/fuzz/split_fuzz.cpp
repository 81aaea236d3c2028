// A split model with some stored numbers of its index and parts replaced by any others: wrong sizes, numbers out of range,
// holders out of order. What is not refused must be safe to work with: nothing but exceptions of ours may come.
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/dst_Averages.h>
#include <CoreGeometry/dst_Check.h>
#include <CoreGeometry/dst_CoincidentNodes.h>
#include <CoreGeometry/dst_Extract.h>
#include <CoreGeometry/dst_Join.h>
#include <CoreGeometry/dst_Labels.h>
#include <CoreGeometry/dst_Library.h>
#include <CoreGeometry/dst_Locate.h>
#include <CoreGeometry/dst_Measures.h>
#include <CoreGeometry/dst_SerialExchange.h>
#include <CoreGeometry/dst_WriteSplit.h>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sqlite3.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
constexpr unsigned kParts = 3;
constexpr std::uint64_t kMost = 1'000'000; // of a mesh that is said to be larger, the memory is not asked for

/// A row of hexahedra with a quadrilateral on it, in three parts that share nodes, with sets.
class Model {
public:
  Model() {
    std::vector<float> xyz;
    std::vector<int> rows;
    for (int x = 0; x < 7; ++x)
      for (const auto& [y, z] : {std::pair{0, 0}, {1, 0}, {1, 1}, {0, 1}})
        for (const int value : {x, y, z}) xyz.push_back(static_cast<float>(value));
    for (int i = 0; i < 8 * 6; ++i) rows.push_back(i / 8 * 4 + i % 8);
    const bme_Mesh mesh = bme_MeshBuilder(xyz).Add({"C3D8", rows}).Add({"S4", {0, 1, 5, 4}}).Build();
    rgnC_SetData nodes, faces;
    nodes.SetType(res_NODE_SET);
    faces.SetType(res_SURFACE_SET);
    const std::vector<int> disordered{9, 4, 0, 17}, elements{0, 3, 5}, sides{1, 2, 0};
    nodes.AppendSubset({1, -1, 0, 3, res_NODE_SET, false, rgnC_SubsetData::Ids(disordered), {}});
    faces.AppendSubset(
        {1, 0, 0, 3, res_SURFACE_FACET, false, rgnC_SubsetData::Ids(elements), rgnC_SubsetData::Ids(sides)});
    const std::vector<unsigned> parts{0, 1, 2, 0, 1, 2, 1};
    const std::vector<bme_NamedSet> sets{{"nodes", bme_KindOf(nodes), nodes},
                                         {"faces", bme_KindOf(faces), faces}};
    dst_WriteSplit(*dst_MeshSource("Wing", mesh, sets), parts, kParts, folder_.string());
    fs::copy(folder_, kept_, fs::copy_options::recursive);
  }
  ~Model() {
    fs::remove_all(folder_);
    fs::remove_all(kept_);
  }
  Model(const Model&) = delete;
  Model& operator=(const Model&) = delete;

  std::string Folder() const { return folder_.string(); }
  /// The index for 0, or a part.
  static fs::path FileIn(const fs::path& folder, unsigned file) {
    return file == 0 ? folder / "index.cgdb"
                     : folder / "parts" / ("0000" + std::to_string(file - 1) + ".cgdb");
  }
  fs::path File(unsigned file) const { return FileIn(folder_, file); }
  /// As it was written.
  void Restore(unsigned file) const {
    fs::copy_file(FileIn(kept_, file), File(file), fs::copy_options::overwrite_existing);
  }

private:
  fs::path folder_ = fs::temp_directory_path() / ("fuzz_" + std::to_string(getpid()) + ".split");
  fs::path kept_ = folder_.string() + ".kept";
};

class Bytes {
public:
  Bytes(const std::uint8_t* data, std::size_t size) : data_(data), left_(size) {}
  bool IsEmpty() const noexcept { return left_ == 0; }
  /// Mostly small; after a byte of 255 any number.
  unsigned Number() {
    const std::size_t size = left_ > sizeof(unsigned) && *data_ == 255 ? sizeof(unsigned) : 0;
    unsigned number = left_ == 0 ? 0U : *data_;
    if (size > 0) std::memcpy(&number, data_ + 1, size);
    const std::size_t taken = std::min(left_, size + 1);
    data_ += taken;
    left_ -= taken;
    return number;
  }

private:
  const std::uint8_t* data_;
  std::size_t left_;
};

/// An array of words behind its header: one of them is replaced, removed or doubled.
void ChangeArray(std::vector<unsigned>& words, Bytes& bytes) {
  constexpr std::size_t kHeader = 2;
  const unsigned how = bytes.Number() % 4;
  const std::size_t at = kHeader + bytes.Number() % std::max<std::size_t>(1, words.size() - kHeader);
  const auto place = words.begin() + static_cast<std::ptrdiff_t>(std::min(at, words.size()));
  if (how == 1 && place != words.end())
    words.erase(place);
  else if (how == 2 || place == words.end())
    words.insert(place, bytes.Number());
  else
    *place = bytes.Number();
}

/// Changes one stored field of a class of split models; a build of fuzz targets does not compare checksums.
void Change(const fs::path& file, Bytes& bytes) {
  sqlite3* opened = nullptr;
  if (sqlite3_open(file.c_str(), &opened) != SQLITE_OK) std::abort();
  const std::unique_ptr<sqlite3, int (*)(sqlite3*)> db(opened, sqlite3_close_v2);
  const auto prepare = [&](const std::string& text) {
    sqlite3_stmt* made = nullptr;
    if (sqlite3_prepare_v2(db.get(), text.c_str(), -1, &made, nullptr) != SQLITE_OK) std::abort();
    return std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)>(made, sqlite3_finalize);
  };
  sqlite3_exec(db.get(), "PRAGMA journal_mode = OFF; PRAGMA synchronous = OFF", nullptr, nullptr, nullptr);
  const bool isPart = file.filename() != "index.cgdb";
  const std::string table = isPart                    ? "\"dst_Part#1\""
                            : bytes.Number() % 2 == 0 ? "\"dst_Index#1\""
                                                      : "\"dst_ClassRange#1\"";
  const auto row = prepare("SELECT rowid, * FROM " + table);
  if (sqlite3_step(row.get()) != SQLITE_ROW) std::abort();
  constexpr int kFirstField = 3; // after the row and what the database keeps of each
  const int field =
      kFirstField
      + static_cast<int>(bytes.Number()
                         % static_cast<unsigned>(sqlite3_column_count(row.get()) - kFirstField));
  const auto update =
      prepare("UPDATE " + table + " SET \"" + sqlite3_column_name(row.get(), field)
              + "\" = ?1 WHERE rowid = " + std::to_string(sqlite3_column_int64(row.get(), 0)));
  if (sqlite3_column_type(row.get(), field) == SQLITE_BLOB) {
    const auto size = static_cast<std::size_t>(sqlite3_column_bytes(row.get(), field));
    std::vector<unsigned> words(size / sizeof(unsigned));
    std::memcpy(words.data(), sqlite3_column_blob(row.get(), field), sizeof(unsigned) * words.size());
    ChangeArray(words, bytes);
    sqlite3_bind_blob(update.get(), 1, words.data(), static_cast<int>(sizeof(unsigned) * words.size()),
                      SQLITE_TRANSIENT);
  } else if (sqlite3_column_type(row.get(), field) == SQLITE_TEXT) {
    const std::string text(bytes.Number() % 20, 'x');
    sqlite3_bind_text(update.get(), 1, text.c_str(), -1, SQLITE_TRANSIENT);
  } else {
    sqlite3_bind_int64(update.get(), 1, bytes.Number());
  }
  sqlite3_step(update.get());
}

/// What is done with the mesh of the split model.
void WorkOn(const dst_Mesh& mesh, unsigned which) {
  const int labels[] = {-1, 0, 1, 5, 28, 1000};
  const double points[] = {0.5, 0.5, 0.5, 3, 1, 1, 9, 9, 9};
  const auto ones = [](const dst_OpenPart&, const bme_FEMElemList& some) {
    return std::vector<double>(8 * some.Count(), 1.0);
  };
  switch (which) {
  case 0: dst_FindNodes(mesh, labels); break;
  case 1: dst_FindElements(mesh, labels); break;
  case 2: dst_ComputeFaces(mesh, {.shellsCoverSolids = true, .wantInterior = true}); break;
  case 3: dst_FindDuplicates(mesh); break;
  case 4: dst_CalculateMeasures(mesh); break;
  case 5: dst_FindCoincidentNodes(mesh, 0.1); break;
  case 6: dst_LocateAll(mesh, points); break;
  case 7: dst_FindNearest(mesh, points); break;
  case 8: dst_ExtractElements(mesh, dst_Elements::OfSet("sets/Wing/faces")); break;
  default: dst_AverageAtNodes(mesh, dst_Elements::OfClass(0), 1, ones); break;
  }
}

void Use(const std::string& folder, unsigned how) {
  constexpr unsigned kWays = 13;
  how %= kWays;
  const dst_SplitFolder split(folder);
  if (split.Index().NumNodes() > kMost || split.Index().NumElements() > kMost) return;
  if (how == 0) dst_Check(folder, std::size_t{1} << 20);
  if (how == 1) dst_JoinMesh(split);
  if (how == 2) dst_JoinSets(split);
  if (how < 3) return;
  dst_SerialExchange exchange(fs::temp_directory_path().string());
  WorkOn(dst_Model(folder, exchange).Mesh(), how - 3);
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const DDB_CoreGeometry library;
  static const dst_Library distributed;
  static const Model model;
  Bytes bytes(data, std::min<std::size_t>(size, 60));
  const unsigned how = bytes.Number();
  bool isChanged[kParts + 1] = {};
  while (!bytes.IsEmpty()) {
    const unsigned file = bytes.Number() % (kParts + 1);
    isChanged[file] = true;
    Change(model.File(file), bytes);
  }
  try {
    Use(model.Folder(), how);
  } catch (const nex_Exception&) { // NOLINT(bugprone-empty-catch): a clear refusal
  }
  for (unsigned file = 0; file <= kParts; ++file)
    if (isChanged[file]) model.Restore(file);
  return 0;
}
