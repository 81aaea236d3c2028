// cls_Visitors.h: how a persistent object reads and writes its fields
#pragma once

#include <BasicUtils/cls_ClassRegistrar.h>
#include <BasicUtils/cow_ArrayCOW.h>
#include <BasicUtils/cow_CountedHld.h>
#include <functional>

struct db_ReadPlace;
struct db_WritePlace;

/// Array kind of an element type.
template<class T> inline constexpr cls_ArrayKind cls_kArrayKind = cls_ArrayKind{};
template<> inline constexpr cls_ArrayKind cls_kArrayKind<int> = cls_ArrayKind::Int;
template<> inline constexpr cls_ArrayKind cls_kArrayKind<unsigned> = cls_ArrayKind::Uint;
template<> inline constexpr cls_ArrayKind cls_kArrayKind<float> = cls_ArrayKind::Float;
template<> inline constexpr cls_ArrayKind cls_kArrayKind<double> = cls_ArrayKind::Double;

/// Gives the stored fields of one object, by name and in any order.
///
/// A visitor made from a parent and a field stands for that field: an embedded object (get its fields by
/// name), or a value that reads itself, such as an enumeration or a container (get the value).
///
/// Errors     nex_TextException naming file, class, object and field: missing, of another kind, damaged.
class CORE_GEOMETRY_PLATFORM_API cls_ReadVisitor {
public:
  cls_ReadVisitor(const cls_ReadVisitor& parent, const cls_FieldHandle& field);
  /// Element of the list of embedded objects that the parent stands for.
  cls_ReadVisitor(const cls_ReadVisitor& parent, std::size_t index);
  explicit cls_ReadVisitor(std::shared_ptr<db_ReadPlace> place); ///< used by the database
  ~cls_ReadVisitor();

  // fields of the object that this visitor stands for
  /// False when the stored layout is older than the field: it keeps its default-constructed value.
  bool HasValue(const cls_FieldHandle& field) const;
  int GetInt(const cls_FieldHandle& field) const;
  unsigned GetUint(const cls_FieldHandle& field) const;
  bool GetBool(const cls_FieldHandle& field) const;
  double GetDouble(const cls_FieldHandle& field) const;
  double GetDouble(const cls_FieldHandle& field, double valueIfMissing) const;
  cow_String GetString(const cls_FieldHandle& field) const;
  /// Owned object of that class or a class derived from it; null when empty.
  template<class T> cow_CountedHld<T> GetObject(const cls_FieldHandle& field) const {
    return As<T>(GetObject(field, T::TypeId()));
  }
  std::shared_ptr<void> GetObject(const cls_FieldHandle& field, unsigned typeId) const;
  /// see(numbers) will be called for an array of the object when it is read: for one stored chunk after the other, while
  /// it is in the cache, on the reading thread or one that is lent to it.
  template<class T, class See> void Watch(const cls_FieldHandle& field, const See& see) const {
    WatchBytes(field, [see](std::span<const std::byte> bytes) {
      see(std::span<const T>(reinterpret_cast<const T*>(bytes.data()), bytes.size() / sizeof(T)));
    });
  }
  cls_Uid GetUid() const;
  /// For data that can be read but is not valid: throws nex_TextException naming the place.
  [[noreturn]] void Refuse(const cow_String& what) const;

  // the value that this visitor stands for
  cow_String GetText() const;
  std::vector<cow_String> GetTexts() const;
  /// An array of numbers, and how many of them make one row.
  template<class T> cow_ArrayCOW<T> GetArray(unsigned* width = nullptr) const {
    cow_ArrayCOW<T> array;
    unsigned storedWidth = 0;
    ReadArray(
        cls_kArrayKind<T>, storedWidth, &array,
        [](void* target, std::size_t count) -> std::byte* {
          auto& result = *static_cast<cow_ArrayCOW<T>*>(target);
          result.ResizeUninitialised(count);
          return reinterpret_cast<std::byte*>(result.Modify().data());
        },
        [](void* target, const cow_ArrayStamp& stamp) {
          static_cast<cow_ArrayCOW<T>*>(target)->SetStamp(stamp);
        });
    if (width) *width = storedWidth;
    return array;
  }
  /// How many numbers an array has, and how many of them make one row, without reading them.
  template<class T> std::size_t GetArraySize(unsigned* width = nullptr) const {
    return GetArraySize(cls_kArrayKind<T>, sizeof(T), width);
  }
  std::size_t GetListSize() const;     ///< length of a list of embedded objects
  std::vector<int> GetMapKeys() const; ///< of a map of owned objects, ascending
  /// Owned objects of a map, keys ascending.
  template<class T> std::vector<std::pair<int, cow_CountedHld<T>>> GetObjectMap() const {
    std::vector<std::pair<int, cow_CountedHld<T>>> result;
    for (auto& [key, object] : GetObjectMap(T::TypeId())) result.emplace_back(key, As<T>(std::move(object)));
    return result;
  }

private:
  template<class T> static cow_CountedHld<T> As(std::shared_ptr<void> object) {
    return cow_CountedHld<T>(std::static_pointer_cast<T>(std::move(object)));
  }
  using Allocate = std::byte* (*)(void* target, std::size_t count);
  void WatchBytes(const cls_FieldHandle& field, std::function<void(std::span<const std::byte>)> see) const;
  using SetStamp = void (*)(void* target, const cow_ArrayStamp&);
  void ReadArray(cls_ArrayKind kind, unsigned& width, void* target, Allocate, SetStamp) const;
  std::vector<std::pair<int, std::shared_ptr<void>>> GetObjectMap(unsigned typeId) const;
  std::size_t GetArraySize(cls_ArrayKind kind, std::size_t elementSize, unsigned* width) const;
  std::vector<std::pair<int, long long>> MapEntries() const; ///< keys and rows

  std::shared_ptr<db_ReadPlace> place_;
};

/// Stores the fields of one object, by name.
///
/// A visitor made from a parent and a field stands for that field: an embedded object (which starts with
/// StartWrite), or a value that writes itself (put the value).
///
/// Errors     nex_AssertionException for a field that the class does not have, has with another kind, or that
///            was put twice or not at all; nex_TextException for objects that own themselves.
class CORE_GEOMETRY_PLATFORM_API cls_WriteVisitor {
public:
  cls_WriteVisitor(const cls_WriteVisitor& parent, const cls_FieldHandle& field);
  /// Next element of the list of embedded objects that the parent stands for.
  cls_WriteVisitor(const cls_WriteVisitor& parent, std::size_t index);
  explicit cls_WriteVisitor(std::shared_ptr<db_WritePlace> place); ///< used by the database
  ~cls_WriteVisitor();

  /// Non-zero when the object is to be written now; zero when it was written already in this pass. Pass the
  /// uid member of the object, not a copy: value and address together are its identity. Embedded objects are
  /// always written.
  int StartWrite(unsigned typeId, const cls_Uid& uid) const;

  // fields of the object
  void PutInt(const cls_FieldHandle& field, int value) const;
  void PutUint(const cls_FieldHandle& field, unsigned value) const;
  void PutBool(const cls_FieldHandle& field, bool value) const;
  void PutDouble(const cls_FieldHandle& field, double value) const;
  void PutString(const cls_FieldHandle& field, const cow_String& value) const;
  /// Owned object: stored once per pass, shared again after reading.
  template<class T> void PutObject(const cls_FieldHandle& field, const cow_CountedHld<T>& object) const {
    PutObject(field, object.Shared(), &WriteAs<T>);
  }

  // the value that this visitor stands for
  void PutText(const cow_String& text) const;
  void PutTexts(std::span<const cow_String> texts) const;
  /// Numbers in rows of `width`. A large array that is already stored in this file, and has not changed
  /// since, is referred to instead of being written again. To read parts of an array, it is stored in chunks
  /// of whole rows, up to about `chunkBytes` each; 0 chooses the size that suits arrays that are read whole.
  template<class T>
  void PutArray(const cow_ArrayCOW<T>& array, unsigned width, std::size_t chunkBytes = 0) const {
    cow_ArrayStamp stamp = array.Stamp();
    WriteArray({cls_kArrayKind<T>, width, sizeof(T), chunkBytes}, std::as_bytes(array.Const()), stamp);
    if (array.Size() != 0) array.SetStamp(stamp);
  }
  void PutList(std::size_t count) const; ///< announces a list of embedded objects
  template<class T> void PutObjectMap(std::span<const std::pair<int, cow_CountedHld<T>>> objects) const {
    StartMap(objects.size());
    for (const auto& [key, object] : objects) PutMapEntry(key, object.Shared(), &WriteAs<T>);
  }

private:
  using WriteFunction = void (*)(const void* object, const cls_WriteVisitor&);
  template<class T> static void WriteAs(const void* object, const cls_WriteVisitor& visitor) {
    static_cast<const T*>(object)->DBWrite(visitor);
  }
  void PutObject(const cls_FieldHandle& field, std::shared_ptr<const void> object, WriteFunction write) const;
  struct ArrayForm {
    cls_ArrayKind kind;
    unsigned width;
    std::size_t elementSize, chunkBytes;
  };
  void WriteArray(const ArrayForm& form, std::span<const std::byte> bytes, cow_ArrayStamp& stamp) const;
  void StartMap(std::size_t count) const;
  void PutMapEntry(int key, std::shared_ptr<const void> object, WriteFunction write) const;

  std::shared_ptr<db_WritePlace> place_;
  friend class cls_WritePass;
};
