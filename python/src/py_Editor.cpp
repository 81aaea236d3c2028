// Editing a mesh step by step: arrays that only the editor holds, until it makes a mesh of them.
#include "py_Arrays.h"
#include "py_Edited.h"
#include "py_Work.h"

#include <CoreGeometry/bme_CleanMesh.h>
#include <limits>

namespace {
struct Editor {
  py_Mesh old;
  bme_NodeData nodes;
  bme_ElementData elements;
  double rounding = 0;
  bool hasNewLabels = false; ///< of the caller, which may repeat others
  bool isBusy = false;       ///< guarded by the GIL
  std::optional<py_Mesh> made;
};

/// One call at a time; RuntimeError for others, and after the end.
class Use {
public:
  explicit Use(Editor& editor) : editor_(editor) {
    if (editor.made) throw py_Error("RuntimeError", "the editor has finished");
    if (editor.isBusy) throw py_Error("RuntimeError", "another thread uses the editor");
    editor.isBusy = true;
  }
  ~Use() { editor_.isBusy = false; }
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;

private:
  Editor& editor_;
};

Editor Edit(const py_Mesh& mesh) {
  return {mesh, mesh.Nodes(), mesh.Elements(), mesh.state->rounding, false, false, {}};
}

bool HasElementLabels(const bme_ElementData& elements) { return elements.HasUserElementLabels(); }

/// Labels of new nodes or elements: `count` of the caller, or none. ValueError when the mesh has no labels.
cow_ArrayCOW<int> NewLabels(nb::handle labels, std::size_t count, bool hasOld, bool areOnly,
                            const char* what) {
  if (labels.is_none()) return {};
  cow_ArrayCOW<int> made = py_Labels(labels, "labels");
  if (made.Size() != count)
    throw py_Error("ValueError",
                   std::to_string(made.Size()) + " labels for " + std::to_string(count) + " " + what + "s");
  if (!hasOld && !areOnly && count > 0)
    throw py_Error("ValueError",
                   std::string("the ") + what + "s of the mesh have no labels: set_labels first");
  return made;
}

/// `count` labels from the next free one on.
std::vector<int> NextLabels(long long next, std::size_t count, const char* what) {
  if (next + static_cast<long long>(count) - 1 > std::numeric_limits<int>::max())
    throw py_Error("OverflowError", std::string("no labels are left for ") + what + "s");
  std::vector<int> labels(count);
  for (int& label : labels) label = static_cast<int>(next++);
  return labels;
}

nb::object Range(std::size_t first, std::size_t count) {
  std::vector<int> indices(count);
  for (std::size_t i = 0; i < count; ++i) indices[i] = static_cast<int>(first + i);
  return py_Array(std::move(indices));
}

nb::object AppendNodes(Editor& self, nb::handle argument, nb::handle labels) {
  const Use use(self);
  py_Points points = py_Coordinates(argument, "nodes");
  const std::size_t count = points.xyz.Size() / 3, before = self.nodes.NumNodes();
  cow_ArrayCOW<int> own = NewLabels(labels, count, self.nodes.HasUserNodeLabels(), before == 0, "node");
  self.hasNewLabels = self.hasNewLabels || !own.IsEmpty();
  self.rounding = std::max(self.rounding, points.rounding);
  py_Run([&] {
    bme_NodeData added(uti_CoordCont3D(std::move(points.xyz)), self.nodes.Dimension());
    if (!own.IsEmpty()) added.SetUserNodeLabels(cls_xp1DArrayListInt(std::move(own)));
    self.nodes.AppendNodes(added);
  });
  return Range(before, count);
}

bme_ElementClass& BlockAt(Editor& self, nb::handle block) {
  const py_Indices index = py_ToIndices(block, "block", self.elements.NumClasses());
  if (!index.isScalar) throw py_Error("TypeError", "block: one integer is needed");
  return self.elements.GetClassToModify(index.values.front());
}

nb::object AppendElements(Editor& self, nb::handle block, nb::handle connectivity, nb::handle labels) {
  const Use use(self);
  bme_ElementClass& to = BlockAt(self, block);
  const std::string place = py_PlaceOf(static_cast<std::size_t>(to.ClassIndex()), to.ElemTypeLabel());
  const py_Block added =
      py_MakeBlock(to.ElemTypeLabel(), connectivity, nb::none(), "", {}, true, self.nodes.NumNodes(), place);
  const auto count = static_cast<std::size_t>(added.elements.NumElements());
  if (count > 0 && added.elements.NumNodesPerElem() != to.NumNodesPerElem())
    throw py_Error("ValueError", place + " has rows of " + std::to_string(to.NumNodesPerElem())
                                     + " nodes, not " + std::to_string(added.elements.NumNodesPerElem()));
  const bool hasOld = HasElementLabels(self.elements);
  const cow_ArrayCOW<int> own = NewLabels(labels, count, hasOld, self.elements.NumElements() == 0, "element");
  self.hasNewLabels = self.hasNewLabels || !own.IsEmpty();
  std::vector<int> used(own.Const().begin(), own.Const().end());
  if (hasOld && own.IsEmpty()) used = NextLabels(self.elements.GetNextAvailableLabel(), count, "element");
  const auto before = static_cast<std::size_t>(to.NumElements());
  py_Run([&] {
    const std::span<const int> rows = added.elements.ElementConnectivity().Const();
    if (before == 0) {
      to.ResetConnectArraySz(added.elements.NumElements());
      std::ranges::copy(rows, to.ConnectivityToModify().begin());
      to.SetUserElementLabels(std::span<const int>(used));
    } else {
      to.AppendElements(rows, used);
    }
    self.elements.Init();
  });
  return Range(static_cast<std::size_t>(to.FirstElementIndex()) + before, count);
}

int AddBlock(Editor& self, const py_Block& block) {
  const Use use(self);
  py_Block added = block;
  const std::size_t number = self.elements.NumClasses();
  py_CheckNodes(added, self.nodes.NumNodes(), number);
  const auto count = static_cast<std::size_t>(added.elements.NumElements());
  const bool hasOld = HasElementLabels(self.elements), hasOwn = added.elements.HasUserElementLabels();
  if (hasOwn && !hasOld && self.elements.NumElements() > 0)
    throw py_Error("ValueError", "the elements of the mesh have no labels: set_labels first");
  if (hasOld && !hasOwn)
    added.elements.SetUserElementLabels(
        std::span<const int>(NextLabels(self.elements.GetNextAvailableLabel(), count, "element")));
  self.hasNewLabels = self.hasNewLabels || hasOwn;
  self.elements.AddElementClass(std::make_unique<bme_ElementClass>(added.elements).release());
  return static_cast<int>(number);
}

void RemoveBlock(Editor& self, nb::handle block) {
  const Use use(self);
  self.elements.RemoveElementClass(static_cast<unsigned>(BlockAt(self, block).ClassIndex()));
}

/// What an operation of the library makes of the mesh as it stands.
template<class Call> auto Change(Editor& self, Call call) {
  return py_Run([&] {
    auto edited = call(bme_MeshAndSets{*py_Remake(self.old, self.nodes, self.elements), {}, {}});
    self.nodes = edited.result.mesh.NodeData();
    self.elements = edited.result.mesh.ElementData();
    return edited;
  });
}

void Remove(Editor& self, nb::handle argument, bool areNodes) {
  const Use use(self);
  const std::size_t count = areNodes ? self.nodes.NumNodes() : self.elements.NumElements();
  const std::vector<unsigned> gone = py_ToIndices(argument, areNodes ? "node" : "element", count).values;
  const std::vector<unsigned> none;
  Change(self, [&](const bme_MeshAndSets& source) {
    return bme_RemoveEntities(source, areNodes ? none : gone, areNodes ? gone : none);
  });
}

std::size_t MergeNodes(Editor& self, double tolerance) {
  const Use use(self);
  return Change(self,
                [&](const bme_MeshAndSets& source) {
                  return bme_MergeNodes(source, {.tolerance = tolerance, .nodes = {}, .with = {}});
                })
      .merged.size();
}

void SetLabels(Editor& self, nb::handle ofNodes, nb::handle ofElements) {
  const Use use(self);
  py_SetLabels(self.nodes, self.elements, ofNodes, ofElements);
}

py_Mesh Finish(Editor& self) {
  const Use use(self);
  py_Mesh made = py_Run([&] {
    if (self.hasNewLabels) {
      const std::span<const int> ofNodes[] = {self.nodes.UserNodeLabels().Const()};
      py_RefuseDuplicates(ofNodes, "node");
      std::vector<std::span<const int>> ofElements;
      for (unsigned i = 0; i < self.elements.NumClasses(); ++i)
        ofElements.push_back(self.elements.GetClass(i).UserElementLabels());
      py_RefuseDuplicates(ofElements, "element");
    }
    return py_Remake(self.old, self.nodes, self.elements, self.rounding);
  });
  self.made = made;
  self.nodes = {};
  self.elements = {};
  return made;
}

py_Mesh MeshOf(const Editor& self) {
  if (!self.made) throw py_Error("RuntimeError", "the editor has not finished");
  return *self.made;
}
} // namespace

void py_BindEditor(nb::module_& module) {
  nb::class_<Editor>(
      module, "MeshEditor",
      "Changes of a mesh, one after the other; `Mesh.edit` makes one.\n\n"
      "Each call sees what the calls before it left: removing and merging give other indices to what is "
      "behind.\n"
      "Nothing changes for anybody else before `finish`, which makes a new mesh; as a context manager the "
      "editor\n"
      "finishes at the end of the block, unless an exception leaves it, and the mesh is in `mesh`.\n\n"
      ">>> import coregeometry as cg\n"
      ">>> mesh = cg.Mesh([[0, 0], [1, 0], [1, 1], [0, 1]], {'CPS4': [[0, 1, 2, 3]]})\n"
      ">>> with mesh.edit() as editor:\n"
      "...     corners = editor.append_nodes([[2, 0], [2, 1]])\n"
      "...     editor.append_elements(0, [[1, corners[0], corners[1], 2]])\n"
      "array([1], dtype=int32)\n"
      ">>> editor.mesh\n"
      "<Mesh 6 nodes, 2 elements: CPS4 \xc3\x97"
      "2>\n")
      .def(
          "append_nodes", &AppendNodes, nb::arg("nodes"), nb::kw_only(), nb::arg("labels") = nb::none(),
          nb::rv_policy::automatic,
          nb::sig("def append_nodes(self, nodes: numpy.typing.ArrayLike, *, labels: numpy.typing.ArrayLike | "
                  "None = None) -> numpy.typing.NDArray[numpy.int32]"),
          "Indices (k,) of k new nodes. In a mesh with labels they get the next free ones unless given; "
          "ValueError\n"
          "for labels in a mesh without.")
      .def("append_elements", &AppendElements, nb::arg("block"), nb::arg("connectivity"), nb::kw_only(),
           nb::arg("labels") = nb::none(), nb::rv_policy::automatic,
           nb::sig("def append_elements(self, block: int, connectivity: numpy.typing.ArrayLike, *, labels: "
                   "numpy.typing.ArrayLike | None = None) -> numpy.typing.NDArray[numpy.int32]"),
           "Indices (m,) of new elements at the end of a block; errors as of `Mesh`, labels as of "
           "`append_nodes`.")
      .def(
          "add_block", &AddBlock, nb::arg("block"),
          "Index of a new block behind the others. In a mesh with labels its elements get the next free ones "
          "when\n"
          "it has none; ValueError for labels in a mesh without.")
      .def("remove_block", &RemoveBlock, nb::arg("block"),
           nb::sig("def remove_block(self, block: int) -> None"), "Without this block; its nodes stay.")
      .def(
          "remove_nodes", [](Editor& self, nb::handle nodes) { Remove(self, nodes, true); }, nb::arg("nodes"),
          nb::sig("def remove_nodes(self, nodes: numpy.typing.ArrayLike) -> None"),
          "Without the nodes of these indices; DataError for one that an element needs.")
      .def(
          "remove_elements", [](Editor& self, nb::handle elements) { Remove(self, elements, false); },
          nb::arg("elements"), nb::sig("def remove_elements(self, elements: numpy.typing.ArrayLike) -> None"),
          "Without the elements of these indices; their nodes stay, and so does a block that becomes empty.")
      .def(
          "merge_nodes", &MergeNodes, nb::arg("tolerance"),
          "Nodes within the tolerance of each other become the one with the lowest label; the number that is "
          "gone.")
      .def("set_labels", &SetLabels, nb::kw_only(), nb::arg("nodes") = nb::none(),
           nb::arg("elements") = nb::none(),
           nb::sig("def set_labels(self, *, nodes: numpy.typing.ArrayLike | None = None, elements: "
                   "numpy.typing.ArrayLike | None = None) -> None"),
           "Labels of all nodes, all elements, or both.")
      .def_prop_ro("num_nodes",
                   [](const Editor& self) {
                     return self.made ? self.made->Nodes().NumNodes() : self.nodes.NumNodes();
                   })
      .def_prop_ro("num_elements",
                   [](const Editor& self) {
                     return self.made ? self.made->Elements().NumElements() : self.elements.NumElements();
                   })
      .def("finish", &Finish,
           "The new mesh, which shares what did not change. ValueError for labels that are given twice; "
           "RuntimeError\n"
           "for any call after it.")
      .def_prop_ro("mesh", &MeshOf, "What `finish` made; RuntimeError before.")
      .def(
          "__enter__", [](nb::handle_t<Editor> self) { return nb::borrow<nb::object>(self); },
          nb::sig("def __enter__(self) -> MeshEditor"))
      .def(
          "__exit__",
          [](Editor& self, nb::handle kind, nb::handle, nb::handle) {
            if (kind.is_none() && !self.made) Finish(self);
          },
          nb::arg("kind").none(), nb::arg("error").none(), nb::arg("trace").none(),
          nb::sig("def __exit__(self, kind: type[BaseException] | None, error: BaseException | None, trace: "
                  "types.TracebackType | None) -> None"))
      .def(
          "__reduce__",
          [](const Editor&) -> nb::object {
            throw py_Error("TypeError", "a MeshEditor cannot be pickled: pickle its mesh");
          },
          nb::sig("def __reduce__(self) -> tuple[typing.Any, ...]"))
      .def("__repr__", [](const Editor& self) {
        return std::string("<MeshEditor ")
               + (self.made ? "finished>"
                            : "of " + std::to_string(self.nodes.NumNodes()) + " nodes, "
                                  + std::to_string(self.elements.NumElements()) + " elements>");
      });
  auto mesh = nb::borrow<nb::class_<py_Mesh>>(nb::type<py_Mesh>());
  mesh.def("edit", &Edit, "A `MeshEditor` that begins with this mesh.");
}
