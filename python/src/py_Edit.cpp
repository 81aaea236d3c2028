// Editing: a new mesh, and where its nodes and elements came from.
#include "py_Edited.h"
#include "py_Work.h"

#include <CoreGeometry/bme_CleanMesh.h>
#include <CoreGeometry/bme_CombineMeshes.h>
#include <CoreGeometry/bme_Quality.h>
#include <CoreGeometry/bme_RenumberMesh.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <limits>
#include <nanobind/stl/pair.h>

namespace {
using Edited = py_Edited;

Edited Clean(const py_Mesh& mesh, bool duplicates, bool zeroSize, bool unusedNodes, bool nodesOfSets,
             const std::vector<nb::object>& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  bme_Cleaned cleaned = py_Run([&] {
    return bme_CleanMesh(source, {.duplicates = duplicates,
                                  .zeroSize = zeroSize,
                                  .unusedNodes = unusedNodes,
                                  .nodesOfSets = nodesOfSets});
  });
  std::vector<unsigned> elements = cleaned.duplicates, nodes = cleaned.unusedNodes;
  elements.insert(elements.end(), cleaned.zeroSize.begin(), cleaned.zeroSize.end());
  std::ranges::sort(elements);
  elements.erase(std::unique(elements.begin(), elements.end()), elements.end());
  Edited edited = py_MadeOf(mesh, std::move(cleaned));
  edited.nodes = std::move(nodes);
  edited.elements = std::move(elements);
  return edited;
}

std::optional<std::vector<unsigned>> NodesOf(const py_Mesh& mesh, nb::handle argument, const char* what) {
  if (argument.is_none()) return std::nullopt;
  if (nb::isinstance<py_NodeList>(argument)) {
    const auto& list = nb::cast<const py_NodeList&>(argument);
    if (list.mesh.state != mesh.state)
      throw py_Error("ValueError", std::string(what) + " are of another mesh");
    return std::vector<unsigned>(list.list.begin(), list.list.end());
  }
  return py_ToIndices(argument, what, mesh.Nodes().NumNodes()).values;
}

Edited MergeNodes(const py_Mesh& mesh, double tolerance, nb::handle nodes, nb::handle with,
                  bool removeCollapsed, const std::vector<nb::object>& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  const auto own = NodesOf(mesh, nodes, "nodes"), others = NodesOf(mesh, with, "nodes to merge with");
  bme_MergeOptions options{
      .tolerance = tolerance, .nodes = {}, .with = {}, .removeCollapsed = removeCollapsed};
  if (own) options.nodes = std::span<const unsigned>(*own);
  if (others) options.with = std::span<const unsigned>(*others);
  bme_Merged merged = py_Run([&] { return bme_MergeNodes(source, options); });
  std::vector<unsigned> gone = std::move(merged.merged), collapsed = std::move(merged.collapsed);
  Edited edited = py_MadeOf(mesh, std::move(merged));
  edited.nodes = std::move(gone);
  edited.elements = std::move(collapsed);
  return edited;
}

Edited Extract(const py_Mesh& mesh, nb::handle items, const std::vector<nb::object>& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  if (nb::isinstance<py_FaceList>(items)) {
    const std::vector<unsigned> faces = py_ItemsOf(mesh, nb::cast<const py_FaceList&>(items));
    return py_MadeOf(mesh, py_Run([&] { return bme_ExtractFaces(source, faces); }));
  }
  const std::vector<unsigned> elements =
      nb::isinstance<py_ElementList>(items)
          ? py_ItemsOf(mesh, nb::cast<const py_ElementList&>(items))
          : py_ToIndices(items, "element", mesh.Elements().NumElements()).values;
  return py_MadeOf(mesh, py_Run([&] { return bme_ExtractElements(source, elements); }));
}

Edited Remove(const py_Mesh& mesh, nb::handle elements, nb::handle nodes,
              const std::vector<nb::object>& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  const auto goneNodes = NodesOf(mesh, nodes, "nodes").value_or(std::vector<unsigned>());
  const std::vector<unsigned> goneElements =
      elements.is_none() ? std::vector<unsigned>()
      : nb::isinstance<py_ElementList>(elements)
          ? py_ItemsOf(mesh, nb::cast<const py_ElementList&>(elements))
          : py_ToIndices(elements, "element", mesh.Elements().NumElements()).values;
  return py_MadeOf(mesh, py_Run([&] { return bme_RemoveEntities(source, goneElements, goneNodes); }));
}

Edited Transform(const py_Mesh& mesh, nb::handle argument, const std::vector<nb::object>& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  const gsl_Matrix matrix = py_ToMatrix(argument, "matrix");
  return py_MadeOf(mesh, py_Run([&] { return bme_TransformMesh(source, matrix); }));
}

std::optional<bme_LabelSeries> ToSeries(nb::handle argument) {
  if (argument.is_none()) return std::nullopt;
  return bme_LabelSeries{nb::cast<int>(argument[0]), nb::cast<int>(argument[1])};
}

Edited Renumber(const py_Mesh& mesh, nb::handle nodes, nb::handle elements,
                const std::vector<nb::object>& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  const auto ofNodes = ToSeries(nodes), ofElements = ToSeries(elements);
  return py_MadeOf(mesh, py_Run([&] { return bme_RelabelMesh(source, ofNodes, ofElements); }));
}

Edited Reorder(const py_Mesh& mesh, const std::string& order, const std::vector<nb::object>& sets) {
  const bme_MeshAndSets source = py_SourceOf(mesh, sets);
  const auto by = py_Choose<bme_NodeOrder>("order", order,
                                           {{"bandwidth", bme_NodeOrder::Bandwidth},
                                            {"curve", bme_NodeOrder::Curve},
                                            {"label", bme_NodeOrder::Label}});
  return py_MadeOf(mesh, py_Run([&] { return bme_ReorderMesh(source, by); }));
}

nb::tuple Combine(const std::vector<py_Mesh>& meshes, const std::vector<std::string>& names,
                  const std::string& labels, const std::vector<nb::object>& sets) {
  std::vector<bme_MeshAndSets> sources;
  sources.reserve(meshes.size());
  for (const py_Mesh& mesh : meshes) sources.push_back({*mesh, {}, {}});
  for (const nb::object& item : sets) {
    const auto& set = nb::cast<const py_Set&>(item);
    bool isOfOne = false;
    for (std::size_t i = 0; i < meshes.size(); ++i)
      if (set.mesh.state == meshes[i].state) {
        sources[i].sets.push_back(set.set);
        isOfOne = true;
      }
    if (!isOfOne) throw py_Error("ValueError", "the set " + set.set.name + " is of none of the meshes");
  }
  std::vector<bme_MeshToCombine> parts;
  for (std::size_t i = 0; i < sources.size(); ++i) parts.push_back({names[i], &sources[i]});
  const auto how =
      py_Choose<bme_Labels>("labels", labels, {{"keep", bme_Labels::Keep}, {"offset", bme_Labels::Offset}});
  const bme_Combined combined = py_Run([&] { return bme_CombineMeshes(parts, how); });
  std::vector<std::pair<unsigned, unsigned>> firsts;
  for (const bme_Combined::Part& part : combined.parts)
    firsts.emplace_back(part.firstNode, part.firstElement);
  const py_Mesh made(combined.result.mesh);
  return nb::make_tuple(made, py_SetsOf(made, combined.result.sets), firsts, combined.remarks);
}

/// A row of values for each measure, not a number for elements that do not have it.
nb::dict Quality(const py_Mesh& mesh, const std::vector<std::string>& names) {
  std::vector<bme_QualityMeasure> measures;
  for (const std::string& name : names) {
    const auto found = bme_FindQualityMeasure(name);
    if (!found) {
      std::string text = "measure \"" + name + "\" is none of ";
      const char* between = "";
      for (const bme_QualityFacts& one : bme_QualityMeasures()) {
        text.append(between).append(one.name);
        between = ", ";
      }
      throw py_Error("ValueError", text);
    }
    measures.push_back(*found);
  }
  const bme_ElementData& elements = mesh.Elements();
  std::vector<std::vector<double>> values(
      names.size(), std::vector<double>(elements.NumElements(), std::numeric_limits<double>::quiet_NaN()));
  py_Run([&] {
    for (unsigned i = 0; i < elements.NumClasses(); ++i) {
      const auto rows = bme_Quality(*mesh, i, measures);
      for (std::size_t k = 0; k < rows.size(); ++k)
        std::ranges::copy(rows[k], values[k].begin() + elements.GetClass(i).FirstElementIndex());
    }
  });
  nb::dict made;
  for (std::size_t k = 0; k < names.size(); ++k) made[names[k].c_str()] = py_Array(std::move(values[k]));
  return made;
}

nb::object MapOf(const std::vector<int>& map) { return py_Array(std::vector<int>(map)); }

template<class List> py_List<List> Send(const Edited& self, const py_List<List>& list) {
  if (list.mesh.state != self.old.state)
    throw py_Error("ValueError", "the list is not of the mesh that was edited");
  return {self.made, py_Run([&] { return bme_Send(list.list, self.renumbering, *self.made); })};
}

nb::object Interpolate(const Edited& self, nb::handle argument) {
  const auto numOld = static_cast<Py_ssize_t>(self.renumbering.nodes.to.size());
  const bool isFlat = py_ShapeOf(py_AsArray(argument, "values")).size() == 1;
  const py_Reals values =
      isFlat ? py_ToReals(argument, "values", {numOld}) : py_ToReals(argument, "values", {numOld, -1});
  const std::span<const double> old = values.Values();
  const std::vector<int>& from = self.renumbering.nodes.from;
  const std::size_t width = numOld > 0 ? old.size() / static_cast<std::size_t>(numOld) : 1;
  const bme_MadeNodes& made = self.renumbering.made;
  std::vector<double> sent(from.size() * width, std::numeric_limits<double>::quiet_NaN());
  std::size_t number = 0;
  for (std::size_t i = 0; i < from.size(); ++i) {
    const bool isMade = from[i] < 0 && number + 1 < made.starts.size();
    for (std::size_t c = 0; c < width; ++c) {
      double& value = sent[i * width + c];
      if (from[i] >= 0) value = old[static_cast<std::size_t>(from[i]) * width + c];
      if (!isMade) continue;
      value = 0;
      for (unsigned k = made.starts[number]; k < made.starts[number + 1]; ++k)
        value += made.weights[k] * old[made.parents[k] * width + c];
    }
    number += isMade ? 1 : 0;
  }
  return isFlat ? py_Array(std::move(sent)) : py_Array(std::move(sent), {from.size(), width});
}

void BindEdited(nb::module_& module) {
  nb::class_<Edited>(module, "Edited",
                     "What editing gives: a new mesh, its sets, and where nodes and elements went.")
      .def_prop_ro("mesh", [](const Edited& self) { return self.made; })
      .def_prop_ro(
          "sets", [](const Edited& self) { return py_SetsOf(self.made, self.sets); },
          nb::sig("def sets(self) -> dict[str, NamedSet]"), "The sets that were given, of the new mesh.")
      .def_prop_ro(
          "node_map", [](const Edited& self) { return MapOf(self.renumbering.nodes.to); },
          nb::rv_policy::automatic, nb::sig("def node_map(self) -> numpy.typing.NDArray[numpy.int32]"),
          "The new index of each old node, -1 when it is gone.")
      .def_prop_ro(
          "node_origin", [](const Edited& self) { return MapOf(self.renumbering.nodes.from); },
          nb::rv_policy::automatic, nb::sig("def node_origin(self) -> numpy.typing.NDArray[numpy.int32]"),
          "The old node that each new one was, -1 when it was made: new = old[node_origin].")
      .def_prop_ro(
          "element_map", [](const Edited& self) { return MapOf(self.renumbering.elements.to); },
          nb::rv_policy::automatic, nb::sig("def element_map(self) -> numpy.typing.NDArray[numpy.int32]"))
      .def_prop_ro(
          "element_origin", [](const Edited& self) { return MapOf(self.renumbering.elements.from); },
          nb::rv_policy::automatic, nb::sig("def element_origin(self) -> numpy.typing.NDArray[numpy.int32]"))
      .def_prop_ro(
          "nodes", [](const Edited& self) { return py_IntArray(self.nodes); }, nb::rv_policy::automatic,
          nb::sig("def nodes(self) -> numpy.typing.NDArray[numpy.int32]"),
          "Old nodes that were merged into others, or removed by `Mesh.clean`.")
      .def_prop_ro(
          "elements", [](const Edited& self) { return py_IntArray(self.elements); }, nb::rv_policy::automatic,
          nb::sig("def elements(self) -> numpy.typing.NDArray[numpy.int32]"),
          "Old elements that collapsed by merging, or were removed by `Mesh.clean`.")
      .def("interpolate", &Interpolate, nb::arg("values"),
           nb::sig("def interpolate(self, values: numpy.typing.ArrayLike) -> "
                   "numpy.typing.NDArray[numpy.float64]"),
           "(n[, c]) values of the old nodes at the new ones: between the old ones that a new node lies "
           "between, NaN at others that were made.")
      .def_prop_ro(
          "remarks", [](const Edited& self) { return self.remarks; }, "What got lost.")
      .def("send", &Send<bme_FEMNodeList>, nb::arg("items"))
      .def("send", &Send<bme_FEMElemList>, nb::arg("items"))
      .def("send", &Send<bme_FEMFaceList>, nb::arg("items"),
           "A list of the old mesh as one of the new mesh.");
}
} // namespace

void py_BindEdit(nb::module_& module) {
  BindEdited(module);
  auto mesh = nb::borrow<nb::class_<py_Mesh>>(nb::type<py_Mesh>());
  mesh.def("clean", &Clean, nb::kw_only(), nb::arg("duplicates") = true, nb::arg("zero_size") = true,
           nb::arg("unused_nodes") = true, nb::arg("nodes_of_sets") = false, nb::arg("sets") = nb::list(),
           nb::sig("def clean(self, *, duplicates: bool = True, zero_size: bool = True, unused_nodes: bool = "
                   "True, "
                   "nodes_of_sets: bool = False, sets: typing.Sequence[NamedSet] = ()) -> Edited"),
           "Without duplicates of elements, elements without size, and nodes that no element has.")
      .def("merge_nodes", &MergeNodes, nb::arg("tolerance"), nb::kw_only(), nb::arg("nodes") = nb::none(),
           nb::arg("others") = nb::none(), nb::arg("remove_collapsed") = false, nb::arg("sets") = nb::list(),
           nb::sig("def merge_nodes(self, tolerance: float, *, nodes: NodeList | numpy.typing.ArrayLike | "
                   "None = None, "
                   "others: NodeList | numpy.typing.ArrayLike | None = None, remove_collapsed: bool = False, "
                   "sets: typing.Sequence[NamedSet] = ()) -> Edited"),
           "Nodes within the tolerance of each other become the one with the lowest label; with ``others`` "
           "only pairs "
           "of one of ``nodes`` and one of these. DataError for a negative tolerance.")
      .def("extract", &Extract, nb::arg("items"), nb::kw_only(), nb::arg("sets") = nb::list(),
           nb::sig("def extract(self, items: ElementList | FaceList | numpy.typing.ArrayLike, *, sets: "
                   "typing.Sequence[NamedSet] = ()) -> Edited"),
           "Elements with their nodes as a mesh of its own; faces become surface elements.")
      .def("remove", &Remove, nb::kw_only(), nb::arg("elements") = nb::none(), nb::arg("nodes") = nb::none(),
           nb::arg("sets") = nb::list(),
           nb::sig("def remove(self, *, elements: ElementList | numpy.typing.ArrayLike | None = None, nodes: "
                   "NodeList | "
                   "numpy.typing.ArrayLike | None = None, sets: typing.Sequence[NamedSet] = ()) -> Edited"),
           "Without these elements and nodes. DataError for a node that an element needs.")
      .def("transform", &Transform, nb::arg("matrix"), nb::kw_only(), nb::arg("sets") = nb::list(),
           nb::sig("def transform(self, matrix: numpy.typing.ArrayLike, *, sets: typing.Sequence[NamedSet] = "
                   "()) -> Edited"),
           "Every node moved by (3, 4) or (4, 4); a mirror turns the elements over, so that they stay right.")
      .def("renumber", &Renumber, nb::kw_only(), nb::arg("nodes") = nb::none(),
           nb::arg("elements") = nb::none(), nb::arg("sets") = nb::list(),
           nb::sig("def renumber(self, *, nodes: tuple[int, int] | None = None, elements: tuple[int, int] | "
                   "None = "
                   "None, sets: typing.Sequence[NamedSet] = ()) -> Edited"),
           "Other labels: (first, step) in the order of the indices.")
      .def("reorder", &Reorder, nb::arg("order"), nb::kw_only(), nb::arg("sets") = nb::list(),
           nb::sig("def reorder(self, order: typing.Literal['bandwidth', 'curve', 'label'], *, sets: "
                   "typing.Sequence[NamedSet] = ()) -> Edited"),
           "Another order in memory; labels stay with their nodes and elements.")
      .def("quality", &Quality, nb::arg("measures"),
           nb::sig("def quality(self, measures: typing.Sequence[str]) -> dict[str, "
                   "numpy.typing.NDArray[numpy.float64]]"),
           "(e,) values of each measure, NaN for elements that do not have it; a wrong name lists those "
           "there are.")
      .def(
          "element_sizes",
          [](const py_Mesh& self) {
            return nb::object(
                Quality(self,
                        {bme_QualityMeasures()[static_cast<std::size_t>(bme_QualityMeasure::Size)].name})
                    .attr("popitem")()[nb::int_(1)]);
          },
          nb::sig("def element_sizes(self) -> numpy.typing.NDArray[numpy.float64]"),
          "(e,) signed volume, area or length of each element, NaN without a shape.")
      .def_prop_ro(
          "bandwidth", [](const py_Mesh& self) { return py_Run([&] { return bme_Bandwidth(*self); }); },
          "The largest difference of two node indices in an element.");
  module.def(
      "combine_meshes", &Combine, nb::arg("meshes"), nb::arg("names"), nb::arg("labels"), nb::arg("sets"),
      nb::sig("def combine_meshes(meshes: list[Mesh], names: list[str], labels: str, sets: list[NamedSet]) "
              "-> tuple[Mesh, dict[str, NamedSet], "
              "list[tuple[int, int]], list[str]]"));
}
