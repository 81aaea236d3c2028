#include "py_Csys.h"

#include "py_Arrays.h"
#include "py_Mesh.h"
#include "py_Work.h"

#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/dtu_Mapping.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <numbers>

namespace {
gsl_Vector ToVector(nb::handle argument, const char* what) {
  const auto [x, y, z] = py_ToPoint(argument, what);
  return {x, y, z};
}

py_Csys Make(const std::string& kind, nb::handle origin, nb::handle x, nb::handle y, nb::handle z) {
  const omu_PrimEnum<dtu_DatumCsysType> type(cow_ToUpper(kind));
  const auto [ox, oy, oz] = py_ToPoint(origin, "origin");
  const gsl_Vector xAxis = ToVector(x, "x"), yAxis = ToVector(y, "y");
  const gsl_Vector zAxis = z.is_none() ? xAxis.CrossProduct(yAxis) : ToVector(z, "z");
  return {dtu_DatumCsys(0, 0, gsl_Point(ox, oy, oz), xAxis, yAxis, zAxis, type.Value())};
}

template<class Axis> nb::object AxisOf(const Axis& axis) {
  return py_Array(std::vector<double>{axis[0], axis[1], axis[2]});
}

/// The columns of local coordinates that are angles.
template<class T> void ScaleAngles(std::span<T> points, dtu_DatumCsysType kind, double factor) {
  if (kind == dtu_CARTESIAN) return;
  for (std::size_t i = 0; i + 2 < points.size(); i += 3) {
    points[i + 1] = static_cast<T>(points[i + 1] * factor);
    if (kind == dtu_SPHERICAL) points[i + 2] = static_cast<T>(points[i + 2] * factor);
  }
}

/// A changed copy of (n, 3) points, of float32 when they are, else of float64.
template<class Map> nb::object Mapped(nb::handle argument, Map map) {
  const auto change = [&]<class T>(std::vector<T> points) {
    py_Run([&] { map(std::span<T>(points)); });
    const std::size_t count = points.size() / 3;
    return py_Array(std::move(points), {count, 3});
  };
  const py_Reals points = py_ToReals(argument, "points", {-1, 3});
  const std::span<const double> values = points.Values();
  if (py_IsSingle(argument)) return change(std::vector<float>(values.begin(), values.end()));
  return change(std::vector<double>(values.begin(), values.end()));
}

nb::object ToLocal(const py_Csys& self, nb::handle points, bool inDegrees) {
  return Mapped(points, [&](auto xyz) { dtu_MapGlobalIntoLocal(xyz, self.csys, inDegrees); });
}

nb::object ToGlobal(const py_Csys& self, nb::handle points, bool inDegrees) {
  return Mapped(points, [&](auto local) {
    if (!inDegrees) ScaleAngles(local, self.csys.GetCsysType(), 180 / std::numbers::pi);
    dtu_MapLocalIntoGlobal(local, self.csys);
  });
}

[[noreturn]] void RefuseAxes() {
  throw py_Error("ValueError", "the axes of the coordinate system cannot be made orthonormal");
}

nb::object Directions(const py_Csys& self, nb::handle argument) {
  const py_Reals points = py_ToReals(argument, "points", {-1, 3});
  const std::span<const double> xyz = points.Values();
  std::vector<double> rows(3 * xyz.size());
  for (std::size_t i = 0; i < xyz.size(); i += 3) {
    double directions[3][3];
    if (!dtu_LocalDirections(gsl_Point(xyz[i], xyz[i + 1], xyz[i + 2]), self.csys, directions)) RefuseAxes();
    std::copy_n(&directions[0][0], 9, rows.begin() + static_cast<std::ptrdiff_t>(3 * i));
  }
  return py_Array(std::move(rows), {xyz.size() / 3, 3, 3});
}

template<std::size_t columns, class Rotate>
nb::object Rotated(const py_Csys& self, nb::handle points, nb::handle argument, const char* what,
                   Rotate rotate) {
  const py_Points at = py_Coordinates(points, "points");
  const py_Reals given = py_ToReals(argument, what, {-1, columns});
  std::vector<double> values(given.Values().begin(), given.Values().end());
  if (values.size() / columns != at.xyz.Size() / 3)
    throw py_Error("ValueError", std::to_string(values.size() / columns) + " " + what + " for "
                                     + std::to_string(at.xyz.Size() / 3) + " points");
  if (!py_Run([&] { return rotate(at.xyz.Const(), self.csys, std::span<double>(values)); })) RefuseAxes();
  const std::size_t count = values.size() / columns;
  return py_Array(std::move(values), {count, columns});
}

nb::tuple Arguments(const py_Csys& self) {
  return nb::make_tuple(omu_PrimEnum<dtu_DatumCsysType>(self.csys.GetCsysType()).Text(),
                        AxisOf(self.csys.Origin()), AxisOf(self.csys.Xaxis()), AxisOf(self.csys.Yaxis()),
                        AxisOf(self.csys.Zaxis()));
}
} // namespace

void py_BindCsys(nb::module_& module) {
  nb::class_<py_Csys> csys(
      module, "CoordinateSystem", nb::is_weak_referenceable(),
      "Origin and axes: \"cartesian\", \"cylindrical\" (radius, angle, axial) or "
      "\"spherical\" (radius, azimuth, polar "
      "angle).\n\n"
      "z is the product of x and y when it is not given. On its axis a cylindrical "
      "point has the absolute axial\n"
      "coordinate as radius and angle 0, a spherical one azimuth 0. Points go through "
      "the axes as given, so that both\n"
      "ways undo each other for orthonormal axes only.\n\n"
      ">>> import coregeometry as cg\n"
      ">>> polar = cg.CoordinateSystem(\"cylindrical\", [0, 0, 0], [1, 0, 0], [0, 1, 0])\n"
      ">>> polar.to_local([[0.0, 2.0, 5.0]])\n"
      "array([[ 2., 90.,  5.]])\n");
  csys.def(
          "__init__",
          [](py_Csys* self, const std::string& kind, nb::handle origin, nb::handle x, nb::handle y,
             nb::handle z) { new (self) py_Csys(Make(kind, origin, x, y, z)); },
          nb::arg("kind"), nb::arg("origin"), nb::arg("x"), nb::arg("y"), nb::arg("z") = nb::none(),
          nb::sig(
              "def __init__(self, kind: str, origin: numpy.typing.ArrayLike, x: numpy.typing.ArrayLike, y: "
              "numpy.typing.ArrayLike, z: numpy.typing.ArrayLike | None = None) -> None"))
      .def_prop_ro("kind",
                   [](const py_Csys& self) {
                     std::string kind = omu_PrimEnum<dtu_DatumCsysType>(self.csys.GetCsysType()).Text();
                     std::ranges::transform(kind, kind.begin(),
                                            [](char c) { return static_cast<char>(c | 32); });
                     return kind;
                   })
      .def_prop_ro(
          "origin", [](const py_Csys& self) { return AxisOf(self.csys.Origin()); }, nb::rv_policy::automatic,
          nb::sig("def origin(self) -> numpy.typing.NDArray[numpy.float64]"))
      .def_prop_ro(
          "x", [](const py_Csys& self) { return AxisOf(self.csys.Xaxis()); }, nb::rv_policy::automatic,
          nb::sig("def x(self) -> numpy.typing.NDArray[numpy.float64]"))
      .def_prop_ro(
          "y", [](const py_Csys& self) { return AxisOf(self.csys.Yaxis()); }, nb::rv_policy::automatic,
          nb::sig("def y(self) -> numpy.typing.NDArray[numpy.float64]"))
      .def_prop_ro(
          "z", [](const py_Csys& self) { return AxisOf(self.csys.Zaxis()); }, nb::rv_policy::automatic,
          nb::sig("def z(self) -> numpy.typing.NDArray[numpy.float64]"))
      .def("to_local", &ToLocal, nb::arg("points"), nb::arg("degrees") = true,
           nb::sig("def to_local(self, points: numpy.typing.ArrayLike, degrees: bool = True) -> typing.Any"),
           "(n, 3) local coordinates; float32 stays float32.")
      .def("to_global", &ToGlobal, nb::arg("points"), nb::arg("degrees") = true,
           nb::sig("def to_global(self, points: numpy.typing.ArrayLike, degrees: bool = True) -> typing.Any"),
           "(n, 3) global coordinates; float32 stays float32.")
      .def("directions", &Directions, nb::arg("points"),
           nb::sig(
               "def directions(self, points: numpy.typing.ArrayLike) -> numpy.typing.NDArray[numpy.float64]"),
           "(n, 3, 3): rows are the local directions at each point. ValueError for axes that are not "
           "independent.")
      .def(
          "rotate_vectors",
          [](const py_Csys& self, nb::handle points, nb::handle vectors) {
            return Rotated<3>(
                self, points, vectors, "vectors",
                [](std::span<const float> at, const dtu_DatumCsys& csys, std::span<double> values) {
                  return dtu_RotateVectorsIntoLocal(at, csys, values);
                });
          },
          nb::arg("points"), nb::arg("vectors"),
          nb::sig(
              "def rotate_vectors(self, points: numpy.typing.ArrayLike, vectors: numpy.typing.ArrayLike) -> "
              "numpy.typing.NDArray[numpy.float64]"),
          "(n, 3) components in the local directions at the points.")
      .def(
          "rotate_tensors",
          [](const py_Csys& self, nb::handle points, nb::handle tensors) {
            return Rotated<6>(
                self, points, tensors, "tensors",
                [](std::span<const float> at, const dtu_DatumCsys& csys, std::span<double> values) {
                  return dtu_RotateTensorsIntoLocal(at, csys, values);
                });
          },
          nb::arg("points"), nb::arg("tensors"),
          nb::sig(
              "def rotate_tensors(self, points: numpy.typing.ArrayLike, tensors: numpy.typing.ArrayLike) -> "
              "numpy.typing.NDArray[numpy.float64]"),
          "(n, 6) xx yy zz xy xz yz in the local directions at the points.")
      .def(
          "__eq__",
          [](const py_Csys& a, const py_Csys& b) {
            return nb::repr(Arguments(a)).equal(nb::repr(Arguments(b)));
          },
          nb::is_operator(), nb::sig("def __eq__(self, other: object, /) -> bool"))
      .def("__repr__",
           [](const py_Csys& self) {
             std::string text;
             for (const nb::handle part : Arguments(self)) {
               const nb::object plain =
                   nb::hasattr(part, "tolist") ? part.attr("tolist")() : nb::borrow<nb::object>(part);
               text += (text.empty() ? "" : ", ") + nb::cast<std::string>(nb::repr(plain));
             }
             return "CoordinateSystem(" + text + ")";
           })
      .def(
          "__reduce__",
          [](const py_Csys& self) { return nb::make_tuple(nb::type<py_Csys>(), Arguments(self)); },
          nb::sig("def __reduce__(self) -> tuple[typing.Any, ...]"));
  csys.attr("__hash__") = nb::none();
}
