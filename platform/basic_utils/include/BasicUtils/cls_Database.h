// cls_Database.h: the object database: one SQLite file of named objects
#pragma once

#include <BasicUtils/cls_Visitors.h>
#include <BasicUtils/cow_COW.h>
#include <BasicUtils/cow_List.h>
#include <functional>
#include <memory>

class db_File;
struct db_Access;
class cls_Database;

/// The file is in use by another process or connection; the operation, a whole write pass, can be repeated.
class CORE_GEOMETRY_PLATFORM_API cls_BusyException : public nex_TextException {
public:
  using nex_TextException::nex_TextException;
  ~cls_BusyException() override;
};

/// What a shortcut leads to: a stored object, one of its fields, or one element of that field.
struct cls_Location {
  long long row = 0;
  int field = -1;         ///< position in the class's stored fields, -1 for the whole object
  long long element = -1; ///< position in a list, -1 for the whole field
};

/// An object database: named roots, each a stored object with everything it owns, in one file.
///
/// Old layouts are converted as they are read; the file stays as it is until Upgrade().
///
/// Errors     nex_TextException naming the file, and class, object and field where they are known: not a
///            database, damaged, of a newer format, unknown class, no such root. cls_BusyException when
///            another process holds the file longer than the timeout.
/// Threads    one thread at a time; several databases may be used on several threads.
/// Stored as  tables described in docs/file-format.md
class CORE_GEOMETRY_PLATFORM_API cls_Database {
public:
  enum class Mode {
    ReadOnly,
    ReadWrite,
    Finished ///< read-only, of a file that nobody changes any more: no locks, which some file systems do not have
  };
  struct Options {
    int pageSize = 16384; ///< bytes: 4096 for small files, 65536 for big models
    /// False for a file that gets its name only when it is complete: no journal beside it, and nothing is
    /// brought to the disk before its owner does.
    bool isDurable = true;
  };

  // make
  /// Makes a new file without roots; fails when it exists (an empty file counts as not existing). A process
  /// that is killed before its first commit leaves that file: cls_CreateModel gives a file its name only when
  /// it is complete.
  static cls_Database Create(const cow_String& file, const Options& options);
  static cls_Database Create(const cow_String& file) { return Create(file, Options{}); }
  /// Opens a file, after undoing the incomplete change of a writer that was killed.
  static cls_Database Open(const cow_String& file, Mode mode = Mode::ReadOnly);
  cls_Database(cls_Database&&) noexcept;
  cls_Database& operator=(cls_Database&&) noexcept;
  ~cls_Database();

  // ask
  const cow_String& File() const noexcept;
  cow_List<cow_String> Roots() const; ///< sorted
  bool Has(const cow_String& root) const;
  unsigned TypeId(const cow_String& root) const;
  /// Roots of exactly these classes, sorted; faster than TypeId for each of many.
  std::vector<cow_String> RootsOf(std::initializer_list<unsigned> typeIds) const;
  template<class T> cow_CountedHld<T> Get(const cow_String& root) const {
    return cow_CountedHld<T>(std::static_pointer_cast<T>(ReadRoot(root, T::TypeId())));
  }
  /// Numbers first to first + count of an array field ("root.field"), without reading the rest. Elements
  /// count single numbers.
  template<class T>
  std::vector<T> GetRange(const cow_String& path, std::size_t first, std::size_t count) const {
    std::vector<T> values(count);
    ReadRange(path, first, std::span(values));
    return values;
  }
  /// The same into the caller's memory, as many numbers as it holds.
  template<class T> void ReadRange(const cow_String& path, std::size_t first, std::span<T> target) const {
    ReadRange(Resolve(path), first, target);
  }
  template<class T> void ReadRange(const cls_Location& field, std::size_t first, std::span<T> target) const {
    ReadBytes(field, cls_kArrayKind<T>, first, std::as_writable_bytes(target), sizeof(T));
  }
  /// Stored classes with their versions and object counts.
  struct StoredClass {
    cow_String name;
    unsigned typeId;
    int version;
    long long objects;
    bool outdated;
  };
  std::vector<StoredClass> Classes() const;
  bool IsOutdated() const; ///< holds objects in superseded layouts
  long long FileSize() const;
  static constexpr int kFormat = 2; ///< of the files that this program writes
  int Format() const;               ///< of the file; the next write pass, or Upgrade(), updates an older one

  // shortcuts
  /// path := root step*, step := '.' member | '[' index ']'.
  cls_Location Resolve(const cow_String& path) const;
  template<class T> cow_CountedHld<T> GetObject(const cls_Location& location) const {
    return cow_CountedHld<T>(std::static_pointer_cast<T>(ReadObject(location, T::TypeId())));
  }
  /// A container that reads itself, at the field that the location names.
  template<class T> T GetValue(const cls_Location& location) const { return T(FieldVisitor(location)); }

  // change
  /// Rewrites every object of a superseded layout in one transaction, and returns their number. `before` is
  /// called when no other process can change the file any more and nothing is changed yet; when it throws,
  /// nothing is changed.
  long long Upgrade(const std::function<void()>& before = {});
  /// Deletes what no root reaches and returns the space to the file system.
  void Compact();
  /// Copies the present state of the database into a new file, which appears when it is complete; see
  /// uti_OutputFile.
  void Backup(const cow_String& file) const;
  /// A copy in memory with every object in its current layout; this file stays as it is.
  cls_Database Converted() const;
  void SetBusyTimeout(int milliseconds); ///< 5000 unless set
  /// Lets SQLite map the file into memory: faster for data in the page cache, but a file that another program
  /// truncates then ends the process.
  void UseMemoryMap(bool on);

private:
  explicit cls_Database(std::unique_ptr<db_File> file) noexcept;
  std::shared_ptr<void> ReadRoot(const cow_String& root, unsigned typeId) const;
  std::shared_ptr<void> ReadObject(const cls_Location& location, unsigned typeId) const;
  void ReadBytes(const cls_Location& field, cls_ArrayKind kind, std::size_t first,
                 std::span<std::byte> target, std::size_t elementSize) const;
  cls_ReadVisitor FieldVisitor(const cls_Location& location) const;

  std::unique_ptr<db_File> file_;
  friend class cls_WritePass;
  friend struct db_Access;
};
