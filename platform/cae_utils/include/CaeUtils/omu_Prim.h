// omu_Prim.h: primitives and interface objects, the values that the interface layer exchanges
#pragma once

#include <CaeUtils/omu_PrimEnum.h>
#include <variant>

/// A value of the interface layer: nothing, a number, a text, or a tuple of values.
struct omu_Prim {
  using Tuple = std::vector<omu_Prim>;
  std::variant<std::monostate, long long, double, cow_String, Tuple> value;
  friend bool operator==(const omu_Prim&, const omu_Prim&) = default;
};

// pack
inline omu_Prim omu_ReturnPrim(long long value) { return {value}; }
inline omu_Prim omu_ReturnPrim(int value) { return {static_cast<long long>(value)}; }
inline omu_Prim omu_ReturnPrim(bool value) { return {static_cast<long long>(value)}; }
inline omu_Prim omu_ReturnPrim(double value) { return {value}; }
inline omu_Prim omu_ReturnPrim(cow_String value) { return {std::move(value)}; }
inline omu_Prim omu_ReturnPrim(const char* value) { return {cow_String(value)}; }
inline omu_Prim omu_ReturnPrim(omu_Prim::Tuple tuple) { return {std::move(tuple)}; }

// unpack; omu_ValueErrorException when the value is of another kind
CORE_GEOMETRY_PLATFORM_API void omu_Get(const omu_Prim& prim, int& value);
CORE_GEOMETRY_PLATFORM_API void omu_Get(const omu_Prim& prim, bool& value);
CORE_GEOMETRY_PLATFORM_API void omu_Get(const omu_Prim& prim, double& value); ///< takes whole numbers too
CORE_GEOMETRY_PLATFORM_API void omu_Get(const omu_Prim& prim, cow_String& value);
/// The elements of a tuple of exactly that length.
CORE_GEOMETRY_PLATFORM_API const omu_Prim::Tuple& omu_GetTuple(const omu_Prim& prim, std::size_t length);

/// Base of the objects that the interface layer shows.
class CORE_GEOMETRY_PLATFORM_API omu_InterfaceObject {
public:
  virtual ~omu_InterfaceObject();
  virtual cow_String TypeName() const = 0;
};

/// A shortcut as the interface layer sees it.
class CORE_GEOMETRY_PLATFORM_API omu_ShortcutBase {
public:
  virtual ~omu_ShortcutBase();
  virtual bool IsDefined() const = 0;
  virtual cow_String Path() const = 0;       ///< empty when undefined
  virtual unsigned TargetTypeId() const = 0; ///< class that the path leads to, 0 when it is a container
};
