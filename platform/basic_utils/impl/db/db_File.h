// db_File.h: an open database file: its schema, its classes, its rows
#pragma once

#include "db_Sqlite.h"

#include <BasicUtils/cls_Database.h>
#include <map>
#include <optional>

/// A class in one version as the file describes it.
struct db_Class {
  long long id = 0;
  unsigned typeId = 0;
  int version = 0;
  cow_String name;
  std::vector<cls_ClassMetadata::Attribute> attributes;
  std::string table; ///< quoted
  std::unique_ptr<db_Statement> select, insert;
};

/// One row of a class table with its identity.
struct db_StoredRow {
  db_Class* type = nullptr;
  long long id = 0;
  long long owner = 0; ///< 0 when it is no embedded object
  cls_Uid uid;
  std::vector<cls_Cell> cells; ///< in stored order
};

/// Description of a stored array.
struct db_Array {
  long long id = 0;
  cls_Uid uid;
  cls_ArrayKind kind{};
  unsigned width = 0;
  long long count = 0;     ///< single numbers
  long long chunkRows = 0; ///< rows of `width` numbers per chunk
};

class db_File {
public:
  static std::unique_ptr<db_File> Create(const cow_String& file, const cls_Database::Options& options);
  static std::unique_ptr<db_File> Open(const cow_String& file, cls_Database::Mode mode);
  static std::unique_ptr<db_File> CopyInMemory(db_File& file); ///< goes by the same name in messages

  db_Connection& Connection() noexcept { return connection_; }
  bool IsReadOnly() const noexcept { return readOnly_; }

  // classes
  db_Class& ClassById(long long id);
  db_Class* FindClass(unsigned typeId, int version) noexcept;
  /// The class of a record, added to the file when it is new there.
  db_Class& EnsureClass(const cls_ClassMetadata& record);
  std::span<const std::unique_ptr<db_Class>> Classes() const noexcept { return classes_; }
  void LoadClasses();   ///< those that were added since
  void ReloadClasses(); ///< forgets classes that a rolled back change had added
  /// The layout as this program knows it; throws when it is unknown or described otherwise in the file.
  const cls_ClassMetadata& RecordOf(const db_Class& type) const;

  // rows
  std::optional<long long> FindRoot(std::string_view name);
  long long Root(std::string_view name); ///< throws when there is none
  db_StoredRow Load(long long id);
  db_Statement& Statement(std::string_view sql); ///< prepared once per text; sql must be a literal

  // arrays
  static constexpr std::size_t kInlineBytes = 4096; ///< larger arrays are objects of their own
  static constexpr std::size_t kChunkBytes = std::size_t{2} << 20;
  db_Array LoadArray(long long id);
  void ReadChunks(const db_Array& array, std::size_t elementSize, std::byte* target);
  void ReadPart(const db_Array& array, std::size_t elementSize, std::size_t first,
                std::span<std::byte> target);

  static std::string QuotedTableOf(const db_Class& type);

  /// "object 12 of gsl_Dot", for messages.
  static cow_String NameOf(const db_StoredRow& row);

private:
  db_File(const cow_String& file, const cow_String& path, int flags, bool readOnly);
  void CheckSchema();
  static std::string TableOf(const db_Class& type);
  std::string CreateTableSql(const db_Class& type) const;

  db_Connection connection_;
  bool readOnly_;
  std::vector<std::unique_ptr<db_Class>> classes_;
  std::map<std::string_view, std::unique_ptr<db_Statement>> statements_;
};

std::size_t db_ElementSize(cls_ArrayKind kind);
