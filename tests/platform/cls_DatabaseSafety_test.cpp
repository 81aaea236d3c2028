// What strangers, accidents and other programs do to a file.
#include "TestObjects.h"

#include <fstream>
#include <iterator>
#include <sqlite3.h>
#include <sys/stat.h>

namespace {
Bag Sample(int mark) {
  Bag bag;
  bag.whole = mark;
  bag.text = "a text that takes some bytes";
  bag.real = 0.1 * mark;
  bag.spots.ListToModify().Append(Spot(1, mark)).Append(Spot(2, mark));
  bag.texts.ListToModify().Append("top").Append("bottom");
  std::vector<int> labels(3000);
  for (std::size_t i = 0; i < labels.size(); ++i) labels[i] = static_cast<int>(i) * mark;
  bag.labels = cls_xp1DArrayListInt(labels);
  bag.inner = cow_COW<Bag>(new Bag);
  bag.bags.Insert(3, bag.inner);
  return bag;
}

/// Everything in an object, for comparing what was read with what was written.
std::string Everything(const Bag& bag) {
  std::string text = std::to_string(bag.whole) + bag.text + std::to_string(bag.real) + bag.uid.Text();
  for (const Spot& spot : bag.spots.List())
    text += std::to_string(spot.x) + "," + std::to_string(spot.y) + ";";
  for (const auto& line : bag.texts.List()) text += line + ";";
  for (const int label : bag.labels.Const()) text += std::to_string(label) + ",";
  for (const auto& [key, inner] : bag.bags) text += std::to_string(key) + ":" + std::to_string(inner->whole);
  return text + omu_PrimEnum<Colour>(bag.colour).Text();
}

std::string Bytes(const cow_String& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void SetBytes(const cow_String& file, const std::string& bytes) {
  std::ofstream(file, std::ios::binary | std::ios::trunc)
      .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

void Sql(const cow_String& file, const char* sql) {
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
  sqlite3_close(db);
}

/// Reading through an old and a damaged file alike: the text of what was read, or "error: " and the message.
std::string ReadAll(const cow_String& file) {
  try {
    const cls_Database db = cls_Database::Open(file);
    std::string text;
    for (const cow_String& root : db.Roots()) text += root + "=" + Everything(*db.Get<Bag>(root)) + "\n";
    return text;
  } catch (const nex_TextException& failure) {
    return "error: " + failure.Message();
  } catch (const omu_ValueErrorException& failure) {
    return "error: " + failure.Message();
  }
}
} // namespace

TEST_F(DatabaseTest, ATruncatedFileIsRefused) {
  Store("bag", Sample(7));
  const std::string good = Bytes(file_);
  for (std::size_t size = 1; size < good.size(); size += 1500) {
    SetBytes(file_, good.substr(0, size));
    EXPECT_TRUE(ReadAll(file_).starts_with("error: " + file_)) << size;
  }
}

TEST_F(DatabaseTest, FilesOfOthersAreRefusedByName) {
  const auto opening = [&] { return ThrownBy([&] { cls_Database::Open(file_); }); };
  EXPECT_EQ(opening(), file_ + ": does not exist");
  SetBytes(file_, "");
  EXPECT_EQ(opening(), file_ + ": is empty, not a model database");
  SetBytes(file_, std::string(5000, 'x'));
  EXPECT_EQ(opening(), file_ + ": not a model database");
  EXPECT_EQ(ThrownBy([&] { Create(); }), file_ + ": exists already");
  SetBytes(file_, "");
  Sql(file_, "CREATE TABLE t(x)");
  EXPECT_EQ(opening(), file_ + ": not a model database");
  EXPECT_NE(ThrownBy([&] { cls_Database::Open(folder_.string()); }).find("is a folder"), cow_String::npos);
  std::filesystem::remove(file_);
  Store("bag", Bag());
  EXPECT_NE(ThrownBy([&] { cls_Database::Open(file_).Get<Bag>("none"); }).find("has no root \"none\""),
            cow_String::npos);
  EXPECT_NE(ThrownBy([&] { cls_Database::Open(file_).Get<Spot>("bag"); }).find("is of class Bag, not Spot"),
            cow_String::npos);
  {
    cls_Database db = cls_Database::Open(file_);
    EXPECT_NE(ThrownBy([&] { cls_WritePass pass(db); }).find("reading only"), cow_String::npos);
  }
  EXPECT_EQ(ThrownBy([&] { cls_Database::Create(""); }), "a model database needs a file name");
  EXPECT_NE(ThrownBy([&] { cls_Database::Create(":memory:"); }).find("needs a file"), cow_String::npos);
  const cow_String pipe = (folder_ / "pipe").string();
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(ThrownBy([&] { cls_Database::Open(pipe); }),
            pipe + ": is a device or a pipe, not a model database");
  // what stands beside the expected tables, or in their place
  const std::string good = Bytes(file_);
  for (const auto& [change, message] :
       {std::pair{"PRAGMA user_version=3",
                  "newer version of the program (file format 3, this program reads up to 2)"},
        {"PRAGMA user_version=0", "file format 0"},
        {"CREATE VIEW sneaky AS SELECT 1", "unexpected view sneaky"},
        {"CREATE INDEX sneaky ON root(object)", "unexpected index sneaky"},
        {"CREATE TRIGGER class AFTER INSERT ON root BEGIN DELETE FROM root; END", "unexpected trigger class"},
        {"DROP TABLE total", "table total is missing"},
        {"DROP TABLE \"Bag#5\"", "are left for them"},
        {"WITH RECURSIVE n(i) AS (SELECT 100 UNION ALL SELECT i + 1 FROM n WHERE i < 300000) INSERT INTO "
         "class "
         "SELECT i, 1, 1, 'Bag', 0 FROM n",
         "classes are described, but only 2 tables are left for them"}}) {
    SetBytes(file_, good);
    Sql(file_, change);
    EXPECT_NE(opening().find(message), cow_String::npos) << change << "\n" << opening();
  }
}

TEST_F(DatabaseTest, CraftedRowsAreRefusedByTheirChecksums) {
  Store("bag", Sample(7));
  const std::string good = Bytes(file_);
  for (const char* change : {"UPDATE \"Bag#5\" SET id = id + 1",
                             "UPDATE root SET object = (SELECT max(id) FROM object WHERE owner IS NULL)",
                             "DELETE FROM root",
                             "DELETE FROM total WHERE name = 'root'",
                             "UPDATE total SET rows = 0, content = 0 WHERE name = 'root'",
                             "INSERT INTO root SELECT 'copy', object, sum FROM root",
                             "UPDATE object SET refs = refs + 1",
                             "UPDATE array SET count = 1 << 60",
                             "UPDATE array SET count = count - 1",
                             "DELETE FROM chunk",
                             "UPDATE chunk SET id = id + 100",
                             "UPDATE chunk SET seq = seq + 1",
                             "UPDATE chunk SET array = array + 1",
                             "UPDATE chunk SET data = zeroblob(10)",
                             "UPDATE \"Bag#5\" SET text = 5",
                             "UPDATE \"Bag#5\" SET inner = '$object'",
                             "UPDATE class SET type_id = type_id + 1",
                             "UPDATE field SET type = 7 WHERE name = 'text'",
                             "UPDATE object SET owner = NULL",
                             "PRAGMA foreign_keys=OFF; DELETE FROM \"Spot#2\""}) {
    SetBytes(file_, good);
    Sql(file_, change);
    EXPECT_TRUE(ReadAll(file_).starts_with("error: " + file_)) << change << "\n"
                                                               << ReadAll(file_).substr(0, 200);
  }
}

TEST_F(DatabaseTest, AChunkInThePlaceOfAnotherIsRefused) {
  Bag bag;
  std::vector<int> labels(1U << 21U); // four chunks
  std::iota(labels.begin(), labels.end(), 0);
  bag.labels = cls_xp1DArrayListInt(std::span<const int>(labels));
  Store("bag", bag);
  ASSERT_FALSE(ReadAll(file_).starts_with("error"));
  Sql(file_, "CREATE TEMP TABLE old AS SELECT * FROM chunk; UPDATE chunk SET (data, sum) = (SELECT old.data, "
             "old.sum FROM "
             "old WHERE old.array = chunk.array AND old.seq = 1 - chunk.seq) WHERE seq < 2 AND array = "
             "(SELECT array "
             "FROM old WHERE seq = 1)");
  EXPECT_TRUE(ReadAll(file_).starts_with("error: " + file_)) << ReadAll(file_).substr(0, 200);
}

TEST_F(DatabaseTest, AnUnknownClassIsNamed) {
  Store("bag", Bag());
  omi_Singleton<cls_MetadataRegistrar>::Instance().Clear();
  const cow_String message = ThrownBy([&] { cls_Database::Open(file_).Get<Bag>("bag"); });
  EXPECT_NE(message.find("Bag version 5"), cow_String::npos) << message;
  EXPECT_THROW(Store("again", Bag()), nex_TextException);
}

TEST_F(DatabaseTest, AFileInUseGivesABusyErrorAndThePassCanBeMadeAgain) {
  Store("bag", Sample(1));
  cls_Database writer = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
  cls_Database second = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
  writer.SetBusyTimeout(20);
  second.SetBusyTimeout(20);
  Bag large = Sample(2);
  large.labels = cls_xp1DArrayListInt(std::vector<int>(9'000'000, 5)); // more than the page cache holds
  for (const bool isLarge : {false, true}) {
    cls_WritePass pass(writer);
    EXPECT_THROW(cls_WritePass other(second), cls_BusyException);
    EXPECT_EQ(second.Get<Bag>("bag")->whole, 1) << "readers see the old model until the commit";
    sqlite3* reader = nullptr;
    sqlite3_open(file_.c_str(), &reader);
    sqlite3_exec(reader, "BEGIN; SELECT * FROM root", nullptr, nullptr, nullptr);
    if (isLarge) {
      EXPECT_THROW(pass.Put("bag", large), cls_BusyException) << "told while there is memory left";
    } else {
      pass.Put("bag", *std::make_unique<Bag>(Sample(2)));
      EXPECT_THROW(pass.Commit(), cls_BusyException);
    }
    EXPECT_EQ(second.Get<Bag>("bag")->whole, 1) << "a pass that failed keeps no reader out";
    EXPECT_NE(ThrownBy([&] { pass.Commit(); }).find("the write pass has ended"), cow_String::npos);
    sqlite3_exec(reader, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(reader);
  }
  cls_WritePass again(writer);
  again.Put("bag", large);
  again.Commit();
  EXPECT_EQ(second.Get<Bag>("bag")->whole, 2);
  EXPECT_THROW(again.Commit(), nex_TextException);
}

TEST_F(DatabaseTest, AKilledModelIsRecoveredThroughALinkAsWell) {
  Store("bag", Sample(7));
  const std::string expected = ReadAll(file_);
  const cow_String killed = (folder_ / "killed.cgdb").string(), link = (folder_ / "link.cgdb").string();
  {
    sqlite3* db = nullptr;
    sqlite3_open(file_.c_str(), &db);
    sqlite3_exec(
        db,
        "PRAGMA cache_size=1; BEGIN; UPDATE chunk SET data = zeroblob(12000); UPDATE root SET sum = 0; "
        "UPDATE \"Bag#5\" SET text = hex(zeroblob(90000))",
        nullptr, nullptr, nullptr);
    std::filesystem::copy_file(file_, killed); // as it stands in the middle of a transaction
    std::filesystem::copy_file(file_ + "-journal", killed + "-journal");
    sqlite3_close(db);
  }
  ASSERT_NE(Bytes(killed), Bytes(file_));
  std::filesystem::create_symlink(killed, link);
  const cow_String next =
      (folder_ / "next.cgdb").string(); // its journal, left behind, is not played into another model
  std::filesystem::copy_file(killed + "-journal", next + "-journal");
  EXPECT_NE(ThrownBy([&] { cls_Database::Create(next); }).find(next + "-journal"), cow_String::npos);
  EXPECT_EQ(ReadAll(link), expected);
}

TEST_F(DatabaseTest, BackupIsAModelOfItsOwn) {
  Store("bag", Sample(3));
  const cow_String copy = (folder_ / "copy.cgdb").string();
  cls_Database::Open(file_).Backup(copy);
  EXPECT_EQ(ReadAll(copy), ReadAll(file_));
  EXPECT_THROW(cls_Database::Open(file_).Backup(copy), nex_TextException);
}
