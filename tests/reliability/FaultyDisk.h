// FaultyDisk.h: a file system that fails at a chosen change, for tests of what is left then
#pragma once

#include <map>
#include <sqlite3.h>
#include <string>

/// While it lives, SQLite's files go through it. Changes (writes, syncs, truncations, deletions) are counted
/// from 1 over all files.
class FaultyDisk {
public:
  enum class Fault {
    None,           ///< counts only
    Fail,           ///< the n-th change fails, later ones work
    ReadOnlyFolder, ///< no file can be made
    Full,           ///< every write from the n-th change on fails for want of space
    Die,            ///< the n-th change and every later one fails, then LosePower() is to be called
    Kill            ///< the process ends before the n-th change
  };
  FaultyDisk(Fault fault, int nth);
  ~FaultyDisk();
  FaultyDisk(const FaultyDisk&) = delete;
  FaultyDisk& operator=(const FaultyDisk&) = delete;

  int Changes() const { return changes_; }
  bool Happened() const { return fault_ != Fault::None && changes_ >= nth_; }
  /// Leaves of every file what a power cut may leave: what was synced, and of the rest any sectors.
  void LosePower(unsigned seed);

private:
  struct Methods;
  struct Stored {
    bool exists = false;
    std::string bytes;
  };
  enum class Change { Write, Sync, Truncate, Delete };
  int Count(Change change); ///< SQLITE_OK or the error of the fault

  Fault fault_;
  int nth_;
  int changes_ = 0;
  std::map<std::string, Stored> durable_; ///< what a power cut cannot take, by file
  sqlite3_vfs vfs_{};
};
