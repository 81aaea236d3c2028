#include "py_Connect.h"

#include "py_Arrays.h"
#include "py_Work.h"

namespace {
/// Asks the connectivity, which builds lazily.
template<class Ask> auto Connectivity(const py_Mesh& mesh, Ask ask) {
  return py_Run([&] {
    const std::lock_guard lock(mesh.state->mutex);
    return ask(mesh->Connectivity());
  });
}

bme_Across Across(const std::string& across) {
  return py_Choose<bme_Across>(
      "across", across, {{"face", bme_Across::Face}, {"edge", bme_Across::Edge}, {"node", bme_Across::Node}});
}

/// A relation that the mesh holds.
py_Rows Shared(const py_Mesh& mesh, const bme_Adjacency* rows) { return {{mesh.state, rows}}; }

/// int32 over the same memory; numbers beyond int32 are refused.
nb::object AsInts(const py_Rows& self, std::span<const unsigned> numbers) {
  if (self.rows->items.size() > 2147483647U)
    throw py_Error("OverflowError",
                   std::to_string(self.rows->items.size()) + " entries of a relation are too many");
  const std::span<const int> ints(reinterpret_cast<const int*>(numbers.data()), numbers.size());
  return py_View<int>(self.rows, ints, {ints.size()});
}

nb::object Row(const py_Rows& self, long long i) {
  const auto count = static_cast<long long>(self.rows->Count());
  if (i < 0 || i >= count)
    throw py_Error("IndexError", "row " + std::to_string(i) + " of " + std::to_string(count));
  const std::span<const unsigned> row = (*self.rows)[static_cast<std::size_t>(i)];
  return py_View<int>(self.rows, std::span(reinterpret_cast<const int*>(row.data()), row.size()),
                      {row.size()});
}
} // namespace

void py_BindConnect(nb::module_& module) {
  nb::class_<py_Rows>(module, "Rows", nb::is_weak_referenceable(),
                      "A relation: row i is items[first[i]:first[i + 1]], as in compressed sparse rows.\n\n"
                      ">>> import coregeometry as cg\n"
                      ">>> mesh = cg.Mesh([[0, 0], [1, 0], [2, 0]], {\"B21\": [[0, 1], [1, 2]]})\n"
                      ">>> rows = mesh.elements_of_nodes()\n"
                      ">>> len(rows), rows[1], rows.counts()\n"
                      "(3, array([0, 1], dtype=int32), array([1, 2, 1], dtype=int32))\n")
      .def_prop_ro(
          "first", [](const py_Rows& self) { return AsInts(self, self.rows->first); },
          nb::rv_policy::automatic, nb::sig("def first(self) -> numpy.typing.NDArray[numpy.int32]"),
          "(r + 1,) int32 view.")
      .def_prop_ro(
          "items", [](const py_Rows& self) { return AsInts(self, self.rows->items); },
          nb::rv_policy::automatic, nb::sig("def items(self) -> numpy.typing.NDArray[numpy.int32]"),
          "int32 view.")
      .def("__len__", [](const py_Rows& self) { return self.rows->Count(); })
      .def("__getitem__", &Row, nb::arg("i"), nb::rv_policy::automatic,
           nb::sig("def __getitem__(self, i: int) -> numpy.typing.NDArray[numpy.int32]"))
      .def(
          "counts",
          [](const py_Rows& self) {
            std::vector<int> counts(self.rows->Count());
            for (std::size_t i = 0; i < counts.size(); ++i)
              counts[i] = static_cast<int>((*self.rows)[i].size());
            return py_Array(std::move(counts));
          },
          nb::rv_policy::automatic, nb::sig("def counts(self) -> numpy.typing.NDArray[numpy.int32]"))
      .def(
          "to_scipy",
          [](nb::handle self, nb::handle shape) {
            return nb::module_::import_("coregeometry._columns").attr("to_scipy")(self, shape);
          },
          nb::arg("shape") = nb::none(),
          nb::sig("def to_scipy(self, shape: tuple[int, int] | None = None) -> typing.Any"),
          "A scipy.sparse.csr_array of ones that shares both arrays.");
  auto mesh = nb::borrow<nb::class_<py_Mesh>>(nb::type<py_Mesh>());
  const char* const across = "across: typing.Literal['face', 'edge', 'node'] = 'face') -> ";
  mesh.def(
          "neighbours",
          [](const py_Mesh& self, const std::string& word) {
            const bme_Across across = Across(word);
            return Shared(
                self, Connectivity(self, [&](const bme_FEMConnect& all) { return &all.Neighbours(across); }));
          },
          nb::arg("across") = "face",
          nb::sig((std::string("def neighbours(self, ") + across + "Rows").c_str()),
          "Neighbours of each element.")
      .def("elements_of_nodes",
           [](const py_Mesh& self) {
             return Shared(
                 self, Connectivity(self, [](const bme_FEMConnect& all) { return &all.ElementsOfNodes(); }));
           })
      .def(
          "free_nodes",
          [](const py_Mesh& self) {
            return py_IntArray(Connectivity(self, [](const bme_FEMConnect& all) { return all.FreeNodes(); }));
          },
          nb::rv_policy::automatic, nb::sig("def free_nodes(self) -> numpy.typing.NDArray[numpy.int32]"),
          "Nodes that no element uses.")
      .def(
          "components",
          [](const py_Mesh& self, const std::string& word) {
            const bme_Across across = Across(word);
            const auto found =
                Connectivity(self, [&](const bme_FEMConnect& all) { return all.FindComponents(across); });
            return nb::make_tuple(found.count, py_IntArray(found.ofElement));
          },
          nb::arg("across") = "face",
          nb::sig((std::string("def components(self, ") + across
                   + "tuple[int, numpy.typing.NDArray[numpy.int32]]")
                      .c_str()),
          "Number of connected parts, and the part of each element.")
      .def(
          "rings",
          [](const py_Mesh& self, nb::handle seeds, int count, const std::string& word) {
            const bme_Across across = Across(word);
            const std::vector<unsigned> from =
                py_ToIndices(seeds, "element", self.Elements().NumElements()).values;
            nb::list rings;
            for (const auto& ring : Connectivity(
                     self, [&](const bme_FEMConnect& all) { return all.Rings(from, count, across); }))
              rings.append(py_IntArray(ring));
            return rings;
          },
          nb::arg("seeds"), nb::arg("count"), nb::arg("across") = "face",
          nb::sig((std::string("def rings(self, seeds: numpy.typing.ArrayLike, count: int, ") + across
                   + "list[numpy.typing.NDArray[numpy.int32]]")
                      .c_str()),
          "The seeds, and the elements 1 to count steps away.")
      .def(
          "coincident_nodes",
          [](const py_Mesh& self, double tolerance) {
            return py_Rows{std::make_shared<const bme_Adjacency>(
                py_Run([&] { return bme_FindCoincidentNodes(self.Nodes(), tolerance); }))};
          },
          nb::arg("tolerance"), "Groups of nodes that are at most the tolerance apart.");
}
