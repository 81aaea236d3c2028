// One flipped bit: the same content, or an error. FLIPS=10000 tries that many bits.
#include "Models.h"

#include <BasicUtils/cls_OpenBytes.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <array>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <random>
#include <sqlite3.h>
#include <stored/TwoMeshes.h>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;

class Flips : public testing::Test {
protected:
  Flips() {
    fs::create_directories(folder_);
    cls_Database database = cls_Database::Create(file_, {1024});
    WriteTwoMeshes(database);
  }
  ~Flips() override { fs::remove_all(folder_); }

  std::string Bytes() const {
    std::ifstream in(file_, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
  }
  void Write(const std::string& bytes) const {
    std::ofstream(file_, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  }
  /// Calls `use` with the file damaged at one bit after the other, at fewer of them where trying is slow.
  template<class Use> void ForEachFlip(int part, const Use& use) const {
    const char* wanted = std::getenv("FLIPS");
    const int flips = wanted ? std::atoi(wanted) : 1500 / part;
    const std::string good = Bytes();
    std::mt19937 random(12);
    for (int i = 0; i < flips; ++i) {
      std::string bad = good;
      const std::size_t at = random() % bad.size(), bit = random() % 8;
      bad[at] = static_cast<char>(bad[at] ^ (1 << bit));
      Write(bad);
      use("bit " + std::to_string(bit) + " of byte " + std::to_string(at));
    }
  }

  /// Rows of `object`, `array` and `chunk` and of meshes, counted by a scan; -1 where it fails.
  std::array<int, 4> NumRows() const {
    std::array<int, 4> counts{-1, -1, -1, -1};
    sqlite3* db = nullptr;
    sqlite3_open_v2(file_.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
    int* count = counts.data();
    for (const char* const table : {"object", "array", "chunk", "\"bme_Mesh#508\""})
      sqlite3_exec(
          db, (std::string("SELECT count(*) FROM ") + table).c_str(),
          [](void* target, int, char** values, char**) {
            *static_cast<int*>(target) = std::atoi(values[0]);
            return 0;
          },
          count++, nullptr);
    sqlite3_close(db);
    return counts;
  }

  const DDB_CoreGeometry library_;
  const fs::path folder_ = fs::temp_directory_path() / ("flips_" + std::to_string(getpid()));
  const cow_String file_ = (folder_ / "model.cgdb").string();
};

bool IsError(const std::string& content) { return content.starts_with("error: "); }
} // namespace

TEST_F(Flips, ReadAsTheSameModelOrAsAnError) {
  const std::string expected = ContentOf(file_);
  int errors = 0;
  ForEachFlip(1, [&](const std::string& where) {
    const std::string content = ContentOf(file_);
    errors += IsError(content) ? 1 : 0;
    EXPECT_TRUE(IsError(content) || content == expected) << where << content;
  });
  EXPECT_GT(errors, 100);
}

TEST_F(Flips, AndCutsOfBytesInMemoryReadAsTheSameModelOrAsOneErrorThatNamesTheFile) {
  const std::string good = Bytes();
  const auto contentOf = [](std::string_view bytes) {
    return ContentOf([&] { return cls_OpenBytes("sent.cgdb", std::as_bytes(std::span(bytes))); });
  };
  const std::string expected = contentOf(good);
  EXPECT_EQ(expected, ContentOf(file_));
  int errors = 0;
  const auto expectNoOther = [&](std::string_view bytes, const std::string& where) {
    const std::string content = contentOf(bytes);
    const bool isError = content.starts_with("error: sent.cgdb: ");
    errors += isError ? 1 : 0;
    EXPECT_TRUE(isError || content == expected) << where << ": " << content.substr(0, 300);
    return isError;
  };
  ForEachFlip(1, [&](const std::string& where) { expectNoOther(Bytes(), where); });
  EXPECT_GT(errors, 100);
  for (std::size_t size = good.size() - 1; size > 0; size -= size / 8 + 1)
    EXPECT_TRUE(expectNoOther(std::string_view(good).substr(0, size), "cut at " + std::to_string(size)));
  for (const std::string& bytes :
       {std::string(), std::string("no database, but a text"), std::string(8192, '\0')})
    EXPECT_TRUE(expectNoOther(bytes, std::to_string(bytes.size()) + " bytes of something else"));
}

TEST_F(Flips, LetNothingElseBeDeleted) {
  const auto remove = [&] {
    cls_Database database = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
    cls_WritePass pass(database);
    pass.Remove("meshes/Left");
    pass.Commit();
  };
  const std::string good = Bytes();
  remove();
  const auto left = NumRows();
  Write(good);
  int refused = 0, removed = 0;
  ForEachFlip(5, [&](const std::string& where) {
    const auto before = NumRows();
    try {
      remove();
      ++removed;
    } catch (const nex_TextException&) {
      ++refused;
    }
    const auto after = NumRows();
    for (std::size_t table = 0; table < left.size(); ++table)
      EXPECT_TRUE(after[table] >= left[table] || before[table] < left[table]) << where << ", table " << table;
  });
  EXPECT_GT(refused, 20);
  EXPECT_GT(removed, 20);
}
