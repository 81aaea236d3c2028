#include "py_Field.h"

#include "py_Arrays.h"
#include "py_Mesh.h"

#include <CoreGeometry/odiC_Invariant.h>
#include <cmath>

namespace {
constexpr double kDegree = 3.14159265358979323846 / 180;

std::vector<unsigned> ToIndices(nb::handle argument, const char* what) {
  return py_ToIndices(argument, what, std::size_t{1} << 31).values;
}
std::vector<int> ToLabels(nb::handle argument, const char* what) {
  const nb::object flat = nb::module_::import_("numpy").attr("atleast_1d")(argument);
  const cow_ArrayCOW<int> labels = py_Labels(flat, what);
  return {labels.Const().begin(), labels.Const().end()};
}

gsl_BBox ToBox(nb::handle argument) {
  const py_Reals box = py_ToReals(argument, "box", {2, 3});
  const std::span<const double> x = box.Values();
  return {gsl_Point(x[0], x[1], x[2]), gsl_Point(x[3], x[4], x[5])};
}

odiC_Selection SectionOf(const odiC_Selection& where, const std::string& section) {
  for (const auto& [name, which] : {std::pair{"bottom", res_USE_BOTTOM},
                                    {"top", res_USE_TOP},
                                    {"both", res_USE_BOTTOM_AND_TOP},
                                    {"envelope", res_USE_ENVELOPE}})
    if (section == name) return where.SectionPoint(which);
  return where.SectionPoint(cow_String(section));
}

/// Each choice by the name of its argument in Python.
using Choose = odiC_Selection (*)(const odiC_Selection&, nb::handle);
constexpr std::pair<const char*, Choose> kChoices[] = {
    {"step", [](const odiC_Selection& w, nb::handle v) { return w.Step(nb::cast<std::string>(nb::str(v))); }},
    {"frame", [](const odiC_Selection& w, nb::handle v) { return w.Frame(nb::cast<int>(v)); }},
    {"frames",
     [](const odiC_Selection& w, nb::handle v) {
       return w.Frames(nb::cast<int>(v[0]), nb::cast<int>(v[1]), nb::len(v) > 2 ? nb::cast<int>(v[2]) : 1);
     }},
    {"value",
     [](const odiC_Selection& w, nb::handle v) {
       return w.Value(nb::cast<double>(v[0]),
                      py_Choose<odiC_AtValue>("interpolate", nb::cast<std::string>(v[1]),
                                              {{"nearest", odiC_AtValue::Nearest},
                                               {"exact", odiC_AtValue::Exact},
                                               {"linear", odiC_AtValue::Interpolated}}));
     }},
    {"mode", [](const odiC_Selection& w, nb::handle v) { return w.Mode(nb::cast<int>(v)); }},
    {"position",
     [](const odiC_Selection& w, nb::handle v) {
       return w.Position(py_EnumOf<res_OutputPositionEnm>("position", nb::cast<std::string>(v)));
     }},
    {"block", [](const odiC_Selection& w, nb::handle v) { return w.Class(nb::cast<int>(v)); }},
    {"category", [](const odiC_Selection& w, nb::handle v) { return w.Category(nb::cast<std::string>(v)); }},
    {"region", [](const odiC_Selection& w, nb::handle v) { return w.Region(nb::cast<std::string>(v)); }},
    {"nodes", [](const odiC_Selection& w, nb::handle v) { return w.Nodes(ToIndices(v, "node")); }},
    {"elements", [](const odiC_Selection& w, nb::handle v) { return w.Elements(ToIndices(v, "element")); }},
    {"node_labels",
     [](const odiC_Selection& w, nb::handle v) { return w.NodeLabels(ToLabels(v, "node labels")); }},
    {"element_labels",
     [](const odiC_Selection& w, nb::handle v) { return w.ElementLabels(ToLabels(v, "element labels")); }},
    {"box", [](const odiC_Selection& w, nb::handle v) { return w.Box(ToBox(v)); }},
    {"section", [](const odiC_Selection& w, nb::handle v) { return SectionOf(w, nb::cast<std::string>(v)); }},
    {"points", [](const odiC_Selection& w, nb::handle v) { return w.Points(ToLabels(v, "points")); }},
};

odiC_Selection Selected(const nb::dict& choices) {
  odiC_Selection where;
  for (const auto& [key, value] : choices) {
    const auto name = nb::cast<std::string>(key);
    const auto* found = std::ranges::find_if(kChoices, [&](const auto& one) { return name == one.first; });
    if (found == std::end(kChoices)) throw py_Error("TypeError", "there is no argument \"" + name + '"');
    where = found->second(where, value);
  }
  return where;
}

template<class Change> py_Field Changed(const py_Field& field, const char* what, const Change& change) {
  if (field.kind != py_Field::Kind::Variable)
    throw py_Error("TypeError", std::string(what)
                                    + " is chosen of a variable: choose it of the variables of \""
                                    + field.text.c_str() + "\" before");
  py_Field made = field;
  change(made);
  return made;
}

py_Field System(const py_Field& field, const std::string& name) {
  return Changed(field, "a system", [&](py_Field& made) {
    if (name == "global" || name == "local")
      made.where = made.where.System(name == "global" ? res_GLOBAL : res_LOCAL);
    else
      made.where = made.where.System(cow_String(name));
  });
}

py_Field Display(const py_Field& field, nb::handle display) {
  return Changed(field, "the display", [&](py_Field& made) {
    if (!nb::isinstance<nb::str>(display)) {
      made.where = made.where.Display(res_COMPLEX_VAL_AT_ANGLE, nb::cast<double>(display) * kDegree);
      return;
    }
    const auto word = nb::cast<std::string>(display);
    made.where =
        word == "peak"
            ? made.where.Peak()
            : made.where.Display(py_Choose<res_ComplexDisplayEnm>("display", word,
                                                                  {{"real", res_REAL},
                                                                   {"imaginary", res_IMAGINARY},
                                                                   {"magnitude", res_COMPLEX_MAGNITUDE},
                                                                   {"phase", res_COMPLEX_PHASE}}));
  });
}

py_Field AtNodes(const py_Field& field, nb::handle borders, const std::string& weights, double threshold,
                 const std::string& order, double normals) {
  odiC_ToNodes options;
  if (nb::isinstance<nb::str>(borders)) {
    options.borders = py_Choose<odiC_Borders>(
        "borders", nb::cast<std::string>(borders),
        {{"none", odiC_Borders::None}, {"class", odiC_Borders::Class}, {"category", odiC_Borders::Category}});
  } else {
    options.borders = odiC_Borders::Regions;
    for (const nb::handle region : borders) options.regions.emplace_back(nb::cast<std::string>(region));
  }
  options.weights = py_Choose<odiC_Weights>(
      "weights", weights, {{"equal", odiC_Weights::Equal}, {"measure", odiC_Weights::Measure}});
  options.order = py_Choose<odiC_Order>(
      "order", order,
      {{"before", odiC_Order::Before}, {"after", odiC_Order::After}, {"points", odiC_Order::AtPoints}});
  options.threshold = threshold;
  options.normals = normals;
  py_Field made = field;
  if (field.kind == py_Field::Kind::Arithmetic)
    for (py_Field& operand : made.operands)
      operand = AtNodes(operand, borders, weights, threshold, order, normals);
  made.to = odiC_CarriedTo::Nodes;
  made.toNodes = options;
  return made;
}

py_Field Arithmetic(const std::string& formula, const std::vector<py_Field>& operands) {
  py_Field made;
  made.kind = py_Field::Kind::Arithmetic;
  made.text = formula;
  made.operands = operands;
  return made;
}
} // namespace

py_Asked::py_Asked(const odiC_Run& run, const py_Field& field) : run_(&run) {
  if (field.kind == py_Field::Kind::Expression) {
    expression_.emplace(run, field.text, field.where,
                        field.to == odiC_CarriedTo::Nodes ? std::optional(field.toNodes) : std::nullopt);
    return;
  }
  if (field.kind == py_Field::Kind::Arithmetic) {
    formula_.emplace(field.text);
    for (const py_Field& operand : field.operands) operands_.emplace_back(run, operand);
    return;
  }
  odiC_Values values(run, field.text, field.where);
  if (!field.component.empty()) values = values.Component(field.component);
  if (!field.invariant.empty())
    values = values.Invariant(odiC_FindInvariant(values.Variable(), field.invariant));
  switch (field.to) {
  case odiC_CarriedTo::AsStored: break;
  case odiC_CarriedTo::ElementNodes: values = values.AtElementNodes(); break;
  case odiC_CarriedTo::Centroids: values = values.AtCentroids(); break;
  case odiC_CarriedTo::Faces: values = values.AtFaces(); break;
  case odiC_CarriedTo::Nodes: values = values.AtNodes(field.toNodes); break;
  }
  values_.emplace(std::move(values));
}

std::vector<odiC_When> py_Asked::Frames() const {
  if (values_) return values_->Frames();
  if (expression_) return expression_->Frames();
  // operands of one frame go with every frame of the others
  std::vector<odiC_When> frames = operands_.front().Frames();
  for (const py_Asked& operand : operands_) {
    const std::vector<odiC_When> own = operand.Frames();
    if (own.size() == 1) continue;
    if (frames.size() == 1)
      frames = own;
    else
      std::erase_if(frames, [&](const odiC_When& when) {
        return std::ranges::none_of(own, [&](const odiC_When& one) {
          return one.step == when.step && one.frame == when.frame && one.next == when.next
                 && one.share == when.share;
        });
      });
  }
  return frames;
}

std::vector<cow_String> py_Asked::Components() const {
  if (values_) return values_->Components();
  if (expression_) return {cow_String()};
  std::vector<cow_String> widest;
  for (const py_Asked& operand : operands_)
    if (std::vector<cow_String> own = operand.Components(); own.size() > widest.size())
      widest = std::move(own);
  return widest;
}

odiC_SourcePointer py_Asked::Open(const odiC_When& when, std::optional<res_SectionResultsEnm> section) const {
  if (values_) return values_->Open(when, section);
  if (expression_) return expression_->Open(when);
  const std::size_t width = Components().size();
  std::vector<odiC_SourcePointer> sources;
  std::vector<std::size_t> widths;
  for (const py_Asked& operand : operands_) {
    const std::vector<odiC_When> own = operand.Frames();
    sources.push_back(operand.Open(own.size() == 1 ? own.front() : when, section));
    widths.push_back(static_cast<std::size_t>(sources.back()->NumComponents()));
    if (widths.back() != width && widths.back() != 1)
      throw py_Error("ValueError", "values of " + std::to_string(widths.back()) + " and of "
                                       + std::to_string(width) + " components cannot be computed together");
  }
  // names of the formula are a0, a1 ... in any order
  std::vector<std::size_t> operandOf;
  for (const odiC_Formula::Name& name : formula_->Names())
    operandOf.push_back(std::stoul(std::string(name.name).substr(1)));
  return odiC_Combined(std::move(sources), static_cast<int>(width),
                       [formula = *formula_, widths, width, operandOf](int, std::span<const double> all,
                                                                       std::span<double> made) {
                         const std::size_t count = made.size() / width;
                         std::vector<std::size_t> first(1, 0);
                         for (const std::size_t one : widths) first.push_back(first.back() + one * count);
                         std::vector<double> own(operandOf.size() * count), result(count);
                         for (std::size_t c = 0; c < width; ++c) {
                           std::vector<std::span<const double>> names;
                           for (std::size_t i = 0; i < operandOf.size(); ++i) {
                             const std::size_t operand = operandOf[i], step = widths[operand];
                             const std::span<double> numbers = std::span(own).subspan(i * count, count);
                             for (std::size_t k = 0; k < count; ++k)
                               numbers[k] = all[first[operand] + k * step + (step == 1 ? 0 : c)];
                             names.push_back(numbers);
                           }
                           formula.Apply(names, result);
                           for (std::size_t k = 0; k < count; ++k) made[k * width + c] = result[k];
                         }
                       });
}

const odiC_Values& py_Asked::Values(const char* what) const {
  if (!values_)
    throw py_Error("TypeError",
                   std::string(what) + ": only of a variable; store what a formula makes by `derive` first");
  return *values_;
}

bool py_Asked::IsStored() const {
  if (!values_ || values_->CarriedTo() != odiC_CarriedTo::AsStored) return false;
  const odiC_What& what = values_->Where().What();
  return !what.invariant && !what.system && !what.display && !what.isPeak && !values_->Variable().IsComplex();
}

void py_Asked::ExpectOneNumber() const {
  if (values_) return values_->ExpectOneNumber();
  if (const std::size_t width = Components().size(); width > 1)
    throw py_Error("DataError",
                   "values of " + std::to_string(width) + " components; choose one of each operand");
}

void py_BindField(nb::module_& module) {
  nb::class_<py_Field>(module, "FieldChoice")
      .def(
          "__init__",
          [](py_Field* self, const std::string& text, bool isFormula, const nb::dict& choices) {
            py_Field made;
            made.kind = isFormula ? py_Field::Kind::Expression : py_Field::Kind::Variable;
            made.text = text;
            made.where = Selected(choices);
            new (self) py_Field(std::move(made));
          },
          nb::arg("text"), nb::arg("is_formula"), nb::arg("choices"),
          nb::sig("def __init__(self, text: str, is_formula: bool, choices: dict[str, typing.Any]) -> None"))
      .def(
          "component",
          [](const py_Field& self, const std::string& name) {
            return Changed(self, "a component", [&](py_Field& made) { made.component = name; });
          },
          nb::arg("name"))
      .def(
          "invariant",
          [](const py_Field& self, const std::string& name) {
            return Changed(self, "an invariant", [&](py_Field& made) { made.invariant = name; });
          },
          nb::arg("name"))
      .def("system", &System, nb::arg("name"))
      .def("display", &Display, nb::arg("display"),
           nb::sig("def display(self, display: str | float) -> FieldChoice"))
      .def("at_nodes", &AtNodes, nb::arg("borders"), nb::arg("weights"), nb::arg("threshold"),
           nb::arg("order"), nb::arg("normals"),
           nb::sig("def at_nodes(self, borders: str | typing.Sequence[str], weights: str, threshold: float, "
                   "order: str, "
                   "normals: float) -> FieldChoice"))
      .def(
          "carried",
          [](const py_Field& self, const std::string& to) {
            return Changed(self, "a place", [&](py_Field& made) {
              made.to = py_Choose<odiC_CarriedTo>("to", to,
                                                  {{"element_nodes", odiC_CarriedTo::ElementNodes},
                                                   {"centroids", odiC_CarriedTo::Centroids},
                                                   {"faces", odiC_CarriedTo::Faces}});
            });
          },
          nb::arg("to"));
  module.def("arithmetic", &Arithmetic, nb::arg("formula"), nb::arg("operands"));
}
