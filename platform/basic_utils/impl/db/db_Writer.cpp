#include "db_Writer.h"

#include "db_Reader.h"
#include "db_Sum.h"

#include <BasicUtils/cls_MetadataRegistrar.h>
#include <BasicUtils/omi_Singleton.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_WIP.h>
#include <cstring>

namespace {
constexpr int kDeepestNesting = 500;
cls_ClassRegistrar& Registry() { return omi_Singleton<cls_MetadataRegistrar>::Instance().Registry(); }
} // namespace

db_Writer::db_Writer(db_File& file) : file_(file) {
  db_Connection& connection = file_.Connection();
  if (file_.IsReadOnly()) throw nex_TextException(connection.File() + ": was opened for reading only");
  if (connection.InTransaction()) throw nex_TextException(connection.File() + ": another write pass is open");
  connection.Execute("BEGIN IMMEDIATE");
  try {
    file_.LoadClasses();
    lastId_ = connection.Number("SELECT coalesce(max(id), 0) FROM object");
  } catch (...) {
    sqlite3_exec(connection.Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
    throw;
  }
}

db_Writer::~db_Writer() {
  if (!file_.Connection().InTransaction()) return;
  sqlite3_exec(file_.Connection().Handle(), "ROLLBACK", nullptr, nullptr, nullptr);
  try {
    file_.ReloadClasses();
  } catch (const std::exception&) { // NOLINT(bugprone-empty-catch): the next use of the file reports it
  }
}

void db_Writer::Guarded(const std::function<void()>& change) {
  db_Connection& connection = file_.Connection();
  if (!connection.InTransaction()) throw nex_TextException(connection.File() + ": the write pass has ended");
  const std::size_t kept = kept_.size(), candidates = candidates_.size();
  undo_.clear();
  collected_ = false;
  connection.Execute("SAVEPOINT change");
  try {
    change();
    connection.Execute("RELEASE change");
  } catch (...) {
    measuring_ = false;
    depth_ = 0;
    replacedRow_ = 0;
    stored_ = nullptr;
    for (const Identity& identity : undo_) written_.erase(identity);
    kept_.resize(kept);
    candidates_.resize(candidates);
    sqlite3_exec(connection.Handle(), "ROLLBACK TO change; RELEASE change", nullptr, nullptr, nullptr);
    if (connection.InTransaction()) file_.ReloadClasses();
    throw;
  }
}

void db_Writer::Put(const cow_String& root, const void* object, WriteFunction write) {
  Guarded([&] {
    AnnounceProgress(object, write);
    const std::size_t before = undo_.size();
    PutRoot(root, WriteOwned(object, write, nullptr));
    // the caller may change the object afterwards: only what handles keep alive is remembered
    if (before < undo_.size()) {
      written_.erase(undo_[before]);
      undo_.erase(undo_.begin() + static_cast<std::ptrdiff_t>(before));
    }
  });
}

void db_Writer::PutShared(const cow_String& root, std::shared_ptr<const void> object, WriteFunction write) {
  if (!object)
    throw nex_TextException(file_.Connection().File() + ": nothing to store under \"" + root + "\"");
  Guarded([&] {
    AnnounceProgress(object.get(), write);
    const void* const raw = object.get();
    PutRoot(root, WriteOwned(raw, write, std::move(object)));
  });
}

void db_Writer::PutRoot(const cow_String& root, long long row) {
  if (root.empty()) throw nex_TextException(file_.Connection().File() + ": a root needs a name");
  if (const auto old = file_.FindRoot(root)) candidates_.push_back(*old);
  file_.Statement("INSERT OR REPLACE INTO root VALUES(?1, ?2, ?3)")
      .BindAll(std::string_view(root), row, db_Sum().Add(std::string_view(root)).Add(row).Value())
      .Run();
}

void db_Writer::Remove(const cow_String& root) {
  Guarded([&] {
    candidates_.push_back(file_.Root(root));
    file_.Statement("DELETE FROM root WHERE name = ?1").BindAll(std::string_view(root)).Run();
  });
}

long long db_Writer::WriteOwned(const void* object, WriteFunction write, std::shared_ptr<const void> keep) {
  if (stored_ && replacedRow_ == 0)
    if (const long long known = stored_->RowOf(object); known != 0) return known;
  if (++depth_ > kDeepestNesting)
    throw nex_TextException(file_.Connection().File() + ": objects are nested more than "
                            + std::to_string(kDeepestNesting) + " levels deep");
  auto place = std::make_shared<db_WritePlace>();
  place->writer = this;
  write(object, cls_WriteVisitor(place));
  --depth_;
  if (!place->started) throw nex_AssertionException("DBWrite did not call StartWrite");
  if (place->owned) {
    Flush(*place->owned);
    place->written->done = true;
    if (keep) kept_.push_back(std::move(keep));
  }
  return place->row;
}

const cls_ClassMetadata& db_Writer::CurrentRecord(unsigned typeId) const {
  if (const auto* record = Registry().Current(typeId)) return *record;
  throw nex_TextException(file_.Connection().File() + ": class " + std::to_string(typeId)
                          + " is not known to this program (is its module initialised?)");
}

void db_Writer::Start(db_WritePlace& place, unsigned typeId, const cls_Uid& uid) {
  const Identity identity(&uid, uid);
  if (const auto found = written_.find(identity); found != written_.end()) {
    if (!found->second.done)
      throw nex_TextException(file_.Connection().File() + ": an object of " + CurrentRecord(typeId).Name()
                              + " owns itself");
    place.row = found->second.row;
    return;
  }
  place.owned = NewDraft(typeId, uid, 0);
  place.row = place.owned->id;
  place.written = &written_.emplace(identity, db_Written{place.row, false}).first->second;
  undo_.push_back(identity);
}

std::unique_ptr<db_Draft> db_Writer::NewDraft(unsigned typeId, const cls_Uid& uid, long long owner) {
  auto draft = std::make_unique<db_Draft>();
  draft->record = &CurrentRecord(typeId);
  draft->type = &file_.EnsureClass(*draft->record);
  draft->id =
      owner == 0 && replacedRow_ != 0 ? std::exchange(replacedRow_, 0) : Insert(uid, draft->type, owner);
  draft->uid = uid;
  draft->cells.resize(draft->type->attributes.size());
  draft->put.resize(draft->cells.size());
  return draft;
}

long long db_Writer::Insert(const cls_Uid& uid, const db_Class* type, long long owner) {
  const long long id = ++lastId_;
  db_Statement& insert = file_.Statement("INSERT INTO object VALUES(?1, ?2, ?3, ?4)");
  insert.Bind(1, id).BindUid(2, uid);
  if (type) insert.Bind(3, type->id);
  if (owner != 0) insert.Bind(4, owner);
  insert.Run();
  return id;
}

void db_Writer::Flush(db_Draft& draft) {
  for (const auto& embedded : draft.embedded) Flush(*embedded);
  for (std::size_t i = 0; i < draft.cells.size(); ++i)
    if (!draft.put[i])
      throw nex_AssertionException("field \"" + draft.type->attributes[i].name + "\" of " + draft.type->name
                                   + " was not written");
  InsertCells(draft.id, *draft.type, draft.uid, draft.cells);
}

void db_Writer::InsertCells(long long row, db_Class& type, const cls_Uid& uid,
                            std::span<const cls_Cell> cells) {
  if (!type.insert) {
    std::string sql = "INSERT INTO " + type.table + " VALUES(?1, ?2";
    for (std::size_t i = 0; i < cells.size(); ++i) sql += ", ?" + std::to_string(i + 3);
    type.insert = std::make_unique<db_Statement>(file_.Connection(), sql + ")");
  }
  db_Sum sum;
  sum.Add(row).Add(type.id).Add(uid);
  int column = 3;
  db_Statement& insert = *type.insert;
  for (const cls_Cell& cell : cells) {
    sum.Add(cell);
    if (const auto* number = std::get_if<long long>(&cell))
      insert.Bind(column, *number);
    else if (const auto* link = std::get_if<cls_RowLink>(&cell))
      insert.Bind(column, link->row);
    else if (const auto* real = std::get_if<double>(&cell))
      insert.Bind(column, *real);
    else if (const auto* text = std::get_if<cow_String>(&cell))
      insert.Bind(column, std::string_view(*text));
    else if (const auto* blob = std::get_if<cls_Blob>(&cell))
      insert.Bind(column, std::span<const std::byte>(*blob));
    ++column;
  }
  insert.Bind(1, row).Bind(2, sum.Value());
  insert.Run();
}

void db_Writer::Refer(long long parent, long long child) {
  file_.Statement("INSERT OR IGNORE INTO ref VALUES(?1, ?2)").BindAll(parent, child).Run();
}

long long db_Writer::WriteArray(cls_ArrayKind kind, unsigned width, std::span<const std::byte> bytes,
                                std::size_t elementSize, cow_ArrayStamp& stamp) {
  if (stamp.id != 0) {
    // the stamp holds when that very array is still in this file
    const db_Use found(
        file_.Statement("SELECT uid, kind, width, count FROM object JOIN array USING(id) WHERE id = ?1"));
    found->Bind(1, stamp.id);
    if (found->Step() && found->Blob(0).size() == sizeof stamp.uid
        && std::memcmp(found->Blob(0).data(), stamp.uid, sizeof stamp.uid) == 0
        && found->Int(1) == static_cast<long long>(kind) && found->Int(2) == width
        && found->Int(3) == static_cast<long long>(bytes.size() / elementSize)) {
      Advance(bytes.size());
      return stamp.id;
    }
  }
  const cls_Uid uid = cls_Uid::AllocateUid();
  const long long id = Insert(uid, nullptr, 0);
  const std::size_t rowBytes = width * elementSize;
  const std::size_t chunkRows = std::max<std::size_t>(1, db_File::kChunkBytes / rowBytes);
  const auto kindCode = static_cast<long long>(kind), widthCode = static_cast<long long>(width),
             count = static_cast<long long>(bytes.size() / elementSize),
             rows = static_cast<long long>(chunkRows);
  file_.Statement("INSERT INTO array VALUES(?1, ?2, ?3, ?4, ?5, ?6)")
      .BindAll(id, kindCode, widthCode, count, rows,
               db_Sum().Add(id).Add(uid).Add(kindCode).Add(widthCode).Add(count).Add(rows).Value())
      .Run();
  db_Statement& insert = file_.Statement("INSERT INTO chunk VALUES(?1, ?2, ?3, ?4)");
  long long seq = 0;
  for (std::size_t at = 0; at < bytes.size(); at += chunkRows * rowBytes) {
    const auto piece = bytes.subspan(at, std::min(chunkRows * rowBytes, bytes.size() - at));
    Advance(piece.size());
    insert.BindAll(id, seq++, db_SumOf(piece), piece).Run();
  }
  const auto uidBytes = uid.Bytes();
  std::memcpy(stamp.uid, uidBytes.data(), uidBytes.size());
  stamp.id = id;
  return id;
}

void db_Writer::AnnounceProgress(const void* object, WriteFunction write) {
  done_ = expected_ = 0;
  if (!thr_ThreadSingleton<wip_WIP>::Instance().HasSink()) return;
  measuring_ = true;
  measured_.clear();
  auto place = std::make_shared<db_WritePlace>();
  place->writer = this;
  write(object, cls_WriteVisitor(place));
  measuring_ = false;
}

void db_Writer::Advance(std::size_t bytes) {
  auto& progress = thr_ThreadSingleton<wip_WIP>::Instance();
  progress.CheckCancelled();
  done_ += static_cast<double>(bytes);
  if (expected_ > 0) progress.Progress(std::min(1.0, done_ / expected_));
}

long long db_Writer::PutRow(const cow_String* root, unsigned typeId, int version, const cls_Row& row) {
  long long id = 0;
  Guarded([&] {
    const auto* record = Registry().Find(typeId, version);
    if (!record)
      throw nex_TextException(file_.Connection().File() + ": class " + std::to_string(typeId) + " version "
                              + std::to_string(version) + " is not known to this program");
    db_Class& type = file_.EnsureClass(*record);
    std::vector<cls_Cell> cells;
    for (const auto& attribute : type.attributes) {
      const cls_Cell* cell = row.Find(attribute.name);
      if (!cell)
        throw nex_TextException(file_.Connection().File() + ": a row of " + type.name + " version "
                                + std::to_string(version) + " needs field \"" + attribute.name + "\"");
      cells.push_back(*cell);
    }
    for (const auto& cell : row.Cells())
      if (record->Find(cell.name) < 0)
        throw nex_TextException(file_.Connection().File() + ": " + type.name + " version "
                                + std::to_string(version) + " has no field \"" + cell.name + "\"");
    const cls_Uid uid = row.uid.IsNull() ? cls_Uid::AllocateUid() : row.uid;
    id = Insert(uid, &type, 0);
    const auto adopt = [&](long long child) {
      file_.Statement("UPDATE object SET owner = ?1 WHERE id = ?2").BindAll(id, child).Run();
    };
    const auto ids = [](const cls_Blob& blob, cls_ArrayKind kind) {
      const auto bytes = cls_DecodeArray(blob, kind);
      std::vector<long long> result(bytes.size() / sizeof(long long));
      if (!result.empty()) std::memcpy(result.data(), bytes.data(), bytes.size());
      return result;
    };
    for (const cls_Cell& cell : cells) {
      if (const auto* link = std::get_if<cls_RowLink>(&cell)) {
        if (link->embedded)
          adopt(link->row);
        else
          Refer(id, link->row);
      } else if (const auto* blob = std::get_if<cls_Blob>(&cell); blob && !blob->empty()) {
        if (const auto kind = static_cast<cls_ArrayKind>(blob->front()); kind == cls_ArrayKind::RowIds) {
          for (const long long child : ids(*blob, kind)) adopt(child);
        } else if (kind == cls_ArrayKind::Map) {
          const auto entries = ids(*blob, kind);
          for (std::size_t i = 1; i < entries.size(); i += 2) Refer(id, entries[i]);
        }
      }
    }
    InsertCells(id, type, uid, cells);
    if (root)
      PutRoot(*root, id);
    else
      candidates_.push_back(id);
  });
  return id;
}

void db_Writer::Rewrite(long long row, unsigned typeId) {
  Guarded([&] {
    if (!Exists(row)) return; // an embedded object whose owner was rewritten before it
    const db_StoredRow old = file_.Load(row);
    db_Reader session(file_);
    const auto& record = CurrentRecord(typeId);
    const long long parentRow = old.owner != 0 ? old.owner : ReferrerOf(row);
    const auto parent = parentRow != 0 ? session.LoadObject(parentRow, file_.Load(parentRow).owner) : nullptr;
    cls_ReadVisitor visitor(session.PlaceOf(session.LoadObject(row, old.owner, parent.get())));
    const std::shared_ptr<void> object(record.Create()(visitor), record.Destroy());
    std::vector<long long> embedded;
    {
      const db_Use children(file_.Statement("SELECT id FROM object WHERE owner = ?1"));
      children->Bind(1, row);
      while (children->Step()) embedded.push_back(children->Int(0));
    }
    AddChildren(row, candidates_);
    file_.Statement("DELETE FROM ref WHERE parent = ?1").BindAll(row).Run();
    db_Statement(file_.Connection(), "DELETE FROM " + old.type->table + " WHERE \"$object\" = ?1")
        .BindAll(row)
        .Run();
    replacedRow_ = row;
    stored_ = &session;
    WriteOwned(object.get(), record.Write(), nullptr);
    stored_ = nullptr;
    written_.clear();
    file_.Statement("UPDATE object SET class = ?1 WHERE id = ?2")
        .BindAll(file_.FindClass(typeId, record.Version())->id, row)
        .Run();
    for (const long long child : embedded)
      file_.Statement("DELETE FROM object WHERE id = ?1").BindAll(child).Run();
  });
}

long long db_Writer::ReferrerOf(long long row) {
  if (!referrers_) { // upgrading changes none of these
    auto& all = referrers_.emplace();
    db_Statement refs(file_.Connection(), "SELECT child, parent FROM ref ORDER BY parent");
    while (refs.Step()) all.emplace(refs.Int(0), refs.Int(1));
  }
  const auto found = referrers_->find(row);
  return found == referrers_->end() ? 0 : found->second;
}

bool db_Writer::Exists(long long row) {
  const db_Use found(file_.Statement("SELECT 1 FROM object WHERE id = ?1"));
  found->Bind(1, row);
  return found->Step();
}

void db_Writer::CollectGarbage() {
  std::vector<long long> candidates = std::exchange(candidates_, {});
  while (!candidates.empty()) {
    const long long row = candidates.back();
    candidates.pop_back();
    DeleteIfUnreached(row, candidates);
  }
}

void db_Writer::DeleteIfUnreached(long long row, std::vector<long long>& candidates) {
  {
    const db_Use reached(file_.Statement(
        "SELECT EXISTS(SELECT 1 FROM root WHERE object = ?1) OR EXISTS(SELECT 1 FROM ref WHERE child = ?1) "
        "OR EXISTS(SELECT 1 FROM object WHERE id = ?1 AND owner IS NOT NULL)"));
    reached->Bind(1, row);
    if (!reached->Step() || reached->Int(0) != 0) return;
  }
  AddChildren(row, candidates);
  file_.Statement("DELETE FROM object WHERE id = ?1").BindAll(row).Run();
}

void db_Writer::AddChildren(long long row, std::vector<long long>& rows) {
  const db_Use children(file_.Statement(
      "WITH RECURSIVE part(id) AS (SELECT ?1 UNION SELECT o.id FROM object o JOIN part ON o.owner = part.id) "
      "SELECT child FROM ref JOIN part ON parent = part.id"));
  children->Bind(1, row);
  while (children->Step()) rows.push_back(children->Int(0));
}

void db_Writer::Commit() {
  db_Connection& connection = file_.Connection();
  if (!connection.InTransaction()) throw nex_TextException(connection.File() + ": the write pass has ended");
  if (!collected_) CollectGarbage();
  collected_ = true;
  connection.ExpectInPlace();
  connection.Execute("COMMIT");
  kept_.clear();
  written_.clear();
}
