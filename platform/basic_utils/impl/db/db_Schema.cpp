#include "db_File.h"
#include "db_Sum.h"

#include <BasicUtils/cls_MetadataRegistrar.h>
#include <BasicUtils/omi_Singleton.h>
#include <algorithm>
#include <filesystem>

namespace fs = std::filesystem;

namespace {
constexpr long long kApplicationId = 1128752226; // the bytes "CGdb"
constexpr long long kFormat = 1;                 // version of the tables below

struct FixedTable {
  const char* name;
  const char* sql;
};

/// The tables that every file has. A stranger's file is compared with these texts to the letter.
constexpr FixedTable kTables[] = {
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

bool HasContent(const cow_String& file) {
  std::error_code ignored;
  return fs::exists(file, ignored) && fs::file_size(file, ignored) > 0;
}

/// Lets SQLite undo what a killed writer left behind: reading through a writable connection does it.
void Recover(const cow_String& file) {
  std::error_code ignored;
  if (!fs::exists(file + "-journal", ignored)) return;
  try {
    db_Connection connection(file, SQLITE_OPEN_READWRITE);
    connection.Number("SELECT count(*) FROM sqlite_master");
  } catch (const cls_BusyException&) {
    throw;
  } catch (const nex_TextException& failure) {
    if (failure.Message().find("read-only") == std::string::npos
        && failure.Message().find("cannot be opened") == std::string::npos)
      throw;
    throw nex_TextException(
        file
        + ": a writer was interrupted and its work must be undone first, but the file or its "
          "folder cannot be written");
  }
}
} // namespace

std::unique_ptr<db_File> db_File::Create(const cow_String& file, const cls_Database::Options& options) {
  if (HasContent(file)) Recover(file);
  if (HasContent(file)) throw nex_TextException(file + ": exists already");
  const int size = options.pageSize;
  if (size < 512 || size > 65536 || (size & (size - 1)) != 0)
    throw nex_TextException(file + ": page size " + std::to_string(size)
                            + " is not a power of two from 512 to 65536");
  std::unique_ptr<db_File> result(
      new db_File(file, file, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, /*readOnly=*/false));
  db_Connection& connection = result->connection_;
  connection.Execute(("PRAGMA page_size=" + std::to_string(size)).c_str());
  connection.Execute("PRAGMA journal_mode=DELETE");
  connection.Execute("BEGIN IMMEDIATE");
  if (connection.Number("SELECT count(*) FROM sqlite_master") != 0)
    throw nex_TextException(file + ": exists already");
  for (const FixedTable& table : kTables) connection.Execute(table.sql);
  connection.Execute(("PRAGMA application_id=" + std::to_string(kApplicationId)).c_str());
  connection.Execute(("PRAGMA user_version=" + std::to_string(kFormat)).c_str());
  connection.Execute("COMMIT");
  return result;
}

std::unique_ptr<db_File> db_File::Open(const cow_String& file, cls_Database::Mode mode) {
  std::error_code ignored;
  if (!fs::exists(file, ignored)) throw nex_TextException(file + ": does not exist");
  if (fs::is_directory(file, ignored)) throw nex_TextException(file + ": is a folder, not a model database");
  Recover(file);
  if (!HasContent(file)) throw nex_TextException(file + ": is empty, not a model database");
  const bool readOnly = mode == cls_Database::Mode::ReadOnly;
  const auto open = [&] {
    std::unique_ptr<db_File> result(
        new db_File(file, file, readOnly ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE, readOnly));
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

db_File::db_File(const cow_String& file, const cow_String& path, int flags, bool readOnly)
    : connection_(file, path, flags), readOnly_(readOnly) {}

void db_File::CheckSchema() {
  if (connection_.Number("PRAGMA application_id") != kApplicationId)
    throw nex_TextException(connection_.File() + ": not a model database");
  if (const long long format = connection_.Number("PRAGMA user_version"); format > kFormat)
    throw nex_TextException(connection_.File() + ": written by a newer version of the program (file format "
                            + std::to_string(format) + ", this program reads up to " + std::to_string(kFormat)
                            + ")");
  else if (format < 1)
    connection_.Damaged("file format " + std::to_string(format));
  connection_.Execute("BEGIN");
  try {
    std::map<std::string, std::string, std::less<>> stored;
    db_Statement objects(connection_, "SELECT name, sql FROM sqlite_master WHERE sql IS NOT NULL");
    while (objects.Step()) stored.emplace(objects.Text(0), objects.Text(1));
    const auto expect = [&](std::string_view name, std::string_view sql) {
      const auto found = stored.find(name);
      if (found == stored.end()) connection_.Damaged("table " + std::string(name) + " is missing");
      if (found->second != sql) connection_.Damaged("table " + std::string(name) + " is not as it should be");
      stored.erase(found);
    };
    for (const FixedTable& table : kTables) expect(table.name, table.sql);
    LoadClasses();
    for (const auto& type : classes_) expect(TableOf(*type), CreateTableSql(*type));
    if (!stored.empty()) connection_.Damaged("unexpected schema object " + stored.begin()->first);
  } catch (...) {
    sqlite3_exec(connection_.Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    throw;
  }
  connection_.Execute("COMMIT");
}

void db_File::ReloadClasses() {
  statements_.clear();
  classes_.clear();
  LoadClasses();
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
    if (db_IsWrong(db_Sum().Add(type->id).Add(types.Int(1)).Add(types.Int(2)).Add(types.Text(3)).Value(),
                   types.Int(4)))
      connection_.Damaged("description of class " + type->name);
    fields.Bind(1, type->id);
    while (fields.Step()) {
      const auto& attribute = type->attributes.emplace_back(cls_ClassMetadata::Attribute{
          cow_String(fields.Text(1)), static_cast<cls_AttributeType>(fields.Int(2)),
          static_cast<unsigned>(fields.Int(3)), static_cast<cls_CollectionType>(fields.Int(4))});
      const auto position = static_cast<long long>(type->attributes.size()) - 1;
      db_Sum sum;
      sum.Add(type->id)
          .Add(position)
          .Add(fields.Text(1))
          .Add(fields.Int(2))
          .Add(fields.Int(3))
          .Add(fields.Int(4));
      if (fields.Int(0) != position || db_IsWrong(sum.Value(), fields.Int(5)))
        connection_.Damaged("description of field " + attribute.name + " of class " + type->name);
    }
    fields.Reset();
    type->table = QuotedTableOf(*type);
    classes_.push_back(std::move(type));
  }
}

std::string db_File::TableOf(const db_Class& type) { return type.name + "#" + std::to_string(type.version); }

std::string db_File::QuotedTableOf(const db_Class& type) { return Quoted(TableOf(type)); }

std::string db_File::CreateTableSql(const db_Class& type) const {
  std::string sql = "CREATE TABLE " + Quoted(TableOf(type))
                    + "(\"$object\" INTEGER PRIMARY KEY REFERENCES object ON DELETE CASCADE, "
                      "\"$sum\" INTEGER NOT NULL";
  for (const auto& attribute : type.attributes) sql += ", " + Quoted(attribute.name);
  return sql + ")";
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
  const long long typeId = type->typeId, version = type->version;
  db_Statement(connection_, "INSERT INTO class VALUES(?1, ?2, ?3, ?4, ?5)")
      .BindAll(type->id, typeId, version, std::string_view(type->name),
               db_Sum().Add(type->id).Add(typeId).Add(version).Add(std::string_view(type->name)).Value())
      .Run();
  long long position = 0;
  for (const auto& attribute : type->attributes) {
    const auto kind = static_cast<long long>(attribute.type);
    const auto collection = static_cast<long long>(attribute.collection);
    const long long elemTypeId = attribute.elemTypeId;
    const std::string_view name = attribute.name;
    db_Sum sum;
    sum.Add(type->id).Add(position).Add(name).Add(kind).Add(elemTypeId).Add(collection);
    db_Statement(connection_, "INSERT INTO field VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)")
        .BindAll(type->id, position, name, kind, elemTypeId, collection, sum.Value())
        .Run();
    ++position;
  }
  connection_.Execute(CreateTableSql(*type).c_str());
  classes_.push_back(std::move(type));
  return *classes_.back();
}
