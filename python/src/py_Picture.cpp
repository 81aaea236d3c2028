// Pictures of meshes, and how far one set of triangles travels until it meets another.
#include "py_Arrays.h"
#include "py_Lists.h"
#include "py_Work.h"

#include <CoreGeometry/gsl_Travel.h>
#include <CoreGeometry/gsl_Vector.h>
#include <CoreGeometry/pic_Scene.h>
#include <algorithm>
#include <cmath>

namespace {
/// What the picture is drawn with: numbers of nodes, or of elements.
struct Values {
  py_Reals numbers;
  bool areOfNodes = true;
};

pic_View ViewOf(nb::handle direction, nb::handle size, bool edges, bool plain, const std::string& title,
                const std::string& background) {
  constexpr int kLeast = 16, kMost = 4096;
  pic_View view;
  view.direction = py_ToPoint(direction, "view");
  view.width = nb::cast<int>(size[0]);
  view.height = nb::cast<int>(size[1]);
  for (const int pixels : {view.width, view.height})
    if (pixels < kLeast || pixels > kMost)
      throw py_Error("ValueError", "size: " + std::to_string(pixels) + " is not in 16 to 4096 pixels");
  if (std::ranges::all_of(view.direction, [](double x) { return x == 0; }))
    throw py_Error("ValueError", "view: the direction has no length");
  view.hasMeshEdges = edges;
  view.hasLegend = view.hasAxes = !plain;
  view.title = title;
  view.background = py_Choose<pic_Background>("background", background,
                                              {{"shaded", pic_Background::Shaded},
                                               {"white", pic_Background::White},
                                               {"transparent", pic_Background::Transparent}});
  return view;
}

std::optional<Values> ToValues(const py_Mesh& mesh, nb::handle argument) {
  if (argument.is_none()) return std::nullopt;
  Values values{py_ToReals(argument, "values", {-1})};
  const std::size_t count = values.numbers.Values().size(), nodes = mesh.Nodes().NumNodes(),
                    elements = mesh.Elements().NumElements();
  values.areOfNodes = count == nodes;
  if (count != nodes && count != elements)
    throw py_Error("ValueError", "values: " + std::to_string(count) + " numbers for " + std::to_string(nodes)
                                     + " nodes and " + std::to_string(elements) + " elements");
  return values;
}

pic_Values AsDrawn(const Values& values, const py_Mesh& mesh) {
  const std::span<const double> all = values.numbers.Values();
  pic_Values drawn;
  if (values.areOfNodes) {
    drawn.ofNodes = all;
    return drawn;
  }
  drawn.place = pic_Values::Place::Elements;
  for (unsigned i = 0; i < mesh.Elements().NumClasses(); ++i) {
    const bme_ElementClass& type = mesh.Elements().GetClass(i);
    drawn.ofClasses.push_back(all.subspan(static_cast<std::size_t>(type.FirstElementIndex()),
                                          static_cast<std::size_t>(type.NumElements())));
  }
  return drawn;
}

/// The factor that is asked for, or a good one.
double FactorOf(const py_Mesh& mesh, std::span<const double> displacement, nb::handle factor) {
  if (!factor.is_none()) return nb::cast<double>(factor);
  double largest = 0;
  for (std::size_t i = 0; i + 2 < displacement.size(); i += 3) {
    const double size =
        std::sqrt(displacement[i] * displacement[i] + displacement[i + 1] * displacement[i + 1]
                  + displacement[i + 2] * displacement[i + 2]);
    if (std::isfinite(size)) largest = std::max(largest, size);
  }
  std::array<double, 3> low{}, high{};
  const std::span<const float> xyz = mesh.Nodes().Coordinates().Const();
  for (std::size_t i = 0; i < xyz.size(); ++i) {
    low[i % 3] = i < 3 ? xyz[i] : std::min<double>(low[i % 3], xyz[i]);
    high[i % 3] = i < 3 ? xyz[i] : std::max<double>(high[i % 3], xyz[i]);
  }
  double diagonal = 0;
  for (std::size_t k = 0; k < 3; ++k) diagonal += (high[k] - low[k]) * (high[k] - low[k]);
  return pic_AutoScale(std::sqrt(diagonal), largest);
}

pic_Canvas Draw(const py_Mesh& mesh, const std::vector<nb::object>& sets, nb::handle direction,
                nb::handle size, bool edges, bool plain, const std::string& title,
                const std::string& background, nb::handle argument, const std::string& name,
                const std::string& unit, nb::handle displacement, nb::handle factor) {
  const pic_View view = ViewOf(direction, size, edges, plain, title, background);
  const std::optional<Values> values = ToValues(mesh, argument);
  std::optional<py_Reals> moved;
  if (!displacement.is_none())
    moved = py_ToReals(displacement, "deform", {static_cast<long long>(mesh.Nodes().NumNodes()), 3});
  pic_Results results;
  results.legend.name = name;
  results.legend.unit = unit;
  if (moved) {
    results.displacement = moved->Values();
    results.factor = FactorOf(mesh, results.displacement, factor);
  }
  std::vector<bme_NamedSet> shown;
  std::vector<std::string> names;
  for (const nb::object& item : sets) {
    const auto& set = nb::cast<const py_Set&>(item);
    if (set.mesh.state != mesh.state)
      throw py_Error("ValueError", "the set " + set.set.name + " is of another mesh");
    shown.push_back(set.set);
    names.push_back(set.set.Root());
  }
  return py_Run([&] {
    const bme_Outside outside = bme_FindOutside(*mesh, shown, names, "picture");
    const std::span<const float> xyz = mesh.Nodes().Coordinates().Const();
    if (!values && !moved) return pic_Draw(outside, xyz, view);
    std::optional<pic_Field> field;
    if (values) {
      field.emplace(*mesh, outside, AsDrawn(*values, mesh));
      results.field = &*field;
      results.scale.low = field->Low();
      results.scale.high = field->High();
    }
    return pic_Draw(outside, xyz, view, results);
  });
}

/// A tree with the arrays that it refers to.
struct Tree {
  py_Reals points;
  cow_ArrayCOW<int> triangles;
  gsl_Vector direction;
  std::unique_ptr<const gsl_TriangleTree> tree;
};

std::unique_ptr<Tree> MakeTree(nb::handle points, nb::handle triangles, nb::handle along) {
  const std::array<double, 3> axis = py_ToPoint(along, "direction");
  auto made = std::make_unique<Tree>(
      Tree{py_ToReals(nb::module_::import_("numpy").attr("array")(points, nb::arg("dtype") = "float64"),
                      "points", {-1, 3}),
           {},
           gsl_Vector(axis[0], axis[1], axis[2]),
           nullptr});
  const std::size_t count = made->points.array.shape(0);
  const py_Integers corners =
      py_ToIntegers(triangles, "triangles", 0, static_cast<long long>(count) - 1,
                    [&](std::size_t at, const std::string& value) {
                      throw py_Error("IndexError", "triangle " + std::to_string(at / 3) + ": point " + value
                                                       + " of " + std::to_string(count));
                    });
  if (corners.shape.size() != 2 || corners.shape[1] != 3)
    throw py_Error("ValueError", "triangles: rows of three points are needed");
  made->triangles = corners.values;
  py_Run([&] {
    made->tree = std::make_unique<const gsl_TriangleTree>(made->points.Values(), made->triangles.Const(),
                                                          made->direction);
  });
  return made;
}

nb::object Travel(const Tree& fixed, const Tree& movable, nb::handle along, double limit) {
  const std::array<double, 3> axis = py_ToPoint(along, "direction");
  gsl_Travel travel;
  const bool meet = py_Run([&] {
    return gsl_FindTravel(*fixed.tree, *movable.tree, gsl_Vector(axis[0], axis[1], axis[2]), travel, limit);
  });
  if (!meet) return nb::none();
  const auto point = [](const std::array<double, 3>& p) {
    return py_Array(std::vector<double>(p.begin(), p.end()));
  };
  return nb::make_tuple(travel.distance, point(travel.fixedPoint), point(travel.movablePoint),
                        travel.fixedTriangle, travel.movableTriangle);
}
} // namespace

void py_BindPicture(nb::module_& module) {
  nb::class_<pic_Canvas>(module, "Canvas")
      .def(
          "pixels",
          [](const pic_Canvas& self) {
            std::vector<unsigned char> pixels = py_Run([&] { return self.Pixels(); });
            const auto height = static_cast<std::size_t>(self.Height()),
                       width = static_cast<std::size_t>(self.Width());
            return py_Array(std::move(pixels),
                            {height, width, self.IsTransparent() ? std::size_t{4} : std::size_t{3}});
          },
          nb::rv_policy::automatic, nb::sig("def pixels(self) -> numpy.typing.NDArray[numpy.uint8]"))
      .def(
          "write",
          [](const pic_Canvas& self, const std::string& file, bool overwrite) {
            py_Run([&] {
              uti_OutputFile output(file, {.force = overwrite,
                                           .inputs = {},
                                           .suffixes = {".png"},
                                           .isModel = false,
                                           .isStream = false});
              self.WritePng(output);
            });
          },
          nb::arg("file"), nb::arg("overwrite"));
  module.def(
      "draw", &Draw, nb::arg("mesh"), nb::arg("sets"), nb::arg("view"), nb::arg("size"), nb::arg("edges"),
      nb::arg("plain"), nb::arg("title"), nb::arg("background"), nb::arg("values").none(), nb::arg("name"),
      nb::arg("unit"), nb::arg("displacement").none(), nb::arg("factor").none(),
      nb::sig(
          "def draw(mesh: Mesh, sets: list[NamedSet], view: numpy.typing.ArrayLike, size: tuple[int, int], "
          "edges: bool, plain: bool, title: str, background: str, values: numpy.typing.ArrayLike | None, "
          "name: "
          "str, unit: str, displacement: numpy.typing.ArrayLike | None, factor: float | None) -> Canvas"));
  nb::class_<Tree>(
      module, "TriangleTree",
      "Triangles in a tree of boxes along a direction, for many searches; the arrays are copied.\n\n"
      "points: (n, 3), triangles: (t, 3) indices of points; IndexError for one outside.")
      .def(
          "__init__",
          [](Tree* self, nb::handle points, nb::handle triangles, nb::handle direction) {
            new (self) Tree(std::move(*MakeTree(points, triangles, direction)));
          },
          nb::arg("points"), nb::arg("triangles"), nb::arg("direction"),
          nb::sig("def __init__(self, points: numpy.typing.ArrayLike, triangles: numpy.typing.ArrayLike, "
                  "direction: "
                  "numpy.typing.ArrayLike) -> None"))
      .def("__len__", [](const Tree& self) { return self.tree->NumTriangles(); });
  module.def(
      "find_travel", &Travel, nb::arg("fixed"), nb::arg("movable"), nb::arg("direction"), nb::arg("limit"),
      nb::sig(
          "def find_travel(fixed: TriangleTree, movable: TriangleTree, direction: numpy.typing.ArrayLike, "
          "limit: float) -> tuple[float, numpy.typing.NDArray[numpy.float64], "
          "numpy.typing.NDArray[numpy.float64], int, int] | None"));
}
