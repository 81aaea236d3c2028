#include <CaeUtils/omu_Prim.h>

#include <limits>

omu_InterfaceObject::~omu_InterfaceObject() = default;
omu_ShortcutBase::~omu_ShortcutBase() = default;

namespace {
const char* KindOf(const omu_Prim& prim) {
  static constexpr const char* kNames[] = {"nothing", "a whole number", "a real number", "a text", "a tuple"};
  return kNames[prim.value.index()];
}

template<class T> const T& As(const omu_Prim& prim, const char* wanted) {
  if (const auto* value = std::get_if<T>(&prim.value)) return *value;
  throw omu_ValueErrorException(cow_String("expected ") + wanted + ", not " + KindOf(prim));
}
} // namespace

void omu_Get(const omu_Prim& prim, int& value) {
  const long long wide = As<long long>(prim, "a whole number");
  if (wide < std::numeric_limits<int>::min() || wide > std::numeric_limits<int>::max())
    throw omu_ValueErrorException(std::to_string(wide) + " is outside the range of 32 bits");
  value = static_cast<int>(wide);
}

void omu_Get(const omu_Prim& prim, bool& value) { value = As<long long>(prim, "0 or 1") != 0; }

void omu_Get(const omu_Prim& prim, double& value) {
  if (const auto* whole = std::get_if<long long>(&prim.value))
    value = static_cast<double>(*whole);
  else
    value = As<double>(prim, "a real number");
}

void omu_Get(const omu_Prim& prim, cow_String& value) { value = As<cow_String>(prim, "a text"); }

const omu_Prim::Tuple& omu_GetTuple(const omu_Prim& prim, std::size_t length) {
  const auto& tuple = As<omu_Prim::Tuple>(prim, "a tuple");
  if (tuple.size() != length)
    throw omu_ValueErrorException("expected a tuple of " + std::to_string(length) + " values, not "
                                  + std::to_string(tuple.size()));
  return tuple;
}
