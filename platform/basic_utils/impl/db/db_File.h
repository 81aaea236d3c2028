// db_File.h: an open database file: its schema, its classes, its rows
#pragma once

#include "db_Sqlite.h"
#include "db_Sum.h"

#include <BasicUtils/cls_Database.h>
#include <functional>
#include <map>
#include <optional>
#include <unordered_map>

/// A class in one version as the file describes it.
struct db_Class {
  long long id = 0;
  unsigned typeId = 0;
  int version = 0;
  cow_String name;
  std::vector<cls_ClassMetadata::Attribute> attributes;
  std::string table; ///< quoted
  std::unique_ptr<db_Statement> select, insert;
  long long sum = 0;               ///< of its row in `class`
  unsigned long long fieldSum = 0; ///< of its rows in `field`, added up
};

/// Identity of a stored object or array: its row in `object`.
struct db_Identity {
  long long id = 0;
  cls_Uid uid;
  long long type = 0;  ///< number of the class, 0 for an array
  long long owner = 0; ///< row that it is embedded in, 0 for none
  long long refs = 0;  ///< roots and fields that refer to it; unknown (0) in files of the first format
};

/// How many rows a table has, and their checksums added up (modulo 2^64).
struct db_Total {
  long long rows = 0;
  unsigned long long content = 0;
  void Add(long long sum, int count) noexcept {
    rows += count;
    content += static_cast<unsigned long long>(count) * static_cast<unsigned long long>(sum);
  }
  friend bool operator==(const db_Total&, const db_Total&) = default;
};

/// One row of a class table with its identity.
struct db_StoredRow {
  db_Class* type = nullptr;
  long long id = 0;
  long long owner = 0; ///< 0 when it is no embedded object
  cls_Uid uid;
  std::vector<cls_Cell> cells; ///< in stored order
  long long sum = 0;           ///< of the cells
};

/// Description of a stored array.
struct db_Array {
  long long id = 0;
  cls_Uid uid;
  cls_ArrayKind kind{};
  unsigned width = 0;
  long long count = 0;      ///< single numbers
  long long chunkRows = 0;  ///< rows of `width` numbers per chunk
  long long firstChunk = 0; ///< number of its first chunk, the others follow; 0 in files of the first format
  long long NumChunks() const noexcept { return (count / width + chunkRows - 1) / chunkRows; }
  std::size_t ChunkBytes(std::size_t elementSize) const noexcept {
    return static_cast<std::size_t>(chunkRows) * width * elementSize;
  }
};

/// Is shown bytes of an array, one piece after the other, perhaps on a lent thread.
using db_SeeBytes = std::function<void(std::span<const std::byte>)>;

/// A named object.
struct db_RootRow {
  cow_String name;
  long long object = 0;
  long long sum = 0;
};

class db_File {
public:
  static constexpr int kFirstFormat = 1, kFormat = cls_Database::kFormat;

  static std::unique_ptr<db_File> Create(const cow_String& file, const cls_Database::Options& options);
  static std::unique_ptr<db_File> Open(const cow_String& file, cls_Database::Mode mode);
  static std::unique_ptr<db_File> CopyInMemory(db_File& file); ///< goes by the same name in messages
  static std::unique_ptr<db_File> OfBytes(const cow_String& file, std::span<const std::byte> bytes);

  db_Connection& Connection() noexcept { return connection_; }
  bool IsReadOnly() const noexcept { return readOnly_; }
  long long Size(); ///< bytes
  int Format() const noexcept { return format_; }
  /// Brings a file of the first format into today's, within the running transaction (db_FirstFormat.cpp).
  void Modernise();
  /// At the beginning of a transaction: another program may have changed the format, or a change was rolled
  /// back.
  void Refresh();
  void Forget() noexcept; ///< what was rolled back; the next Refresh loads the classes anew

  // classes
  db_Class& ClassById(long long id);
  db_Class* FindClass(unsigned typeId, int version) noexcept;
  /// The class of a record, added to the file when it is new there.
  db_Class& EnsureClass(const cls_ClassMetadata& record);
  std::span<const std::unique_ptr<db_Class>> Classes() const noexcept { return classes_; }
  void LoadClasses();   ///< those that were added since
  void ReloadClasses(); ///< all of them anew, none missing
  long long NumObjects(const db_Class& type);
  bool KnowsAllClasses();                 ///< those of the file are those that were loaded
  void DeleteClass(const db_Class& type); ///< with its table; the caller reloads the classes
  void RenameClass(const db_Class& type, const cow_String& to);
  /// The layout as this program knows it; throws when it is unknown or described otherwise in the file.
  const cls_ClassMetadata& RecordOf(const db_Class& type) const;
  static std::string TableOf(const db_Class& type);
  static std::string QuotedTableOf(const db_Class& type);

  // rows
  std::optional<long long> FindRoot(std::string_view name); ///< none only when no root is missing
  long long Root(std::string_view name);                    ///< throws when there is none
  std::vector<db_RootRow> Roots();                          ///< by name, none missing
  std::size_t LongestRoot();                                ///< bytes of the longest name, or more
  void PutRoot(std::string_view name, long long object);    ///< replaces what the name stood for
  void RemoveRoot(std::string_view name, long long object); ///< which it stands for now
  bool Has(long long id);
  void InsertIdentity(const db_Identity& object);
  void UpdateIdentity(const db_Identity& old, const db_Identity& changed);
  void DeleteIdentity(const db_Identity& object); ///< its row in `object` alone
  db_Identity LoadIdentity(long long id);
  db_StoredRow Load(long long id);
  db_Class& ClassOf(long long id);                   ///< of an object, proven by a checksum
  void DeleteCells(const db_StoredRow& row);         ///< its row in the table of its class
  db_Statement& Statement(const char* sql);          ///< prepared once per literal
  static cow_String NameOf(const db_StoredRow& row); ///< "object 12 of gsl_Dot", for messages

  // arrays
  static constexpr std::size_t kInlineBytes = 4096; ///< larger arrays are objects of their own
  static constexpr std::size_t kChunkBytes = std::size_t{2} << 20;
  db_Array LoadArray(long long id);
  void InsertArray(const db_Array& array);
  void InsertChunk(const db_Array& array, long long seq, long long sum, std::span<const std::byte> bytes);
  /// Its chunks, each read and checked before it goes, and its row in `array`.
  void DeleteArray(const db_Array& array);
  /// Numbers from the first one on, and shows them while they are in the cache.
  void ReadPart(const db_Array& array, std::size_t elementSize, std::size_t first,
                std::span<std::byte> target, const db_SeeBytes& see = {});
  void ReadChunks(const db_Array& array, std::size_t elementSize, std::byte* target,
                  const db_SeeBytes& see = {}) {
    ReadPart(array, elementSize, 0, {target, static_cast<std::size_t>(array.count) * elementSize}, see);
  }
  /// Shows the whole array without keeping it.
  void ForEachChunk(const db_Array& array, std::size_t elementSize, const db_SeeBytes& see);

  // checksums
  db_Sum SumOf(std::string_view table) const; ///< to be continued with the values of a row
  long long SumOf(const db_Identity& identity) const;
  long long SumOfRoot(std::string_view name, long long object) const;
  long long SumOf(const db_Array& array) const;
  long long SumOfChunk(const db_Array& array, long long seq, std::span<const std::byte> bytes) const;

  // totals
  /// Notes that rows with this checksum came (count 1) or went (count -1).
  void Count(std::string_view table, long long sum, int count);
  db_Total TotalOf(std::string_view table); ///< as stored, with what the running transaction changed
  void ExpectTotal(std::string_view table, const db_Total& found); ///< throws when rows came or went unseen
  void StoreTotals();                                              ///< before a commit
  using Totals = std::map<std::string, db_Total, std::less<>>;
  const Totals& TotalChanges() const noexcept { return changes_; }
  void SetTotalChanges(Totals changes) { changes_ = std::move(changes); }

private:
  db_File(const cow_String& file, const cow_String& path, int flags, bool readOnly);
  db_Class& ClassOf(const db_Identity& object);
  void CheckSchema();
  void MakeTables();
  long long ReadFormat();
  void ExpectFormat(long long format) const; ///< throws when this program cannot read it
  long long SumOfClass(const db_Class& type) const;
  long long SumOfField(const db_Class& type, std::size_t position) const;
  std::string CreateTableSql(const db_Class& type) const;
  void InsertClass(db_Class& type);
  void DeleteRow(db_Statement& statement, long long id, std::string_view table, long long sum);
  db_Total StoredTotal(std::string_view table);
  void AddTotal(std::string_view table); ///< of a new table
  void DropTotal(std::string_view table);

  db_Connection connection_;
  bool readOnly_;
  int format_ = kFormat;
  std::vector<std::unique_ptr<db_Class>> classes_;
  std::unordered_map<const char*, std::unique_ptr<db_Statement>> statements_; // by address
  Totals changes_;                        ///< by the running transaction, not yet stored
  std::optional<db_Total> verifiedRoots_; ///< stored total at which all roots were last looked at
  std::size_t longestRoot_ = 0;           ///< valid with it
  bool forgotten_ = false;
};

std::size_t db_ElementSize(cls_ArrayKind kind);

/// True for fields that hold numbers, whose large values are arrays of their own.
bool db_HoldsNumbers(cls_AttributeType type);

/// Rows of objects and arrays that a stored cell names.
std::vector<long long> db_ChildRows(const cls_Cell& cell, cls_AttributeType type);

/// The database's file, for the parts of the platform that work on rows.
struct db_Access {
  static db_File& FileOf(const cls_Database& database) { return *database.file_; }
  static cls_Database Make(std::unique_ptr<db_File> file) { return cls_Database(std::move(file)); }
};
