// Blocks of elements and their controls.
#include "py_Arrays.h"
#include "py_Mesh.h"

#include <BasicUtils/thr_ThreadSingleton.h>
#include <CoreGeometry/shp_Shape.h>
#include <CoreGeometry/shp_ShapeDictionary.h>
#include <CoreUtils/atr_Near.h>
#include <CoreUtils/omi_Duplicates.h>
#include <limits>
#include <map>

namespace {
/// The fields of the controls by their names in Python, made from the functions that read and set them.
struct ControlField {
  nb::object (*get)(const bme_ElemCtrlParams&);
  void (*set)(bme_ElemCtrlParams&, nb::handle);
};
template<auto Get, auto Set> constexpr ControlField Field() {
  using Value = std::invoke_result_t<decltype(Get), const bme_ElemCtrlParams&>;
  return {[](const bme_ElemCtrlParams& controls) -> nb::object {
            if constexpr (std::is_enum_v<Value>)
              return nb::cast(omu_PrimEnum<Value>((controls.*Get)()).Text());
            else
              return nb::cast((controls.*Get)());
          },
          [](bme_ElemCtrlParams& controls, nb::handle value) {
            if constexpr (std::is_enum_v<Value>)
              (controls.*Set)(omu_PrimEnum<Value>(nb::cast<std::string>(value)));
            else
              (controls.*Set)(nb::cast<double>(value));
          }};
}
using P = bme_ElemCtrlParams;
constexpr std::pair<const char*, ControlField> kControls[] = {
    {"library", Field<&P::ElemLib, &P::SetElemLib>()},
    {"hourglass_stiffness", Field<&P::HrGlsStiffness, &P::SetHrGlsStiffness>()},
    {"bending_hourglass", Field<&P::BendingHrGls, &P::SetBendingHrGls>()},
    {"drilling_hourglass", Field<&P::DrillingHrGls, &P::SetDrillingHrGls>()},
    {"kinematic_split", Field<&P::KineSplit, &P::SetKineSplit>()},
    {"hourglass_control", Field<&P::HrGlsControl, &P::SetHrGlsControl>()},
    {"weight_factor", Field<&P::WeightFactor, &P::SetWeightFactor>()},
    {"stress_rate", Field<&P::StressRate, &P::SetStressRate>()},
    {"displacement_hourglass", Field<&P::DisplHrGls, &P::SetDisplHrGls>()},
    {"rotation_hourglass", Field<&P::RotHrGls, &P::SetRotHrGls>()},
    {"out_of_plane_hourglass", Field<&P::OOPDispHrGls, &P::SetOOPDispHrGls>()},
    {"second_order_accuracy", Field<&P::SoAccuracy, &P::SetSoAccuracy>()},
    {"distortion_control", Field<&P::DistortionCtrl, &P::SetDistortionCtrl>()},
    {"length_ratio", Field<&P::LengthRatio, &P::SetLengthRatio>()},
    {"element_deletion", Field<&P::ElemDeletion, &P::SetElemDeletion>()},
    {"max_degradation", Field<&P::MaxDegradation, &P::SetMaxDegradation>()},
    {"viscosity", Field<&P::Viscosity, &P::SetViscosity>()},
    {"linear_bulk_viscosity", Field<&P::LinearBulkVisk, &P::SetLinearBulkVisk>()},
    {"quadratic_bulk_viscosity", Field<&P::QuadraticBulkVisk, &P::SetQuadraticBulkVisk>()}};

const ControlField& FieldOf(const std::string& name) {
  for (const auto& [known, field] : kControls)
    if (name == known) return field;
  throw py_Error("TypeError", "Controls has no field \"" + name + "\"");
}

nb::dict AsDict(const bme_ElemCtrlParams& controls) {
  nb::dict values;
  for (const auto& [name, field] : kControls) values[name] = field.get(controls);
  return values;
}

bme_ElemCtrlParams WithFields(bme_ElemCtrlParams controls, const nb::dict& values) {
  for (const auto& [name, value] : values) FieldOf(nb::cast<std::string>(name)).set(controls, value);
  return controls;
}

/// Differences from the defaults, as arguments that make the controls again.
std::string ControlsText(const bme_ElemCtrlParams& controls) {
  const bme_ElemCtrlParams defaults;
  std::string text;
  for (const auto& [name, field] : kControls) {
    const nb::object value = field.get(controls);
    if (value.equal(field.get(defaults))) continue;
    text += text.empty() ? "" : ", ";
    text += std::string(name) + "=" + nb::cast<std::string>(nb::repr(value));
  }
  return "Controls(" + text + ")";
}

bme_ElemCtrlParams ControlsOf(nb::handle controls) {
  return controls.is_none() ? bme_ElemCtrlParams() : nb::cast<bme_ElemCtrlParams>(controls);
}

bool AreEqual(const py_Block& a, const py_Block& b) {
  const bme_ElementClass &x = a.elements, &y = b.elements;
  return x.ElemTypeLabel() == y.ElemTypeLabel() && x.CategoryLabel() == y.CategoryLabel()
         && x.ElementConnectivity() == y.ElementConnectivity()
         && std::ranges::equal(x.UserElementLabels(), y.UserElementLabels())
         && x.GetElemControlParams() == y.GetElemControlParams();
}

nb::object LabelsOf(const py_Block& block) {
  if (!block.elements.HasUserElementLabels()) return nb::none();
  const std::span<const int> labels = block.elements.UserElementLabels();
  return py_View<int>(block.elements, labels, {labels.size()});
}

nb::object ConnectivityOf(const py_Block& block) {
  const cls_xp2DArrayInt& rows = block.elements.ElementConnectivity();
  return py_View(rows.Values(), {static_cast<std::size_t>(block.elements.NumElements()), rows.NumColumns()});
}
} // namespace

std::string py_PlaceOf(std::size_t block, const std::string& type) {
  return "block " + std::to_string(block) + " (" + type + ")";
}

void py_CheckNodes(const py_Block& block, std::size_t numNodes, std::size_t number) {
  const std::span<const int> all = block.elements.ElementConnectivity().Const();
  const auto outside =
      std::ranges::find_if(all, [&](int node) { return std::cmp_greater_equal(node, numNodes); });
  if (outside != all.end())
    throw py_Error("IndexError",
                   py_PlaceOf(number, block.elements.ElemTypeLabel()) + ", element "
                       + std::to_string((outside - all.begin()) / block.elements.NumNodesPerElem())
                       + ": node " + std::to_string(*outside) + " of " + std::to_string(numNodes));
}

std::string py_NearTypes(const std::string& type) {
  const auto& dictionary = thr_ThreadSingleton<shp_ShapeDictionary>::Instance();
  std::vector<cow_String> labels;
  for (const auto& [label, key] : dictionary.LabelTable()) labels.push_back(label);
  std::string text;
  for (const cow_String& label : atr_NearNames(cow_ToUpper(type), labels, 3))
    text += (text.empty() ? "; did you mean " : ", ") + label;
  return text.empty() ? text : text + "?";
}

void py_RefuseDuplicates(std::span<const std::span<const int>> labels, const char* what) {
  if (!omi_FindDuplicate(labels)) return;
  std::map<int, int> counts;
  for (const std::span<const int> part : labels)
    for (const int label : part) ++counts[label];
  std::string text;
  int named = 0;
  long long count = 0;
  for (const auto& [label, times] : counts) {
    if (times == 1) continue;
    if (++count > 5) continue;
    text += (named++ == 0 ? " " : ", ") + std::to_string(label);
  }
  throw py_Error("ValueError", std::to_string(count) + " " + what + " labels are given twice:" + text
                                   + (count > 5 ? ", ..." : ""));
}

py_Block py_MakeBlock(const std::string& type, nb::handle connectivity, nb::handle labels,
                      const std::string& category, const bme_ElemCtrlParams& controls, bool keepUnknown,
                      std::size_t numNodes, const std::string& place) {
  const shp_Shape* const shape = thr_ThreadSingleton<shp_ShapeDictionary>::Instance().GetShape(type);
  if (!shape && !keepUnknown)
    throw py_Error("UnknownTypeError", place + ": unknown element type" + py_NearTypes(type));
  const nb::object array = py_AsArray(connectivity, place.c_str());
  const std::vector<std::size_t> extents = py_ShapeOf(array);
  const bool isEmpty = extents.size() == 1 && extents[0] == 0;
  if (extents.size() != 2 && !isEmpty)
    throw py_Error("ValueError", place + ": connectivity has shape " + py_ShapeText(array)
                                     + ", a row for each element is needed");
  const std::size_t given = isEmpty ? 0 : extents[1];
  const std::size_t width = shape ? static_cast<std::size_t>(shape->NumNodes()) : given;
  if (!isEmpty && given != width)
    throw py_Error("ValueError", shape->Label() + " has " + std::to_string(width) + " nodes, rows have "
                                     + std::to_string(given) + ": " + place);
  py_Integers made = py_ToIntegers(
      array, place.c_str(), 0, static_cast<long long>(numNodes) - 1,
      [&](std::size_t at, const std::string& node) {
        const bool isKnown = numNodes <= static_cast<std::size_t>(std::numeric_limits<int>::max());
        throw py_Error("IndexError", place + ", element " + std::to_string(at / width) + ": node " + node
                                         + (isKnown ? " of " + std::to_string(numNodes) : " is no index"));
      });
  py_Block block{
      bme_ElementClass(shape ? shape->Label() : type,
                       width == 0 ? cls_xp2DArrayInt() : cls_xp2DArrayInt(width, std::move(made.values)))};
  if (!labels.is_none()) {
    cow_ArrayCOW<int> checked = py_Labels(labels, place.c_str());
    if (std::cmp_not_equal(checked.Size(), block.elements.NumElements()))
      throw py_Error("ValueError", place + ": " + std::to_string(checked.Size()) + " labels for "
                                       + std::to_string(block.elements.NumElements()) + " elements");
    block.elements.SetUserElementLabels(cls_xp1DArrayListInt(std::move(checked)));
  }
  block.elements.SetCategoryLabel(category);
  block.elements.SetElemControlParams(controls);
  return block;
}

void py_BindBlock(nb::module_& module) {
  nb::class_<bme_ElemCtrlParams> controls(
      module, "Controls", "Formulation controls of a block: 19 fields, enumerations as texts.");
  controls
      .def(
          "__init__",
          [](bme_ElemCtrlParams* self, const nb::kwargs& fields) {
            new (self) bme_ElemCtrlParams(WithFields({}, fields));
          },
          nb::arg("fields"), nb::sig("def __init__(self, **fields: str | float) -> None"))
      .def("as_dict", &AsDict, nb::sig("def as_dict(self) -> dict[str, str | float]"), "All fields by name.")
      .def(
          "__eq__", [](const bme_ElemCtrlParams& a, const bme_ElemCtrlParams& b) { return a == b; },
          nb::is_operator(), nb::sig("def __eq__(self, other: object, /) -> bool"))
      .def("__repr__", &ControlsText)
      .def("__getstate__", &AsDict, nb::sig("def __getstate__(self) -> dict[str, str | float]"))
      .def(
          "__setstate__",
          [](bme_ElemCtrlParams& self, const nb::dict& fields) {
            new (&self) bme_ElemCtrlParams(WithFields({}, fields));
          },
          nb::sig("def __setstate__(self, fields: dict[str, str | float]) -> None"));
  controls.attr("__hash__") = nb::none();
  for (const auto& [name, field] : kControls)
    controls.def_prop_ro(
        name, [get = field.get](const bme_ElemCtrlParams& self) { return get(self); },
        nb::sig((std::string("def ") + name + "(self) -> "
                 + (nb::isinstance<nb::str>(field.get({})) ? "str" : "float"))
                    .c_str()));

  nb::class_<py_Block> block(
      module, "Block", nb::is_weak_referenceable(),
      "Elements of one type: immutable.\n\n"
      "connectivity: (m, k) integers, node indices from 0. labels: (m,) int32 or None.\n"
      "UnknownTypeError, ValueError, IndexError, TypeError and OverflowError for bad input.\n\n"
      ">>> import coregeometry as cg\n"
      ">>> block = cg.Block(\"S4\", [[0, 1, 2, 3]], labels=[7], category=\"skin\", "
      "controls=cg.Controls(weight_factor=0.5))\n"
      ">>> block, block.labels, block.controls.weight_factor\n"
      "(<Block S4 ×1>, array([7], dtype=int32), 0.5)\n");
  block
      .def(
          "__init__",
          [](py_Block* self, const std::string& type, nb::handle connectivity, nb::handle labels,
             const std::string& category, nb::handle controls, const std::string& unknown) {
            const bool keeps = py_Choose<bool>("unknown_types", unknown, {{"refuse", false}, {"keep", true}});
            new (self) py_Block(py_MakeBlock(type, connectivity, labels, category, ControlsOf(controls),
                                             keeps, std::size_t{1} << 31, "block (" + type + ")"));
          },
          nb::arg("type"), nb::arg("connectivity"), nb::kw_only(), nb::arg("labels") = nb::none(),
          nb::arg("category") = "", nb::arg("controls") = nb::none(), nb::arg("unknown_types") = "refuse",
          nb::sig(
              "def __init__(self, type: str, connectivity: numpy.typing.ArrayLike, *, labels: "
              "numpy.typing.ArrayLike | None = None, category: str = '', controls: Controls | None = None, "
              "unknown_types: typing.Literal['refuse', 'keep'] = 'refuse') -> None"))
      .def_prop_ro("type", [](const py_Block& self) { return self.elements.ElemTypeLabel(); })
      .def_prop_ro(
          "shape",
          [](const py_Block& self) {
            return self.elements.IsSupported() ? nb::module_::import_("coregeometry._core")
                                                     .attr("Shape")(self.elements.ElemTypeLabel())
                                               : nb::none();
          },
          nb::sig("def shape(self) -> Shape | None"), "None for a type that is not known.")
      .def_prop_ro("connectivity", &ConnectivityOf, nb::rv_policy::automatic,
                   nb::sig("def connectivity(self) -> numpy.typing.NDArray[numpy.int32]"),
                   "(m, k) int32 view: node indices.")
      .def_prop_ro("labels", &LabelsOf, nb::rv_policy::automatic,
                   nb::sig("def labels(self) -> numpy.typing.NDArray[numpy.int32] | None"),
                   "(m,) int32 view or None.")
      .def_prop_ro(
          "first_element", [](const py_Block& self) { return self.elements.FirstElementIndex(); },
          "Index in the mesh of the first element; 0 without a mesh.")
      .def_prop_ro("num_elements", [](const py_Block& self) { return self.elements.NumElements(); })
      .def_prop_ro("category", [](const py_Block& self) { return self.elements.CategoryLabel(); })
      .def_prop_ro(
          "controls", [](const py_Block& self) { return self.elements.GetElemControlParams(); },
          nb::rv_policy::move)
      .def_prop_ro(
          "is_supported", [](const py_Block& self) { return self.elements.IsSupported(); },
          "Whether the type has a shape.")
      .def("__len__", [](const py_Block& self) { return self.elements.NumElements(); })
      .def("__eq__", &AreEqual, nb::is_operator(), nb::sig("def __eq__(self, other: object, /) -> bool"))
      .def("__repr__",
           [](const py_Block& self) {
             return "<Block " + self.elements.ElemTypeLabel() + " \xc3\x97"
                    + std::to_string(self.elements.NumElements()) + ">";
           })
      .def(
          "__reduce__",
          [](nb::handle_t<py_Block> self) {
            const auto& made = nb::cast<const py_Block&>(self);
            const auto& state = made.elements;
            return nb::make_tuple(nb::module_::import_("coregeometry._restore").attr("block"),
                                  nb::make_tuple(state.ElemTypeLabel(), ConnectivityOf(made), LabelsOf(made),
                                                 state.CategoryLabel(),
                                                 AsDict(state.GetElemControlParams())));
          },
          nb::sig("def __reduce__(self) -> tuple[typing.Any, ...]"));
  block.attr("__hash__") = nb::none();
  module.def(
      "restore_block",
      [](const std::string& type, nb::handle connectivity, nb::handle labels, const std::string& category,
         const nb::dict& controls) {
        return py_MakeBlock(type, connectivity, labels, category, WithFields({}, controls), true,
                            std::size_t{1} << 31, "block (" + type + ")");
      },
      nb::arg("type"), nb::arg("connectivity"), nb::arg("labels").none(), nb::arg("category"),
      nb::arg("controls"),
      nb::sig("def restore_block(type: str, connectivity: numpy.typing.ArrayLike, labels: "
              "numpy.typing.ArrayLike | None, "
              "category: str, controls: dict[str, str | float]) -> Block"));
}
