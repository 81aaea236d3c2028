// omu_PrimEnum.h: enumerations that are stored as their text
#pragma once

#include <BasicUtils/cls_Visitors.h>

/// One permissible value and its text.
struct omu_EnumEntry {
  int value;
  const char* text;
};

/// Table of an enumeration, to be specialised beside it:
///   static constexpr const char* name; static constexpr omu_EnumEntry entries[] in listed order.
template<class Enum> struct omu_EnumTable;

template<class E>
concept omu_HasTable = std::is_enum_v<E> && requires {
  omu_EnumTable<E>::entries;
};

/// Error for a text or value that is not in an enumeration's table.
class CORE_GEOMETRY_PLATFORM_API omu_ValueErrorException : public nex_Exception {
public:
  using nex_Exception::nex_Exception;
  ~omu_ValueErrorException() override;
};

/// Any enumeration primitive, seen as its text.
class CORE_GEOMETRY_PLATFORM_API omu_PrimEnumBase {
public:
  virtual ~omu_PrimEnumBase();
  virtual cow_String Text() const = 0;
};

using omu_EnumEntries = std::span<const omu_EnumEntry>;

/// Text of a value, null when it is outside the table.
CORE_GEOMETRY_PLATFORM_API const char* omu_FindText(omu_EnumEntries table, int value) noexcept;
/// First entry with exactly that text, null when there is none.
CORE_GEOMETRY_PLATFORM_API const omu_EnumEntry* omu_FindValue(omu_EnumEntries table,
                                                              std::string_view text) noexcept;

/// Validating look-ups behind omu_PrimEnum; each throws omu_ValueErrorException with the message of its form.
CORE_GEOMETRY_PLATFORM_API int omu_ReadValue(omu_EnumEntries table, const cls_ReadVisitor& visitor);
CORE_GEOMETRY_PLATFORM_API int omu_ValueOfText(omu_EnumEntries table, const cow_String& text);
CORE_GEOMETRY_PLATFORM_API int omu_ValueOfPrim(omu_EnumEntries table, const omu_PrimEnumBase& other);
CORE_GEOMETRY_PLATFORM_API int omu_CheckedValue(omu_EnumEntries table, int value);

/// One value of an enumeration, always one of its table: every constructor checks it.
///
/// Errors     omu_ValueErrorException
/// Stored as  the text
template<class Enum, int = 1> class omu_PrimEnum : public omu_PrimEnumBase {
public:
  explicit omu_PrimEnum(const cls_ReadVisitor& visitor)
      : value_(static_cast<Enum>(omu_ReadValue(Table(), visitor))) {}
  explicit omu_PrimEnum(const cow_String& text) : value_(static_cast<Enum>(omu_ValueOfText(Table(), text))) {}
  explicit omu_PrimEnum(const omu_PrimEnumBase& other)
      : value_(static_cast<Enum>(omu_ValueOfPrim(Table(), other))) {}
  explicit omu_PrimEnum(Enum value)
      : value_(static_cast<Enum>(omu_CheckedValue(Table(), static_cast<int>(value)))) {}
  omu_PrimEnum(const omu_PrimEnum&) = default;
  omu_PrimEnum& operator=(const omu_PrimEnum&) = default;

  Enum Value() const noexcept { return value_; }
  operator Enum() const noexcept { return value_; }
  cow_String Text() const override { return omu_FindText(Table(), static_cast<int>(value_)); }
  void DBWrite(const cls_WriteVisitor& visitor) const { visitor.PutText(Text()); }

  static constexpr omu_EnumEntries Table() noexcept { return omu_EnumTable<Enum>::entries; }

private:
  Enum value_;
};

/// The enumerations that modules have registered, for listing.
class CORE_GEOMETRY_PLATFORM_API omu_EnumRegistrar {
public:
  struct Entry {
    const char* name;
    omu_EnumEntries table;
  };
  template<class Enum> static constexpr Entry Of() {
    return {omu_EnumTable<Enum>::name, omu_EnumTable<Enum>::entries};
  }

  static void Register(const Entry& entry);
  static std::span<const Entry> Entries(); ///< in registration order
  static void Clear();
};
