// db_Writer.h: writing objects: identity within one pass, arrays, garbage
#pragma once

#include "db_File.h"

#include <functional>
#include <optional>
#include <set>

/// An object that is being written: its cells, and the embedded objects below it.
struct db_Draft {
  db_Class* type = nullptr;
  const cls_ClassMetadata* record = nullptr;
  long long id = 0;
  cls_Uid uid;
  std::vector<cls_Cell> cells;
  std::vector<bool> put;
  std::vector<std::unique_ptr<db_Draft>> embedded;
};

class db_Reader;
struct db_WritePlace;

/// Row of an object that this pass has written, or is writing.
struct db_Written {
  long long row;
  bool done;
};

/// One transaction. Everything it does goes through here: writing visitors, raw rows, conversions.
class db_Writer {
public:
  using WriteFunction = void (*)(const void* object, const cls_WriteVisitor&);

  /// `before` is called when nobody else can write any more, and nothing is changed yet.
  explicit db_Writer(db_File& file, const std::function<void()>& before = {});
  ~db_Writer();
  db_Writer(const db_Writer&) = delete;
  db_Writer& operator=(const db_Writer&) = delete;

  db_File& File() noexcept { return file_; }

  // whole objects
  void Put(const cow_String& root, const void* object, WriteFunction write);
  void PutShared(const cow_String& root, std::shared_ptr<const void> object, WriteFunction write);
  void Remove(const cow_String& root);
  long long PutRow(const cow_String* root, unsigned typeId, int version, const cls_Row& row);
  /// Of rows that several objects refer to, and whose conversion looks at them: each result gets a row of its
  /// own, which is added to the list. Rows and their classes.
  void SplitByReferrer(std::vector<std::pair<long long, unsigned>>& outdated);
  /// Reads a row of a superseded layout and writes it over itself in the current one; it keeps its id.
  void Rewrite(long long row, unsigned typeId);
  void RenameClass(const cow_String& from, const cow_String& to);
  /// Removes the objects of a class and its layouts; fields and roots that named them name nothing.
  void DeleteClass(unsigned typeId);
  void RenameFolder(const cow_String& from, const cow_String& to); ///< of roots
  void CollectGarbage();      ///< deletes what this pass left without a reference
  void CollectUnreferenced(); ///< deletes whatever has none
  /// All or nothing; a commit that fails, for want of a lock or of space, has rolled back.
  void Commit();

  // used by the visitors
  /// Writes an owned object, or finds it, and returns its row.
  long long WriteOwned(const void* object, WriteFunction write, std::shared_ptr<const void> keep);
  /// Starts an owned object: the place gets a draft, or only a row when the object was written already.
  void Start(db_WritePlace& place, unsigned typeId, const cls_Uid& uid);
  std::unique_ptr<db_Draft> NewDraft(unsigned typeId, const cls_Uid& uid, long long owner);
  void Flush(db_Draft& draft);
  /// Notes that so many more roots or fields refer to the row.
  void Refer(long long row, long long count = 1) { references_.emplace_back(row, count); }
  /// Stores an array, or finds it by its stamp, and returns its row.
  long long WriteArray(cls_ArrayKind kind, unsigned width, std::span<const std::byte> bytes,
                       std::size_t elementSize, std::size_t chunkBytes, cow_ArrayStamp& stamp);

  bool IsMeasuring() const noexcept { return measuring_; }
  void Measure(std::size_t bytes) noexcept { expected_ += static_cast<double>(bytes); }
  bool MeasureOnce(const cls_Uid& uid) { return measured_.insert(&uid).second; }

private:
  using Identity = std::pair<const cls_Uid*, cls_Uid>;
  /// Runs a change that leaves everything as it was when it throws.
  void Guarded(const std::function<void()>& change);
  void Abandon() noexcept; ///< rolls back, and forgets what the pass had changed
  void Delete(const db_Identity& object, std::map<long long, long long>& changes);
  void DeleteEmbedded(long long row);
  void ForEachReference(const std::function<void(long long parent, long long child)>& use);
  long long ReferrerOf(long long row); ///< an object that refers to it, 0 when none does
  void PutRoot(const cow_String& root, long long row);
  void AnnounceProgress(const void* object, WriteFunction write);
  void Advance(std::size_t bytes);
  long long Insert(const cls_Uid& uid, const db_Class* type, long long owner);
  /// Lets the cells of a row that name a child name another one; empties them for 0.
  void Replace(long long row, long long child, long long by);
  /// Another row with the same cells and copies of what is embedded in it.
  long long Duplicate(long long row, long long owner);
  void InsertCells(long long row, db_Class& type, const cls_Uid& uid, std::span<const cls_Cell> cells);
  const cls_ClassMetadata& CurrentRecord(unsigned typeId) const;

  db_File& file_;
  long long lastId_ = 0, lastChunk_ = 0;
  std::map<Identity, db_Written> written_;
  std::vector<Identity> undo_; ///< identities that the running change has added
  std::vector<std::shared_ptr<const void>> kept_;
  std::optional<std::map<long long, long long>> referrers_; ///< child -> parent, once an upgrade asks for it
  std::vector<std::pair<long long, long long>> references_; ///< (row, references that came or went)

  long long replacedRow_ = 0;         ///< row that the next owned object is written over
  const db_Reader* stored_ = nullptr; ///< knows the rows of objects that are in the file already

  bool measuring_ = false;
  std::set<const cls_Uid*> measured_;
  double expected_ = 0, done_ = 0;
  int depth_ = 0;
};

/// What a write visitor stands for: an owned object, or a cell, or an element of a list cell.
struct db_WritePlace {
  db_Writer* writer = nullptr;
  db_Draft* holder = nullptr; ///< object that holds the cell; null for an owned object itself
  int cell = -1;
  bool element = false;
  bool started = false;
  long long row = 0; ///< of the owned object
  db_Written* written = nullptr;
  std::unique_ptr<db_Draft> owned; ///< the owned object while it is written
  db_Draft* draft = nullptr;       ///< the object whose fields are put

  db_Draft& Object() const;
  /// The cell of a field, checked for its kind and for being put once.
  cls_Cell& Field(std::string_view name, cls_AttributeType type) const;
  cls_Cell& OwnCell(std::initializer_list<cls_AttributeType> types) const;
};
