#include "db_Sqlite.h"

#include <BasicUtils/cls_Database.h>
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <thread>

cls_BusyException::~cls_BusyException() = default;

namespace fs = std::filesystem;

namespace {
/// What the operating system refused, for messages.
const char* FailedOperation(int code) {
  switch (code) {
  case SQLITE_IOERR_READ:
  case SQLITE_IOERR_SHORT_READ: return "the file cannot be read";
  case SQLITE_IOERR_WRITE: return "the file or its journal cannot be written";
  case SQLITE_IOERR_FSYNC:
  case SQLITE_IOERR_DIR_FSYNC: return "what was written cannot be brought to the disk";
  case SQLITE_IOERR_TRUNCATE: return "the file cannot be shortened";
  case SQLITE_IOERR_DELETE: return "the journal cannot be deleted";
  case SQLITE_IOERR_LOCK:
  case SQLITE_IOERR_RDLOCK:
  case SQLITE_IOERR_UNLOCK:
  case SQLITE_IOERR_CHECKRESERVEDLOCK: return "the file cannot be locked";
  case SQLITE_IOERR_GETTEMPPATH: return "there is no folder for temporary files";
  default: return "the disk reports an error";
  }
}
} // namespace

db_Connection::db_Connection(cow_String file, const cow_String& path, int flags) : file_(std::move(file)) {
  sqlite3* opened = nullptr;
  const int code =
      sqlite3_open_v2(path.c_str(), &opened, flags | SQLITE_OPEN_EXRESCODE | SQLITE_OPEN_NOMUTEX, nullptr);
  handle_.reset(opened);
  if (code != SQLITE_OK) Fail(code);
  isOpen_ = true;
  sqlite3_busy_handler(opened, &OnBusy, this);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_VIEW, 0, nullptr);
  sqlite3_db_config(opened, SQLITE_DBCONFIG_ENABLE_TRIGGER, 0, nullptr);
  Execute("PRAGMA cell_size_check=ON; PRAGMA foreign_keys=OFF; PRAGMA mmap_size=0; PRAGMA cache_size=-4000;"
          "PRAGMA synchronous=EXTRA;");
}

int db_Connection::OnBusy(void* connection, int attempt) noexcept {
  auto& self = *static_cast<db_Connection*>(connection);
  if (attempt == 0 && !self.InTransaction()) self.waited_ = {};
  const auto left = self.timeout_ - self.waited_;
  if (left <= left.zero()) {
    self.timedOut_ = self.InTransaction();
    return 0;
  }
  const auto start = std::chrono::steady_clock::now();
  std::this_thread::sleep_for(std::min<std::chrono::steady_clock::duration>(
      left, std::chrono::milliseconds(std::min(1 << std::min(attempt, 5), 25))));
  self.waited_ += std::chrono::steady_clock::now() - start;
  return 1;
}

void db_Connection::Begin(const char* sql) {
  waited_ = {};
  timedOut_ = false;
  if (!rollBack_) rollBack_ = std::make_unique<db_Statement>(*this, "ROLLBACK");
  Execute(sql);
}

void db_Connection::RollBack() noexcept {
  if (rollBack_) rollBack_->TryRun();
  timedOut_ = false;
}

void db_Connection::Execute(const char* sql) {
  if (const int code = sqlite3_exec(handle_.get(), sql, nullptr, nullptr, nullptr); code != SQLITE_OK)
    Fail(code);
}

long long db_Connection::Number(const char* sql) {
  db_Statement statement(*this, sql);
  return statement.Step() ? statement.Int(0) : 0;
}

void db_Connection::CopyTo(db_Connection& target) {
  sqlite3_backup* backup = sqlite3_backup_init(target.Handle(), "main", Handle(), "main");
  if (!backup) target.Fail(sqlite3_extended_errcode(target.Handle()));
  const int code = sqlite3_backup_step(backup, -1);
  sqlite3_backup_finish(backup);
  if (code != SQLITE_DONE) target.Fail(code);
}

void db_Connection::TakeBytes(std::span<const std::byte> bytes) {
  auto* copy = static_cast<unsigned char*>(sqlite3_malloc64(std::max<std::size_t>(1, bytes.size())));
  if (!copy) throw std::bad_alloc();
  if (!bytes.empty()) std::memcpy(copy, bytes.data(), bytes.size());
  const auto size = static_cast<sqlite3_int64>(bytes.size());
  const int code = sqlite3_deserialize(Handle(), "main", copy, size, size,
                                       SQLITE_DESERIALIZE_FREEONCLOSE | SQLITE_DESERIALIZE_READONLY);
  if (code != SQLITE_OK) Fail(code); // SQLite has freed the copy
}

void db_Connection::Vacuum() {
  const int code = sqlite3_exec(Handle(), "VACUUM", nullptr, nullptr, nullptr);
  if (code == SQLITE_OK) return;
  if ((code & 0xff) != SQLITE_FULL && code != SQLITE_IOERR_WRITE) Fail(code);
  // it needs a copy in the folder for temporary files, and a journal beside the file
  const auto megabytes = [](long long bytes) { return std::to_string((bytes + 1048575) / 1048576) + " MB"; };
  const auto room = [&](const fs::path& folder) {
    std::error_code failed;
    const fs::space_info space = fs::space(folder, failed);
    return failed ? cow_String("unknown space")
                  : megabytes(static_cast<long long>(space.available)) + " free";
  };
  const cow_String path = sqlite3_db_filename(Handle(), "main");
  const fs::path beside = fs::path(path).parent_path();
  const char* named = std::getenv("SQLITE_TMPDIR");
  if (!named) named = std::getenv("TMPDIR");
  const fs::path temporary = named ? named : "/var/tmp";
  throw nex_TextException(
      file_ + ": there is no room to compact it; the model stays as it was. It takes up to "
      + megabytes(Number("SELECT page_count * page_size FROM pragma_page_count, pragma_page_size"))
      + " in the folder for temporary files " + temporary.string() + " (" + room(temporary)
      + "; the variable SQLITE_TMPDIR names another) and as much in " + beside.string() + " (" + room(beside)
      + ") (error " + std::to_string(code) + ")");
}

void db_Connection::ExpectInPlace() const {
  int isMoved = 0;
  sqlite3_file_control(handle_.get(), "main", SQLITE_FCNTL_HAS_MOVED, &isMoved);
  if (isMoved) Moved();
}

void db_Connection::Moved() const {
  throw nex_TextException(file_
                          + ": was moved or deleted by another program; nothing can be changed any more");
}

void db_Connection::Fail(int code) const {
  const cow_String detail = handle_ ? sqlite3_errmsg(handle_.get()) : sqlite3_errstr(code);
  const int reason = handle_ ? sqlite3_system_errno(handle_.get()) : 0;
  const cow_String why = reason != 0 ? std::generic_category().message(reason) : detail;
  const cow_String number = " (error " + std::to_string(code) + ")";
  if (code == SQLITE_READONLY_DBMOVED) Moved();
  switch (code & 0xff) {
  case SQLITE_BUSY:
  case SQLITE_LOCKED:
    throw cls_BusyException(file_ + ": in use by another program; try again when it is done");
  case SQLITE_NOTADB: throw nex_TextException(file_ + ": not a model database");
  case SQLITE_CORRUPT: Damaged(detail);
  case SQLITE_FULL:
    throw nex_TextException(file_ + ": the disk is full; nothing was changed, make room and try again"
                            + number);
  case SQLITE_READONLY:
    throw nex_TextException(file_ + ": is read-only (" + detail
                            + "); check the permissions of the file and its folder" + number);
  case SQLITE_CANTOPEN:
    if (isOpen_)
      throw nex_TextException(file_ + ": the journal of a change cannot be made beside it: " + why
                              + "; check the permissions of its folder" + number);
    throw nex_TextException(file_ + ": cannot be opened: " + why
                            + "; check the path and the permissions of the file and its folder" + number);
  case SQLITE_NOMEM: throw std::bad_alloc();
  case SQLITE_IOERR:
    throw nex_TextException(file_ + ": " + FailedOperation(code) + ": " + why
                            + "; check the disk and try again" + number);
  default: throw nex_TextException(file_ + ": the database library failed: " + detail + number);
  }
}

void db_Connection::Damaged(const cow_String& what) const {
  throw nex_TextException(file_ + ": damaged file: " + what);
}

db_Statement::db_Statement(db_Connection& connection, std::string_view sql) : connection_(&connection) {
  sqlite3_stmt* prepared = nullptr;
  const int code = sqlite3_prepare_v3(connection.Handle(), sql.data(), static_cast<int>(sql.size()),
                                      SQLITE_PREPARE_PERSISTENT, &prepared, nullptr);
  handle_.reset(prepared);
  if (code != SQLITE_OK) connection.Fail(code);
}

db_Statement& db_Statement::Bound(int code) {
  if (code != SQLITE_OK) connection_->Fail(code);
  return *this;
}

db_Statement& db_Statement::Bind(int index, long long value) {
  return Bound(sqlite3_bind_int64(handle_.get(), index, value));
}

db_Statement& db_Statement::Bind(int index, double value) {
  // SQLite would store a NaN as NULL: its bits are kept as a blob of eight bytes
  if (value != value)
    return Bound(sqlite3_bind_blob64(handle_.get(), index, &value, sizeof value, SQLITE_TRANSIENT));
  return Bound(sqlite3_bind_double(handle_.get(), index, value));
}

db_Statement& db_Statement::Bind(int index, std::string_view text) {
  return Bound(sqlite3_bind_text64(handle_.get(), index, text.data() ? text.data() : "", text.size(),
                                   SQLITE_TRANSIENT, SQLITE_UTF8));
}

db_Statement& db_Statement::Bind(int index, std::span<const std::byte> bytes) {
  return Bound(sqlite3_bind_blob64(handle_.get(), index,
                                   bytes.empty() ? "" : static_cast<const void*>(bytes.data()), bytes.size(),
                                   SQLITE_STATIC));
}

db_Statement& db_Statement::BindNull(int index) { return Bound(sqlite3_bind_null(handle_.get(), index)); }

db_Statement& db_Statement::BindUid(int index, const cls_Uid& uid) {
  const auto bytes = uid.Bytes();
  return Bound(sqlite3_bind_blob64(handle_.get(), index, bytes.data(), bytes.size(), SQLITE_TRANSIENT));
}

bool db_Statement::Step() {
  const int code = sqlite3_step(handle_.get());
  if (code == SQLITE_ROW) return true;
  if (code == SQLITE_DONE) return false;
  try {
    connection_->Fail(code);
  } catch (...) {
    Reset();
    throw;
  }
}

void db_Statement::Run() {
  while (Step()) {
  }
  Reset();
  connection_->ExpectNotTimedOut();
}

void db_Statement::TryRun() noexcept {
  sqlite3_step(handle_.get());
  Reset();
}

void db_Statement::Reset() noexcept {
  sqlite3_reset(handle_.get());
  sqlite3_clear_bindings(handle_.get());
}

std::string_view db_Statement::Text(int column) const {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(handle_.get(), column));
  if (!text && Type(column) != SQLITE_NULL) throw std::bad_alloc();
  return {text ? text : "", static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), column))};
}

std::span<const std::byte> db_Statement::Blob(int column) const {
  const auto* bytes = static_cast<const std::byte*>(sqlite3_column_blob(handle_.get(), column));
  const auto size = static_cast<std::size_t>(sqlite3_column_bytes(handle_.get(), column));
  if (!bytes && size > 0) throw std::bad_alloc();
  return {bytes, bytes ? size : 0};
}

cls_Uid db_Statement::Uid(int column) const {
  cls_Uid::ByteArray bytes{};
  const auto stored = Blob(column);
  if (stored.size() != bytes.size()) return {};
  std::memcpy(bytes.data(), stored.data(), bytes.size());
  return cls_Uid(bytes);
}
