// Shapes of element types. A shape is its label: each call asks the calling thread's dictionary.
#include "py_Arrays.h"
#include "py_Connect.h"
#include "py_Hits.h"
#include "py_Work.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/bme_MeshBuilder.h>
#include <CoreGeometry/exo_NodeOrder.h>
#include <CoreGeometry/exo_Types.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreGeometry/shp_ShapeDictionary.h>

namespace {
const shp_ShapeDictionary& Dictionary() { return thr_ThreadSingleton<shp_ShapeDictionary>::Instance(); }

struct Shape {
  std::string label;
  const shp_Shape& operator*() const { return *Dictionary().GetShape(label); }
  const shp_Shape* operator->() const { return Dictionary().GetShape(label); }
};

Shape Make(const std::string& label) {
  const shp_Shape* const shape = Dictionary().GetShape(label);
  if (!shape)
    throw py_Error("UnknownTypeError", "unknown element type \"" + label + '"' + py_NearTypes(label));
  return {shape->Label()};
}

template<class T> nb::object Static(std::span<const T> values, std::initializer_list<std::size_t> shape) {
  return py_Array(std::vector<T>(values.begin(), values.end()), shape);
}
nb::object Points(std::span<const shp_IsoPoint> points) {
  std::vector<double> flat;
  for (const shp_IsoPoint& point : points) flat.insert(flat.end(), point.begin(), point.end());
  return py_Array(std::move(flat), {points.size(), 3});
}
nb::tuple Tuple(std::span<const int> numbers) {
  return nb::tuple(nb::cast(std::vector<int>(numbers.begin(), numbers.end())));
}
std::size_t Size(int n) { return static_cast<std::size_t>(n); }

nb::tuple Faces(const Shape& self) {
  nb::list faces;
  for (int i = 0; i < self->NumFaces(); ++i) faces.append(Tuple(self->FaceNodes(i)));
  return nb::tuple(faces);
}

/// Each edge once, in the order of the first face that has it.
nb::tuple Edges(const Shape& self) {
  std::vector<std::array<int, 2>> known;
  nb::list edges;
  for (int face = 0; face < self->NumFaces(); ++face)
    for (int edge = 0; edge < self->EdgesPerFace()[Size(face)]; ++edge) {
      const std::span<const int> nodes = self->EdgeNodes(face, edge);
      if (nodes.empty()) continue;
      const std::array<int, 2> ends = {std::min(nodes.front(), nodes.back()),
                                       std::max(nodes.front(), nodes.back())};
      if (std::ranges::find(known, ends) != known.end()) continue;
      known.push_back(ends);
      edges.append(Tuple(nodes));
    }
  return nb::tuple(edges);
}

void RequireMap(const Shape& self) {
  if (self->NodeCoordinates().size() < 2)
    throw py_Error("ValueError", self.label + " has no map from iso coordinates");
}

/// Calls take(shape, iso point, position) for each of (n, 3) iso coordinates.
template<class Take> std::size_t ForEachIso(const Shape& self, const py_Reals& isos, Take take) {
  const std::size_t count = isos.Values().size() / 3;
  py_Run([&] {
    const shp_Shape& shape = *self;
    wip_Poll poll(1 << 12);
    for (std::size_t i = 0; i < count; ++i) {
      poll.Advance();
      const double* const at = isos.Values().data() + 3 * i;
      take(shape, shp_IsoPoint{at[0], at[1], at[2]}, i);
    }
  });
  return count;
}

nb::object Functions(const Shape& self, nb::handle argument) {
  RequireMap(self);
  const py_Reals isos = py_ToReals(argument, "iso", {-1, 3});
  const std::size_t nodes = Size(self->NumBaseNodes());
  std::vector<double> values(isos.Values().size() / 3 * nodes);
  const std::size_t count =
      ForEachIso(self, isos, [&](const shp_Shape& shape, const shp_IsoPoint& iso, std::size_t i) {
        shape.ShapeFunctions(iso, std::span(values).subspan(i * nodes, nodes));
      });
  return py_Array(std::move(values), {count, nodes});
}

nb::object Derivatives(const Shape& self, nb::handle argument) {
  RequireMap(self);
  const py_Reals isos = py_ToReals(argument, "iso", {-1, 3});
  const std::size_t nodes = Size(self->NumBaseNodes());
  std::vector<double> values;
  std::vector<shp_IsoPoint> derivatives(nodes);
  const std::size_t count =
      ForEachIso(self, isos, [&](const shp_Shape& shape, const shp_IsoPoint& iso, std::size_t) {
        shape.ShapeDerivatives(iso, derivatives);
        for (const shp_IsoPoint& row : derivatives) values.insert(values.end(), row.begin(), row.end());
      });
  return py_Array(std::move(values), {count, nodes, 3});
}

/// Sums over the nodes: of functions times coordinates, or of coordinates times derivatives.
nb::object Map(const Shape& self, nb::handle places, nb::handle argument, bool isJacobian) {
  RequireMap(self);
  const py_Reals isos = py_ToReals(argument, "iso", {-1, 3});
  const py_Reals nodes = py_ToReals(places, "nodes", {self->NumBaseNodes(), 3});
  const std::span<const double> xyz = nodes.Values();
  const std::size_t numNodes = Size(self->NumBaseNodes()), width = isJacobian ? 9 : 3;
  std::vector<double> values(isos.Values().size() / 3 * width), weights(numNodes);
  std::vector<shp_IsoPoint> derivatives(numNodes);
  const std::size_t count =
      ForEachIso(self, isos, [&](const shp_Shape& shape, const shp_IsoPoint& iso, std::size_t i) {
        double* const out = values.data() + i * width;
        if (isJacobian)
          shape.ShapeDerivatives(iso, derivatives);
        else
          shape.ShapeFunctions(iso, weights);
        for (std::size_t node = 0; node < numNodes; ++node)
          for (std::size_t axis = 0; axis < 3; ++axis) {
            const double x = xyz[3 * node + axis];
            if (!isJacobian) out[axis] += weights[node] * x;
            for (std::size_t k = 0; isJacobian && k < 3; ++k) out[3 * axis + k] += x * derivatives[node][k];
          }
      });
  if (isJacobian) return py_Array(std::move(values), {count, 3, 3});
  return py_Array(std::move(values), {count, 3});
}

nb::object VtkType(const Shape& self) {
  const auto cell = exo_FindVtkCell(self->NodeCoordinates());
  return cell ? nb::object(nb::int_(cell->type)) : nb::none();
}
nb::object VtkOrder(const Shape& self) {
  const auto cell = exo_FindVtkCell(self->NodeCoordinates());
  return cell ? py_Array(cell->order) : nb::none();
}

/// The cell of meshio, by its name; its nodes are numbered as VTK's plain cell of that name.
nb::object MeshioType(const Shape& self) {
  const nb::object number = VtkType(self);
  return nb::module_::import_("coregeometry._bridges.cells").attr("NAMES").attr("get")(number);
}
nb::object MeshioOrder(const Shape& self) { return MeshioType(self).is_none() ? nb::none() : VtkOrder(self); }

/// The Exodus II element with all nodes of the shape.
std::optional<exo_TypeName> ExodusName(const Shape& self) {
  std::optional<exo_TypeName> name = exo_NameType(*self, self->NumSpatialDims());
  if (name && name->numNodes != self->NumNodes()) name.reset();
  return name;
}
nb::object ExodusType(const Shape& self) {
  const auto name = ExodusName(self);
  return name ? nb::object(nb::str(name->name.c_str())) : nb::none();
}
nb::object ExodusOrder(const Shape& self) {
  auto name = ExodusName(self);
  return name ? py_Array(std::move(name->order)) : nb::none();
}

nb::object EdgeTable(const Shape& self) {
  const std::size_t faces = Size(self->NumFaces()), edges = Size(self->MaxEdgesPerFace()),
                    most = Size(self->MaxNodesPerEdge());
  return Static(self->EdgeNodeTable().first(faces * edges * most), {faces, edges, most});
}

/// Rows of weights for so many places.
nb::object Weights(std::span<const float> weights, std::size_t rows) {
  return Static(weights, {rows, rows > 0 ? weights.size() / rows : 0});
}

/// Points in one element, whose nodes are stored in single precision as those of a mesh.
py_Hits Locate(const Shape& self, nb::handle places, nb::handle points) {
  RequireMap(self);
  const py_Reals nodes = py_ToReals(places, "nodes", {self->NumBaseNodes(), 3});
  std::vector<float> xyz;
  for (int ring = 0; ring < self->NumRings(); ++ring)
    for (const double x : nodes.Values()) xyz.push_back(static_cast<float>(x));
  std::vector<int> row(Size(self->NumNodes()));
  for (std::size_t i = 0; i < row.size(); ++i) row[i] = static_cast<int>(i);
  bme_MeshBuilder builder(xyz);
  builder.Add({self.label, row});
  return py_LocateIn(py_Mesh(builder.Build()), points);
}

using Count = int (shp_Topology::*)() const;
using Flag = bool (shp_Topology::*)() const;
} // namespace

void py_BindShapes(nb::module_& module) {
  nb::class_<Shape> shape(
      module, "Shape", nb::is_weak_referenceable(),
      "What an element type means. Iso coordinates are (n, 3): xi, eta, zeta.\n\n"
      ">>> import coregeometry as cg\n"
      ">>> brick = cg.shapes[\"c3d8\"]\n"
      ">>> brick.faces[0], brick.shape_functions([[0, 0, 0]]).sum(axis=1), brick.vtk_type\n"
      "((0, 3, 2, 1), array([1.]), 12)\n");
  shape
      .def(
          "__init__", [](Shape* self, const std::string& label) { new (self) Shape(Make(label)); },
          nb::arg("label"))
      .def_ro("label", &Shape::label)
      .def(
          "__eq__", [](const Shape& a, const Shape& b) { return a.label == b.label; }, nb::is_operator(),
          nb::sig("def __eq__(self, other: object, /) -> bool"))
      .def("__hash__", [](const Shape& self) { return nb::hash(nb::str(self.label.c_str())); })
      .def("__repr__", [](const Shape& self) { return "<Shape " + self.label + ">"; })
      .def(
          "__reduce__",
          [](const Shape& self) { return nb::make_tuple(nb::type<Shape>(), nb::make_tuple(self.label)); },
          nb::sig("def __reduce__(self) -> tuple[typing.Any, ...]"));
  constexpr std::pair<const char*, Count> kCounts[] = {{"num_nodes", &shp_Topology::NumNodes},
                                                       {"num_base_nodes", &shp_Topology::NumBaseNodes},
                                                       {"num_rings", &shp_Topology::NumRings},
                                                       {"num_integration_points", &shp_Topology::NumIntPts},
                                                       {"num_faces", &shp_Topology::NumFaces},
                                                       {"geometry_dimensions", &shp_Topology::NumGeomDims},
                                                       {"space_dimensions", &shp_Topology::NumSpatialDims},
                                                       {"interpolation_order", &shp_Topology::InterpOrder}};
  for (const auto& [name, count] : kCounts)
    shape.def_prop_ro(name, [count = count](const Shape& self) { return ((*self).*count)(); });
  constexpr std::pair<const char*, Flag> kFlags[] = {{"is_axisymmetric", &shp_Topology::IsAxiSymmetric},
                                                     {"is_interaction", &shp_Topology::IsInteraction},
                                                     {"is_internal", &shp_Topology::IsInternal},
                                                     {"is_surface", &shp_Topology::IsSurface},
                                                     {"is_rigid", &shp_Topology::IsRigid},
                                                     {"is_gasket", &shp_Topology::IsGasket},
                                                     {"is_cohesive", &shp_Topology::IsCohesive},
                                                     {"is_continuum_shell", &shp_Topology::IsContinuumShell}};
  for (const auto& [name, flag] : kFlags)
    shape.def_prop_ro(name, [flag = flag](const Shape& self) { return ((*self).*flag)(); });
  const auto table = [&](const char* name, nb::object (*function)(const Shape&), const char* type,
                         const char* doc) {
    shape.def_prop_ro(
        name, function, nb::rv_policy::automatic,
        nb::sig((std::string("def ") + name + "(self) -> numpy.typing.NDArray[numpy." + type + "]").c_str()),
        doc);
  };
  table(
      "node_coordinates", [](const Shape& self) { return Points(self->NodeCoordinates()); }, "float64",
      "(b, 3)");
  table(
      "integration_points", [](const Shape& self) { return Points(self->IntPtCoordinates()); }, "float64",
      "(p, 3)");
  table(
      "face_table",
      [](const Shape& self) {
        return Static(self->FaceNodeTable(),
                      {Size(self->NumFaces()),
                       self->NumFaces()
                           ? self->FaceNodeTable().size() / Size(self->NumFaces() * self->NumRings())
                           : 0});
      },
      "int32", "(f, most) nodes of each face, filled up with -1.");
  table("edge_table", &EdgeTable, "int32",
        "(f, e, most) nodes of each edge of each face, filled up with -1; of the first ring.");
  table(
      "integration_to_nodes",
      [](const Shape& self) { return Weights(self->IntPtToNodeWeights(), Size(self->NumBaseNodes())); },
      "float32", "(b, p) weights of the integration points at each node.");
  table(
      "integration_to_faces",
      [](const Shape& self) { return Weights(self->IntPtToFaceWeights(), Size(self->NumFaces())); },
      "float32", "(f, p) weights of the integration points at each face.");
  table(
      "nodes_to_faces",
      [](const Shape& self) { return Weights(self->NodeToFaceWeights(), Size(self->NumFaces())); }, "float32",
      "(f, b) weights of the nodes at each face.");
  table(
      "reversal",
      [](const Shape& self) {
        return py_Array(
            std::vector<int>(self->ReversalPermutation().begin(), self->ReversalPermutation().end()));
      },
      "int32", "(k,) node that takes the place of each when the element is reversed.");
  shape.def_prop_ro("faces", &Faces, nb::sig("def faces(self) -> tuple[tuple[int, ...], ...]"))
      .def_prop_ro("edges", &Edges, nb::sig("def edges(self) -> tuple[tuple[int, ...], ...]"),
                   "Each edge once.")
      .def_prop_ro("vtk_type", &VtkType, nb::sig("def vtk_type(self) -> int | None"),
                   "None without such a cell.")
      .def_prop_ro("vtk_order", &VtkOrder,
                   nb::sig("def vtk_order(self) -> numpy.typing.NDArray[numpy.int32] | None"),
                   "Position in VTK's cell of each node.")
      .def_prop_ro("meshio_type", &MeshioType, nb::sig("def meshio_type(self) -> str | None"),
                   "None without such a cell.")
      .def_prop_ro("meshio_order", &MeshioOrder,
                   nb::sig("def meshio_order(self) -> numpy.typing.NDArray[numpy.int32] | None"),
                   "Position in meshio's cell of each node.")
      .def_prop_ro("exodus_type", &ExodusType, nb::sig("def exodus_type(self) -> str | None"),
                   "The format's name, such as HEX8; None without such an element.")
      .def_prop_ro("exodus_order", &ExodusOrder,
                   nb::sig("def exodus_order(self) -> numpy.typing.NDArray[numpy.int32] | None"),
                   "Position in the Exodus II element of each node.")
      .def("locate", &Locate, nb::arg("nodes"), nb::arg("points"),
           nb::sig("def locate(self, nodes: numpy.typing.ArrayLike, points: numpy.typing.ArrayLike) -> Hits"),
           "Where (n, 3) points are in an element of (b, 3) nodes, which are rounded to float32: element 0 "
           "or -1.")
      .def("shape_functions", &Functions, nb::arg("iso"),
           nb::sig("def shape_functions(self, iso: numpy.typing.ArrayLike) -> "
                   "numpy.typing.NDArray[numpy.float64]"),
           "(n, b). ValueError for points and rigid surfaces.")
      .def("shape_derivatives", &Derivatives, nb::arg("iso"),
           nb::sig("def shape_derivatives(self, iso: numpy.typing.ArrayLike) -> "
                   "numpy.typing.NDArray[numpy.float64]"),
           "(n, b, 3)")
      .def(
          "map",
          [](const Shape& self, nb::handle nodes, nb::handle iso) { return Map(self, nodes, iso, false); },
          nb::arg("nodes"), nb::arg("iso"),
          nb::sig("def map(self, nodes: numpy.typing.ArrayLike, iso: numpy.typing.ArrayLike) -> "
                  "numpy.typing.NDArray[numpy.float64]"),
          "(n, 3) places in an element of (b, 3) nodes.")
      .def(
          "jacobian",
          [](const Shape& self, nb::handle nodes, nb::handle iso) { return Map(self, nodes, iso, true); },
          nb::arg("nodes"), nb::arg("iso"),
          nb::sig("def jacobian(self, nodes: numpy.typing.ArrayLike, iso: numpy.typing.ArrayLike) -> "
                  "numpy.typing.NDArray[numpy.float64]"),
          "(n, 3, 3): rows x y z, columns xi eta zeta.");
  module.def("shape_labels", [] {
    std::vector<std::string> labels;
    for (const auto& [label, key] : Dictionary().LabelTable()) labels.push_back(label);
    return labels;
  });
}
