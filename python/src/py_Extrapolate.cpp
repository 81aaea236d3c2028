// Values of elements at their integration points or as a whole, carried to nodes and faces.
#include "py_Arrays.h"
#include "py_Connect.h"
#include "py_Work.h"

#include <CoreGeometry/shp_Shape.h>

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
}
