// Values of elements at their integration points or as a whole, carried to nodes and faces.
#include "py_Arrays.h"
#include "py_Connect.h"
#include "py_Work.h"

#include <CoreGeometry/odiC_NodeAverage.h>
#include <CoreGeometry/shp_Shape.h>
#include <limits>

namespace {
/// An array of any real numbers as float32, in C order.
nb::ndarray<const float, nb::c_contig, nb::device::cpu> ToFloats(nb::handle values) {
  const nb::object array = py_AsArray(values, "values");
  return nb::cast<nb::ndarray<const float, nb::c_contig, nb::device::cpu>>(
      nb::module_::import_("numpy").attr("ascontiguousarray")(array, "float32"));
}

nb::object Extrapolate(const py_Block& block, nb::handle values, const std::string& position,
                       const std::string& to) {
  const shp_Shape* const shape = block.elements.Shape();
  if (!shape)
    throw py_Error("ValueError", "elements of type " + block.elements.ElemTypeLabel() + " have no shape");
  const auto from = py_Choose<res_OutputPositionEnm>("position", position,
                                                     {{"integration_point", res_INTEGRATION_POINT},
                                                      {"element_node", res_ELEMENT_NODAL},
                                                      {"centroid", res_ELEMENT_CENTROID},
                                                      {"whole_element", res_WHOLE_ELEMENT}});
  const bool isToNodes = py_Choose<bool>("to", to, {{"nodes", true}, {"faces", false}});
  const auto count = static_cast<std::size_t>(block.elements.NumElements());
  const auto places = static_cast<std::size_t>(from == res_INTEGRATION_POINT ? shape->NumIntPts()
                                               : from == res_ELEMENT_NODAL   ? shape->NumNodes()
                                                                             : 1);
  const auto given = ToFloats(values);
  const bool hasComponents = given.ndim() == 3;
  if ((given.ndim() != 2 && !hasComponents) || given.shape(0) != count || given.shape(1) != places)
    throw py_Error("ValueError", "values have shape " + py_ShapeText(nb::cast(given)) + ", ("
                                     + std::to_string(count) + ", " + std::to_string(places)
                                     + ") or that with components is needed");
  const std::size_t width = hasComponents ? given.shape(2) : 1;
  const auto targets = static_cast<std::size_t>(isToNodes ? shape->NumNodes() : shape->NumFaces());
  std::vector<float> carried(count * targets * width);
  const std::span<const float> all(given.data(), given.size());
  const auto components = static_cast<int>(width);
  py_Run([&] {
    if (isToNodes)
      return shape->ExtrapolateEachToNodes(static_cast<int>(count), all, from, carried, components);
    for (std::size_t e = 0; e < count; ++e)
      shape->ExtrapolateToFaces(all.subspan(e * places * width, places * width), from,
                                std::span(carried).subspan(e * targets * width, targets * width), components);
  });
  return hasComponents ? py_Array(std::move(carried), {count, targets, width})
                       : py_Array(std::move(carried), {count, targets});
}

/// Values at the nodes of the elements of some blocks.
struct Parts {
  std::vector<std::optional<py_Reals>> ofBlocks;
  std::size_t width = 1;
  bool isFlat = true;
};

Parts ToParts(const py_Mesh& mesh, nb::handle argument) {
  Parts parts;
  const unsigned count = mesh.Elements().NumClasses();
  if (nb::len(argument) != count)
    throw py_Error("ValueError", "parts: " + std::to_string(nb::len(argument)) + " for "
                                     + std::to_string(count) + " blocks; None for one without values");
  std::optional<std::size_t> dimensions;
  for (unsigned i = 0; i < count; ++i) {
    const nb::object part = argument[i];
    parts.ofBlocks.emplace_back();
    if (part.is_none()) continue;
    const bme_ElementClass& block = mesh.Elements().GetClass(i);
    const std::string place = py_PlaceOf(i, block.ElemTypeLabel());
    if (!block.IsSupported()) throw py_Error("ValueError", place + ": the type has no shape");
    const std::size_t own = py_ShapeOf(py_AsArray(part, place.c_str())).size();
    py_Reals values =
        own == 2 ? py_ToReals(part, place.c_str(), {block.NumElements(), block.NumNodesPerElem()})
                 : py_ToReals(part, place.c_str(), {block.NumElements(), block.NumNodesPerElem(), -1});
    const std::size_t width = own == 2 ? 1 : values.array.shape(2);
    if (dimensions && (*dimensions != own || width != parts.width))
      throw py_Error("ValueError", place + ": other components than the blocks before");
    dimensions = own;
    parts.width = width;
    parts.isFlat = own == 2;
    parts.ofBlocks.back() = std::move(values);
  }
  return parts;
}

/// Means at the nodes of the elements with a group, for which `means` has rows, not a number before.
void AverageGroup(const py_Mesh& mesh, const Parts& parts, std::span<const int> groups, int group,
                  std::span<float> means) {
  auto layout = std::make_shared<odiC_Layout>();
  std::vector<double> values;
  for (unsigned i = 0; i < parts.ofBlocks.size(); ++i) {
    if (!parts.ofBlocks[i]) continue;
    const bme_ElementClass& elements = mesh.Elements().GetClass(i);
    const std::size_t each = static_cast<std::size_t>(elements.NumNodesPerElem()) * parts.width;
    const std::span<const double> rows = parts.ofBlocks[i]->Values();
    std::vector<int> chosen;
    for (int e = 0; e < elements.NumElements(); ++e) {
      if (!groups.empty()
          && groups[static_cast<std::size_t>(elements.FirstElementIndex()) + static_cast<std::size_t>(e)]
                 != group)
        continue;
      chosen.push_back(e);
      const auto row = rows.subspan(static_cast<std::size_t>(e) * each, each);
      values.insert(values.end(), row.begin(), row.end());
    }
    odiC_LayoutBlock block;
    block.position = res_ELEMENT_NODAL;
    block.classIndex = static_cast<int>(i);
    block.valuesPerEntity = elements.NumNodesPerElem();
    block.numEntities = static_cast<int>(chosen.size());
    if (block.numEntities < elements.NumElements()) block.entities = cow_ArrayCOW<int>(chosen);
    if (block.numEntities > 0) layout->Add(block);
  }
  if (layout->blocks.empty()) return;
  const odiC_Places places = odiC_Places::All(layout);
  odiC_NodeAverage average(*mesh, places, {.borders = odiC_Borders::None, .normals = 0});
  const odiC_SourcePointer source =
      odiC_Averaged(odiC_Kept(places, static_cast<int>(parts.width), std::move(values)), std::move(average));
  std::vector<char> isSet(means.size() / parts.width, 0);
  odiC_ForEachRange(*source, [&](const odiC_Range& range) {
    for (const odiC_RowRun& run : range.rows)
      for (int row = run.first; row < run.End(); ++row) {
        const auto node = static_cast<std::size_t>(range.block.Entity(row - range.block.firstRow));
        if (isSet[node] != 0)
          throw py_Error("ValueError",
                         "node " + std::to_string(node)
                             + " has values of elements of different dimensions: leave out parts, "
                               "or give them groups");
        isSet[node] = 1;
        const auto from =
            range.values.subspan(static_cast<std::size_t>(row - range.firstRow) * parts.width, parts.width);
        std::ranges::transform(from, means.begin() + static_cast<std::ptrdiff_t>(node * parts.width),
                               [](double value) { return static_cast<float>(value); });
      }
  });
}

nb::object Average(const py_Mesh& mesh, nb::handle argument, nb::handle across) {
  const Parts parts = ToParts(mesh, argument);
  const std::size_t numElements = mesh.Elements().NumElements(), numNodes = mesh.Nodes().NumNodes();
  std::vector<int> groups;
  std::size_t numGroups = 1;
  if (nb::isinstance<nb::str>(across)) {
    if (py_Choose<bool>("across", nb::cast<std::string>(across), {{"all", false}, {"block", true}})) {
      numGroups = mesh.Elements().NumClasses();
      for (std::size_t i = 0; i < numElements; ++i)
        groups.push_back(static_cast<int>(mesh.Elements().GetClassIndex(static_cast<unsigned>(i))));
    }
  } else {
    const cow_ArrayCOW<int> given = py_Labels(across, "across");
    if (given.Size() != numElements)
      throw py_Error("ValueError", "across: " + std::to_string(given.Size()) + " numbers for "
                                       + std::to_string(numElements) + " elements");
    groups.assign(given.Const().begin(), given.Const().end());
    const int most = groups.empty() ? 0 : std::max(0, std::ranges::max(groups));
    if (std::cmp_greater_equal(most, std::max<std::size_t>(numElements, 1)))
      throw py_Error("ValueError", "across: group " + std::to_string(most) + " of "
                                       + std::to_string(numElements) + " elements; groups count from 0");
    numGroups = static_cast<std::size_t>(most) + 1;
  }
  const std::size_t each = numNodes * parts.width;
  std::vector<float> means(numGroups * each, std::numeric_limits<float>::quiet_NaN());
  py_Run([&] {
    for (std::size_t group = 0; group < numGroups; ++group)
      AverageGroup(mesh, parts, groups, static_cast<int>(group),
                   std::span(means).subspan(group * each, each));
  });
  const bool isOne =
      nb::isinstance<nb::str>(across) && groups.empty() && nb::cast<std::string>(across) == "all";
  if (isOne && parts.isFlat) return py_Array(std::move(means), {numNodes});
  if (isOne) return py_Array(std::move(means), {numNodes, parts.width});
  if (parts.isFlat) return py_Array(std::move(means), {numGroups, numNodes});
  return py_Array(std::move(means), {numGroups, numNodes, parts.width});
}
} // namespace

void py_BindExtrapolate(nb::module_& /*module*/) {
  auto block = nb::borrow<nb::class_<py_Block>>(nb::type<py_Block>());
  block.def("extrapolate", &Extrapolate, nb::arg("values"), nb::arg("position") = "integration_point",
            nb::arg("to") = "nodes",
            nb::sig("def extrapolate(self, values: numpy.typing.ArrayLike, position: "
                    "typing.Literal['integration_point', 'element_node', 'centroid', 'whole_element'] = "
                    "'integration_point', to: typing.Literal['nodes', 'faces'] = 'nodes') -> "
                    "numpy.typing.NDArray[numpy.float32]"),
            "(m, p[, c]) values at p places of each element -> (m, k[, c]) float32 at its nodes or faces. "
            "ValueError "
            "for another shape.");
  auto mesh = nb::borrow<nb::class_<py_Mesh>>(nb::type<py_Mesh>());
  mesh.def(
      "average", &Average, nb::arg("parts"), nb::kw_only(), nb::arg("across") = "all",
      nb::sig("def average(self, parts: collections.abc.Sequence[numpy.typing.ArrayLike | None], *, across: "
              "typing.Literal['all', 'block'] | numpy.typing.ArrayLike = 'all') -> "
              "numpy.typing.NDArray[numpy.float32]"),
      "Means at nodes of values (m, k[, c]) at the k nodes of the m elements of each block, None for blocks "
      "without:\n(n[, c]) float32, NaN at nodes without values. ``\"block\"`` and (e,) group numbers, "
      "negative "
      "ones for elements\nthat are left out, average each group for itself: (groups, n[, c]). ValueError for "
      "another shape, and for a node\nof elements of different dimensions.");
}
