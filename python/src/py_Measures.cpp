// Length, area, volume, mass, centre and inertia.
#include "py_Arrays.h"
#include "py_Connect.h"
#include "py_Csys.h"
#include "py_Work.h"

#include <CoreGeometry/bme_Measures.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <cmath>
#include <limits>
#include <numeric>

namespace {
nb::object TensorArray(const bme_Tensor& tensor) {
  std::vector<double> numbers;
  for (const auto& row : tensor) numbers.insert(numbers.end(), row.begin(), row.end());
  return py_Array(std::move(numbers), {3, 3});
}

/// A property of elements: a number, numbers by block or type, or one for each element. NaN is not known.
bme_ElementValue ToValue(const py_Mesh& mesh, nb::handle argument, const char* what) {
  if (argument.is_none()) return {};
  const bme_ElementData& elements = mesh.Elements();
  const auto known = [](double value) { return std::isnan(value) ? std::optional<double>() : value; };
  if (nb::isinstance<nb::dict>(argument)) {
    std::vector<double> ofBlock(elements.NumClasses(), std::numeric_limits<double>::quiet_NaN());
    for (const auto& [key, value] : nb::borrow<nb::dict>(argument)) {
      const bool isType = nb::isinstance<nb::str>(key);
      const std::string type = isType ? cow_ToUpper(nb::cast<std::string>(key)) : std::string();
      const unsigned wanted = isType ? 0 : py_ToIndices(key, "block", elements.NumClasses()).values.front();
      bool isFound = false;
      for (unsigned i = 0; i < elements.NumClasses(); ++i)
        if (isType ? elements.GetClass(i).ElemTypeLabel() == type : i == wanted) {
          ofBlock[i] = nb::cast<double>(value);
          isFound = true;
        }
      if (!isFound) throw py_Error("KeyError", std::string(what) + ": no block is of type " + type);
    }
    return [ofBlock, known](const bme_ElementClass& block, int) {
      return known(ofBlock[static_cast<std::size_t>(block.ClassIndex())]);
    };
  }
  if (py_ShapeOf(py_AsArray(argument, what)).empty()) {
    const double value = py_ToReals(argument, what, {}).Values()[0];
    return [value, known](const bme_ElementClass&, int) { return known(value); };
  }
  const py_Reals given = py_ToReals(argument, what, {elements.NumElements()});
  return [values = std::vector<double>(given.Values().begin(), given.Values().end()),
          known](const bme_ElementClass& block, int element) {
    return known(
        values[static_cast<std::size_t>(block.FirstElementIndex()) + static_cast<std::size_t>(element)]);
  };
}

bme_MeasureOptions OptionsOf(const py_Mesh& mesh, nb::handle thickness, nb::handle sectionArea,
                             nb::handle density, nb::handle pointMass) {
  bme_MeasureOptions options;
  options.thickness = ToValue(mesh, thickness, "thickness");
  options.sectionArea = ToValue(mesh, sectionArea, "section_area");
  options.density = ToValue(mesh, density, "density");
  options.pointMass = ToValue(mesh, pointMass, "point_mass");
  return options;
}

/// Of each block, by its position; or of each of the sets, by its name.
nb::dict MeasureBy(const py_Mesh& mesh, const std::string& by, nb::handle sets, nb::handle thickness,
                   nb::handle sectionArea, nb::handle density, nb::handle pointMass) {
  const bool isByBlock = py_Choose<bool>("by", by, {{"block", true}, {"set", false}});
  const bme_MeasureOptions options = OptionsOf(mesh, thickness, sectionArea, density, pointMass);
  nb::dict measures;
  const auto add = [&](const nb::object& key, const std::vector<unsigned>& elements) {
    measures[key] = nb::cast(py_Run([&] { return bme_CalculateMeasures(*mesh, elements, options); }));
  };
  const bme_ElementData& data = mesh.Elements();
  for (unsigned i = 0; isByBlock && i < data.NumClasses(); ++i) {
    std::vector<unsigned> elements(static_cast<std::size_t>(data.GetClass(i).NumElements()));
    std::iota(elements.begin(), elements.end(), data.GetMeshElemIndexFromClass(i, 0));
    add(nb::int_(i), elements);
  }
  if (!isByBlock)
    for (const nb::handle set : sets)
      add(set.attr("name"),
          py_ToIndices(set.attr("elements")().attr("indices"), "element", data.NumElements()).values);
  return measures;
}

bme_Measures Measure(const py_Mesh& mesh, nb::handle chosen, nb::handle thickness, nb::handle sectionArea,
                     nb::handle density, nb::handle pointMass) {
  const bme_MeasureOptions options = OptionsOf(mesh, thickness, sectionArea, density, pointMass);
  if (chosen.is_none()) return py_Run([&] { return bme_CalculateMeasures(*mesh, options); });
  const std::vector<unsigned> elements =
      py_ToIndices(nb::hasattr(chosen, "indices") ? nb::object(chosen.attr("indices"))
                                                  : nb::borrow<nb::object>(chosen),
                   "element", mesh.Elements().NumElements())
          .values;
  return py_Run([&] { return bme_CalculateMeasures(*mesh, elements, options); });
}
} // namespace

void py_BindMeasures(nb::module_& module) {
  nb::class_<bme_Moments>(module, "Moments",
                          "A total with its centre and moments of inertia.\n\n"
                          ">>> import numpy as np, coregeometry as cg\n"
                          ">>> mesh = cg.Mesh(np.eye(4, 3, -1), {\"C3D4\": [[0, 1, 2, 3]]})\n"
                          ">>> volume = mesh.measure().volume\n"
                          ">>> round(volume.total, 6), volume.centre.round(6)\n"
                          "(0.166667, array([0.25, 0.25, 0.25]))\n")
      .def_prop_ro("total", &bme_Moments::Total)
      .def_prop_ro("signed_total", &bme_Moments::SignedTotal, "Inverted elements count as negative.")
      .def_prop_ro(
          "centre",
          [](const bme_Moments& self) -> nb::object {
            gsl_Point centre;
            if (!self.GetCentre(centre)) return nb::none();
            return py_Array(std::vector<double>{centre[0], centre[1], centre[2]});
          },
          nb::sig("def centre(self) -> numpy.typing.NDArray[numpy.float64] | None"),
          "(3,), None without a total.")
      .def_prop_ro(
          "inertia",
          [](const bme_Moments& self) -> nb::object {
            bme_Tensor inertia;
            return self.GetInertiaAboutCentre(inertia) ? TensorArray(inertia) : nb::none();
          },
          nb::sig("def inertia(self) -> numpy.typing.NDArray[numpy.float64] | None"),
          "(3, 3) about the centre.")
      .def(
          "inertia_about",
          [](const bme_Moments& self, nb::handle point) {
            const auto [x, y, z] = py_ToPoint(point, "point");
            return TensorArray(self.InertiaAbout(gsl_Point(x, y, z)));
          },
          nb::arg("point"),
          nb::sig("def inertia_about(self, point: numpy.typing.ArrayLike) -> "
                  "numpy.typing.NDArray[numpy.float64]"))
      .def_prop_ro(
          "principal",
          [](const bme_Moments& self) -> nb::object {
            std::array<double, 3> moments{};
            std::array<gsl_Vector, 3> axes;
            if (!self.GetPrincipal(moments, axes)) return nb::none();
            bme_Tensor rows{};
            for (std::size_t i = 0; i < 3; ++i) rows[i] = {axes[i][0], axes[i][1], axes[i][2]};
            return nb::make_tuple(py_Array(std::vector<double>(moments.begin(), moments.end())),
                                  TensorArray(rows));
          },
          nb::sig("def principal(self) -> tuple[numpy.typing.NDArray[numpy.float64], "
                  "numpy.typing.NDArray[numpy.float64]] | None"),
          "(3,) moments about the centre, ascending, and rows of their axes.")
      .def(
          "in_frame",
          [](const bme_Moments& self, const py_Csys& csys) {
            gsl_Matrix frame;
            if (!bme_GetFrame(csys.csys, frame))
              throw py_Error("ValueError", "the axes of the coordinate system cannot be made orthonormal");
            return self.In(frame);
          },
          nb::arg("csys"), "The same moments in the axes of a coordinate system.");
  nb::class_<bme_Measures> measures(
      module, "Measures",
      "Measures of elements, and labels of those that were measured in part or not at all.");
  measures.def_ro("num_elements", &bme_Measures::numElements)
      .def_ro("length", &bme_Measures::length)
      .def_ro("area", &bme_Measures::area)
      .def_ro("volume", &bme_Measures::volume)
      .def_ro("mass", &bme_Measures::mass);
  constexpr std::pair<const char*, std::vector<int> bme_Measures::*> kLabels[] = {
      {"inverted", &bme_Measures::inverted},          {"zero", &bme_Measures::zero},
      {"without_shape", &bme_Measures::withoutShape}, {"without_nodes", &bme_Measures::withoutNodes},
      {"no_thickness", &bme_Measures::noThickness},   {"no_section_area", &bme_Measures::noSectionArea},
      {"no_density", &bme_Measures::noDensity},       {"no_point_mass", &bme_Measures::noPointMass}};
  for (const auto& [name, labels] : kLabels)
    measures.def_prop_ro(
        name, [labels = labels](const bme_Measures& self) { return py_Array(self.*labels); },
        nb::rv_policy::automatic,
        nb::sig((std::string("def ") + name + "(self) -> numpy.typing.NDArray[numpy.int32]").c_str()),
        "(k,) labels.");
  measures.def(
      "to_pandas",
      [](const bme_Measures& self) {
        return nb::module_::import_("coregeometry._columns").attr("to_pandas")(self);
      },
      nb::sig("def to_pandas(self) -> typing.Any"),
      "A pandas.DataFrame with a row each for length, area, volume and mass: total, signed_total, x, y, z of "
      "the centre.");
  measures.def(
      "to_arrow",
      [](const bme_Measures& self) {
        return nb::module_::import_("coregeometry._columns").attr("to_arrow")(self);
      },
      nb::sig("def to_arrow(self) -> typing.Any"), "A pyarrow.Table with the columns of `to_pandas`.");
  auto mesh = nb::borrow<nb::class_<py_Mesh>>(nb::type<py_Mesh>());
  const std::string value = ": float | dict[int | str, float] | numpy.typing.ArrayLike | None = None";
  mesh.def("measure", &Measure, nb::arg("elements") = nb::none(), nb::kw_only(),
           nb::arg("thickness") = nb::none(), nb::arg("section_area") = nb::none(),
           nb::arg("density") = nb::none(), nb::arg("point_mass") = nb::none(),
           nb::sig(
               ("def measure(self, elements: ElementList | numpy.typing.ArrayLike | None = None, *, thickness"
                + value + ", section_area" + value + ", density" + value + ", point_mass" + value
                + ") -> Measures")
                   .c_str()),
           "Measures of all elements or of those of the indices. Properties are numbers, numbers by block or "
           "type, or\n"
           "(e,) with NaN where they are not known.")
      .def("measure_by", &MeasureBy, nb::arg("by"), nb::arg("sets") = nb::tuple(), nb::kw_only(),
           nb::arg("thickness") = nb::none(), nb::arg("section_area") = nb::none(),
           nb::arg("density") = nb::none(), nb::arg("point_mass") = nb::none(),
           nb::sig(("def measure_by(self, by: typing.Literal['block', 'set'], sets: "
                    "collections.abc.Iterable[NamedSet] = (), *, thickness"
                    + value + ", section_area" + value + ", density" + value + ", point_mass" + value
                    + ") -> dict[int | str, Measures]")
                       .c_str()),
           "`measure` of each block by its position, or of the elements of each of the sets by its name.");
}
