// db_Reader.h: reading objects: sharing within one session, conversion of old layouts
#pragma once

#include "db_File.h"

struct db_ReadPlace;

/// A row as the current program sees it: old layouts are converted already.
struct db_Object {
  const cls_ClassMetadata* record = nullptr;
  long long id = 0;
  long long owner = 0; ///< row that it is embedded in, 0 for none
  cls_Uid uid;
  std::vector<cls_Cell> cells;                      ///< in the record's order
  std::vector<std::pair<int, db_SeeBytes>> watches; ///< of arrays, by cell
};

/// One read session: a consistent view of the file, in which what was shared when written is shared again.
class db_Reader {
public:
  explicit db_Reader(db_File& file);
  ~db_Reader();
  db_Reader(const db_Reader&) = delete;
  db_Reader& operator=(const db_Reader&) = delete;

  db_File& File() noexcept { return file_; }

  /// The object of a row as `typeId`, which its class must be or derive from. The rest as in LoadObject.
  std::shared_ptr<void> Read(long long row, unsigned typeId, long long owner = 0,
                             const db_Object* parent = nullptr);
  static constexpr long long kAnyOwner = -1; ///< embedded or not
  /// The row with its layout brought up to date. `owner` is the row it must be embedded in, 0 for none;
  /// conversions may look at `parent`, the object that embeds it or refers to it.
  std::shared_ptr<db_Object> LoadObject(long long row, long long owner, const db_Object* parent = nullptr);
  /// The same for an object that `parent` either embeds or refers to.
  std::shared_ptr<db_Object> LoadChild(long long row, const db_Object& parent);
  /// Where a shortcut leads.
  cls_Location Resolve(std::string_view path);
  std::shared_ptr<db_ReadPlace> PlaceOf(std::shared_ptr<db_Object> object);
  std::shared_ptr<db_ReadPlace> PlaceOf(const cls_Location& location);

  /// Announces how much will be read, for the progress shown to the host. What it reads is kept until asked for.
  void Expect(long long root);
  void Done(std::size_t bytes);

  /// Guards against objects nested without end.
  void Enter(long long row);
  void Leave() noexcept { --depth_; }

  /// Row of an object that this session has read, 0 when it has not.
  long long RowOf(const void* object) const noexcept;

private:
  db_StoredRow Load(long long row);
  std::shared_ptr<db_Object> UpToDate(db_StoredRow stored, const db_Object* parent);

  db_File& file_;
  bool ownTransaction_;
  struct Known {
    std::shared_ptr<void> object; ///< null while it is being read
    unsigned typeId;
  };
  std::map<long long, Known> objects_;
  std::map<const void*, long long> rows_;
  std::unordered_map<long long, db_StoredRow> ahead_; ///< read by Expect
  int depth_ = 0;
  double expected_ = 0, done_ = 0;
};

/// Wrong data at a known place.
class db_PlaceException : public nex_TextException {
public:
  db_PlaceException(const cow_String& message, cow_String objectClass, long long objectRow,
                    cow_String fieldName)
      : nex_TextException(message), className(std::move(objectClass)), object(objectRow),
        field(std::move(fieldName)) {}
  cow_String className;
  long long object;
  cow_String field;
};

/// An array of numbers: its bytes when the cell holds them itself, else where it is stored.
struct db_NumberArray {
  std::span<const std::byte> bytes{};
  std::optional<db_Array> stored{};
};

/// What a read visitor stands for: an object, or a cell of one, or an element of a list cell.
struct db_ReadPlace {
  db_Reader* reader = nullptr;
  std::shared_ptr<db_Reader> session; ///< keeps the reader alive when nobody else does
  std::shared_ptr<db_Object> holder;  ///< the object itself, or the one that holds the cell
  int cell = -1;                      ///< -1: the object itself
  long long element = -1;
  std::shared_ptr<db_ReadPlace> embedded; ///< the embedded object that the cell names, once asked for

  /// "file: object 12 of gsl_Dot, field _point: what".
  [[noreturn]] void Fail(const cow_String& what) const;
  const cls_Cell& Cell() const;
  int FieldIndex(std::string_view name) const;
  db_NumberArray Numbers(cls_ArrayKind kind) const;
  /// The object whose fields are asked for.
  db_ReadPlace& Object();
};
