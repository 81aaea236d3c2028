#include "db_File.h"

#include <algorithm>

static_assert(std::endian::native == std::endian::little, "stored arrays are little-endian");

std::size_t db_ElementSize(cls_ArrayKind kind) {
  switch (kind) {
  case cls_ArrayKind::Int:
  case cls_ArrayKind::Uint:
  case cls_ArrayKind::Float: return 4;
  case cls_ArrayKind::Double: return 8;
  default: return 0;
  }
}

db_Statement& db_File::Statement(const char* sql) {
  auto& statement = statements_[sql];
  if (!statement) statement = std::make_unique<db_Statement>(connection_, sql);
  return *statement;
}

long long db_File::Size() {
  const db_Use size(Statement("SELECT page_count * page_size FROM pragma_page_count, pragma_page_size"));
  return size->Step() ? size->Int(0) : 0;
}

cow_String db_File::NameOf(const db_StoredRow& row) {
  return "object " + std::to_string(row.id) + (row.type ? " of " + row.type->name : cow_String());
}

bool db_HoldsNumbers(cls_AttributeType type) {
  return type == cls_AttributeType::IntArray || type == cls_AttributeType::UintArray
         || type == cls_AttributeType::FloatArray || type == cls_AttributeType::DoubleArray;
}

std::vector<long long> db_ChildRows(const cls_Cell& cell, cls_AttributeType type) {
  std::vector<long long> rows;
  const auto* blob = std::get_if<cls_Blob>(&cell);
  const auto decode = [&](cls_ArrayKind kind) {
    const auto bytes = cls_DecodeArray(*blob, kind);
    rows.resize(bytes.size() / sizeof(long long));
    if (!rows.empty()) std::memcpy(rows.data(), bytes.data(), bytes.size());
  };
  if (type == cls_AttributeType::ObjectMap) {
    if (blob) decode(cls_ArrayKind::Map);
    for (std::size_t i = 0; i < rows.size() / 2; ++i) rows[i] = rows[2 * i + 1];
    rows.resize(rows.size() / 2);
  } else if (db_HoldsNumbers(type) || type == cls_AttributeType::Object
             || type == cls_AttributeType::Shortcut) {
    if (const auto* row = std::get_if<long long>(&cell))
      rows.push_back(*row);
    else if (blob && type == cls_AttributeType::Object)
      decode(cls_ArrayKind::RowIds);
  }
  return rows;
}

std::optional<long long> db_File::FindRoot(std::string_view name) {
  {
    const db_Use found(Statement("SELECT object, sum FROM root WHERE name = ?1"));
    found->Bind(1, name);
    if (found->Step()) {
      const long long object = found->Int(0);
      if (db_IsWrong(SumOfRoot(name, object), found->Int(1)))
        connection_.Damaged("root \"" + cow_String(name) + "\"");
      return object;
    }
  }
  // a damaged table may hide a row: what is not there must not be among those that are counted
  if (format_ != kFirstFormat && verifiedRoots_ != StoredTotal("root")) Roots();
  return {};
}

long long db_File::Root(std::string_view name) {
  if (const auto found = FindRoot(name)) return *found;
  throw nex_TextException(connection_.File() + ": has no root \"" + cow_String(name) + "\"");
}

std::vector<db_RootRow> db_File::Roots() {
  std::vector<db_RootRow> roots;
  db_Total total;
  std::size_t longest = 0;
  const db_Use rows(Statement("SELECT name, object, sum FROM root ORDER BY name"));
  while (rows->Step()) {
    db_RootRow& root = roots.emplace_back(db_RootRow{cow_String(rows->Text(0)), rows->Int(1), rows->Int(2)});
    if (db_IsWrong(SumOfRoot(root.name, root.object), root.sum))
      connection_.Damaged("root \"" + root.name + "\"");
    total.Add(root.sum, 1);
    longest = std::max(longest, root.name.size());
  }
  if (format_ == kFirstFormat) return roots;
  ExpectTotal("root", total);
  verifiedRoots_ = StoredTotal("root");
  longestRoot_ = longest;
  return roots;
}

std::size_t db_File::LongestRoot() {
  if (format_ == kFirstFormat)
    return static_cast<std::size_t>(
        connection_.Number("SELECT coalesce(max(length(CAST(name AS BLOB))), 0) FROM root"));
  if (verifiedRoots_ != StoredTotal("root")) Roots();
  return longestRoot_;
}

void db_File::PutRoot(std::string_view name, long long object) {
  if (const auto old = FindRoot(name)) Count("root", SumOfRoot(name, *old), -1);
  const long long sum = SumOfRoot(name, object);
  Statement("INSERT OR REPLACE INTO root VALUES(?1, ?2, ?3)").BindAll(name, object, sum).Run();
  Count("root", sum, 1);
  longestRoot_ = std::max(longestRoot_, name.size());
}

void db_File::RemoveRoot(std::string_view name, long long object) {
  Statement("DELETE FROM root WHERE name = ?1").BindAll(name).Run();
  Count("root", SumOfRoot(name, object), -1);
}

bool db_File::Has(long long id) {
  const db_Use found(Statement("SELECT 1 FROM object WHERE id = ?1"));
  found->Bind(1, id);
  return found->Step();
}

db_Identity db_File::LoadIdentity(long long id) {
  const cow_String name = "object " + std::to_string(id);
  const bool isFirst = format_ == kFirstFormat;
  const db_Use object(Statement(isFirst ? "SELECT uid, class, owner FROM object WHERE id = ?1"
                                        : "SELECT uid, class, owner, refs, sum FROM object WHERE id = ?1"));
  object->Bind(1, id);
  if (!object->Step()) connection_.Damaged(name + " is missing");
  db_Identity identity{id, object->Uid(0), object->Int(1), object->Int(2), isFirst ? 0 : object->Int(3)};
  if (identity.uid.IsNull()) connection_.Damaged("identifier of " + name);
  if (!isFirst && db_IsWrong(SumOf(identity), object->Int(4))) connection_.Damaged("description of " + name);
  return identity;
}

db_Class& db_File::ClassOf(const db_Identity& object) {
  if (object.type == 0) connection_.Damaged("object " + std::to_string(object.id) + " has no class");
  return ClassById(object.type);
}

// In a file of the first format only the checksum of the fields covers the class.
db_Class& db_File::ClassOf(long long id) {
  return format_ == kFirstFormat ? *Load(id).type : ClassOf(LoadIdentity(id));
}

db_StoredRow db_File::Load(long long id) {
  db_StoredRow row;
  row.id = id;
  const db_Identity identity = LoadIdentity(id);
  row.uid = identity.uid;
  row.owner = identity.owner;
  row.type = &ClassOf(identity);
  if (!row.type->select)
    row.type->select = std::make_unique<db_Statement>(connection_, "SELECT * FROM " + row.type->table
                                                                       + " WHERE \"$object\" = ?1");
  const db_Use fields(*row.type->select);
  fields->Bind(1, id);
  if (!fields->Step()) connection_.Damaged(NameOf(row) + " has no fields");
  db_Sum sum;
  sum.Add(id).Add(row.type->id).Add(row.uid);
  row.cells.reserve(row.type->attributes.size());
  for (int column = 2; column < static_cast<int>(row.type->attributes.size()) + 2; ++column) {
    switch (fields->Type(column)) {
    case SQLITE_INTEGER: row.cells.emplace_back(fields->Int(column)); break;
    case SQLITE_FLOAT: row.cells.emplace_back(fields->Real(column)); break;
    case SQLITE_TEXT: row.cells.emplace_back(cow_String(fields->Text(column))); break;
    case SQLITE_BLOB: {
      const auto bytes = fields->Blob(column);
      row.cells.emplace_back(cls_Blob(bytes.begin(), bytes.end()));
      break;
    }
    default: row.cells.emplace_back();
    }
    sum.Add(row.cells.back());
  }
  row.sum = fields->Int(1);
  if (db_IsWrong(sum.Value(), row.sum)) connection_.Damaged("fields of " + NameOf(row));
  return row;
}

void db_File::DeleteRow(db_Statement& statement, long long id, std::string_view table, long long sum) {
  statement.BindAll(id).Run();
  if (sqlite3_changes(connection_.Handle()) != 1)
    connection_.Damaged("row " + std::to_string(id) + " of table " + cow_String(table)
                        + " cannot be found again");
  Count(table, sum, -1);
}

void db_File::DeleteCells(const db_StoredRow& row) {
  db_Statement remove(connection_, "DELETE FROM " + row.type->table + " WHERE \"$object\" = ?1");
  DeleteRow(remove, row.id, TableOf(*row.type), row.sum);
}

void db_File::InsertIdentity(const db_Identity& object) {
  const long long sum = SumOf(object);
  db_Statement& insert = Statement("INSERT INTO object VALUES(?1, ?2, ?3, ?4, ?5, ?6)");
  insert.Bind(1, object.id).BindUid(2, object.uid).Bind(5, object.refs).Bind(6, sum);
  if (object.type != 0) insert.Bind(3, object.type);
  if (object.owner != 0) insert.Bind(4, object.owner);
  insert.Run();
  Count("object", sum, 1);
}

void db_File::UpdateIdentity(const db_Identity& old, const db_Identity& changed) {
  const long long sum = SumOf(changed);
  db_Statement& update =
      Statement("UPDATE object SET class = ?2, owner = ?3, refs = ?4, sum = ?5 WHERE id = ?1");
  update.Bind(1, changed.id).Bind(4, changed.refs).Bind(5, sum);
  if (changed.type != 0) update.Bind(2, changed.type);
  if (changed.owner != 0) update.Bind(3, changed.owner);
  update.Run();
  Count("object", SumOf(old), -1);
  Count("object", sum, 1);
}

void db_File::DeleteIdentity(const db_Identity& object) {
  DeleteRow(Statement("DELETE FROM object WHERE id = ?1"), object.id, "object", SumOf(object));
}

void db_File::InsertArray(const db_Array& array) {
  const long long sum = SumOf(array);
  const auto kind = static_cast<long long>(array.kind), width = static_cast<long long>(array.width);
  Statement("INSERT INTO array VALUES(?1, ?2, ?3, ?4, ?5, ?6, ?7)")
      .BindAll(array.id, kind, width, array.count, array.chunkRows, array.firstChunk, sum)
      .Run();
  Count("array", sum, 1);
}

void db_File::InsertChunk(const db_Array& array, long long seq, long long sum,
                          std::span<const std::byte> bytes) {
  Statement("INSERT INTO chunk VALUES(?1, ?2, ?3, ?4, ?5)")
      .BindAll(array.firstChunk + seq, array.id, seq, sum, bytes)
      .Run();
  Count("chunk", sum, 1);
}

void db_File::DeleteArray(const db_Array& array) {
  const std::size_t size = db_ElementSize(array.kind);
  const auto perChunk = static_cast<std::size_t>(array.chunkRows) * array.width;
  std::vector<std::byte> bytes;
  for (long long seq = 0; seq < array.NumChunks(); ++seq) {
    const std::size_t first = static_cast<std::size_t>(seq) * perChunk;
    bytes.resize(std::min(perChunk, static_cast<std::size_t>(array.count) - first) * size);
    ReadPart(array, size, first, bytes);
    DeleteRow(Statement("DELETE FROM chunk WHERE id = ?1"), array.firstChunk + seq, "chunk",
              SumOfChunk(array, seq, bytes));
  }
  DeleteRow(Statement("DELETE FROM array WHERE id = ?1"), array.id, "array", SumOf(array));
}

db_Array db_File::LoadArray(long long id) {
  const cow_String name = "array " + std::to_string(id);
  const db_Identity identity = LoadIdentity(id);
  const bool isFirst = format_ == kFirstFormat;
  const db_Use found(Statement(
      isFirst ? "SELECT kind, width, count, chunk_rows, sum FROM array WHERE id = ?1"
              : "SELECT kind, width, count, chunk_rows, sum, first_chunk FROM array WHERE id = ?1"));
  found->Bind(1, id);
  if (!found->Step()) connection_.Damaged(name + " is missing");
  db_Array array;
  array.id = id;
  array.uid = identity.uid;
  array.kind = static_cast<cls_ArrayKind>(found->Int(0));
  array.width = static_cast<unsigned>(found->Int(1));
  array.count = found->Int(2);
  array.chunkRows = found->Int(3);
  if (!isFirst) array.firstChunk = found->Int(5);
  if (db_IsWrong(SumOf(array), found->Int(4)) || identity.type != 0 || identity.owner != 0)
    connection_.Damaged("description of " + name);
  const auto size = static_cast<long long>(db_ElementSize(array.kind));
  const long long fileSize = Size();
  if (size == 0 || array.width < 1 || array.chunkRows < 1 || array.count < 0 || found->Int(1) != array.width
      || array.count > fileSize / size || array.count % array.width != 0 || array.firstChunk < 0
      || array.firstChunk > (1LL << 60) || array.chunkRows > (1LL << 40) / (size * array.width))
    connection_.Damaged(name + " cannot have " + std::to_string(array.count) + " numbers in rows of "
                        + std::to_string(found->Int(1)));
  return array;
}
