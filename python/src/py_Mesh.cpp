#include "py_Mesh.h"

#include "py_Arrays.h"
#include "py_Tables.h"
#include "py_Work.h"

#include <CoreGeometry/chk_Findings.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <algorithm>
#include <cmath>
#include <limits>

namespace {
/// The arguments of a mesh, in the order of its constructor.
struct Made {
  py_Points nodes;
  std::vector<py_Block> blocks;
};

Made MakeParts(nb::handle nodes, nb::handle blocks, bool keepUnknown) {
  Made made{py_Coordinates(nodes, "nodes"), {}};
  const std::size_t numNodes = made.nodes.xyz.Size() / 3;
  const nb::object pairs =
      nb::hasattr(blocks, "items") ? nb::object(blocks.attr("items")()) : nb::borrow<nb::object>(blocks);
  for (const nb::handle item : pairs) {
    const std::size_t number = made.blocks.size();
    if (nb::isinstance<py_Block>(item)) {
      made.blocks.push_back(nb::cast<py_Block>(item));
      const bme_ElementClass& elements = made.blocks.back().elements;
      py_CheckNodes(made.blocks.back(), numNodes, number);
      if (!elements.IsSupported() && !keepUnknown)
        throw py_Error("UnknownTypeError", py_PlaceOf(number, elements.ElemTypeLabel())
                                               + ": unknown element type"
                                               + py_NearTypes(elements.ElemTypeLabel()));
      continue;
    }
    if (!nb::isinstance<nb::sequence>(item) || nb::len(item) != 2 || !nb::isinstance<nb::str>(item[0]))
      throw py_Error("TypeError",
                     "block " + std::to_string(number) + ": a Block or a pair (type, array) is needed");
    const auto type = nb::cast<std::string>(item[0]);
    made.blocks.push_back(
        py_MakeBlock(type, item[1], nb::none(), "", {}, keepUnknown, numNodes, py_PlaceOf(number, type)));
  }
  return made;
}

void CheckDuplicates(const Made& made, std::span<const int> nodeLabels) {
  const std::span<const int> ofNodes[] = {nodeLabels};
  py_RefuseDuplicates(ofNodes, "node");
  std::vector<std::span<const int>> ofElements;
  for (const py_Block& block : made.blocks) ofElements.push_back(block.elements.UserElementLabels());
  py_RefuseDuplicates(ofElements, "element");
}

py_Mesh MakeMesh(nb::handle nodes, nb::handle blocks, nb::handle nodeLabels, nb::handle dimension,
                 const std::string& type, nb::handle placement, bool keepUnknown, unsigned id,
                 bool mayRepeat) {
  Made made = MakeParts(nodes, blocks, keepUnknown);
  const std::size_t numNodes = made.nodes.xyz.Size() / 3;
  if (!dimension.is_none()) {
    const auto wanted = nb::cast<unsigned>(dimension);
    if (wanted != 2 && wanted != 3)
      throw py_Error("ValueError", "dimension " + std::to_string(wanted) + " is neither 2 nor 3");
    made.nodes.dimension = wanted;
  }
  const omu_PrimEnum<bme_MeshType> meshType(type);
  cow_ArrayCOW<int> labels;
  if (!nodeLabels.is_none()) {
    labels = py_Labels(nodeLabels, "node_labels");
    if (labels.Size() != numNodes)
      throw py_Error("ValueError", "node_labels: " + std::to_string(labels.Size()) + " labels for "
                                       + std::to_string(numNodes) + " nodes");
  }
  std::size_t numElements = 0, labelled = 0, unlabelled = 0;
  for (const py_Block& block : made.blocks) {
    const auto count = static_cast<std::size_t>(block.elements.NumElements());
    numElements += count;
    if (count > 0) ++(block.elements.HasUserElementLabels() ? labelled : unlabelled);
  }
  if (labelled > 0 && unlabelled > 0)
    throw py_Error("ValueError", std::to_string(labelled) + " blocks have labels and "
                                     + std::to_string(unlabelled)
                                     + " have none: all or no blocks have labels");
  if (numElements > static_cast<std::size_t>(std::numeric_limits<int>::max()))
    throw py_Error("OverflowError", std::to_string(numElements) + " elements are more than a mesh holds");
  std::optional<gsl_Matrix> placed;
  if (!placement.is_none()) placed = py_ToMatrix(placement, "placement");
  const double rounding = made.nodes.rounding;
  return py_Mesh(py_Run([&] {
                   if (!mayRepeat) CheckDuplicates(made, labels.Const());
                   auto nodeData = std::make_unique<bme_NodeData>(uti_CoordCont3D(std::move(made.nodes.xyz)),
                                                                  made.nodes.dimension);
                   if (!labels.IsEmpty())
                     nodeData->SetUserNodeLabels(cls_xp1DArrayListInt(std::move(labels)));
                   auto elementData = std::make_unique<bme_ElementData>();
                   for (const py_Block& block : made.blocks) {
                     auto elements = std::make_unique<bme_ElementClass>(block.elements);
                     elements->SetMeshIndex(static_cast<int>(id));
                     elementData->AddElementClass(elements.release());
                   }
                   return bme_Mesh(id, nodeData.release(), elementData.release(), meshType.Value(),
                                   placed ? &*placed : nullptr);
                 }),
                 rounding);
}

// ask

std::vector<py_Block> BlocksOf(const py_Mesh& mesh) {
  std::vector<py_Block> blocks;
  for (unsigned i = 0; i < mesh.Elements().NumClasses(); ++i) blocks.push_back({mesh.Elements().GetClass(i)});
  return blocks;
}

nb::tuple BlockTuple(const py_Mesh& mesh) { return nb::tuple(nb::cast(BlocksOf(mesh))); }

nb::object NodesOf(const py_Mesh& mesh) {
  return py_View(mesh.Nodes().Coordinates().Values(), {mesh.Nodes().NumNodes(), 3});
}

nb::object NodeLabelsOf(const py_Mesh& mesh) {
  if (!mesh.Nodes().HasUserNodeLabels()) return nb::none();
  const cls_xp1DArrayListInt& labels = mesh.Nodes().UserNodeLabels();
  return py_View<int>(labels, labels.Const(), {labels.Size()});
}

nb::object ElementLabelsOf(const py_Mesh& mesh) {
  std::vector<int> labels(mesh.Elements().NumElements());
  bool isImplicit = false;
  auto at = labels.begin();
  for (unsigned i = 0; i < mesh.Elements().NumClasses(); ++i) {
    const bme_ElementClass& block = mesh.Elements().GetClass(i);
    isImplicit = isImplicit || (block.NumElements() > 0 && !block.HasUserElementLabels());
    at = isImplicit ? at : std::ranges::copy(block.UserElementLabels(), at).out;
  }
  if (isImplicit)
    for (std::size_t i = 0; i < labels.size(); ++i) labels[i] = static_cast<int>(i) + 1;
  return py_Array(std::move(labels));
}

nb::object BoundsOf(const py_Mesh& mesh) {
  constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
  std::vector<double> bounds(6, kNone);
  const gsl_BBox box = py_Run([&] { return mesh->GetBBox(); });
  if (!box.IsEmpty())
    for (unsigned axis = 0; axis < 3; ++axis) {
      bounds[axis] = box.Min()[axis];
      bounds[3 + axis] = box.Max()[axis];
    }
  return py_Array(std::move(bounds), {2, 3});
}

nb::object PlacementOf(const py_Mesh& mesh) {
  if (!mesh->Transform()) return nb::none();
  double rows[4][4];
  mesh->Transform()->AsArray(rows);
  return py_Array(std::vector<double>(&rows[0][0], &rows[0][0] + 16), {4, 4});
}

/// Indices of labels; `find` looks them all up. A label that is not known is the number `missing`, or an error.
template<class Find>
nb::object IndicesOf(nb::handle argument, nb::handle missing, const char* what, Find find) {
  const bool isScalar = py_ShapeOf(py_AsArray(argument, "labels")).empty();
  const nb::list one = [&] {
    nb::list list;
    if (isScalar) list.append(argument);
    return list;
  }();
  const cow_ArrayCOW<int> labels = py_Labels(isScalar ? nb::handle(one) : argument, "labels");
  std::vector<unsigned> found(labels.Size());
  py_Run([&] { find(labels.Const(), found); });
  std::vector<int> indices(found.begin(), found.end());
  std::vector<long long> unknown;
  long long count = 0;
  for (std::size_t i = 0; i < found.size(); ++i) {
    if (found[i] != bme_kNotFound) continue;
    if (!missing.is_none()) {
      indices[i] = nb::cast<int>(missing);
      continue;
    }
    if (++count <= static_cast<long long>(py_kMostNamed)) unknown.push_back(labels.Const()[i]);
  }
  if (count > 0)
    throw py_Error("UnknownLabelError",
                   std::string("no ") + what + " has the label " + std::to_string(unknown.front())
                       + (count > 1 ? "; " + std::to_string(count) + " labels are unknown" : std::string()),
                   {{"labels", unknown}});
  return isScalar ? nb::object(nb::int_(indices.front())) : py_Array(std::move(indices));
}

nb::object NodeIndex(const py_Mesh& mesh, nb::handle labels, nb::handle missing) {
  return IndicesOf(labels, missing, "node", [&](std::span<const int> wanted, std::span<unsigned> found) {
    const std::lock_guard lock(mesh.state->mutex);
    mesh.Nodes().GetMeshNodeIndices(wanted, found);
  });
}

nb::object ElementIndex(const py_Mesh& mesh, nb::handle labels, nb::handle missing) {
  return IndicesOf(labels, missing, "element", [&](std::span<const int> wanted, std::span<unsigned> found) {
    const std::lock_guard lock(mesh.state->mutex);
    mesh.Elements().GetMeshElemIndices(wanted, found);
  });
}

nb::object ElementNodes(const py_Mesh& mesh, nb::handle element) {
  const py_Indices index = py_ToIndices(element, "element", mesh.Elements().NumElements());
  if (!index.isScalar) throw py_Error("TypeError", "element: one integer is needed");
  const unsigned e = index.values.front();
  const bme_ElementClass& block = mesh.Elements().GetElemClass(e);
  const std::span<const int> nodes =
      block.Connectivity(static_cast<int>(mesh.Elements().GetClassElemIndex(e)));
  return py_View<int>(block.ElementConnectivity().Values(), nodes, {nodes.size()});
}

nb::object ElementBlock(const py_Mesh& mesh, nb::handle elements) {
  const py_Indices indices = py_ToIndices(elements, "element", mesh.Elements().NumElements());
  std::vector<int> blocks(indices.values.size());
  std::ranges::transform(indices.values, blocks.begin(),
                         [&](unsigned element) { return mesh.Elements().GetClassIndex(element); });
  return indices.isScalar ? nb::object(nb::int_(blocks.front())) : py_Array(std::move(blocks));
}

bool AreEqual(const py_Mesh& a, const py_Mesh& b) {
  if (a.state == b.state) return true;
  const auto isPlaced = [](const gsl_Matrix* x, const gsl_Matrix* y) {
    if (!x || !y) return x == y;
    double p[4][4], q[4][4];
    x->AsArray(p);
    y->AsArray(q);
    return std::equal(&p[0][0], &p[0][0] + 16, &q[0][0]);
  };
  if (!(a.Nodes() == b.Nodes()) || a->MeshType() != b->MeshType()
      || !isPlaced(a->Transform(), b->Transform()))
    return false;
  return nb::cast(BlocksOf(a)).equal(nb::cast(BlocksOf(b)));
}

std::string ReprOf(const py_Mesh& mesh) {
  std::string text = "<Mesh " + std::to_string(mesh.Nodes().NumNodes()) + " nodes, "
                     + std::to_string(mesh.Elements().NumElements()) + " elements";
  for (unsigned i = 0; i < mesh.Elements().NumClasses(); ++i) {
    const bme_ElementClass& block = mesh.Elements().GetClass(i);
    if (i == 6) return text + ", ...>";
    text +=
        (i == 0 ? ": " : ", ") + block.ElemTypeLabel() + " \xc3\x97" + std::to_string(block.NumElements());
  }
  return text + ">";
}

nb::list Check(const py_Mesh& mesh) {
  const std::vector<chk_Finding> found = py_Run([&] {
    const std::lock_guard lock(mesh.state->mutex);
    std::vector<chk_Finding> findings;
    chk_Findings here("", findings);
    chk_Mesh(*mesh, here);
    const auto isFault = [](const chk_Finding& finding) {
      return finding.weight == cls_Finding::Weight::Fault;
    };
    if (std::ranges::any_of(findings, isFault)) return findings;
    chk_Topology(*mesh, chk_Elements(*mesh, here), here);
    return findings;
  });
  return py_Findings(found);
}

// make

py_Mesh Transformed(const py_Mesh& mesh, nb::handle matrix) {
  const gsl_Matrix transform = py_ToMatrix(matrix, "matrix");
  return py_Run([&] {
    bme_NodeData nodes = mesh.Nodes();
    transform.Transform(nodes.CoordinatesToModify());
    return py_Remake(mesh, nodes, mesh.Elements());
  });
}

py_Mesh WithNodes(const py_Mesh& mesh, nb::handle argument) {
  py_Points points = py_Coordinates(argument, "nodes");
  if (points.xyz.Size() != 3 * std::size_t{mesh.Nodes().NumNodes()})
    throw py_Error("ValueError", "nodes: " + std::to_string(points.xyz.Size() / 3) + " rows for "
                                     + std::to_string(mesh.Nodes().NumNodes()) + " nodes");
  bme_NodeData nodes(uti_CoordCont3D(std::move(points.xyz)), mesh.Nodes().Dimension());
  nodes.SetUserNodeLabels(mesh.Nodes().UserNodeLabels());
  return py_Remake(mesh, nodes, mesh.Elements());
}

py_Mesh WithLabels(const py_Mesh& mesh, nb::handle ofNodes, nb::handle ofElements) {
  bme_NodeData nodes = mesh.Nodes();
  bme_ElementData elements = mesh.Elements();
  py_SetLabels(nodes, elements, ofNodes, ofElements);
  return py_Remake(mesh, nodes, elements);
}

py_Mesh Inverted(const py_Mesh& mesh, nb::handle argument) {
  bme_ElementData elements = mesh.Elements();
  std::vector<unsigned> chosen;
  if (!argument.is_none())
    chosen = py_ToIndices(nb::hasattr(argument, "indices") ? argument.attr("indices") : argument, "element",
                          elements.NumElements())
                 .values;
  return py_Run([&] {
    const auto require = [](bool isDone, const bme_ElementClass& block) {
      if (!isDone)
        throw nex_TextException("elements of type " + block.ElemTypeLabel()
                                + " have no shape and are not inverted");
    };
    if (argument.is_none())
      for (unsigned i = 0; i < elements.NumClasses(); ++i)
        require(elements.GetClassToModify(i).InvertElementsConnectivities(), elements.GetClass(i));
    std::ranges::sort(chosen);
    chosen.erase(std::unique(chosen.begin(), chosen.end()), chosen.end());
    for (const unsigned e : chosen)
      require(elements.GetClassToModify(elements.GetClassIndex(e))
                  .InvertElementConnectivity(static_cast<int>(elements.GetClassElemIndex(e))),
              elements.GetElemClass(e));
    return py_Remake(mesh, mesh.Nodes(), elements);
  });
}
} // namespace

gsl_Matrix py_ToMatrix(nb::handle argument, const char* what) {
  const nb::object array = py_AsArray(argument, what);
  const std::vector<std::size_t> shape = py_ShapeOf(array);
  const bool hasLast = shape == std::vector<std::size_t>{4, 4};
  if (!hasLast && shape != std::vector<std::size_t>{3, 4})
    throw py_Error("ValueError",
                   std::string(what) + ": shape " + py_ShapeText(array) + " is not (4, 4) or (3, 4)");
  const py_Reals numbers = py_ToReals(array, what, {-1, 4});
  double rows[4][4] = {{}, {}, {}, {0, 0, 0, 1}};
  for (std::size_t i = 0; i < numbers.Values().size(); ++i) {
    const double value = numbers.Values()[i];
    if (!std::isfinite(value))
      throw py_Error("ValueError", std::string(what) + ": holds a number that is not finite");
    if (i >= 12 && value != rows[3][i % 4])
      throw py_Error("ValueError", std::string(what) + ": the last row must be 0 0 0 1");
    rows[i / 4][i % 4] = value;
  }
  return gsl_Matrix(rows);
}

void py_SetLabels(bme_NodeData& nodes, bme_ElementData& elements, nb::handle ofNodes, nb::handle ofElements) {
  const auto check = [](const cow_ArrayCOW<int>& labels, std::size_t count, const char* what) {
    if (labels.Size() != count)
      throw py_Error("ValueError", std::to_string(labels.Size()) + " labels for " + std::to_string(count)
                                       + " " + what + "s");
    const std::span<const int> all[] = {labels.Const()};
    py_RefuseDuplicates(all, what);
  };
  if (!ofNodes.is_none()) {
    cow_ArrayCOW<int> labels = py_Labels(ofNodes, "nodes");
    check(labels, nodes.NumNodes(), "node");
    nodes.SetUserNodeLabels(cls_xp1DArrayListInt(std::move(labels)));
  }
  if (!ofElements.is_none()) {
    const cow_ArrayCOW<int> labels = py_Labels(ofElements, "elements");
    check(labels, elements.NumElements(), "element");
    for (unsigned i = 0; i < elements.NumClasses(); ++i) {
      const bme_ElementClass& block = elements.GetClass(i);
      const auto own = labels.Const().subspan(static_cast<std::size_t>(block.FirstElementIndex()),
                                              static_cast<std::size_t>(block.NumElements()));
      elements.GetClassToModify(i).SetUserElementLabels(own);
    }
    elements.Init();
  }
}

py_Mesh py_Remake(const py_Mesh& mesh, const bme_NodeData& nodes, const bme_ElementData& elements,
                  double rounding) {
  auto nodeData = std::make_unique<bme_NodeData>(nodes);
  auto elementData = std::make_unique<bme_ElementData>(elements);
  return py_Mesh(bme_Mesh(static_cast<unsigned>(mesh->Id()), nodeData.release(), elementData.release(),
                          mesh->MeshType(), mesh->Transform()),
                 rounding);
}

void py_BindMesh(nb::module_& module) {
  nb::class_<py_Mesh> mesh(
      module, "Mesh", nb::is_weak_referenceable(),
      "Nodes and blocks of elements: immutable.\n\n"
      "nodes: (n, 3) or (n, 2) real numbers, kept as float32; two columns mean a plane mesh. blocks: a "
      "mapping from\n"
      "types to (m, k) node indices from 0, or a sequence of pairs and Blocks. node_labels: (n,) int32.\n"
      "placement: (4, 4), from the coordinates of the nodes to the space of the model.\n\n"
      "TypeError, ValueError, IndexError, OverflowError and UnknownTypeError name the first bad value.\n\n"
      ">>> import coregeometry as cg\n"
      ">>> mesh = cg.Mesh([[0, 0], [2, 0], [2, 1], [0, 1]], {\"CPS4\": [[0, 1, 2, 3]]}, node_labels=[1, 2, "
      "3, 4])\n"
      ">>> mesh.nodes.shape, mesh.dimension, mesh.node_index([4, 1]), float(mesh.bounds[1, 0])\n"
      "((4, 3), 2, array([3, 0], dtype=int32), 2.0)\n");
  mesh.def(
          "__init__",
          [](py_Mesh* self, nb::handle nodes, nb::handle blocks, nb::handle nodeLabels, nb::handle dimension,
             const std::string& type, nb::handle placement, const std::string& unknown) {
            const bool keeps = py_Choose<bool>("unknown_types", unknown, {{"refuse", false}, {"keep", true}});
            new (self)
                py_Mesh(MakeMesh(nodes, blocks, nodeLabels, dimension, type, placement, keeps, 0, false));
          },
          nb::arg("nodes"), nb::arg("blocks"), nb::kw_only(), nb::arg("node_labels") = nb::none(),
          nb::arg("dimension") = nb::none(), nb::arg("type") = "Orphan mesh",
          nb::arg("placement") = nb::none(), nb::arg("unknown_types") = "refuse",
          nb::sig("def __init__(self, nodes: numpy.typing.ArrayLike, blocks: "
                  "collections.abc.Mapping[str, numpy.typing.ArrayLike] | "
                  "collections.abc.Sequence[Block | tuple[str, numpy.typing.ArrayLike]], *, "
                  "node_labels: numpy.typing.ArrayLike | None = None, dimension: int | None = None, "
                  "type: str = 'Orphan mesh', placement: numpy.typing.ArrayLike | None = None, "
                  "unknown_types: typing.Literal['refuse', 'keep'] = 'refuse') -> None"))
      .def_prop_ro("nodes", &NodesOf, nb::rv_policy::automatic,
                   nb::sig("def nodes(self) -> numpy.typing.NDArray[numpy.float32]"), "(n, 3) float32 view.")
      .def_prop_ro("node_labels", &NodeLabelsOf, nb::rv_policy::automatic,
                   nb::sig("def node_labels(self) -> numpy.typing.NDArray[numpy.int32] | None"),
                   "(n,) int32 view or None.")
      .def_prop_ro("element_labels", &ElementLabelsOf, nb::rv_policy::automatic,
                   nb::sig("def element_labels(self) -> numpy.typing.NDArray[numpy.int32]"),
                   "(e,) int32; 1 to e when the mesh has none.")
      .def_prop_ro("blocks", &BlockTuple, nb::sig("def blocks(self) -> tuple[Block, ...]"))
      .def_prop_ro("num_nodes", [](const py_Mesh& self) { return self.Nodes().NumNodes(); })
      .def_prop_ro("num_elements", [](const py_Mesh& self) { return self.Elements().NumElements(); })
      .def_prop_ro("dimension", [](const py_Mesh& self) { return self.Nodes().Dimension(); })
      .def_prop_ro("type",
                   [](const py_Mesh& self) { return omu_PrimEnum<bme_MeshType>(self->MeshType()).Text(); })
      .def_prop_ro(
          "id", [](const py_Mesh& self) { return self->Id(); }, "Identifier in a model.")
      .def_prop_ro("placement", &PlacementOf, nb::rv_policy::automatic,
                   nb::sig("def placement(self) -> numpy.typing.NDArray[numpy.float64] | None"),
                   "(4, 4) or None.")
      .def_prop_ro("bounds", &BoundsOf, nb::rv_policy::automatic,
                   nb::sig("def bounds(self) -> numpy.typing.NDArray[numpy.float64]"),
                   "(2, 3): lowest and highest coordinates, NaN without nodes.")
      .def_prop_ro(
          "rounding", [](const py_Mesh& self) { return self.state->rounding; },
          "Largest change of a coordinate when the mesh was made.")
      .def("node_index", &NodeIndex, nb::arg("labels"), nb::kw_only(), nb::arg("missing") = nb::none(),
           nb::sig("def node_index(self, labels: numpy.typing.ArrayLike, *, missing: int | None = None) -> "
                   "typing.Any"),
           "Index of each label: an int for an int, else (k,) int32. UnknownLabelError unless missing is "
           "given.")
      .def("element_index", &ElementIndex, nb::arg("labels"), nb::kw_only(), nb::arg("missing") = nb::none(),
           nb::sig("def element_index(self, labels: numpy.typing.ArrayLike, *, missing: int | None = None) "
                   "-> typing.Any"),
           "Index of each label: an int for an int, else (k,) int32. UnknownLabelError unless missing is "
           "given.")
      .def("element_nodes", &ElementNodes, nb::arg("element"), nb::rv_policy::automatic,
           nb::sig("def element_nodes(self, element: int) -> numpy.typing.NDArray[numpy.int32]"),
           "(k,) int32 view of the nodes of one element. IndexError; negative indices are refused.")
      .def("element_block", &ElementBlock, nb::arg("elements"),
           nb::sig("def element_block(self, elements: numpy.typing.ArrayLike) -> typing.Any"),
           "Position of the block of each element: an int for an int, else int32.")
      .def("check", &Check, nb::sig("def check(self) -> list[coregeometry._tables.Finding]"),
           "Faults and notes about labels, connectivity, coordinates, elements and topology.")
      .def("transformed", &Transformed, nb::arg("matrix"),
           nb::sig("def transformed(self, matrix: numpy.typing.ArrayLike) -> Mesh"),
           "Mesh with moved nodes; matrix (4, 4) or (3, 4), rigid or not.")
      .def("with_nodes", &WithNodes, nb::arg("nodes"),
           nb::sig("def with_nodes(self, nodes: numpy.typing.ArrayLike) -> Mesh"),
           "Mesh with other coordinates.")
      .def("with_labels", &WithLabels, nb::kw_only(), nb::arg("nodes") = nb::none(),
           nb::arg("elements") = nb::none(),
           nb::sig("def with_labels(self, *, nodes: numpy.typing.ArrayLike | None = None, elements: "
                   "numpy.typing.ArrayLike | None = None) -> Mesh"),
           "Mesh with other labels of nodes, elements, or both.")
      .def("inverted", &Inverted, nb::arg("elements") = nb::none(),
           nb::sig("def inverted(self, elements: numpy.typing.ArrayLike | None = None) -> Mesh"),
           "Mesh whose elements, all or those of the indices, are turned inside out.")
      .def("__eq__", &AreEqual, nb::is_operator(), nb::sig("def __eq__(self, other: object, /) -> bool"))
      .def("__copy__", [](const py_Mesh& self) { return self; })
      .def(
          "__deepcopy__", [](const py_Mesh& self, nb::handle) { return self; }, nb::arg("memo"),
          nb::sig("def __deepcopy__(self, memo: typing.Any) -> Mesh"))
      .def("__repr__", &ReprOf)
      .def(
          "__reduce__",
          [](nb::handle_t<py_Mesh> object) {
            const auto& self = nb::cast<const py_Mesh&>(object);
            const nb::module_ restore = nb::module_::import_("coregeometry._restore");
            const nb::object known =
                restore.attr("the")(reinterpret_cast<std::uintptr_t>(self.state.get()), object);
            if (!known.is(object)) return nb::make_tuple(restore.attr("same"), nb::make_tuple(known));
            return nb::make_tuple(restore.attr("mesh"),
                                  nb::make_tuple(NodesOf(self), BlockTuple(self), NodeLabelsOf(self),
                                                 self.Nodes().Dimension(),
                                                 omu_PrimEnum<bme_MeshType>(self->MeshType()).Text(),
                                                 PlacementOf(self), self->Id()));
          },
          nb::sig("def __reduce__(self) -> tuple[typing.Any, ...]"));
  mesh.attr("__hash__") = nb::none();
  module.def(
      "restore_mesh",
      [](nb::handle nodes, nb::handle blocks, nb::handle nodeLabels, nb::handle dimension,
         const std::string& type, nb::handle placement, unsigned id) {
        return MakeMesh(nodes, blocks, nodeLabels, dimension, type, placement, true, id, true);
      },
      nb::arg("nodes"), nb::arg("blocks"), nb::arg("node_labels").none(), nb::arg("dimension"),
      nb::arg("type"), nb::arg("placement").none(), nb::arg("id"),
      nb::sig("def restore_mesh(nodes: numpy.typing.ArrayLike, blocks: tuple[Block, ...], node_labels: "
              "numpy.typing.ArrayLike | None, dimension: int, type: str, placement: numpy.typing.ArrayLike | "
              "None, "
              "id: int) -> Mesh"));
}
