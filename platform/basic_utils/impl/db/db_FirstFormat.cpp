// Files of the first format become files of today's: every row is checked, then written into a table of
// today's.
//
// The first format had a table of references with an index, owners outside every checksum, and checksums that
// did not say what they belong to. Today an object counts what refers to it.
#include "db_Writer.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>

namespace {
/// Everything in the small tables of a file of the first format. Chunks stay in the file.
struct Content {
  std::vector<db_Identity> objects;
  std::vector<db_Array> arrays;
  std::vector<db_RootRow> roots;
};

Content ContentOf(db_File& file) {
  Content content;
  content.roots = file.Roots();
  std::vector<long long> ids;
  {
    const db_Use objects(file.Statement("SELECT id FROM object ORDER BY id"));
    while (objects->Step()) ids.push_back(objects->Int(0));
  }
  std::map<long long, long long> refs;
  for (const db_RootRow& root : content.roots) ++refs[root.object];
  for (const long long id : ids) {
    thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
    content.objects.push_back(file.LoadIdentity(id));
    if (content.objects.back().type == 0) {
      content.arrays.push_back(file.LoadArray(id));
      continue;
    }
    const db_StoredRow row = file.Load(id);
    for (std::size_t field = 0; field < row.cells.size(); ++field)
      for (const long long child : db_ChildRows(row.cells[field], row.type->attributes[field].type))
        ++refs[child];
  }
  // what is embedded is not counted by what embeds it
  for (db_Identity& object : content.objects) {
    if (const auto counted = refs.extract(object.id)) object.refs = counted.mapped();
    if (object.owner != 0 && object.refs > 0) --object.refs;
  }
  if (!refs.empty())
    file.Connection().Damaged("object " + std::to_string(refs.begin()->first) + " is missing");
  return content;
}
} // namespace

void db_File::Modernise() {
  if (format_ != kFirstFormat) return;
  ReloadClasses();
  const Content content = ContentOf(*this);
  statements_.clear();

  // out of the way first: tables of today have the same names
  for (const char* const table : {"class", "field", "object", "array", "chunk", "root"})
    connection_.Execute(("ALTER TABLE " + std::string(table) + " RENAME TO \"first " + table + "\"").c_str());
  for (const auto& type : classes_)
    connection_.Execute(
        ("ALTER TABLE " + type->table + " RENAME TO \"first " + TableOf(*type) + "\"").c_str());
  format_ = kFormat;
  MakeTables();

  for (const auto& type : classes_) {
    type->fieldSum = 0;
    type->select.reset();
    type->insert.reset();
    InsertClass(*type);
    connection_.Execute(CreateTableSql(*type).c_str());
    AddTotal(TableOf(*type));
    const std::string old = "\"first " + TableOf(*type) + "\"";
    connection_.Execute(("INSERT INTO " + type->table + " SELECT * FROM " + old).c_str());
    db_Statement sums(connection_, "SELECT \"$sum\" FROM " + type->table);
    while (sums.Step()) Count(TableOf(*type), sums.Int(0), 1);
  }
  for (const db_Identity& object : content.objects) InsertIdentity(object);
  for (const db_RootRow& root : content.roots) PutRoot(root.name, root.object);

  // chunk by chunk, so that the space of one serves the next
  long long next = 1;
  std::vector<std::byte> bytes;
  for (db_Array array : content.arrays) {
    array.firstChunk = next;
    InsertArray(array);
    for (long long seq = 0; seq < array.NumChunks(); ++seq, ++next) {
      thr_ThreadSingleton<wip_WIP>::Instance().CheckCancelled();
      long long sum = 0;
      {
        const db_Use chunk(Statement("SELECT data, sum FROM \"first chunk\" WHERE array = ?1 AND seq = ?2"));
        chunk->BindAll(array.id, seq);
        const cow_String name = "chunk " + std::to_string(seq) + " of array " + std::to_string(array.id);
        if (!chunk->Step()) connection_.Damaged(name + " is missing");
        const auto data = chunk->Blob(0);
        if (db_IsWrong(db_SumOf(data), chunk->Int(1))) connection_.Damaged(name);
        bytes.assign(data.begin(), data.end());
        sum = SumOfChunk(array, seq, bytes);
      }
      InsertChunk(array, seq, sum, bytes);
      Statement("DELETE FROM \"first chunk\" WHERE array = ?1 AND seq = ?2").BindAll(array.id, seq).Run();
    }
  }

  statements_.clear();
  connection_.Execute("DROP TABLE \"first class\"; DROP TABLE \"first field\"; DROP TABLE ref; "
                      "DROP TABLE \"first chunk\"; DROP TABLE \"first array\"; DROP TABLE \"first root\"");
  for (const auto& type : classes_)
    connection_.Execute(("DROP TABLE \"first " + TableOf(*type) + "\"").c_str());
  connection_.Execute("DROP TABLE \"first object\"");
  connection_.Execute(("PRAGMA user_version=" + std::to_string(kFormat)).c_str());
}
