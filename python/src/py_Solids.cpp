// Elements made of others: of another order, divided, turned, swept to solids, and cut by a plane.
#include "py_Edited.h"
#include "py_Work.h"

#include <CoreGeometry/bme_DivideMesh.h>
#include <CoreGeometry/bme_OrientMesh.h>
#include <CoreGeometry/bme_SectionMesh.h>
#include <CoreGeometry/bme_SweepMesh.h>
#include <nanobind/stl/map.h>
#include <nanobind/stl/pair.h>

namespace {
using Sets = std::vector<nb::object>;
using Types = std::map<std::string, std::string>;

bme_TypeChoice ChoiceOf(const Types& types) { return {types.begin(), types.end()}; }

std::array<double, 3> TripleOf(nb::handle argument, const char* what) {
  const py_Reals values = py_ToReals(argument, what, {3});
  return {values.Values()[0], values.Values()[1], values.Values()[2]};
}

py_Edited ChangeOrder(const py_Mesh& mesh, bool quadratic, const Types& types, const Sets& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  const bme_TypeChoice choice = ChoiceOf(types);
  return py_MadeOf(mesh, py_Run([&] { return bme_ChangeOrder(source, quadratic, choice); }));
}

py_Edited Split(const py_Mesh& mesh, const Types& types, const Sets& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  const bme_TypeChoice choice = ChoiceOf(types);
  return py_MadeOf(mesh, py_Run([&] { return bme_SplitElements(source, choice); }));
}

py_Edited Refine(const py_Mesh& mesh, const Sets& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  return py_MadeOf(mesh, py_Run([&] { return bme_RefineMesh(source); }));
}

std::vector<unsigned> ElementsOf(const py_Mesh& mesh, nb::handle argument) {
  return nb::isinstance<py_ElementList>(argument)
             ? py_ItemsOf(mesh, nb::cast<const py_ElementList&>(argument))
             : py_ToIndices(argument, "element", mesh.Elements().NumElements()).values;
}

nb::tuple Orient(const py_Mesh& mesh, nb::handle elements, nb::handle seeds, nb::handle direction,
                 nb::handle awayFrom, const Sets& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  const std::vector<unsigned> some =
                                  elements.is_none() ? std::vector<unsigned>() : ElementsOf(mesh, elements),
                              first = seeds.is_none() ? std::vector<unsigned>() : ElementsOf(mesh, seeds);
  bme_OrientOptions options{.elements = {}, .seeds = first, .direction = {}, .awayFrom = {}};
  if (!elements.is_none()) options.elements = std::span<const unsigned>(some);
  if (!direction.is_none()) options.direction = TripleOf(direction, "direction");
  if (!awayFrom.is_none()) options.awayFrom = TripleOf(awayFrom, "away_from");
  bme_Oriented oriented = py_Run([&] { return bme_OrientMesh(source, options); });
  std::vector<unsigned> turned = std::move(oriented.turned), branching = std::move(oriented.branching),
                        oneSided = std::move(oriented.oneSided);
  py_Edited edited = py_MadeOf(mesh, std::move(oriented));
  edited.elements = std::move(turned);
  return nb::make_tuple(std::move(edited), py_IntArray(branching), py_IntArray(oneSided));
}

py_Edited Reverse(const py_Mesh& mesh, nb::handle elements, const Sets& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  const std::vector<unsigned> some = ElementsOf(mesh, elements);
  return py_MadeOf(mesh, py_Run([&] { return bme_ReverseElements(source, some); }));
}

py_Edited Extrude(const py_Mesh& mesh, nb::handle vector, unsigned layers, const Types& types,
                  const Sets& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  const std::array<double, 3> along = TripleOf(vector, "vector");
  const bme_TypeChoice choice = ChoiceOf(types);
  return py_MadeOf(mesh, py_Run([&] { return bme_ExtrudeMesh(source, along, layers, choice); }));
}

py_Edited Revolve(const py_Mesh& mesh, double angle, nb::handle axis, nb::handle about, unsigned layers,
                  const Types& types, const Sets& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  const std::array<double, 3> along = TripleOf(axis, "axis"), point = TripleOf(about, "about");
  const bme_TypeChoice choice = ChoiceOf(types);
  return py_MadeOf(mesh,
                   py_Run([&] { return bme_RevolveMesh(source, point, along, angle, layers, choice); }));
}

py_Edited Offset(const py_Mesh& mesh, double thickness, const std::string& side, unsigned layers,
                 const Types& types, const Sets& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  const auto where = py_Choose<bme_OffsetSide>(
      "side", side,
      {{"top", bme_OffsetSide::Top}, {"bottom", bme_OffsetSide::Bottom}, {"both", bme_OffsetSide::Both}});
  const bme_TypeChoice choice = ChoiceOf(types);
  return py_MadeOf(mesh, py_Run([&] { return bme_OffsetMesh(source, thickness, where, layers, choice); }));
}

nb::object ArrayOf(const std::array<double, 3>& v) {
  return py_Array(std::vector<double>(v.begin(), v.end()));
}

nb::tuple Section(const py_Mesh& mesh, nb::handle point, nb::handle normal, unsigned refinements,
                  const Sets& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  const bme_CutPlane plane{TripleOf(point, "point"), TripleOf(normal, "normal"), refinements};
  bme_Section section = py_Run([&] { return bme_CutMesh(source, plane); });
  const bme_SectionMoments& moments = section.moments;
  nb::dict facts;
  for (const auto& [name, value] : {std::pair{"area", moments.area},
                                    {"about_first", moments.aboutFirst},
                                    {"about_second", moments.aboutSecond},
                                    {"product", moments.product},
                                    {"largest", moments.largest},
                                    {"least", moments.least},
                                    {"angle", moments.angle},
                                    {"length", section.length}})
    facts[name] = value;
  facts["centre"] = ArrayOf(moments.centre);
  facts["first_axis"] = ArrayOf(moments.first);
  facts["second_axis"] = ArrayOf(moments.second);
  facts["line_centre"] = ArrayOf(section.lineCentre);
  return nb::make_tuple(py_MadeOf(mesh, std::move(section)), facts);
}
} // namespace

void py_BindSolids(nb::module_&) {
  auto mesh = nb::borrow<nb::class_<py_Mesh>>(nb::type<py_Mesh>());
  mesh.def("change_order", &ChangeOrder, nb::arg("quadratic"), nb::kw_only(), nb::arg("types") = nb::dict(),
           nb::arg("sets") = nb::list(),
           nb::sig("def change_order(self, quadratic: bool, *, types: dict[str, str] = {}, sets: "
                   "typing.Sequence[NamedSet] = ()) -> Edited"),
           "Mid nodes added, or dropped; ``types`` chooses other types, as {'C3D8': 'C3D27'}.")
      .def("split", &Split, nb::kw_only(), nb::arg("types") = nb::dict(), nb::arg("sets") = nb::list(),
           nb::sig("def split(self, *, types: dict[str, str] = {}, sets: typing.Sequence[NamedSet] = ()) -> "
                   "Edited"),
           "Hexahedra and wedges to tetrahedra, quadrilaterals to triangles.")
      .def("refine", &Refine, nb::kw_only(), nb::arg("sets") = nb::list(),
           nb::sig("def refine(self, *, sets: typing.Sequence[NamedSet] = ()) -> Edited"),
           "Every element in elements of half the size.")
      .def("orient", &Orient, nb::kw_only(), nb::arg("elements") = nb::none(), nb::arg("seeds") = nb::none(),
           nb::arg("direction") = nb::none(), nb::arg("away_from") = nb::none(), nb::arg("sets") = nb::list(),
           nb::sig(
               "def orient(self, *, elements: ElementList | numpy.typing.ArrayLike | None = None, seeds: "
               "ElementList | numpy.typing.ArrayLike | None = None, direction: numpy.typing.ArrayLike | None "
               "= "
               "None, away_from: numpy.typing.ArrayLike | None = None, sets: typing.Sequence[NamedSet] = ()) "
               "-> tuple[Edited, numpy.typing.NDArray[numpy.int32], numpy.typing.NDArray[numpy.int32]]"),
           "Shells that look to one side; with those at edges of three or more, and those of one-sided "
           "surfaces.")
      .def("reverse", &Reverse, nb::arg("elements"), nb::kw_only(), nb::arg("sets") = nb::list(),
           nb::sig("def reverse(self, elements: ElementList | numpy.typing.ArrayLike, *, sets: "
                   "typing.Sequence[NamedSet] = ()) -> Edited"),
           "These elements turned over; surfaces stay on their side.")
      .def("extrude", &Extrude, nb::arg("vector"), nb::arg("layers") = 1, nb::kw_only(),
           nb::arg("types") = nb::dict(), nb::arg("sets") = nb::list(),
           nb::sig("def extrude(self, vector: numpy.typing.ArrayLike, layers: int = 1, *, types: dict[str, "
                   "str] = {}, sets: typing.Sequence[NamedSet] = ()) -> Edited"),
           "Surface elements to solids along (3,); sets \"bottom\" and \"top\" are the ends.")
      .def(
          "revolve", &Revolve, nb::arg("angle"), nb::arg("axis"),
          nb::arg("about") = nb::make_tuple(0.0, 0.0, 0.0), nb::arg("layers") = 1, nb::kw_only(),
          nb::arg("types") = nb::dict(), nb::arg("sets") = nb::list(),
          nb::sig("def revolve(self, angle: float, axis: numpy.typing.ArrayLike, about: "
                  "numpy.typing.ArrayLike = (0.0, 0.0, 0.0), layers: int = 1, *, types: dict[str, str] = {}, "
                  "sets: typing.Sequence[NamedSet] = ()) -> Edited"),
          "The same about an axis, by radians; 2 pi closes the mesh.")
      .def(
          "offset", &Offset, nb::arg("thickness"), nb::arg("side") = "top", nb::arg("layers") = 1,
          nb::kw_only(), nb::arg("types") = nb::dict(), nb::arg("sets") = nb::list(),
          nb::sig("def offset(self, thickness: float, side: typing.Literal['top', 'bottom', 'both'] = 'top', "
                  "layers: int = 1, *, types: dict[str, str] = {}, sets: typing.Sequence[NamedSet] = ()) -> "
                  "Edited"),
          "Shells to solids of this thickness, along mean normals at nodes.")
      .def("section", &Section, nb::arg("point"), nb::arg("normal"), nb::kw_only(),
           nb::arg("refinements") = 0, nb::arg("sets") = nb::list(),
           nb::sig("def section(self, point: numpy.typing.ArrayLike, normal: numpy.typing.ArrayLike, *, "
                   "refinements: int = 0, sets: typing.Sequence[NamedSet] = ()) -> tuple[Edited, dict[str, "
                   "typing.Any]]"),
           "The cut by a plane, through corners of elements, and its area, centre and moments.");
}
