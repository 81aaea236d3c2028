// What strangers, accidents and other programs do to a file.
#include "TestObjects.h"

#include <fstream>
#include <iterator>
#include <sqlite3.h>

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

void SetByte(const cow_String& file, std::size_t at, char byte) {
  std::fstream(file, std::ios::binary | std::ios::in | std::ios::out)
      .seekp(static_cast<std::streamoff>(at))
      .put(byte);
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

TEST_F(DatabaseTest, AFlippedBitIsAnErrorAndNeverAWrongValue) {
  Store("bag", Sample(7));
  const std::string good = Bytes(file_), expected = ReadAll(file_);
  ASSERT_EQ(expected.find("error"), std::string::npos);
  const cow_String damaged = (folder_ / "damaged.cgdb").string();
  SetBytes(damaged, good);
  int errors = 0, harmless = 0;
  std::mt19937 random(4);
  for (std::size_t at = 0; at < good.size(); at += 1 + random() % 61) {
    SetByte(damaged, at, static_cast<char>(good[at] ^ (1 << random() % 8)));
    const std::string read = ReadAll(damaged);
    SetByte(damaged, at, good[at]);
    if (read == expected) {
      ++harmless; // unused space, and indexes that reading does not need
    } else {
      ++errors;
      EXPECT_TRUE(read.starts_with("error: " + damaged)) << "byte " << at << ": " << read.substr(0, 300);
    }
  }
  EXPECT_GT(errors, 100);
  EXPECT_GT(harmless, 0);
}

TEST_F(DatabaseTest, ATruncatedFileIsRefused) {
  Store("bag", Sample(7));
  const std::string good = Bytes(file_);
  for (std::size_t size = 1; size < good.size(); size += 1500) {
    SetBytes(file_, good.substr(0, size));
    EXPECT_TRUE(ReadAll(file_).starts_with("error: " + file_)) << size;
  }
}

TEST_F(DatabaseTest, FilesOfOthersAreRefusedByName) {
  const auto opening = [&] { return MessageOf([&] { cls_Database::Open(file_); }); };
  EXPECT_EQ(opening(), file_ + ": does not exist");
  SetBytes(file_, "");
  EXPECT_EQ(opening(), file_ + ": is empty, not a model database");
  SetBytes(file_, std::string(5000, 'x'));
  EXPECT_EQ(opening(), file_ + ": not a model database");
  EXPECT_EQ(MessageOf([&] { Create(); }), file_ + ": exists already");
  SetBytes(file_, "");
  Sql(file_, "CREATE TABLE t(x)");
  EXPECT_EQ(opening(), file_ + ": not a model database");
  EXPECT_NE(MessageOf([&] { cls_Database::Open(folder_.string()); }).find("is a folder"), cow_String::npos);
  std::filesystem::remove(file_);
  Store("bag", Bag());
  EXPECT_NE(MessageOf([&] { cls_Database::Open(file_).Get<Bag>("none"); }).find("has no root \"none\""),
            cow_String::npos);
  EXPECT_NE(MessageOf([&] { cls_Database::Open(file_).Get<Spot>("bag"); }).find("is of class Bag, not Spot"),
            cow_String::npos);
  {
    cls_Database db = cls_Database::Open(file_);
    EXPECT_NE(MessageOf([&] { cls_WritePass pass(db); }).find("reading only"), cow_String::npos);
  }
  Sql(file_, "PRAGMA user_version=2");
  EXPECT_NE(opening().find("newer version"), cow_String::npos);
  Sql(file_, "PRAGMA user_version=1; CREATE VIEW sneaky AS SELECT 1");
  EXPECT_NE(opening().find("unexpected schema object sneaky"), cow_String::npos);
  Sql(file_, "DROP VIEW sneaky; DROP INDEX root_object");
  EXPECT_NE(opening().find("root_object is missing"), cow_String::npos);
}

TEST_F(DatabaseTest, CraftedRowsAreRefusedByTheirChecksums) {
  Store("bag", Sample(7));
  const std::string good = Bytes(file_);
  for (const char* change :
       {"UPDATE \"Bag#5\" SET id = id + 1",
        "UPDATE root SET object = (SELECT max(id) FROM object WHERE owner IS NULL)",
        "UPDATE array SET count = 1 << 60", "UPDATE array SET count = count - 1", "DELETE FROM chunk",
        "UPDATE chunk SET data = zeroblob(10)", "UPDATE \"Bag#5\" SET text = 5",
        "UPDATE \"Bag#5\" SET inner = '$object'", "UPDATE class SET type_id = type_id + 1",
        "UPDATE field SET type = 7 WHERE name = 'text'", "UPDATE object SET owner = NULL",
        "PRAGMA foreign_keys=OFF; DELETE FROM \"Spot#2\""}) {
    SetBytes(file_, good);
    Sql(file_, change);
    EXPECT_TRUE(ReadAll(file_).starts_with("error: " + file_)) << change << "\n"
                                                               << ReadAll(file_).substr(0, 200);
  }
}

TEST_F(DatabaseTest, AnUnknownClassIsNamed) {
  Store("bag", Bag());
  omi_Singleton<cls_MetadataRegistrar>::Instance().Clear();
  const cow_String message = MessageOf([&] { cls_Database::Open(file_).Get<Bag>("bag"); });
  EXPECT_NE(message.find("Bag version 5"), cow_String::npos) << message;
  EXPECT_THROW(Store("again", Bag()), nex_TextException);
}

TEST_F(DatabaseTest, AFileInUseGivesABusyErrorAndTheCommitCanBeRepeated) {
  Store("bag", Sample(1));
  cls_Database writer = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
  cls_Database second = cls_Database::Open(file_, cls_Database::Mode::ReadWrite);
  writer.SetBusyTimeout(20);
  second.SetBusyTimeout(20);
  cls_WritePass pass(writer);
  EXPECT_THROW(cls_WritePass other(second), cls_BusyException);
  pass.Put("bag", *std::make_unique<Bag>(Sample(2)));
  EXPECT_EQ(second.Get<Bag>("bag")->whole, 1) << "readers see the old model until the commit";
  {
    sqlite3* reader = nullptr;
    sqlite3_open(file_.c_str(), &reader);
    sqlite3_exec(reader, "BEGIN; SELECT * FROM root", nullptr, nullptr, nullptr);
    EXPECT_THROW(pass.Commit(), cls_BusyException);
    sqlite3_exec(reader, "COMMIT", nullptr, nullptr, nullptr);
    sqlite3_close(reader);
  }
  pass.Commit();
  EXPECT_EQ(second.Get<Bag>("bag")->whole, 2);
  EXPECT_THROW(pass.Commit(), nex_TextException);
}

TEST_F(DatabaseTest, BackupIsAModelOfItsOwn) {
  Store("bag", Sample(3));
  const cow_String copy = (folder_ / "copy.cgdb").string();
  cls_Database::Open(file_).Backup(copy);
  EXPECT_EQ(ReadAll(copy), ReadAll(file_));
  EXPECT_THROW(cls_Database::Open(file_).Backup(copy), nex_TextException);
}
