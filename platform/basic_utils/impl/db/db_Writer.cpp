#include "db_Writer.h"

#include "db_Reader.h"
#include "db_Sum.h"

#include <BasicUtils/cls_MetadataRegistrar.h>
#include <BasicUtils/omi_Singleton.h>
#include <BasicUtils/thr_ThreadSingleton.h>
#include <BasicUtils/wip_Executor.h>
#include <BasicUtils/wip_WIP.h>
#include <cstring>

namespace {
constexpr int kDeepestNesting = 500;
cls_ClassRegistrar& Registry() { return omi_Singleton<cls_MetadataRegistrar>::Instance().Registry(); }
} // namespace

db_Writer::db_Writer(db_File& file, const std::function<void()>& before) : file_(file) {
  db_Connection& connection = file_.Connection();
  if (file_.IsReadOnly()) throw nex_TextException(connection.File() + ": was opened for reading only");
  if (connection.InTransaction()) throw nex_TextException(connection.File() + ": another write pass is open");
  connection.Begin("BEGIN IMMEDIATE");
  try {
    file_.Refresh();
    if (before) before();
    file_.Modernise();
    if (!file_.KnowsAllClasses()) file_.ReloadClasses();
    lastId_ = connection.Number("SELECT coalesce(max(id), 0) FROM object");
    lastChunk_ = connection.Number("SELECT coalesce(max(id), 0) FROM chunk");
  } catch (...) {
    Abandon();
    throw;
  }
}

db_Writer::~db_Writer() {
  if (file_.Connection().InTransaction()) Abandon();
}

void db_Writer::Abandon() noexcept {
  file_.Connection().RollBack();
  file_.Forget();
}

void db_Writer::Guarded(const std::function<void()>& change) {
  db_Connection& connection = file_.Connection();
  if (!connection.InTransaction()) throw nex_TextException(connection.File() + ": the write pass has ended");
  const std::size_t kept = kept_.size(), references = references_.size();
  const db_File::Totals totals = file_.TotalChanges();
  undo_.clear();
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
    // readers must not wait for a pass that cannot succeed; nor is there a way back behind collected garbage
    const bool isUndone =
        !connection.IsTimedOut() && references <= references_.size()
        && sqlite3_exec(connection.Handle(), "ROLLBACK TO change; RELEASE change", nullptr, nullptr, nullptr)
               == SQLITE_OK;
    if (!isUndone) connection.RollBack();
    if (connection.InTransaction()) {
      references_.resize(references);
      file_.SetTotalChanges(totals);
      file_.ReloadClasses();
    } else {
      file_.Forget();
    }
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
  if (const auto old = file_.FindRoot(root)) Refer(*old, -1);
  file_.PutRoot(root, row);
  Refer(row);
}

void db_Writer::Remove(const cow_String& root) {
  Guarded([&] {
    const long long row = file_.Root(root);
    file_.RemoveRoot(root, row);
    Refer(row, -1);
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
  // what is not embedded is stored as referred to once, as nearly everything will be, and counted from there
  const long long refs = owner == 0 ? 1 : 0;
  file_.InsertIdentity({id, uid, type ? type->id : 0, owner, refs});
  if (refs != 0) Refer(id, -refs);
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
  file_.Count(db_File::TableOf(type), sum.Value(), 1);
}

long long db_Writer::WriteArray(cls_ArrayKind kind, unsigned width, std::span<const std::byte> bytes,
                                std::size_t elementSize, std::size_t chunkBytes, cow_ArrayStamp& stamp) {
  if (stamp.id != 0 && file_.Has(stamp.id)) {
    // the stamp holds when that very array is still in this file
    const db_Identity known = file_.LoadIdentity(stamp.id);
    const auto uidBytes = known.uid.Bytes();
    if (known.type == 0 && std::memcmp(uidBytes.data(), stamp.uid, sizeof stamp.uid) == 0) {
      const db_Array array = file_.LoadArray(stamp.id);
      if (array.kind == kind && array.width == width
          && array.count == static_cast<long long>(bytes.size() / elementSize)) {
        Advance(bytes.size());
        return stamp.id;
      }
    }
  }
  const cls_Uid uid = cls_Uid::AllocateUid();
  const long long id = Insert(uid, nullptr, 0);
  const std::size_t rowBytes = width * elementSize;
  const std::size_t chunkRows =
      std::max<std::size_t>(1, (chunkBytes == 0 ? db_File::kChunkBytes : chunkBytes) / rowBytes);
  db_Array array{id,
                 uid,
                 kind,
                 width,
                 static_cast<long long>(bytes.size() / elementSize),
                 static_cast<long long>(chunkRows),
                 lastChunk_ + 1};
  lastChunk_ += array.NumChunks();
  file_.InsertArray(array);
  const auto chunk = [&](long long seq) {
    const std::size_t at = static_cast<std::size_t>(seq) * chunkRows * rowBytes;
    return bytes.subspan(at, std::min(chunkRows * rowBytes, bytes.size() - at));
  };
  long long sums[2] = {file_.SumOfChunk(array, 0, chunk(0)), 0};
  const long long numChunks = array.NumChunks();
  for (long long seq = 0; seq < numChunks; ++seq) {
    // one is written while the next is summed, on lent threads
    Advance(chunk(seq).size());
    wip_RunPieces(seq + 1 == numChunks ? 1 : 2, [&](std::size_t piece) {
      if (piece == 0)
        file_.InsertChunk(array, seq, sums[seq % 2], chunk(seq));
      else
        sums[(seq + 1) % 2] = file_.SumOfChunk(array, seq + 1, chunk(seq + 1));
    });
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
      const db_Identity old = file_.LoadIdentity(child);
      db_Identity adopted = old;
      adopted.owner = id;
      file_.UpdateIdentity(old, adopted);
    };
    for (std::size_t field = 0; field < cells.size(); ++field) {
      const auto* link = std::get_if<cls_RowLink>(&cells[field]);
      const bool isList = type.attributes[field].type == cls_AttributeType::Object
                          && std::holds_alternative<cls_Blob>(cells[field]);
      if (link && link->embedded) adopt(link->row);
      if (link && !link->embedded) Refer(link->row);
      for (const long long child : db_ChildRows(cells[field], type.attributes[field].type))
        isList ? adopt(child) : Refer(child);
    }
    InsertCells(id, type, uid, cells);
    if (root) PutRoot(*root, id);
  });
  return id;
}

void db_Writer::Rewrite(long long row, unsigned typeId) {
  Guarded([&] {
    if (!file_.Has(row)) return; // an embedded object whose owner was rewritten before it
    const db_StoredRow old = file_.Load(row);
    db_Reader session(file_);
    const auto& record = CurrentRecord(typeId);
    const long long parentRow = old.owner != 0 ? old.owner : ReferrerOf(row);
    const auto parent = parentRow != 0 ? session.LoadObject(parentRow, file_.Load(parentRow).owner) : nullptr;
    cls_ReadVisitor visitor(session.PlaceOf(session.LoadObject(row, old.owner, parent.get())));
    const std::shared_ptr<void> object(record.Create()(visitor), record.Destroy());
    std::vector<long long> embedded;
    for (std::size_t field = 0; field < old.cells.size(); ++field)
      for (const long long child : db_ChildRows(old.cells[field], old.type->attributes[field].type))
        if (file_.LoadIdentity(child).owner == row)
          embedded.push_back(child);
        else
          Refer(child, -1);
    file_.DeleteCells(old);
    replacedRow_ = row;
    stored_ = &session;
    WriteOwned(object.get(), record.Write(), nullptr);
    stored_ = nullptr;
    written_.clear();
    const db_Identity before = file_.LoadIdentity(row);
    db_Identity after = before;
    after.type = file_.FindClass(typeId, record.Version())->id;
    file_.UpdateIdentity(before, after);
    for (const long long child : embedded) DeleteEmbedded(child);
  });
}

void db_Writer::Commit() {
  db_Connection& connection = file_.Connection();
  if (!connection.InTransaction()) throw nex_TextException(connection.File() + ": the write pass has ended");
  try {
    CollectGarbage();
    file_.StoreTotals();
    connection.ExpectInPlace();
    connection.Execute("COMMIT");
  } catch (...) { // nobody waits for a pass that failed: the caller makes it again
    if (connection.InTransaction()) Abandon();
    throw;
  }
  kept_.clear();
  written_.clear();
}
