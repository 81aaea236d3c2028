// Which elements contain points, and interpolation at them.
#include "py_Arrays.h"
#include "py_Connect.h"
#include "py_Hits.h"
#include "py_Work.h"

#include <CoreGeometry/shp_Shape.h>
#include <limits>

namespace {
constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();

struct Locator {
  py_Mesh mesh;
  std::shared_ptr<const bme_ElementLocator> locator;
};

using Hits = py_Hits;

struct Nearest {
  std::vector<bme_NearestElement> found;
};

/// (n, 3) points, or one of three numbers.
py_Reals ToPoints(nb::handle argument) {
  const bool isOne = py_ShapeOf(py_AsArray(argument, "points")).size() == 1;
  return isOne ? py_ToReals(argument, "points", {3}) : py_ToReals(argument, "points", {-1, 3});
}

Locator MakeLocator(const py_Mesh& mesh, nb::handle blocks) {
  std::optional<std::vector<unsigned>> chosen;
  if (!blocks.is_none()) chosen = py_ToIndices(blocks, "block", mesh.Elements().NumClasses()).values;
  return {mesh, py_Run([&] {
            return chosen ? std::make_shared<const bme_ElementLocator>(*mesh, *chosen)
                          : std::make_shared<const bme_ElementLocator>(*mesh);
          })};
}

Hits Find(const py_Mesh& mesh, const bme_ElementLocator& locator, const py_Reals& points) {
  Hits hits{mesh, std::vector<bme_ElementHit>(points.Values().size() / 3)};
  py_Run([&] { locator.FindEach(points.Values(), hits.hits); });
  return hits;
}

nb::tuple FindAll(const Locator& self, nb::handle argument) {
  const py_Reals points = ToPoints(argument);
  Hits hits{self.mesh, {}};
  auto rows = std::make_shared<bme_Adjacency>();
  py_Run([&] {
    std::vector<bme_ElementHit> owners;
    wip_Poll poll(1 << 10);
    for (std::size_t i = 0; i + 2 < points.Values().size(); i += 3) {
      poll.Advance();
      self.locator->FindAll({points.Values()[i], points.Values()[i + 1], points.Values()[i + 2]}, owners);
      for (const bme_ElementHit& hit : owners) rows->items.push_back(hit.element);
      rows->first.push_back(static_cast<unsigned>(rows->items.size()));
      hits.hits.insert(hits.hits.end(), owners.begin(), owners.end());
    }
  });
  return nb::make_tuple(py_Rows{rows}, std::move(hits));
}

Nearest FindNearest(const Locator& self, nb::handle argument) {
  const py_Reals points = ToPoints(argument);
  Nearest nearest;
  py_Run([&] {
    wip_Poll poll(64);
    for (std::size_t i = 0; i + 2 < points.Values().size(); i += 3) {
      poll.Advance();
      nearest.found.push_back(
          self.locator->FindNearest({points.Values()[i], points.Values()[i + 1], points.Values()[i + 2]}));
    }
  });
  return nearest;
}

template<class Items> nb::object ElementsOf(const Items& items) {
  std::vector<int> elements;
  elements.reserve(items.size());
  for (const auto& item : items) elements.push_back(static_cast<int>(item.element)); // not found is -1
  return py_Array(std::move(elements));
}

template<class Items, class IsHeld> nb::object IsosOf(const Items& items, IsHeld isHeld) {
  std::vector<double> isos;
  for (const auto& item : items)
    for (const double x : item.iso) isos.push_back(isHeld(item) ? x : kNaN);
  return py_Array(std::move(isos), {items.size(), 3});
}

bool IsHeld(const bme_ElementHit& hit) { return shp_IsHeld(hit.location); }

nb::object Locations(const Hits& self) {
  std::vector<std::uint8_t> locations;
  for (const bme_ElementHit& hit : self.hits) locations.push_back(static_cast<std::uint8_t>(hit.location));
  return py_Array(std::move(locations));
}

nb::object Labels(const Hits& self) {
  std::vector<int> labels;
  const bme_ElementData& elements = self.mesh.Elements();
  const bool areImplicit = !py_Run([&] {
    const std::lock_guard lock(self.mesh.state->mutex);
    return elements.HasUserElementLabels();
  });
  for (const bme_ElementHit& hit : self.hits) {
    if (hit.element == bme_kNotFound)
      labels.push_back(-1);
    else if (areImplicit)
      labels.push_back(static_cast<int>(hit.element) + 1);
    else
      labels.push_back(
          elements.GetElemClass(hit.element).UserElementLabels()[elements.GetClassElemIndex(hit.element)]);
  }
  return py_Array(std::move(labels));
}

nb::object Interpolate(const Hits& self, nb::handle argument) {
  const bool isFlat = py_ShapeOf(py_AsArray(argument, "nodal")).size() == 1;
  const py_Reals nodal =
      isFlat ? py_ToReals(argument, "nodal", {-1}) : py_ToReals(argument, "nodal", {-1, -1});
  const std::size_t rows = nodal.array.shape(0), columns = isFlat ? 1 : nodal.array.shape(1);
  if (rows != self.mesh.Nodes().NumNodes())
    throw py_Error("ValueError", "nodal: " + std::to_string(rows) + " rows for "
                                     + std::to_string(self.mesh.Nodes().NumNodes()) + " nodes");
  std::vector<double> values(self.hits.size() * columns, kNaN);
  py_Run([&] {
    const bme_ElementData& elements = self.mesh.Elements();
    std::vector<const shp_Shape*> shapes;
    for (unsigned i = 0; i < elements.NumClasses(); ++i) shapes.push_back(elements.GetClass(i).Shape());
    std::vector<double> weights;
    wip_Poll poll(1 << 14);
    for (std::size_t i = 0; i < self.hits.size(); ++i) {
      poll.Advance();
      const bme_ElementHit& hit = self.hits[i];
      if (!IsHeld(hit)) continue;
      const shp_Shape& shape = *shapes[elements.GetClassIndex(hit.element)];
      weights.resize(static_cast<std::size_t>(shape.NumBaseNodes()));
      shape.ShapeFunctions(hit.iso, weights);
      const std::span<const int> nodes =
          elements.GetElemClass(hit.element)
              .Connectivity(static_cast<int>(elements.GetClassElemIndex(hit.element)));
      for (std::size_t c = 0; c < columns; ++c) {
        double sum = 0;
        for (std::size_t k = 0; k < weights.size(); ++k)
          sum += weights[k] * nodal.Values()[static_cast<std::size_t>(nodes[k]) * columns + c];
        values[i * columns + c] = sum;
      }
    }
  });
  if (isFlat) return py_Array(std::move(values));
  return py_Array(std::move(values), {self.hits.size(), columns});
}
} // namespace

py_Hits py_LocateIn(const py_Mesh& mesh, nb::handle argument) {
  const py_Reals points = ToPoints(argument);
  py_Run([&] {
    const std::lock_guard lock(mesh.state->mutex);
    if (!mesh.state->locator) mesh.state->locator = std::make_unique<const bme_ElementLocator>(*mesh);
  });
  return Find(mesh, *mesh.state->locator, points);
}

void py_BindLocate(nb::module_& module) {
  nb::class_<Hits>(module, "Hits", "Of each point the element that contains it, if one does.")
      .def("__len__", [](const Hits& self) { return self.hits.size(); })
      .def_prop_ro(
          "element", [](const Hits& self) { return ElementsOf(self.hits); }, nb::rv_policy::automatic,
          nb::sig("def element(self) -> numpy.typing.NDArray[numpy.int32]"), "(n,) indices, -1 for none.")
      .def_prop_ro("location", &Locations, nb::rv_policy::automatic,
                   nb::sig("def location(self) -> numpy.typing.NDArray[numpy.uint8]"), "(n,) of `Location`.")
      .def_prop_ro(
          "iso", [](const Hits& self) { return IsosOf(self.hits, &IsHeld); }, nb::rv_policy::automatic,
          nb::sig("def iso(self) -> numpy.typing.NDArray[numpy.float64]"),
          "(n, 3) iso coordinates, NaN where no element holds the point.")
      .def_prop_ro("labels", &Labels, nb::rv_policy::automatic,
                   nb::sig("def labels(self) -> numpy.typing.NDArray[numpy.int32]"),
                   "(n,) element labels, -1 for none.")
      .def_prop_ro(
          "held",
          [](const Hits& self) {
            std::vector<std::uint8_t> held;
            for (const bme_ElementHit& hit : self.hits) held.push_back(IsHeld(hit));
            return nb::object(py_Array(std::move(held)).attr("astype")("bool"));
          },
          nb::sig("def held(self) -> numpy.typing.NDArray[numpy.bool_]"), "(n,) whether an element holds it.")
      .def("interpolate", &Interpolate, nb::arg("nodal"), nb::rv_policy::automatic,
           nb::sig(
               "def interpolate(self, nodal: numpy.typing.ArrayLike) -> numpy.typing.NDArray[numpy.float64]"),
           "Values of (num_nodes[, c]) at the points: (n[, c]), NaN outside. ValueError for another count.");
  nb::class_<Nearest>(module, "Nearest", "Of each point the closest element.")
      .def("__len__", [](const Nearest& self) { return self.found.size(); })
      .def_prop_ro(
          "element", [](const Nearest& self) { return ElementsOf(self.found); }, nb::rv_policy::automatic,
          nb::sig("def element(self) -> numpy.typing.NDArray[numpy.int32]"), "(n,) indices, -1 for none.")
      .def_prop_ro(
          "distance",
          [](const Nearest& self) {
            std::vector<double> distances;
            for (const bme_NearestElement& one : self.found) distances.push_back(one.distance);
            return py_Array(std::move(distances));
          },
          nb::rv_policy::automatic, nb::sig("def distance(self) -> numpy.typing.NDArray[numpy.float64]"),
          "(n,) 0 inside the element.")
      .def_prop_ro(
          "iso",
          [](const Nearest& self) {
            return IsosOf(self.found,
                          [](const bme_NearestElement& one) { return one.element != bme_kNotFound; });
          },
          nb::rv_policy::automatic, nb::sig("def iso(self) -> numpy.typing.NDArray[numpy.float64]"),
          "(n, 3) of the closest point.");
  nb::class_<Locator>(module, "Locator",
                      "Finds the elements of a mesh, or of some of its blocks, at points.\n\n"
                      ">>> import numpy as np, coregeometry as cg\n"
                      ">>> mesh = cg.Mesh(np.eye(4, 3, -1), {\"C3D4\": [[0, 1, 2, 3]]})\n"
                      ">>> hits = cg.Locator(mesh).find([[0.1, 0.2, 0.3], [1, 1, 1]])\n"
                      ">>> hits.element, hits.interpolate(mesh.nodes[:, 2]).round(6)\n"
                      "(array([ 0, -1], dtype=int32), array([0.3, nan]))\n")
      .def(
          "__init__",
          [](Locator* self, const py_Mesh& mesh, nb::handle blocks) {
            new (self) Locator(MakeLocator(mesh, blocks));
          },
          nb::arg("mesh"), nb::arg("blocks") = nb::none(),
          nb::sig("def __init__(self, mesh: Mesh, blocks: numpy.typing.ArrayLike | None = None) -> None"))
      .def(
          "find",
          [](const Locator& self, nb::handle points) {
            return Find(self.mesh, *self.locator, ToPoints(points));
          },
          nb::arg("points"), nb::sig("def find(self, points: numpy.typing.ArrayLike) -> Hits"),
          "The first element that contains each of (n, 3) points.")
      .def("find_all", &FindAll, nb::arg("points"),
           nb::sig("def find_all(self, points: numpy.typing.ArrayLike) -> tuple[Rows, Hits]"),
           "All elements that contain each point: rows of elements, and the hits in the order of the rows.")
      .def("nearest", &FindNearest, nb::arg("points"),
           nb::sig("def nearest(self, points: numpy.typing.ArrayLike) -> Nearest"),
           "The closest element of each point.")
      .def(
          "__reduce__",
          [](const Locator&) -> nb::object {
            throw py_Error("TypeError", "a Locator cannot be pickled: pickle its mesh");
          },
          nb::sig("def __reduce__(self) -> tuple[typing.Any, ...]"));
  auto mesh = nb::borrow<nb::class_<py_Mesh>>(nb::type<py_Mesh>());
  mesh.def("locate", &py_LocateIn, nb::arg("points"),
           nb::sig("def locate(self, points: numpy.typing.ArrayLike) -> Hits"),
           "The first element that contains each of (n, 3) points; the mesh keeps its locator.");
}
