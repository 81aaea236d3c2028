// What lists of nodes, elements, faces and edges have in common.
#include "py_Lists.h"

#include "py_Arrays.h"
#include "py_Work.h"

#include <CoreGeometry/gsl_BBox.h>

bme_NodesOf py_NodesOf(const std::string& which) {
  return py_Choose<bme_NodesOf>("which", which,
                                {{"all", bme_NodesOf::All}, {"corners", bme_NodesOf::Corners}});
}

bme_Touching py_Touching(const std::string& touching) {
  return py_Choose<bme_Touching>("touching", touching,
                                 {{"any", bme_Touching::AnyNode}, {"all", bme_Touching::AllNodes}});
}

namespace {
template<class List> constexpr bool kIsOfFaces = std::is_same_v<List, bme_FEMFaceList>;
template<class List> constexpr std::size_t kNumColumns = List::kAreAddresses ? 3 : 1;

/// The numbers that address an entity: an index, or element, face and side or edge.
template<class List> std::array<int, kNumColumns<List>> AddressOf(unsigned word) {
  if constexpr (!List::kAreAddresses)
    return {static_cast<int>(word)};
  else
    return {static_cast<int>(bme_ElementOf(word)), static_cast<int>(bme_FaceOf(word)),
            static_cast<int>(kIsOfFaces<List> ? unsigned{bme_IsBack(word)} : bme_EdgeOf(word))};
}

/// One column of the addresses.
template<class List, std::size_t column> nb::object Column(const py_List<List>& self) {
  std::vector<int> numbers;
  numbers.reserve(self.list.Count());
  for (const unsigned word : self.list) numbers.push_back(AddressOf<List>(word)[column]);
  return py_Array(std::move(numbers));
}

template<class List> nb::object LabelsOf(const py_List<List>& self) {
  const auto labels = py_Run([&] { return self.list.Labels(); });
  if constexpr (!List::kAreAddresses) {
    return py_Array(labels);
  } else {
    std::vector<int> rows;
    rows.reserve(3 * labels.size());
    for (const auto& label : labels) {
      int last = 0;
      if constexpr (kIsOfFaces<List>)
        last = label.isBack;
      else
        last = label.edge;
      rows.insert(rows.end(), {label.element, label.face, last});
    }
    return py_Array(std::move(rows), {labels.size(), 3});
  }
}

template<class List> nb::object TableOf(const py_List<List>& self, const std::string& which) {
  const bool areCorners = py_NodesOf(which) == bme_NodesOf::Corners;
  std::vector<bme_LocalNodes> rows;
  std::size_t most = 0;
  const auto nodesOf = [&](const bme_LocalNodes& row) { return areCorners ? row.Corners() : row.Nodes(); };
  for (std::size_t i = 0; i < self.list.Count(); ++i) {
    if constexpr (kIsOfFaces<List>) {
      rows.push_back(self.list.FaceNodes(i));
    } else {
      rows.push_back(self.list.EdgeNodes(i));
      if (areCorners && rows.back().count > 2) {
        rows.back().nodes[1] = rows.back().nodes[rows.back().count - 1];
        rows.back().count = 2;
      }
      rows.back().corners = rows.back().count;
    }
    most = std::max(most, nodesOf(rows.back()).size());
  }
  std::vector<int> table(rows.size() * most, -1);
  for (std::size_t i = 0; i < rows.size(); ++i)
    std::ranges::copy(nodesOf(rows[i]), table.begin() + static_cast<std::ptrdiff_t>(i * most));
  return py_Array(std::move(table), {rows.size(), most});
}

template<class List> nb::object Iterate(const py_List<List>& self) {
  nb::list items;
  for (const unsigned word : self.list) {
    const auto address = AddressOf<List>(word);
    if constexpr (List::kAreAddresses)
      items.append(nb::make_tuple(address[0], address[1], address[2]));
    else
      items.append(address[0]);
  }
  return nb::iter(items);
}

template<class List> bool Contains(const py_List<List>& self, nb::handle item) {
  const py_Reals numbers = py_ToReals(nb::make_tuple(item).attr("__getitem__")(0), "item",
                                      List::kAreAddresses ? std::initializer_list<long long>{-1}
                                                          : std::initializer_list<long long>{});
  const std::span<const double> values = numbers.Values();
  if (values.size() != kNumColumns<List>) return false;
  for (const unsigned word : self.list) {
    const auto address = AddressOf<List>(word);
    if (std::equal(values.begin(), values.end(), address.begin())) return true;
  }
  return false;
}

template<class List> nb::tuple Reduce(const py_List<List>& self) {
  const std::vector<unsigned> words(self.list.begin(), self.list.end());
  return nb::make_tuple(nb::module_::import_("coregeometry._restore").attr("one_of"),
                        nb::make_tuple(py_kListName<List>, py_TheMesh(self.mesh), py_IntArray(words)));
}

template<class List>
py_List<List> Combine(const py_List<List>& a, const py_List<List>& b, bme_SetOperation how) {
  return {a.mesh, py_Run([&] {
            switch (how) {
            case bme_SetOperation::Union: return a.list.Union(b.list);
            case bme_SetOperation::Intersection: return a.list.Intersection(b.list);
            case bme_SetOperation::Difference: return a.list.Difference(b.list);
            default: return a.list.SymmetricDifference(b.list);
            }
          })};
}

template<class List, class To>
void BindConversion(nb::class_<py_List<List>>& list, const char* name, bool hasWhich) {
  const auto convert = [](const py_List<List>& self, const std::string& which, const std::string& touching) {
    const bme_NodesOf nodes = py_NodesOf(which);
    const bme_Touching touch = py_Touching(touching);
    return py_List<To>{self.mesh, py_Run([&] { return py_Convert<To>(self.list, nodes, touch); })};
  };
  const std::string type = py_kListName<To>;
  if constexpr (std::is_same_v<List, bme_FEMNodeList> && !std::is_same_v<To, bme_FEMNodeList>)
    list.def(
        name,
        [=](const py_List<List>& self, const std::string& touching) {
          return convert(self, "all", touching);
        },
        nb::arg("touching") = "any",
        nb::sig(
            (std::string("def ") + name + "(self, touching: typing.Literal['any', 'all'] = 'any') -> " + type)
                .c_str()));
  else if (hasWhich)
    list.def(
        name,
        [=](const py_List<List>& self, const std::string& which) { return convert(self, which, "any"); },
        nb::arg("which") = "all",
        nb::sig((std::string("def ") + name + "(self, which: typing.Literal['all', 'corners'] = 'all') -> "
                 + type)
                    .c_str()));
  else
    list.def(name, [=](const py_List<List>& self) { return convert(self, "all", "any"); });
}

template<class List, bme_SetOperation how>
void BindOperator(nb::class_<py_List<List>>& list, const char* name) {
  list.def(
      name, [](const py_List<List>& a, const py_List<List>& b) { return Combine(a, b, how); },
      nb::is_operator());
}

template<class List> void BindList(nb::module_& module, const char* what) {
  nb::class_<py_List<List>> list(module, py_kListName<List>, nb::is_weak_referenceable(), what);
  list.def_prop_ro(
          "mesh", [](const py_List<List>& self) { return self.mesh; }, nb::rv_policy::move)
      .def("__len__", [](const py_List<List>& self) { return self.list.Count(); })
      .def("__iter__", &Iterate<List>,
           nb::sig(List::kAreAddresses
                       ? "def __iter__(self) -> collections.abc.Iterator[tuple[int, int, int]]"
                       : "def __iter__(self) -> collections.abc.Iterator[int]"))
      .def("__contains__", &Contains<List>, nb::arg("item"),
           nb::sig("def __contains__(self, item: object) -> bool"))
      .def(
          "__eq__", [](const py_List<List>& a, const py_List<List>& b) { return a.list == b.list; },
          nb::is_operator(), nb::sig("def __eq__(self, other: object, /) -> bool"))
      .def("__invert__",
           [](const py_List<List>& self) {
             return py_List<List>{self.mesh, py_Run([&] { return self.list.Complement(); })};
           })
      .def("__repr__",
           [](const py_List<List>& self) {
             return std::string("<") + py_kListName<List> + " of " + std::to_string(self.list.Count()) + ">";
           })
      .def("labels", &LabelsOf<List>, nb::rv_policy::automatic,
           nb::sig("def labels(self) -> numpy.typing.NDArray[numpy.int32]"),
           List::kAreAddresses ? "(n, 3) int32: element label, face, and edge or 1 for the back of a shell."
                               : "(n,) int32 user labels; index + 1 in a mesh without labels.")
      .def(
          "within",
          [](const py_List<List>& self, nb::handle low, nb::handle high) {
            gsl_BBox box;
            for (const nb::handle corner : {low, high}) {
              const auto [x, y, z] = py_ToPoint(corner, "box");
              box.Add(gsl_Point(x, y, z));
            }
            return py_List<List>{self.mesh, py_Run([&] {
                                   if constexpr (std::is_same_v<List, bme_FEMNodeList>)
                                     return self.list.Intersection(List::InBox(*self.mesh, box));
                                   else
                                     return self.list.Intersection(
                                         List::InBox(*self.mesh, box, bme_Touching::AnyNode));
                                 })};
          },
          nb::arg("low"), nb::arg("high"),
          nb::sig(
              (std::string("def within(self, low: numpy.typing.ArrayLike, high: numpy.typing.ArrayLike) -> ")
               + py_kListName<List>)
                  .c_str()),
          "Those with a node in the box.");
  BindOperator<List, bme_SetOperation::Union>(list, "__or__");
  BindOperator<List, bme_SetOperation::Intersection>(list, "__and__");
  BindOperator<List, bme_SetOperation::Difference>(list, "__sub__");
  BindOperator<List, bme_SetOperation::SymmetricDifference>(list, "__xor__");
  const auto column = [&](const char* name, auto function, const char* type) {
    list.def_prop_ro(
        name, function, nb::rv_policy::automatic,
        nb::sig((std::string("def ") + name + "(self) -> numpy.typing.NDArray[numpy." + type + "]").c_str()),
        "(n,)");
  };
  if constexpr (!List::kAreAddresses) {
    column("indices", &Column<List, 0>, "int32");
  } else {
    column("element_indices", &Column<List, 0>, "int32");
    column("face_numbers", &Column<List, 1>, "int32");
    if constexpr (kIsOfFaces<List>)
      column(
          "is_back",
          [](const py_List<List>& self) { return nb::object(Column<List, 2>(self).attr("astype")("bool")); },
          "bool_");
    else
      column("edge_numbers", &Column<List, 2>, "int32");
    list.def("table", &TableOf<List>, nb::arg("which") = "all", nb::rv_policy::automatic,
             nb::sig("def table(self, which: typing.Literal['all', 'corners'] = 'all') -> "
                     "numpy.typing.NDArray[numpy.int32]"),
             "(n, most) int32: nodes of each, filled up with -1.");
  }
  list.def("__reduce__", &Reduce<List>, nb::sig("def __reduce__(self) -> tuple[typing.Any, ...]"));
  list.attr("__hash__") = nb::none();
  module.def(
      (std::string("restore_") + py_kListName<List>).c_str(),
      [](const py_Mesh& mesh, nb::handle words) {
        return py_List<List>{mesh, List(*mesh, py_ToIndices(words, "words", std::size_t{1} << 31).values)};
      },
      nb::arg("mesh"), nb::arg("words"));
}

template<class List> void BindConversions() {
  auto list = nb::borrow<nb::class_<py_List<List>>>(nb::type<py_List<List>>());
  BindConversion<List, bme_FEMNodeList>(list, "nodes", !std::is_same_v<List, bme_FEMNodeList>);
  BindConversion<List, bme_FEMElemList>(list, "elements", false);
  BindConversion<List, bme_FEMFaceList>(list, "faces", false);
  BindConversion<List, bme_FEMEdgeList>(list, "edges", false);
}
} // namespace

nb::object py_TheMesh(const py_Mesh& mesh) {
  const auto key = reinterpret_cast<std::uintptr_t>(mesh.state.get());
  return nb::module_::import_("coregeometry._restore").attr("the")(key, nb::cast(mesh));
}

void py_BindLists(nb::module_& module) {
  BindList<bme_FEMNodeList>(module, "Some nodes of a mesh, each once, in mesh order.");
  BindList<bme_FEMElemList>(module, "Some elements of a mesh, each once, in mesh order.");
  BindList<bme_FEMFaceList>(module, "Some faces of elements, each once, in mesh order.");
  BindList<bme_FEMEdgeList>(module, "Some edges of faces of elements, in mesh order.");
  BindConversions<bme_FEMNodeList>();
  BindConversions<bme_FEMElemList>();
  BindConversions<bme_FEMFaceList>();
  BindConversions<bme_FEMEdgeList>();
}
