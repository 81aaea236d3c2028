#include "py_Arrays.h"

#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <nanobind/stl/string.h>
#include <nanobind/stl/vector.h>

namespace {
nb::module_ Numpy() { return nb::module_::import_("numpy"); }

char KindOf(nb::handle array) { return nb::cast<std::string>(array.attr("dtype").attr("kind"))[0]; }
std::string TypeOf(nb::handle array) { return nb::cast<std::string>(array.attr("dtype").attr("__str__")()); }

/// The array in C order, with numbers of the type, which must hold every number of the array.
nb::object As(nb::handle array, const char* dtype) {
  return Numpy().attr("ascontiguousarray")(array, nb::arg("dtype") = dtype);
}

template<class T>
std::span<const T> Values(const nb::ndarray<const T, nb::c_contig, nb::device::cpu>& array) {
  return {array.data(), array.size()};
}
template<class T> auto Numbers(nb::handle array) {
  return nb::cast<nb::ndarray<const T, nb::c_contig, nb::device::cpu>>(array, false);
}

/// Room for so many numbers, of which nothing is written yet.
template<class T> std::span<T> MakeRoom(cow_ArrayCOW<T>& array, std::size_t count) {
  array.ResizeUninitialised(count);
  return array.Modify();
}

template<class T>
void Narrow(nb::handle array, long long low, long long high, const py_RefuseInteger& refuse,
            std::span<int> to) {
  const auto numbers = Numbers<T>(array);
  const std::span<const T> from = Values(numbers);
  const nb::gil_scoped_release released;
  for (std::size_t i = 0; i < from.size(); ++i) {
    if (std::cmp_less(from[i], low) || std::cmp_greater(from[i], high)) refuse(i, std::to_string(from[i]));
    to[i] = static_cast<int>(from[i]);
  }
}

template<class T> void Round(nb::handle array, const char* what, py_Points& points) {
  const auto numbers = Numbers<T>(array);
  const std::span<const T> from = Values(numbers);
  const std::size_t width = points.dimension, rows = from.size() / width;
  const nb::gil_scoped_release released;
  const std::span<float> to = MakeRoom(points.xyz, 3 * rows);
  if constexpr (std::is_same_v<T, float>)
    if (width == 3) {
      std::ranges::copy(from, to.begin());
      return;
    }
  for (std::size_t i = 0, k = 0; i < rows; ++i) {
    for (std::size_t axis = 0; axis < width; ++axis, ++k) {
      const T exact = from[k];
      const float rounded = static_cast<float>(exact);
      to[3 * i + axis] = rounded;
      if constexpr (!std::is_same_v<T, float>) {
        if (!std::isfinite(exact)) continue;
        if (!std::isfinite(rounded))
          throw py_Error("ValueError", std::string(what) + ": " + std::to_string(exact) + " in row "
                                           + std::to_string(i) + " is too large for single precision");
        points.rounding = std::max(points.rounding, std::abs(exact - static_cast<T>(rounded)));
      }
    }
    if (width == 2) to[3 * i + 2] = 0;
  }
}
} // namespace

std::vector<std::size_t> py_ShapeOf(nb::handle array) {
  return nb::cast<std::vector<std::size_t>>(array.attr("shape"));
}

std::string py_ShapeText(nb::handle array) {
  return nb::cast<std::string>(array.attr("shape").attr("__str__")());
}

nb::object py_AsArray(nb::handle argument, const char* what) {
  nb::object array;
  try {
    array = Numpy().attr("asarray")(argument);
  } catch (const nb::python_error& error) {
    if (!error.matches(PyExc_ValueError)) throw;
    throw py_Error("ValueError", std::string(what) + ": rows of different lengths");
  }
  if (std::string("biufc").find(KindOf(array)) == std::string::npos)
    throw py_Error("TypeError", std::string(what) + ": numbers are needed, not " + TypeOf(array));
  return array;
}

py_Points py_Coordinates(nb::handle argument, const char* what) {
  nb::object array = py_AsArray(argument, what);
  const char kind = KindOf(array);
  if (kind == 'b' || kind == 'c')
    throw py_Error("TypeError", std::string(what) + ": real numbers are needed, not " + TypeOf(array));
  const std::vector<std::size_t> shape = py_ShapeOf(array);
  if (shape.size() == 1 && shape[0] == 0) return {};
  if (shape.size() != 2 || (shape[1] != 2 && shape[1] != 3))
    throw py_Error("ValueError",
                   std::string(what) + ": shape " + py_ShapeText(array) + " is not (n, 3) or (n, 2)");
  py_Points points;
  points.dimension = static_cast<unsigned>(shape[1]);
  const bool isSingle = kind == 'f' && nb::cast<int>(array.attr("dtype").attr("itemsize")) <= 4;
  const nb::object numbers = As(array, isSingle ? "float32" : "float64");
  if (isSingle)
    Round<float>(numbers, what, points);
  else
    Round<double>(numbers, what, points);
  return points;
}

py_Integers py_ToIntegers(nb::handle argument, const char* what, long long low, long long high,
                          const py_RefuseInteger& refuse) {
  const nb::object array = py_AsArray(argument, what);
  const char kind = KindOf(array);
  py_Integers made;
  made.shape = py_ShapeOf(array);
  std::size_t size = 1;
  for (const std::size_t extent : made.shape) size *= extent;
  if (kind != 'i' && kind != 'u' && size > 0) // an empty list is an array of float64
    throw py_Error("TypeError", std::string(what) + ": integers are needed, not " + TypeOf(array));
  const std::span<int> to = MakeRoom(made.values, size);
  const int bytes = nb::cast<int>(array.attr("dtype").attr("itemsize"));
  if (size == 0) return made;
  if (kind == 'u' && bytes == 8)
    Narrow<std::uint64_t>(As(array, "uint64"), low, high, refuse, to);
  else if (bytes == 8 || kind == 'u')
    Narrow<std::int64_t>(As(array, "int64"), low, high, refuse, to);
  else
    Narrow<std::int32_t>(As(array, "int32"), low, high, refuse, to);
  return made;
}

cow_ArrayCOW<int> py_Labels(nb::handle argument, const char* what) {
  constexpr auto limits = std::numeric_limits<int>();
  py_Integers made = py_ToIntegers(
      argument, what, limits.min(), limits.max(), [&](std::size_t position, const std::string& value) {
        throw py_Error("OverflowError", std::string(what) + ": label " + value + " at position "
                                            + std::to_string(position) + " is outside int32");
      });
  if (made.shape.size() != 1)
    throw py_Error("ValueError", std::string(what) + ": " + std::to_string(made.shape.size())
                                     + " dimensions, labels have one");
  return std::move(made.values);
}

py_Indices py_ToIndices(nb::handle argument, const char* what, std::size_t count) {
  const py_Integers made = py_ToIntegers(
      argument, what, 0, static_cast<long long>(count) - 1, [&](std::size_t, const std::string& value) {
        throw py_Error("IndexError", std::string(what) + " " + value + " of " + std::to_string(count));
      });
  if (made.shape.size() > 1) throw py_Error("ValueError", std::string(what) + ": indices have one dimension");
  const std::span<const int> values = made.values.Const();
  return {{values.begin(), values.end()}, made.shape.empty()};
}

py_Reals py_ToReals(nb::handle argument, const char* what, std::initializer_list<long long> shape) {
  const nb::object array = py_AsArray(argument, what);
  const char kind = KindOf(array);
  if (kind == 'b' || kind == 'c')
    throw py_Error("TypeError", std::string(what) + ": real numbers are needed, not " + TypeOf(array));
  const std::vector<std::size_t> extents = py_ShapeOf(array);
  bool fits = extents.size() == shape.size();
  std::string wanted;
  std::size_t i = 0;
  for (const long long extent : shape) {
    wanted += (wanted.empty() ? "" : ", ");
    wanted += extent < 0 ? std::string("n") : std::to_string(extent);
    fits = fits && (extent < 0 || std::cmp_equal(extents[i], extent));
    ++i;
  }
  if (!fits)
    throw py_Error("ValueError",
                   std::string(what) + ": shape " + py_ShapeText(array) + " is not (" + wanted + ")");
  return {Numbers<double>(As(array, "float64"))};
}

bool py_IsSingle(nb::handle argument) {
  return nb::hasattr(argument, "dtype") && TypeOf(argument) == "float32";
}

std::array<double, 3> py_ToPoint(nb::handle argument, const char* what) {
  const py_Reals point = py_ToReals(argument, what, {3});
  const std::span<const double> xyz = point.Values();
  return {xyz[0], xyz[1], xyz[2]};
}
