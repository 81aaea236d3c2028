// One object of every persistent class, written by one process and read by another.
//
//   reread write FILE    stores them
//   reread read FILE     reads them, compares them with fresh ones and with their dump in tests/files, stores
//                        what was read once more and compares the two files row by row
#include "../stored/OneOfEach.h"

#include <BasicUtils/cls_Dump.h>
#include <BasicUtils/cls_MetadataRegistrar.h>
#include <CoreGeometry/DDB_CoreGeometry.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <sqlite3.h>
#include <sstream>

namespace {
int theFailures = 0;
void Expect(bool holds, const std::string& what) {
  if (holds) return;
  std::cerr << what << '\n';
  ++theFailures;
}

/// Every row of the file as text, but for checksums and the identifiers of embedded objects.
std::vector<std::string> Rows(const std::string& file) {
  sqlite3* db = nullptr;
  sqlite3_open_v2(file.c_str(), &db, SQLITE_OPEN_READONLY, nullptr);
  const auto query = [&](const std::string& sql) {
    std::vector<std::string> rows;
    const auto take = [](void* to, int, char** values, char**) {
      static_cast<std::vector<std::string>*>(to)->emplace_back(values[0] ? values[0] : "NULL");
      return 0;
    };
    Expect(sqlite3_exec(db, sql.c_str(), take, &rows, nullptr) == SQLITE_OK, sql + ": " + sqlite3_errmsg(db));
    return rows;
  };
  std::vector<std::string> all = query("SELECT quote(uid) FROM object WHERE owner IS NULL ORDER BY id");
  for (const std::string& table :
       query("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name")) {
    const std::string columns =
        query("SELECT group_concat('quote(\"' || name || '\")', ' || '', '' || ') FROM "
              "pragma_table_info('"
              + table + "') WHERE name NOT IN ('$sum', 'sum', 'content', 'uid')")[0];
    for (const std::string& row : query("SELECT " + columns + " FROM \"" + table + "\" ORDER BY 1"))
      all.push_back(table + ": " + row);
  }
  sqlite3_close(db);
  return all;
}

void Write(const std::string& file) {
  std::filesystem::remove(file);
  cls_Database db = cls_Database::Create(file, {512});
  WriteOneOfEach(db);
}

void Read(const std::string& file) {
  const std::string again = file + ".again";
  std::filesystem::remove(again);
  const cls_Database db = cls_Database::Open(file);
  cls_Database copy = cls_Database::Create(again, {4096});
  for (const StoredObject& one : OneOfEach()) {
    cls_WritePass pass(copy);
    const cow_String wrong = one.copy(db, pass);
    Expect(wrong.empty(), wrong);
    pass.Commit();
  }
  const std::vector<std::string> wanted = Rows(file), found = Rows(again);
  Expect(wanted.size() > 100 && wanted.size() == found.size(), "another number of rows");
  for (std::size_t i = 0; i < std::min(wanted.size(), found.size()); ++i)
    Expect(wanted[i] == found[i], wanted[i] + "\n  came back as " + found[i]);

  std::ostringstream dump;
  cls_Dump(db, dump);
  std::ifstream golden(TEST_FILES "/one_of_each.txt");
  const std::string expected{std::istreambuf_iterator<char>(golden), {}}, text = file + ".txt";
  std::ofstream(text) << dump.str();
  Expect(dump.str() == expected, "tests/files/one_of_each.txt is not " + text);

  std::set<unsigned> stored;
  for (const auto& type : db.Classes()) stored.insert(type.typeId);
  for (const auto& [key, record] : omi_Singleton<cls_MetadataRegistrar>::Instance().Registry().Records())
    Expect(!record.IsCurrent() || stored.contains(record.TypeId()), record.Name() + " is not tried");
}
} // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const DDB_CoreGeometry library;
  try {
    if (std::string(argv[1]) == "write")
      Write(argv[2]);
    else
      Read(argv[2]);
  } catch (const std::exception& error) {
    Expect(false, error.what());
  }
  return theFailures == 0 ? 0 : 1;
}
