#include "db_File.h"

#include "db_Sum.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>

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

db_Statement& db_File::Statement(std::string_view sql) {
  auto& statement = statements_[sql];
  if (!statement) statement = std::make_unique<db_Statement>(connection_, sql);
  return *statement;
}

cow_String db_File::NameOf(const db_StoredRow& row) {
  return "object " + std::to_string(row.id) + (row.type ? " of " + row.type->name : cow_String());
}

std::optional<long long> db_File::FindRoot(std::string_view name) {
  const db_Use found(Statement("SELECT object, sum FROM root WHERE name = ?1"));
  found->Bind(1, name);
  if (!found->Step()) return {};
  const long long object = found->Int(0);
  if (db_IsWrong(db_Sum().Add(name).Add(object).Value(), found->Int(1)))
    connection_.Damaged("root \"" + cow_String(name) + "\"");
  return object;
}

long long db_File::Root(std::string_view name) {
  if (const auto found = FindRoot(name)) return *found;
  throw nex_TextException(connection_.File() + ": has no root \"" + cow_String(name) + "\"");
}

db_StoredRow db_File::Load(long long id) {
  db_StoredRow row;
  row.id = id;
  {
    const db_Use object(Statement("SELECT uid, class, owner FROM object WHERE id = ?1"));
    object->Bind(1, id);
    if (!object->Step()) connection_.Damaged(NameOf(row) + " is missing");
    row.uid = object->Uid(0);
    if (row.uid.IsNull()) connection_.Damaged("identifier of " + NameOf(row));
    if (object->Type(1) != SQLITE_INTEGER) connection_.Damaged(NameOf(row) + " has no class");
    row.type = &ClassById(object->Int(1));
    row.owner = object->Int(2);
  }
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
  if (db_IsWrong(sum.Value(), fields->Int(1))) connection_.Damaged("fields of " + NameOf(row));
  return row;
}

db_Array db_File::LoadArray(long long id) {
  const db_Use found(
      Statement("SELECT uid, kind, width, count, chunk_rows, sum FROM array JOIN object USING(id) "
                "WHERE id = ?1"));
  found->Bind(1, id);
  const cow_String name = "array " + std::to_string(id);
  if (!found->Step()) connection_.Damaged(name + " is missing");
  db_Array array;
  array.id = id;
  array.uid = found->Uid(0);
  if (array.uid.IsNull()) connection_.Damaged("identifier of " + name);
  db_Sum sum;
  sum.Add(id).Add(array.uid);
  for (int column = 1; column < 5; ++column) sum.Add(found->Int(column));
  if (db_IsWrong(sum.Value(), found->Int(5))) connection_.Damaged("description of " + name);
  array.kind = static_cast<cls_ArrayKind>(found->Int(1));
  array.width = static_cast<unsigned>(found->Int(2));
  array.count = found->Int(3);
  array.chunkRows = found->Int(4);
  const auto size = static_cast<long long>(db_ElementSize(array.kind));
  const long long fileSize =
      connection_.Number("SELECT page_count * page_size FROM pragma_page_count, pragma_page_size");
  if (size == 0 || array.width < 1 || array.chunkRows < 1 || array.count < 0 || found->Int(2) != array.width
      || array.count > fileSize / size || array.count % array.width != 0
      || array.chunkRows > (1LL << 40) / (size * array.width))
    connection_.Damaged(name + " cannot have " + std::to_string(array.count) + " numbers in rows of "
                        + std::to_string(found->Int(2)));
  return array;
}

void db_File::ReadChunks(const db_Array& array, std::size_t elementSize, std::byte* target) {
  ReadPart(array, elementSize, 0, std::span(target, static_cast<std::size_t>(array.count) * elementSize));
}

void db_File::ReadPart(const db_Array& array, std::size_t elementSize, std::size_t first,
                       std::span<std::byte> target) {
  struct CloseBlob {
    void operator()(sqlite3_blob* blob) const noexcept { sqlite3_blob_close(blob); }
  };
  std::unique_ptr<sqlite3_blob, CloseBlob> blob;
  auto& progress = thr_ThreadSingleton<wip_WIP>::Instance();
  const std::size_t chunkBytes = static_cast<std::size_t>(array.chunkRows) * array.width * elementSize;
  const std::size_t total = static_cast<std::size_t>(array.count) * elementSize;
  const std::size_t begin = first * elementSize, end = begin + target.size();
  cls_Blob part; // for a chunk of which only a piece is wanted
  const db_Use chunks(
      Statement("SELECT rowid, seq, sum, length(data) FROM chunk WHERE array = ?1 AND seq >= ?2 "
                "ORDER BY seq"));
  chunks->BindAll(array.id, static_cast<long long>(begin / chunkBytes));
  std::size_t at = begin / chunkBytes * chunkBytes;
  for (; at < end; at += chunkBytes) {
    progress.CheckCancelled();
    const std::size_t size = std::min(chunkBytes, total - at);
    const auto seq = static_cast<long long>(at / chunkBytes);
    const auto name = [&] {
      return "chunk " + std::to_string(seq) + " of array " + std::to_string(array.id);
    };
    if (!chunks->Step() || chunks->Int(1) != seq) connection_.Damaged(name() + " is missing");
    if (chunks->Int(3) != static_cast<long long>(size)) connection_.Damaged(name() + " has another length");
    const long long row = chunks->Int(0);
    const int code = blob ? sqlite3_blob_reopen(blob.get(), row) : [&] {
      sqlite3_blob* opened = nullptr;
      const int result = sqlite3_blob_open(connection_.Handle(), "main", "chunk", "data", row, 0, &opened);
      blob.reset(opened);
      return result;
    }();
    if (code != SQLITE_OK) connection_.Fail(code);
    const bool whole = at >= begin && at + size <= end;
    if (!whole) part.resize(size);
    std::byte* place = whole ? target.data() + (at - begin) : part.data();
    if (const int read = sqlite3_blob_read(blob.get(), place, static_cast<int>(size), 0); read != SQLITE_OK)
      connection_.Fail(read);
    if (db_IsWrong(db_SumOf(std::span(place, size)), chunks->Int(2))) connection_.Damaged(name());
    if (!whole) {
      const std::size_t from = std::max(at, begin), to = std::min(at + size, end);
      std::copy(part.begin() + static_cast<std::ptrdiff_t>(from - at),
                part.begin() + static_cast<std::ptrdiff_t>(to - at),
                target.begin() + static_cast<std::ptrdiff_t>(from - begin));
    }
  }
}
