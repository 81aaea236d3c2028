#include "FaultyDisk.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <unistd.h>

namespace {
namespace fs = std::filesystem;
constexpr std::size_t kSector = 512;

FaultyDisk* theDisk = nullptr;
sqlite3_vfs* theReal = nullptr;

/// An open file: SQLite's part, then the real file.
struct OpenFile {
  sqlite3_file base;
  char path[512];
  sqlite3_file* Real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

OpenFile* At(sqlite3_file* file) { return reinterpret_cast<OpenFile*>(file); }
sqlite3_file* RealOf(sqlite3_file* file) { return At(file)->Real(); }
const sqlite3_io_methods* MethodsOf(sqlite3_file* file) { return RealOf(file)->pMethods; }

std::string Bytes(const std::string& file) {
  std::ifstream in(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}
} // namespace

struct FaultyDisk::Methods {
  static int Write(sqlite3_file* file, const void* data, int size, sqlite3_int64 at) {
    if (const int code = theDisk->Count(Change::Write); code != SQLITE_OK) return code;
    return MethodsOf(file)->xWrite(RealOf(file), data, size, at);
  }
  static int Truncate(sqlite3_file* file, sqlite3_int64 size) {
    if (const int code = theDisk->Count(Change::Truncate); code != SQLITE_OK) return code;
    return MethodsOf(file)->xTruncate(RealOf(file), size);
  }
  static int Sync(sqlite3_file* file, int flags) {
    if (const int code = theDisk->Count(Change::Sync); code != SQLITE_OK) return code;
    const int code = MethodsOf(file)->xSync(RealOf(file), flags);
    theDisk->durable_[At(file)->path] = {true, Bytes(At(file)->path)};
    return code;
  }
  static int Delete(sqlite3_vfs*, const char* path, int syncFolder) {
    if (const int code = theDisk->Count(Change::Delete); code != SQLITE_OK) return code;
    const int code = theReal->xDelete(theReal, path, syncFolder);
    if (syncFolder) theDisk->durable_[path] = {};
    return code;
  }
  static int Open(sqlite3_vfs*, const char* path, sqlite3_file* file, int flags, int* outFlags) {
    OpenFile* const opened = At(file);
    opened->base.pMethods = nullptr;
    if (theDisk->fault_ == Fault::ReadOnlyFolder && path && !fs::exists(path)) return SQLITE_CANTOPEN;
    const int code = theReal->xOpen(theReal, path, opened->Real(), flags, outFlags);
    if (code != SQLITE_OK) return code;
    std::snprintf(opened->path, sizeof opened->path, "%s", path ? path : "");
    opened->base.pMethods = &Table();
    // what stood there before the disk was looked at is durable
    if (path && !theDisk->durable_.contains(path)) {
      const bool isNew = (flags & SQLITE_OPEN_CREATE) != 0 && fs::file_size(path) == 0;
      theDisk->durable_[path] = {!isNew, Bytes(path)};
    }
    return SQLITE_OK;
  }
  static const sqlite3_io_methods& Table() {
    static const sqlite3_io_methods table = [] {
      sqlite3_io_methods methods{};
      methods.iVersion = 1; // neither shared memory nor mapping
      methods.xClose = [](sqlite3_file* f) { return MethodsOf(f)->xClose(RealOf(f)); };
      methods.xRead = [](sqlite3_file* f, void* to, int size, sqlite3_int64 at) {
        return MethodsOf(f)->xRead(RealOf(f), to, size, at);
      };
      methods.xWrite = Write;
      methods.xTruncate = Truncate;
      methods.xSync = Sync;
      methods.xFileSize = [](sqlite3_file* f, sqlite3_int64* size) {
        return MethodsOf(f)->xFileSize(RealOf(f), size);
      };
      methods.xLock = [](sqlite3_file* f, int level) { return MethodsOf(f)->xLock(RealOf(f), level); };
      methods.xUnlock = [](sqlite3_file* f, int level) { return MethodsOf(f)->xUnlock(RealOf(f), level); };
      methods.xCheckReservedLock = [](sqlite3_file* f, int* result) {
        return MethodsOf(f)->xCheckReservedLock(RealOf(f), result);
      };
      methods.xFileControl = [](sqlite3_file* f, int operation, void* argument) {
        return MethodsOf(f)->xFileControl(RealOf(f), operation, argument);
      };
      methods.xSectorSize = [](sqlite3_file*) { return static_cast<int>(kSector); };
      methods.xDeviceCharacteristics = [](sqlite3_file*) { return 0; };
      return methods;
    }();
    return table;
  }
};

FaultyDisk::FaultyDisk(Fault fault, int nth) : fault_(fault), nth_(nth) {
  theDisk = this;
  theReal = sqlite3_vfs_find("unix");
  vfs_ = *theReal;
  vfs_.zName = "faulty";
  vfs_.pNext = nullptr;
  vfs_.szOsFile = static_cast<int>(sizeof(OpenFile)) + theReal->szOsFile;
  vfs_.xOpen = Methods::Open;
  vfs_.xDelete = Methods::Delete;
  sqlite3_vfs_register(&vfs_, 1);
}

FaultyDisk::~FaultyDisk() {
  sqlite3_vfs_unregister(&vfs_);
  sqlite3_vfs_register(theReal, 1);
  theDisk = nullptr;
}

int FaultyDisk::Count(Change change) {
  ++changes_;
  const bool isNow = changes_ == nth_;
  const bool isOver = changes_ >= nth_;
  constexpr int kErrors[] = {SQLITE_IOERR_WRITE, SQLITE_IOERR_FSYNC, SQLITE_IOERR_TRUNCATE,
                             SQLITE_IOERR_DELETE};
  const int error = kErrors[static_cast<int>(change)];
  switch (fault_) {
  case Fault::None:
  case Fault::ReadOnlyFolder: return SQLITE_OK;
  case Fault::Fail: return isNow ? error : SQLITE_OK;
  case Fault::Full: return isOver && change == Change::Write ? SQLITE_FULL : SQLITE_OK;
  case Fault::Die: return isOver ? error : SQLITE_OK;
  case Fault::Kill:
    if (isOver) _exit(9);
    return SQLITE_OK;
  }
  return SQLITE_OK;
}

void FaultyDisk::LosePower(unsigned seed) {
  std::mt19937 random(seed);
  const auto coin = [&] { return (random() & 1) != 0; };
  for (const auto& [path, durable] : durable_) {
    const bool exists = fs::exists(path);
    if (!exists && !durable.exists) continue;
    if (exists != durable.exists && coin()) { // the folder's entry may or may not have reached the disk
      if (exists) {
        fs::remove(path);
      } else {
        std::ofstream(path, std::ios::binary) << durable.bytes;
      }
      continue;
    }
    if (!exists) continue;
    const std::string now = Bytes(path);
    std::string left = coin() ? now : durable.bytes;
    for (std::size_t at = 0; at < left.size(); at += kSector) {
      const std::string& source = coin() ? now : durable.bytes;
      if (at >= source.size()) continue;
      const std::size_t size = std::min({kSector, source.size() - at, left.size() - at});
      std::memcpy(left.data() + at, source.data() + at, size);
    }
    std::ofstream(path, std::ios::binary | std::ios::trunc) << left;
  }
}
