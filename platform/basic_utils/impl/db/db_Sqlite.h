// db_Sqlite.h: thin owners of SQLite's connection and statements; every failure becomes an exception
#pragma once

#include <BasicUtils/cls_Row.h>
#include <chrono>
#include <memory>
#include <sqlite3.h>

class db_Connection;

/// One prepared statement.
class db_Statement {
public:
  db_Statement(db_Connection& connection, std::string_view sql);

  db_Statement& Bind(int index, long long value);
  db_Statement& Bind(int index, double value);
  db_Statement& Bind(int index, std::string_view text);            ///< copied
  db_Statement& Bind(int index, std::span<const std::byte> bytes); ///< must live until the next Reset
  db_Statement& BindNull(int index);
  db_Statement& BindUid(int index, const cls_Uid& uid);
  template<class... Values> db_Statement& BindAll(const Values&... values) {
    int index = 0;
    (Bind(++index, values), ...);
    return *this;
  }
  bool Step(); ///< true when there is a row
  void Run();  ///< to the end, then Reset
  void Reset() noexcept;
  void TryRun() noexcept; ///< one that gives no rows and may fail

  int Type(int column) const noexcept { return sqlite3_column_type(handle_.get(), column); }
  long long Int(int column) const noexcept { return sqlite3_column_int64(handle_.get(), column); }
  double Real(int column) const noexcept { return sqlite3_column_double(handle_.get(), column); }
  std::string_view Text(int column) const;
  std::span<const std::byte> Blob(int column) const;
  cls_Uid Uid(int column) const; ///< null when the column does not hold one

private:
  db_Statement& Bound(int code); ///< throws unless it is SQLITE_OK
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
  };
  db_Connection* connection_;
  std::unique_ptr<sqlite3_stmt, Finalize> handle_;
};

/// Resets a statement at the end of a scope, so that an exception leaves no open cursor behind.
class db_Use {
public:
  explicit db_Use(db_Statement& statement) noexcept : statement_(statement) {}
  ~db_Use() { statement_.Reset(); }
  db_Use(const db_Use&) = delete;
  db_Use& operator=(const db_Use&) = delete;
  db_Statement* operator->() const noexcept { return &statement_; }

private:
  db_Statement& statement_;
};

/// One connection to one file.
class db_Connection {
public:
  /// Opens `path` and calls it `file` in messages.
  db_Connection(cow_String file, const cow_String& path, int flags);

  const cow_String& File() const noexcept { return file_; }
  sqlite3* Handle() const noexcept { return handle_.get(); }
  void Execute(const char* sql);
  long long Number(const char* sql);                ///< first column of the first row
  void CopyTo(db_Connection& target);               ///< everything; the target is overwritten
  void TakeBytes(std::span<const std::byte> bytes); ///< of a database, read only from now on
  void Vacuum();                                    ///< gives unused space back
  void ExpectInPlace() const; ///< throws when the file was moved or deleted since it was opened

  // waiting for other programs
  void SetTimeout(std::chrono::milliseconds limit) noexcept { timeout_ = limit; }
  /// Begins a transaction. All waiting for locks until it ends takes no longer than the timeout in sum.
  void Begin(const char* sql);
  void RollBack() noexcept; ///< takes no memory
  /// Throws cls_BusyException when a lock was waited for in vain: SQLite goes on without it as long as memory
  /// lasts.
  void ExpectNotTimedOut() const {
    if (IsTimedOut()) Fail(SQLITE_BUSY);
  }
  bool IsTimedOut() const noexcept { return timedOut_ && InTransaction(); }
  bool InTransaction() const noexcept { return sqlite3_get_autocommit(handle_.get()) == 0; }

  [[noreturn]] void Fail(int code) const;
  /// Wrong data in the file: "file: what".
  [[noreturn]] void Damaged(const cow_String& what) const;

private:
  [[noreturn]] void Moved() const;
  static int OnBusy(void* connection, int attempt) noexcept;
  struct Close {
    void operator()(sqlite3* connection) const noexcept { sqlite3_close_v2(connection); }
  };
  cow_String file_;
  std::unique_ptr<sqlite3, Close> handle_;
  std::unique_ptr<db_Statement> rollBack_; ///< prepared while there is memory
  bool isOpen_ = false;                    ///< the file itself could be opened
  std::chrono::milliseconds timeout_{5000};
  std::chrono::steady_clock::duration waited_{}; ///< in the running transaction
  bool timedOut_ = false;                        ///< in the running transaction
};
