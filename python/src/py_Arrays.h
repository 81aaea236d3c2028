// py_Arrays.h: NumPy arrays as arguments, checked before they are converted, and arrays of the library as views
#pragma once

#include "py_Errors.h"

#include <BasicUtils/cow_ArrayCOW.h>
#include <array>
#include <functional>
#include <initializer_list>
#include <memory>
#include <nanobind/ndarray.h>
#include <span>

/// What conversion did to coordinates.
struct py_Points {
  cow_ArrayCOW<float> xyz;
  unsigned dimension = 3; ///< columns of the argument
  double rounding = 0;    ///< largest change of a finite number
};

/// numpy.asarray of an argument. Texts and objects are refused: TypeError that names the argument.
nb::object py_AsArray(nb::handle argument, const char* what);
std::vector<std::size_t> py_ShapeOf(nb::handle array);
/// Shape as "(3, 4)", for messages.
std::string py_ShapeText(nb::handle array);

/// Rows of two or three real numbers as single precision; two get z = 0. ValueError for another shape and for a
/// finite number that single precision does not hold.
py_Points py_Coordinates(nb::handle argument, const char* what);

/// Integers in [low, high] as int32, in C order. TypeError for bool, real or complex numbers. The first integer outside
/// is given to `refuse`, which throws; both get its position in the flat array.
struct py_Integers {
  cow_ArrayCOW<int> values;
  std::vector<std::size_t> shape;
};
using py_RefuseInteger = std::function<void(std::size_t position, const std::string& value)>;
py_Integers py_ToIntegers(nb::handle argument, const char* what, long long low, long long high,
                          const py_RefuseInteger& refuse);
/// One-dimensional labels: OverflowError for one outside int32, ValueError for another shape.
cow_ArrayCOW<int> py_Labels(nb::handle argument, const char* what);
/// A Python integer, or one-dimensional integers; IndexError for one outside [0, count).
struct py_Indices {
  std::vector<unsigned> values;
  bool isScalar = false;
};
py_Indices py_ToIndices(nb::handle argument, const char* what, std::size_t count);

/// Real numbers as double precision, in C order and in the memory of the argument when it fits already.
/// A negative extent of the shape stands for any. ValueError for another shape.
struct py_Reals {
  nb::ndarray<const double, nb::c_contig, nb::device::cpu> array;
  std::span<const double> Values() const { return {array.data(), array.size()}; }
};
py_Reals py_ToReals(nb::handle argument, const char* what, std::initializer_list<long long> shape);
bool py_IsSingle(nb::handle argument); ///< an array of float32
std::array<double, 3> py_ToPoint(nb::handle argument, const char* what);

/// A read-only array over memory that the owner, a cheap copy of a container, keeps alive.
template<class T, class Owner>
nb::object py_View(Owner owner, std::span<const T> values, std::initializer_list<std::size_t> shape) {
  auto kept = std::make_unique<Owner>(std::move(owner));
  const nb::capsule capsule(kept.get(), [](void* object) noexcept { delete static_cast<Owner*>(object); });
  static_cast<void>(kept.release());
  return nb::cast(nb::ndarray<nb::numpy, const T>(values.data(), shape.size(), shape.begin(), capsule));
}
template<class T> nb::object py_View(const cow_ArrayCOW<T>& array, std::initializer_list<std::size_t> shape) {
  return py_View<T>(array, array.Const(), shape);
}
/// A new, writable array that owns the numbers.
template<class T> nb::object py_Array(std::vector<T> values, std::initializer_list<std::size_t> shape) {
  auto kept = std::make_unique<std::vector<T>>(std::move(values));
  const nb::capsule capsule(kept.get(),
                            [](void* object) noexcept { delete static_cast<std::vector<T>*>(object); });
  T* const data = kept.release()->data();
  return nb::cast(nb::ndarray<nb::numpy, T>(data, shape.size(), shape.begin(), capsule));
}
template<class T> nb::object py_Array(std::vector<T> values) {
  const std::size_t size = values.size();
  return py_Array(std::move(values), {size});
}
inline nb::object py_IntArray(std::span<const unsigned> values) {
  return py_Array(std::vector<int>(values.begin(), values.end()));
}
