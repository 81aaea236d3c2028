// cls_ClassRegistrar.h: metadata of the persistent classes and the registry that holds it
#pragma once

#include <BasicUtils/cls_Row.h>
#include <map>
#include <optional>

class cls_ReadVisitor;
class cls_WriteVisitor;

/// Name of one persistent field; usable as a constant.
class cls_FieldHandle {
public:
  constexpr cls_FieldHandle(const char* name) noexcept : name_(name) {} // NOLINT: a text is a handle
  constexpr std::string_view Name() const noexcept { return name_; }

private:
  std::string_view name_;
};

/// Kind of value that a field stores. The codes are part of the file format.
enum class cls_AttributeType : int {
  Bool = 1,
  Uint = 2,
  String = 3,
  StringList = 4,
  IntArray = 5,
  DoubleArray = 6,
  Int = 7,
  FloatArray = 8,
  UintArray = 9,
  Double = 10,
  Enum = 14,      ///< stored as its text
  Object = 15,    ///< an owned or embedded object, or a list of embedded ones
  ObjectMap = 16, ///< map from int to owned objects
  Shortcut = 17
};

enum class cls_CollectionType : int { Single = 0, List = 3 };

/// Converts a row of an old layout into the next one; the int is the version converted from.
using cls_RowConversion = void* (*)(const cls_Row& oldRow, cls_Row& newRow, int fromVersion);

/// One stored layout: a class in one version, with its fields in stored order. A layout with a factory is the
/// current one of its class; one without is superseded and names its successor.
class CORE_GEOMETRY_PLATFORM_API cls_ClassMetadata {
public:
  using Factory = void* (*)(cls_ReadVisitor&);
  using Deleter = void (*)(void*);
  using Upcast = void* (*)(void*);
  using Writer = void (*)(const void*, const cls_WriteVisitor&);
  struct Attribute {
    cow_String name;
    cls_AttributeType type;
    unsigned elemTypeId; ///< class of the elements, 1 for plain values
    cls_CollectionType collection;
    friend bool operator==(const Attribute&, const Attribute&) = default;
  };
  struct Base {
    unsigned typeId;
    Upcast upcast;
  };
  struct Successor {
    int version;
    cls_RowConversion convert; ///< null: same-named fields are copied
  };

  cls_ClassMetadata(cow_String name, unsigned typeId, int version, Factory factory)
      : name_(std::move(name)), typeId_(typeId), version_(version), factory_(factory) {}

  // describe; each returns the same record, so that a class is described in one chain
  cls_ClassMetadata& AddDtor(Deleter deleter);
  cls_ClassMetadata& AddAttribute(const cls_FieldHandle& field, cls_AttributeType type, unsigned elemTypeId,
                                  cls_CollectionType collection);
  cls_ClassMetadata& AddBase(unsigned baseTypeId, Upcast upcast);
  /// The function by which an object of the class writes itself, for rewriting stored objects.
  cls_ClassMetadata& AddWriter(Writer writer);
  /// Another name by which shortcuts may call a field.
  cls_ClassMetadata& AddAlias(const cls_FieldHandle& alias, const cls_FieldHandle& field);
  /// A field that holds a time stamp: dumps and comparisons leave it out.
  cls_ClassMetadata& AddTimeStamp(const cls_FieldHandle& field);
  void SetSuccessor(int version, cls_RowConversion convert) { successor_ = Successor{version, convert}; }

  // ask
  const cow_String& Name() const noexcept { return name_; }
  unsigned TypeId() const noexcept { return typeId_; }
  int Version() const noexcept { return version_; }
  bool IsCurrent() const noexcept { return factory_ != nullptr; }
  Factory Create() const noexcept { return factory_; }
  Deleter Destroy() const noexcept { return deleter_; }
  Writer Write() const noexcept { return writer_; }
  const std::vector<Attribute>& Attributes() const noexcept { return attributes_; }
  const std::vector<Base>& Bases() const noexcept { return bases_; }
  const std::optional<Successor>& Next() const noexcept { return successor_; }
  /// Position of a field, -1 when the layout has none of that name.
  int Find(std::string_view field) const noexcept;
  bool IsTimeStamp(std::string_view field) const noexcept { return field == timeStamp_; }
  /// The field that a shortcut's member name means: an alias is replaced, other names stay.
  std::string_view MemberField(std::string_view member) const noexcept;

private:
  cow_String name_;
  unsigned typeId_;
  int version_;
  Factory factory_;
  Deleter deleter_ = nullptr;
  Writer writer_ = nullptr;
  std::vector<Attribute> attributes_;
  std::vector<Base> bases_;
  std::vector<std::pair<cow_String, cow_String>> aliases_;
  cow_String timeStamp_; ///< empty when there is none
  std::optional<Successor> successor_;
};

/// What an upgrade of a whole database does besides converting layouts.
struct cls_SchemaChanges {
  struct Renaming {
    cow_String from, to;
  };
  std::vector<unsigned> deletedClasses; ///< their objects are deleted, and all references to them
  std::vector<Renaming> renamedClasses; ///< same class identifier and layout under another name
  std::vector<Renaming> renamedTables;  ///< folders of roots: "from/x" becomes "to/x"
};

/// The known layouts. Version numbers are not compared: the current layout is the one with a factory.
class CORE_GEOMETRY_PLATFORM_API cls_ClassRegistrar {
public:
  /// Creates the record of one layout. Registering the same (typeId, version) again replaces the record;
  /// another class under it is a nex_AssertionException. The last argument is always 1.
  cls_ClassMetadata& CreateClassMD(const cow_String& name, unsigned typeId, int version,
                                   cls_ClassMetadata::Factory factory, unsigned one);

  // ask
  const cls_ClassMetadata* Find(unsigned typeId, int version) const noexcept;
  const cls_ClassMetadata* Current(unsigned typeId) const noexcept; ///< null when unknown
  const cls_ClassMetadata* FindByName(std::string_view name) const noexcept;
  cls_ClassMetadata* FindToModify(unsigned typeId, int version) noexcept;
  /// True when the class is the base or derives from it.
  bool IsA(unsigned typeId, unsigned baseTypeId) const noexcept;
  /// The object as its base class; null when it does not derive from it.
  void* Upcast(void* object, unsigned typeId, unsigned baseTypeId) const noexcept;
  /// A row of a superseded layout in the layout that succeeds it: same-named fields are copied, new ones have
  /// no value (cls_DefaultValue) unless the conversion gives them one. Throws nex_TextException when the
  /// layout names no known successor.
  cls_Row ConvertOnce(const cls_Row& row) const;
  const std::map<std::pair<unsigned, int>, cls_ClassMetadata>& Records() const noexcept { return records_; }
  const cls_SchemaChanges& Changes() const noexcept { return changes_; }
  void SetChanges(cls_SchemaChanges changes) { changes_ = std::move(changes); }
  /// The present name of a class that was stored under the given name.
  const cow_String& PresentName(const cow_String& stored) const noexcept;
  void Clear();

private:
  std::map<std::pair<unsigned, int>, cls_ClassMetadata> records_;
  cls_SchemaChanges changes_;
};
