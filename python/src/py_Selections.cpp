// Selections from meshes, and named sets.
#include "py_Arrays.h"
#include "py_Lists.h"
#include "py_Work.h"

#include <CoreGeometry/gsl_BBox.h>
#include <optional>

namespace {
/// The selection that a criterion gives, and the intersection with the earlier ones.
template<class List> struct Selection {
  std::optional<List> list;
  void And(List other) { list = list ? list->Intersection(other) : std::move(other); }
};

/// A list of any kind, or a set, as a list of this kind.
template<class To> To FromAny(nb::handle argument, const py_Mesh& mesh, bme_Touching touching) {
  const auto isOf = [&](const py_Mesh& other) {
    if (other.state != mesh.state) throw py_Error("ValueError", "set: belongs to another mesh");
  };
  const auto tryKind = [&]<class From>(std::type_identity<From>, std::optional<To>& found) {
    if (!nb::isinstance<py_List<From>>(argument)) return;
    const auto& from = nb::cast<const py_List<From>&>(argument);
    isOf(from.mesh);
    found = py_Run([&] { return py_Convert<To>(from.list, bme_NodesOf::All, touching); });
  };
  std::optional<To> found;
  tryKind(std::type_identity<bme_FEMNodeList>(), found);
  tryKind(std::type_identity<bme_FEMElemList>(), found);
  tryKind(std::type_identity<bme_FEMFaceList>(), found);
  tryKind(std::type_identity<bme_FEMEdgeList>(), found);
  if (found) return *found;
  if (!nb::isinstance<py_Set>(argument)) throw py_Error("TypeError", "set: a list or a NamedSet is needed");
  const auto& set = nb::cast<const py_Set&>(argument);
  isOf(set.mesh);
  return py_Run([&] {
    if (set.set.kind == rgnC_NODE_SET)
      return py_Convert<To>(bme_FEMNodeList::FromSet(*mesh, set.set.data), bme_NodesOf::All, touching);
    return To::FromSet(*mesh, set.set.data);
  });
}

/// Rows of element, face, and side or edge, as words.
template<class List> List FromAddresses(const py_Mesh& mesh, nb::handle argument) {
  const py_Integers rows =
      py_ToIntegers(argument, "indices", 0, 67108863, [](std::size_t, const std::string& value) {
        throw py_Error("IndexError", "indices: " + value + " is no number of an element, face or edge");
      });
  const std::size_t width = rows.shape.size() == 2 ? rows.shape[1] : 0;
  if (rows.values.Size() > 0 && (width < 2 || width > 3))
    throw py_Error("ValueError", "indices: rows of element, face, and side or edge are needed");
  std::vector<unsigned> words;
  const std::span<const int> all = rows.values.Const();
  for (std::size_t i = 0; i < all.size(); i += width) {
    const auto at = [&](std::size_t k) { return k < width ? static_cast<unsigned>(all[i + k]) : 0U; };
    if (at(0) >= mesh.Elements().NumElements() || at(1) >= bme_kMaxWordFaces || at(2) > 3)
      throw py_Error("IndexError",
                     "indices: no face " + std::to_string(at(1)) + " of element " + std::to_string(at(0)));
    if constexpr (std::is_same_v<List, bme_FEMFaceList>)
      words.push_back(bme_FaceWord(at(0), at(1), at(2) != 0));
    else
      words.push_back(bme_EdgeWord(at(0), at(1), at(2)));
  }
  return List(*mesh, std::move(words));
}

/// Nodes or elements with these labels; UnknownLabelError with the first of those that there are not.
template<class List> List WithLabels(const py_Mesh& mesh, std::span<const int> labels, bme_Unknown unknown) {
  try {
    return List::FromLabels(*mesh, labels, unknown);
  } catch (const nex_TextException& error) {
    std::vector<long long> missing;
    for (const int label : labels)
      if (missing.size() < py_kMostNamed && List::FromLabels(*mesh, {&label, 1}, bme_Unknown::Skip).IsEmpty())
        missing.push_back(label);
    throw py_Error("UnknownLabelError", error.what(), {{"labels", missing}});
  }
}

template<class List> List FromLabels(const py_Mesh& mesh, nb::handle argument, bme_Unknown unknown) {
  const cow_ArrayCOW<int> labels = py_Labels(argument, "labels");
  return py_Run([&] {
    const std::lock_guard lock(mesh.state->mutex);
    if constexpr (!List::kAreAddresses)
      return WithLabels<List>(mesh, labels.Const(), unknown);
    else // faces and edges of the elements with these labels
      return List::OfElements(WithLabels<bme_FEMElemList>(mesh, labels.Const(), unknown));
  });
}

template<class List>
py_List<List> Select(const py_Mesh& mesh, nb::handle indices, nb::handle labels, nb::handle box,
                     nb::handle set, nb::handle block, const std::string& touching,
                     const std::string& unknown) {
  const bme_Touching touch = py_Touching(touching);
  const auto missing = py_Choose<bme_Unknown>("unknown", unknown,
                                              {{"refuse", bme_Unknown::Refuse}, {"skip", bme_Unknown::Skip}});
  Selection<List> selection;
  if (!indices.is_none()) {
    if constexpr (List::kAreAddresses) {
      selection.And(FromAddresses<List>(mesh, indices));
    } else {
      const bool areNodes = std::is_same_v<List, bme_FEMNodeList>;
      const std::size_t count = areNodes ? mesh.Nodes().NumNodes() : mesh.Elements().NumElements();
      selection.And(List(*mesh, py_ToIndices(indices, areNodes ? "node" : "element", count).values));
    }
  }
  if (!labels.is_none()) selection.And(FromLabels<List>(mesh, labels, missing));
  if (!box.is_none()) {
    const py_Reals corners = py_ToReals(box, "box", {2, 3});
    gsl_BBox bounds;
    for (const std::size_t i : {0, 3})
      bounds.Add(gsl_Point(corners.Values()[i], corners.Values()[i + 1], corners.Values()[i + 2]));
    selection.And(py_Run([&] {
      if constexpr (std::is_same_v<List, bme_FEMNodeList>)
        return List::InBox(*mesh, bounds);
      else
        return List::InBox(*mesh, bounds, touch);
    }));
  }
  if (!set.is_none()) selection.And(FromAny<List>(set, mesh, touch));
  if (!block.is_none()) {
    const py_Indices wanted = py_ToIndices(block, "block", mesh.Elements().NumClasses());
    std::optional<bme_FEMElemList> all;
    for (const unsigned i : wanted.values) {
      const bme_FEMElemList one = bme_FEMElemList::OfClass(*mesh, i);
      all = all ? all->Union(one) : one;
    }
    selection.And(py_Convert<List>(all.value_or(bme_FEMElemList(*mesh)), bme_NodesOf::All, touch));
  }
  return {mesh, selection.list ? *selection.list : py_Run([&] { return List::All(*mesh); })};
}

template<class List> void BindSelect(nb::class_<py_Mesh>& mesh, const char* name, const char* doc) {
  mesh.def(
      name, &Select<List>, nb::kw_only(), nb::arg("indices") = nb::none(), nb::arg("labels") = nb::none(),
      nb::arg("box") = nb::none(), nb::arg("set") = nb::none(), nb::arg("block") = nb::none(),
      nb::arg("touching") = "any", nb::arg("unknown") = "refuse",
      nb::sig(
          (std::string("def ") + name
           + "(self, *, indices: numpy.typing.ArrayLike | None = None, labels: numpy.typing.ArrayLike | None "
             "= "
             "None, box: numpy.typing.ArrayLike | None = None, set: NodeList | ElementList | FaceList | "
             "EdgeList | NamedSet | None = None, block: numpy.typing.ArrayLike | None = None, touching: "
             "typing.Literal['any', 'all'] = 'any', unknown: typing.Literal['refuse', 'skip'] = 'refuse') -> "
           + py_kListName<List>)
              .c_str()),
      doc);
}

/// Appends the contents of a list; the kind of the set is that of its last one.
template<class List>
bool Append(nb::handle item, std::optional<py_Mesh>& mesh, rgnC_SetData& data, bool& areNodes) {
  if (!nb::isinstance<py_List<List>>(item)) return false;
  const auto& list = nb::cast<const py_List<List>&>(item);
  if (mesh && mesh->state != list.mesh.state)
    throw py_Error("ValueError", "items: lists of different meshes");
  const bool isOfNodes = std::is_same_v<List, bme_FEMNodeList>;
  if (mesh && areNodes != isOfNodes)
    throw py_Error("TypeError", "items: nodes and others cannot be in one set");
  areNodes = isOfNodes;
  const rgnC_SetData own = py_Run([&] { return list.list.ToSet(); });
  if (!mesh || own.GetSetType() != res_ELEMENT_SET) data.SetType(own.GetSetType());
  mesh = list.mesh;
  for (int i = 0; i < own.NumSubset(); ++i) {
    const rgnC_SubsetData& part = own.SubSet(i);
    data.AppendSubset(rgnC_SubsetData(
        part.MeshIndex(), part.ClassIndex(), data.NumSubset(), part.GetSetIndex(), part.SubsetType(),
        part.IsUnsorted(), rgnC_SubsetData::Ids(part.IdArray()), rgnC_SubsetData::Ids(part.FacetIdArray())));
  }
  return true;
}

py_Set MakeSet(const std::string& name, nb::handle items, bool isInternal) {
  if (name.empty()) throw py_Error("ValueError", "a set needs a name");
  const bool isOne = !nb::isinstance<nb::list>(items) && !nb::isinstance<nb::tuple>(items);
  const nb::object all = isOne ? nb::object(nb::make_tuple(items)) : nb::borrow<nb::object>(items);
  std::optional<py_Mesh> mesh;
  rgnC_SetData data;
  bool areNodes = false;
  for (const nb::handle item : all)
    if (!Append<bme_FEMNodeList>(item, mesh, data, areNodes)
        && !Append<bme_FEMElemList>(item, mesh, data, areNodes)
        && !Append<bme_FEMFaceList>(item, mesh, data, areNodes)
        && !Append<bme_FEMEdgeList>(item, mesh, data, areNodes))
      throw py_Error("TypeError", "items: lists of nodes, elements, faces or edges are needed");
  if (!mesh) throw py_Error("ValueError", "items: at least one list is needed, which may be empty");
  data.SetLabel(name);
  data.SetConstructionOk(true);
  data.SetInternal(isInternal);
  return {*mesh, {name, bme_KindOf(data), data}};
}

template<class List> py_List<List> PartOf(const py_Set& self) {
  return {self.mesh, py_Run([&] {
            const rgnC_SetData& data = self.set.data;
            if (data.NumSubset() == 0) return List(*self.mesh);
            const bool areNodes = self.set.kind == rgnC_NODE_SET;
            if (areNodes != std::is_same_v<List, bme_FEMNodeList>) {
              if (areNodes) return List(*self.mesh);
              return List::FromSet(*self.mesh, data);
            }
            return List::FromSet(*self.mesh, data);
          })};
}

/// The lists that are not empty; an empty set has an empty one of its kind.
nb::tuple ItemsOf(const py_Set& self) {
  const rgnC_SetData& data = self.set.data;
  nb::list items;
  const auto add = [&](const auto& list) {
    if (!list.list.IsEmpty()) items.append(list);
  };
  if (self.set.kind == rgnC_NODE_SET) {
    items.append(PartOf<bme_FEMNodeList>(self));
    return nb::tuple(items);
  }
  rgnC_SetData whole = data.WithoutSubsets(), faces = whole, edges = whole;
  for (int i = 0; i < data.NumSubset(); ++i) {
    const rgnC_SubsetData& part = data.SubSet(i);
    const bool areEdges = part.SubsetType() == res_SURFACE_EDGE;
    (part.FacetIdArray().empty() ? whole : areEdges ? edges : faces).AppendSubset(part);
  }
  const auto of = [&](const rgnC_SetData& some) {
    return py_Set{self.mesh, {self.set.name, self.set.kind, some}};
  };
  add(PartOf<bme_FEMElemList>(of(whole)));
  add(PartOf<bme_FEMFaceList>(of(faces)));
  add(PartOf<bme_FEMEdgeList>(of(edges)));
  if (items.empty()) items.append(PartOf<bme_FEMElemList>(self));
  return nb::tuple(items);
}

// pickles hold the contents as they are: parts with their order, facets and flags

nb::tuple ReduceSet(const py_Set& self) {
  const rgnC_SetData& data = self.set.data;
  nb::list parts;
  const auto array = [](std::span<const int> ids) {
    return py_Array(std::vector<int>(ids.begin(), ids.end()));
  };
  for (int i = 0; i < data.NumSubset(); ++i) {
    const rgnC_SubsetData& part = data.SubSet(i);
    parts.append(nb::make_tuple(part.MeshIndex(), part.ClassIndex(), part.GetSetIndex(),
                                static_cast<int>(part.SubsetType()), part.IsUnsorted(), array(part.IdArray()),
                                array(part.FacetIdArray())));
  }
  const auto flags = nb::make_tuple(data.GetSetIndex(), static_cast<int>(data.GetSetType()),
                                    data.IsInternal(), data.IsUnsorted(), data.IsConstructionOk());
  return nb::make_tuple(nb::module_::import_("coregeometry._restore").attr("named_set"),
                        nb::make_tuple(py_TheMesh(self.mesh), self.set.name, self.set.root,
                                       static_cast<int>(self.set.kind), data.GetSetLabel(), flags, parts));
}

py_Set RestoreSet(const py_Mesh& mesh, const std::string& name, const std::string& root, int kind,
                  const std::string& label, const nb::tuple& flags, const nb::list& parts) {
  const auto number = [](nb::handle one) { return nb::cast<int>(one); };
  rgnC_SetData data;
  data.SetLabel(label);
  data.SetIndex(number(flags[0]));
  data.SetType(static_cast<res_SetTypeEnm>(number(flags[1])));
  data.SetInternal(nb::cast<bool>(flags[2]));
  data.SetUnsorted(nb::cast<bool>(flags[3]));
  data.SetConstructionOk(nb::cast<bool>(flags[4]));
  for (const nb::handle part : parts)
    data.AppendSubset(rgnC_SubsetData(number(part[0]), number(part[1]), data.NumSubset(), number(part[2]),
                                      static_cast<res_SetTypeEnm>(number(part[3])), nb::cast<bool>(part[4]),
                                      rgnC_SubsetData::Ids(py_Labels(part[5], "ids")),
                                      rgnC_SubsetData::Ids(py_Labels(part[6], "facets"))));
  return {mesh, {name, static_cast<rgnC_SetType>(kind), data, root}};
}

std::size_t NumItems(const py_Set& self) {
  std::size_t count = 0;
  for (int i = 0; i < self.set.data.NumSubset(); ++i)
    count += static_cast<std::size_t>(self.set.data.SubSet(i).NumItems());
  return count;
}
} // namespace

void py_BindSelections(nb::module_& module) {
  nb::class_<py_Set> set(
      module, "NamedSet", nb::is_weak_referenceable(),
      "Nodes, or elements with their faces and edges, under a name.\n\n"
      "items: a list, or several of one mesh. ValueError for lists of different meshes.\n\n"
      ">>> import numpy as np, coregeometry as cg\n"
      ">>> mesh = cg.Mesh(np.eye(4, 3, -1), {\"C3D4\": [[0, 1, 2, 3]]})\n"
      ">>> cg.NamedSet(\"base\", mesh.select_nodes(box=([0, 0, 0], [1, 1, 0])))\n"
      "<NamedSet base: 3 of kind node>\n");
  set.def(
         "__init__",
         [](py_Set* self, const std::string& name, nb::handle items, bool isInternal) {
           new (self) py_Set(MakeSet(name, items, isInternal));
         },
         nb::arg("name"), nb::arg("items"), nb::kw_only(), nb::arg("internal") = false,
         nb::sig(
             "def __init__(self, name: str, items: NodeList | ElementList | FaceList | EdgeList | "
             "collections.abc.Sequence[NodeList | ElementList | FaceList | EdgeList], *, internal: bool = "
             "False) -> None"))
      .def_prop_ro("name", [](const py_Set& self) { return self.set.name; })
      .def_prop_ro(
          "kind", [](const py_Set& self) { return bme_KindWord(self.set.kind); },
          "\"node\", \"element\" or \"surface\".")
      .def_prop_ro(
          "mesh", [](const py_Set& self) { return self.mesh; }, nb::rv_policy::move)
      .def_prop_ro(
          "internal", [](const py_Set& self) { return self.set.data.IsInternal(); },
          "Made by a program, not to be shown.")
      .def_prop_ro("items", &ItemsOf,
                   nb::sig("def items(self) -> tuple[NodeList | ElementList | FaceList | EdgeList, ...]"),
                   "Its nodes; or its elements as such, faces and edges, each kind that it has.")
      .def("__reduce__", &ReduceSet, nb::sig("def __reduce__(self) -> tuple[typing.Any, ...]"))
      .def("nodes", &PartOf<bme_FEMNodeList>,
           "Its nodes; of other kinds, the nodes of the elements and faces.")
      .def("elements", &PartOf<bme_FEMElemList>, "Its elements, and those of its faces and edges.")
      .def("faces", &PartOf<bme_FEMFaceList>)
      .def("edges", &PartOf<bme_FEMEdgeList>)
      .def("__len__", &NumItems)
      .def(
          "__eq__",
          [](const py_Set& a, const py_Set& b) {
            return a.set.name == b.set.name && a.mesh.state == b.mesh.state && a.set.data == b.set.data;
          },
          nb::is_operator(), nb::sig("def __eq__(self, other: object, /) -> bool"))
      .def("__repr__", [](const py_Set& self) {
        return "<NamedSet " + self.set.name + ": " + std::to_string(NumItems(self)) + " of kind "
               + bme_KindWord(self.set.kind) + ">";
      });
  set.attr("__hash__") = nb::none();
  module.def(
      "restore_set", &RestoreSet, nb::arg("mesh"), nb::arg("name"), nb::arg("root"), nb::arg("kind"),
      nb::arg("label"), nb::arg("flags"), nb::arg("parts"),
      nb::sig(
          "def restore_set(mesh: Mesh, name: str, root: str, kind: int, label: str, flags: tuple[int, ...], "
          "parts: list[tuple[typing.Any, ...]]) -> NamedSet"));
  auto mesh = nb::borrow<nb::class_<py_Mesh>>(nb::type<py_Mesh>());
  BindSelect<bme_FEMNodeList>(mesh, "select_nodes", "Nodes that fit all criteria; all without one.");
  BindSelect<bme_FEMElemList>(mesh, "select_elements", "Elements that fit all criteria; all without one.");
  BindSelect<bme_FEMFaceList>(
      mesh, "select_faces",
      "Faces that fit all criteria. indices: rows of element, face[, 1 for the back]; labels: of "
      "elements.");
  BindSelect<bme_FEMEdgeList>(
      mesh, "select_edges",
      "Edges that fit all criteria. indices: rows of element, face, edge; labels: of elements.");
}
