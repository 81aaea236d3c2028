#include "db_File.h"
#include "db_Sum.h"

#include <BasicUtils/cls_MetadataRegistrar.h>
#include <BasicUtils/omi_Singleton.h>
#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace {
constexpr long long kApplicationId = 1128752226; // the bytes "CGdb"

struct FixedTable {
  const char* name;
  const char* sql;
};

/// The tables that every file has. A stranger's file is compared with these texts to the letter.
constexpr FixedTable kTables[] = {
    {"class",
     "CREATE TABLE \"class\"(id INTEGER PRIMARY KEY, type_id INTEGER NOT NULL, version INTEGER NOT NULL, "
     "name TEXT NOT NULL, sum INTEGER NOT NULL)"},
    {"field", "CREATE TABLE \"field\"(class INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL, "
              "type INTEGER NOT NULL, elem_type_id INTEGER NOT NULL, collection INTEGER NOT NULL, "
              "sum INTEGER NOT NULL, PRIMARY KEY(class, position)) WITHOUT ROWID"},
    {"object",
     "CREATE TABLE \"object\"(id INTEGER PRIMARY KEY, uid BLOB NOT NULL, class INTEGER, owner INTEGER, "
     "refs INTEGER NOT NULL, sum INTEGER NOT NULL)"},
    {"array", "CREATE TABLE \"array\"(id INTEGER PRIMARY KEY, kind INTEGER NOT NULL, width INTEGER NOT NULL, "
              "count INTEGER NOT NULL, chunk_rows INTEGER NOT NULL, first_chunk INTEGER NOT NULL, "
              "sum INTEGER NOT NULL)"},
    {"chunk", "CREATE TABLE \"chunk\"(id INTEGER PRIMARY KEY, array INTEGER NOT NULL, seq INTEGER NOT NULL, "
              "sum INTEGER NOT NULL, data BLOB NOT NULL)"},
    {"root", "CREATE TABLE \"root\"(name TEXT PRIMARY KEY, object INTEGER NOT NULL, sum INTEGER NOT NULL) "
             "WITHOUT ROWID"},
    {"total",
     "CREATE TABLE \"total\"(name TEXT PRIMARY KEY, rows INTEGER NOT NULL, content INTEGER NOT NULL, "
     "sum INTEGER NOT NULL) WITHOUT ROWID"},
};

/// Those of the first format.
constexpr FixedTable kFirstTables[] = {
    {"class",
     "CREATE TABLE class(id INTEGER PRIMARY KEY, type_id INTEGER NOT NULL, version INTEGER NOT NULL, "
     "name TEXT NOT NULL, sum INTEGER NOT NULL, UNIQUE(type_id, version))"},
    {"field",
     "CREATE TABLE field(class INTEGER NOT NULL REFERENCES class, position INTEGER NOT NULL, "
     "name TEXT NOT NULL, type INTEGER NOT NULL, elem_type_id INTEGER NOT NULL, "
     "collection INTEGER NOT NULL, sum INTEGER NOT NULL, PRIMARY KEY(class, position)) WITHOUT ROWID"},
    {"object", "CREATE TABLE object(id INTEGER PRIMARY KEY, uid BLOB NOT NULL CHECK(length(uid) = 16), "
               "class INTEGER REFERENCES class, owner INTEGER REFERENCES object ON DELETE CASCADE)"},
    {"object_owner", "CREATE INDEX object_owner ON object(owner) WHERE owner IS NOT NULL"},
    {"ref", "CREATE TABLE ref(parent INTEGER NOT NULL REFERENCES object ON DELETE CASCADE, "
            "child INTEGER NOT NULL REFERENCES object, PRIMARY KEY(parent, child)) WITHOUT ROWID"},
    {"ref_child", "CREATE INDEX ref_child ON ref(child)"},
    {"array", "CREATE TABLE array(id INTEGER PRIMARY KEY REFERENCES object ON DELETE CASCADE, "
              "kind INTEGER NOT NULL, width INTEGER NOT NULL, count INTEGER NOT NULL, "
              "chunk_rows INTEGER NOT NULL, sum INTEGER NOT NULL)"},
    {"chunk", "CREATE TABLE chunk(array INTEGER NOT NULL REFERENCES array ON DELETE CASCADE, "
              "seq INTEGER NOT NULL, sum INTEGER NOT NULL, data BLOB NOT NULL, PRIMARY KEY(array, seq))"},
    {"root", "CREATE TABLE root(name TEXT PRIMARY KEY, object INTEGER NOT NULL REFERENCES object, "
             "sum INTEGER NOT NULL) WITHOUT ROWID"},
    {"root_object", "CREATE INDEX root_object ON root(object)"},
};

std::string Quoted(std::string_view name) {
  std::string result = "\"";
  for (const char c : name) result.append(c == '"' ? 2 : 1, c);
  return result + '"';
}

bool HasContent(const cow_String& path) {
  std::error_code ignored;
  return fs::exists(path, ignored) && fs::file_size(path, ignored) > 0;
}

/// The file itself: links are followed, since SQLite keeps the journal beside what they lead to.
cow_String Resolved(const cow_String& file) {
  if (file.empty()) throw nex_TextException("a model database needs a file name");
  if (file == ":memory:")
    throw nex_TextException(file + ": would be kept in memory only; a model database needs a file");
  std::error_code failed;
  const fs::path path = fs::weakly_canonical(fs::absolute(file), failed);
  return failed ? file : cow_String(path.string());
}

/// True for a journal that would change another file's pages, not one that a first transaction left: SQLite's
/// file format has eight fixed bytes, and from byte 16 the number of pages before the transaction.
bool IsJournalOfAModel(const cow_String& journal) {
  std::array<char, 20> head{};
  std::ifstream(journal, std::ios::binary).read(head.data(), head.size());
  return std::string_view(head.data(), 8) == "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7"
         && std::any_of(head.begin() + 16, head.end(), [](char byte) { return byte != 0; });
}

/// The address by which SQLite opens a file without locks.
cow_String UriOfFinished(const cow_String& path) {
  cow_String uri = "file:";
  for (const char c : path) {
    if (c == '%' || c == '?' || c == '#')
      uri += c == '%' ? "%25" : c == '?' ? "%3f" : "%23";
    else
      uri += c;
  }
  return uri + "?immutable=1";
}

/// Lets SQLite undo what a killed writer left behind: reading through a writable connection does it.
void Recover(const cow_String& file, const cow_String& path) {
  std::error_code ignored;
  if (!fs::exists(path + "-journal", ignored)) return;
  try {
    db_Connection connection(file, path, SQLITE_OPEN_READWRITE);
    connection.Number("SELECT count(*) FROM sqlite_master");
  } catch (const cls_BusyException&) {
    throw;
  } catch (const nex_TextException& failure) {
    if (failure.Message().find("read-only") == std::string::npos
        && failure.Message().find("cannot be opened") == std::string::npos)
      throw;
    throw nex_TextException(file
                            + ": a writer was interrupted and its work must be undone first, but the file or "
                              "its folder cannot be "
                              "written; open it once where both can be written, together with its journal "
                            + path + "-journal, and delete that journal only together with the file");
  }
}
} // namespace

std::unique_ptr<db_File> db_File::Create(const cow_String& file, const cls_Database::Options& options) {
  const cow_String path = Resolved(file);
  if (HasContent(path))
    Recover(file, path);
  else if (IsJournalOfAModel(path + "-journal"))
    throw nex_TextException(
        file + ": the journal " + path
        + "-journal of another model stands there; move it to where its model is, or delete it "
          "when that model is gone");
  if (HasContent(path)) throw nex_TextException(file + ": exists already");
  const int size = options.pageSize;
  if (size < 512 || size > 65536 || (size & (size - 1)) != 0)
    throw nex_TextException(file + ": page size " + std::to_string(size)
                            + " is not a power of two from 512 to 65536");
  std::unique_ptr<db_File> result(
      new db_File(file, path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, /*readOnly=*/false));
  db_Connection& connection = result->connection_;
  connection.Execute(("PRAGMA page_size=" + std::to_string(size)).c_str());
  // a journal in memory still undoes an object that could not be written whole
  connection.Execute(options.isDurable ? "PRAGMA journal_mode=DELETE"
                                       : "PRAGMA journal_mode=MEMORY; PRAGMA synchronous=OFF");
  connection.Begin("BEGIN IMMEDIATE");
  if (connection.Number("SELECT count(*) FROM sqlite_master") != 0)
    throw nex_TextException(file + ": exists already");
  result->MakeTables();
  for (const auto& [pragma, number] :
       {std::pair("application_id", kApplicationId), {"user_version", kFormat}})
    connection.Execute(
        std::string("PRAGMA ").append(pragma).append("=").append(std::to_string(number)).c_str());
  connection.Execute("COMMIT");
  return result;
}

void db_File::MakeTables() {
  for (const FixedTable& table : kTables) connection_.Execute(table.sql);
  for (const FixedTable& table : kTables)
    if (table.name != std::string_view("total")) AddTotal(table.name);
}

std::unique_ptr<db_File> db_File::Open(const cow_String& file, cls_Database::Mode mode) {
  const cow_String path = Resolved(file);
  std::error_code ignored;
  if (!fs::exists(path, ignored)) throw nex_TextException(file + ": does not exist");
  if (fs::is_directory(path, ignored)) throw nex_TextException(file + ": is a folder, not a model database");
  if (!fs::is_regular_file(path, ignored))
    throw nex_TextException(file + ": is a device or a pipe, not a model database");
  Recover(file, path);
  if (!HasContent(path)) throw nex_TextException(file + ": is empty, not a model database");
  const bool readOnly = mode != cls_Database::Mode::ReadWrite;
  // a journal that could not be applied means that the file is not finished
  const bool isFinished = mode == cls_Database::Mode::Finished && !fs::exists(path + "-journal", ignored);
  const auto open = [&] {
    const int flags =
        (readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE) | (isFinished ? SQLITE_OPEN_URI : 0);
    std::unique_ptr<db_File> result(
        new db_File(file, isFinished ? UriOfFinished(path) : path, flags, readOnly));
    result->CheckSchema();
    return result;
  };
  try {
    return open();
  } catch (const std::bad_alloc&) { // SQLite says so of some damaged schemas, too
  }
  const auto thereIsMemory = std::make_unique<std::byte[]>(std::size_t{1} << 20);
  try {
    return open();
  } catch (const std::bad_alloc&) {
    throw nex_TextException(file + ": damaged file: reading its schema takes more memory than there is");
  }
}

std::unique_ptr<db_File> db_File::CopyInMemory(db_File& file) {
  std::unique_ptr<db_File> result(new db_File(
      file.connection_.File(), ":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, /*readOnly=*/false));
  file.connection_.CopyTo(result->connection_);
  result->CheckSchema();
  return result;
}

std::unique_ptr<db_File> db_File::OfBytes(const cow_String& file, std::span<const std::byte> bytes) {
  std::unique_ptr<db_File> result(
      new db_File(file, ":memory:", SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, /*readOnly=*/true));
  result->connection_.TakeBytes(bytes);
  result->CheckSchema();
  return result;
}

db_File::db_File(const cow_String& file, const cow_String& path, int flags, bool readOnly)
    : connection_(file, path, flags), readOnly_(readOnly) {}

long long db_File::ReadFormat() {
  const db_Use version(Statement("PRAGMA user_version"));
  return version->Step() ? version->Int(0) : 0;
}

void db_File::Refresh() {
  const long long format = ReadFormat();
  if (format == format_ && !forgotten_) return;
  ExpectFormat(format);
  format_ = static_cast<int>(format);
  verifiedRoots_.reset();
  ReloadClasses();
  forgotten_ = false;
}

void db_File::Forget() noexcept {
  changes_.clear();
  forgotten_ = true;
}

void db_File::ExpectFormat(long long format) const {
  if (format > kFormat)
    throw nex_TextException(connection_.File() + ": written by a newer version of the program (file format "
                            + std::to_string(format) + ", this program reads up to " + std::to_string(kFormat)
                            + ")");
  if (format < kFirstFormat) connection_.Damaged("file format " + std::to_string(format));
}

void db_File::CheckSchema() {
  if (connection_.Number("PRAGMA application_id") != kApplicationId)
    throw nex_TextException(connection_.File() + ": not a model database");
  connection_.Begin("BEGIN");
  try {
    const long long format = ReadFormat();
    ExpectFormat(format);
    format_ = static_cast<int>(format);
    std::map<std::pair<std::string, std::string>, std::string> stored; // (type, name) -> text
    {
      db_Statement objects(connection_, "SELECT type, name, sql FROM sqlite_master WHERE sql IS NOT NULL");
      while (objects.Step()) {
        const std::pair<std::string, std::string> key(objects.Text(0), objects.Text(1));
        if (!stored.emplace(key, objects.Text(2)).second)
          connection_.Damaged(key.first + " " + key.second + " is there twice");
      }
    }
    const auto expect = [&](std::string_view type, std::string_view name, std::string_view sql) {
      const auto found = stored.find({std::string(type), std::string(name)});
      const std::string what = std::string(type) + " " + std::string(name);
      if (found == stored.end()) connection_.Damaged(what + " is missing");
      if (found->second != sql) connection_.Damaged(what + " is not as it should be");
      stored.erase(found);
    };
    const std::span<const FixedTable> fixed =
        format == kFirstFormat ? std::span<const FixedTable>(kFirstTables) : kTables;
    for (const FixedTable& table : fixed)
      expect(std::string_view(table.sql).starts_with("CREATE INDEX") ? "index" : "table", table.name,
             table.sql);
    // every class has a table: no more of them are looked at than there are tables
    if (const long long classes = connection_.Number("SELECT count(*) FROM class");
        classes > static_cast<long long>(stored.size()))
      connection_.Damaged(std::to_string(classes) + " classes are described, but only "
                          + std::to_string(stored.size()) + " tables are left for them");
    ReloadClasses();
    for (const auto& type : classes_) expect("table", TableOf(*type), CreateTableSql(*type));
    if (!stored.empty())
      connection_.Damaged("unexpected " + stored.begin()->first.first + " " + stored.begin()->first.second);
  } catch (...) {
    connection_.RollBack();
    throw;
  }
  connection_.Execute("COMMIT");
}

void db_File::ReloadClasses() {
  statements_.clear();
  classes_.clear();
  LoadClasses();
  if (format_ == kFirstFormat) return;
  db_Total classes, fields;
  for (const auto& type : classes_) {
    classes.Add(type->sum, 1);
    fields.rows += static_cast<long long>(type->attributes.size());
    fields.content += type->fieldSum;
  }
  ExpectTotal("class", classes);
  ExpectTotal("field", fields);
}

bool db_File::KnowsAllClasses() {
  db_Total classes;
  for (const auto& type : classes_) classes.Add(type->sum, 1);
  return format_ == kFirstFormat || classes == TotalOf("class");
}

void db_File::LoadClasses() {
  db_Statement types(connection_,
                     "SELECT id, type_id, version, name, sum FROM class WHERE id > ?1 ORDER BY id");
  types.Bind(1, classes_.empty() ? 0LL : classes_.back()->id);
  db_Statement fields(connection_, "SELECT position, name, type, elem_type_id, collection, sum FROM field "
                                   "WHERE class = ?1 ORDER BY position");
  while (types.Step()) {
    auto type = std::make_unique<db_Class>();
    type->id = types.Int(0);
    type->typeId = static_cast<unsigned>(types.Int(1));
    type->version = static_cast<int>(types.Int(2));
    type->name = types.Text(3);
    type->sum = types.Int(4);
    if (db_IsWrong(SumOfClass(*type), type->sum)) connection_.Damaged("description of class " + type->name);
    fields.Bind(1, type->id);
    while (fields.Step()) {
      const auto& attribute = type->attributes.emplace_back(cls_ClassMetadata::Attribute{
          cow_String(fields.Text(1)), static_cast<cls_AttributeType>(fields.Int(2)),
          static_cast<unsigned>(fields.Int(3)), static_cast<cls_CollectionType>(fields.Int(4))});
      const std::size_t position = type->attributes.size() - 1;
      if (fields.Int(0) != static_cast<long long>(position)
          || db_IsWrong(SumOfField(*type, position), fields.Int(5)))
        connection_.Damaged("description of field " + attribute.name + " of class " + type->name);
      type->fieldSum += static_cast<unsigned long long>(fields.Int(5));
    }
    fields.Reset();
    type->table = QuotedTableOf(*type);
    classes_.push_back(std::move(type));
  }
}

std::string db_File::TableOf(const db_Class& type) { return type.name + "#" + std::to_string(type.version); }

std::string db_File::QuotedTableOf(const db_Class& type) { return Quoted(TableOf(type)); }

std::string db_File::CreateTableSql(const db_Class& type) const {
  std::string sql = "CREATE TABLE " + Quoted(TableOf(type)) + "(\"$object\" INTEGER PRIMARY KEY"
                    + (format_ == kFirstFormat ? " REFERENCES object ON DELETE CASCADE" : "")
                    + ", \"$sum\" INTEGER NOT NULL";
  for (const auto& attribute : type.attributes) sql += ", " + Quoted(attribute.name);
  return sql + ")";
}

long long db_File::SumOfClass(const db_Class& type) const {
  const long long typeId = type.typeId, version = type.version;
  return SumOf("class").Add(type.id).Add(typeId).Add(version).Add(std::string_view(type.name)).Value();
}

long long db_File::SumOfField(const db_Class& type, std::size_t position) const {
  const auto& attribute = type.attributes[position];
  return SumOf("field")
      .Add(type.id)
      .Add(static_cast<long long>(position))
      .Add(std::string_view(attribute.name))
      .Add(static_cast<long long>(attribute.type))
      .Add(static_cast<long long>(attribute.elemTypeId))
      .Add(static_cast<long long>(attribute.collection))
      .Value();
}

db_Class& db_File::ClassById(long long id) {
  const auto find = [&] {
    return std::find_if(classes_.begin(), classes_.end(), [&](const auto& type) { return type->id == id; });
  };
  auto found = find();
  if (found == classes_.end()) {
    LoadClasses(); // another connection may have added it
    found = find();
  }
  if (found != classes_.end()) return **found;
  connection_.Damaged("class number " + std::to_string(id) + " is not described");
}

db_Class* db_File::FindClass(unsigned typeId, int version) noexcept {
  for (const auto& type : classes_)
    if (type->typeId == typeId && type->version == version) return type.get();
  return nullptr;
}

const cls_ClassMetadata& db_File::RecordOf(const db_Class& type) const {
  const auto& registry = omi_Singleton<cls_MetadataRegistrar>::Instance().Registry();
  const cow_String layout = type.name + " version " + std::to_string(type.version);
  const auto* record = registry.Find(type.typeId, type.version);
  if (!record)
    throw nex_TextException(connection_.File() + ": holds objects of " + layout
                            + ", which this program does not know (is its module initialised?)");
  if (record->Name() != registry.PresentName(type.name) || record->Attributes() != type.attributes)
    throw nex_TextException(connection_.File() + ": describes " + layout
                            + " otherwise than this program does");
  return *record;
}

db_Class& db_File::EnsureClass(const cls_ClassMetadata& record) {
  if (db_Class* found = FindClass(record.TypeId(), record.Version())) {
    RecordOf(*found);
    return *found;
  }
  auto type = std::make_unique<db_Class>();
  type->id = connection_.Number("SELECT coalesce(max(id), 0) + 1 FROM class");
  type->typeId = record.TypeId();
  type->version = record.Version();
  type->name = record.Name();
  type->attributes = record.Attributes();
  type->table = QuotedTableOf(*type);
  InsertClass(*type);
  connection_.Execute(CreateTableSql(*type).c_str());
  AddTotal(TableOf(*type));
  classes_.push_back(std::move(type));
  return *classes_.back();
}

void db_File::InsertClass(db_Class& type) {
  const long long typeId = type.typeId, version = type.version;
  type.sum = SumOfClass(type);
  Statement("INSERT INTO class VALUES(?1, ?2, ?3, ?4, ?5)")
      .BindAll(type.id, typeId, version, std::string_view(type.name), type.sum)
      .Run();
  Count("class", type.sum, 1);
  for (std::size_t i = 0; i < type.attributes.size(); ++i) {
    const auto& attribute = type.attributes[i];
    const auto position = static_cast<long long>(i), kind = static_cast<long long>(attribute.type),
               collection = static_cast<long long>(attribute.collection);
    const long long elemTypeId = attribute.elemTypeId, sum = SumOfField(type, i);
    Statement("INSERT INTO field VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)")
        .BindAll(type.id, position, std::string_view(attribute.name), kind, elemTypeId, collection, sum)
        .Run();
    type.fieldSum += static_cast<unsigned long long>(sum);
    Count("field", sum, 1);
  }
}

void db_File::DeleteClass(const db_Class& type) {
  Count("class", type.sum, -1);
  for (std::size_t i = 0; i < type.attributes.size(); ++i) Count("field", SumOfField(type, i), -1);
  Statement("DELETE FROM field WHERE class = ?1").BindAll(type.id).Run();
  Statement("DELETE FROM class WHERE id = ?1").BindAll(type.id).Run();
  DropTotal(TableOf(type));
  connection_.Execute(("DROP TABLE " + type.table).c_str());
}

void db_File::RenameClass(const db_Class& type, const cow_String& to) {
  db_Class renamed;
  renamed.id = type.id;
  renamed.typeId = type.typeId;
  renamed.version = type.version;
  renamed.name = to;
  renamed.sum = SumOfClass(renamed);
  Statement("UPDATE class SET name = ?2, sum = ?3 WHERE id = ?1")
      .BindAll(type.id, std::string_view(to), renamed.sum)
      .Run();
  Count("class", type.sum, -1);
  Count("class", renamed.sum, 1);
  const db_Total rows = TotalOf(TableOf(type));
  DropTotal(TableOf(type));
  AddTotal(TableOf(renamed));
  changes_[TableOf(renamed)] = rows;
  connection_.Execute(("ALTER TABLE " + type.table + " RENAME TO " + QuotedTableOf(renamed)).c_str());
}
