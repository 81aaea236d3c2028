// Writing of runs, by a solver while it runs: a frame is checked as a whole and committed.
#include "py_Results.h"

#include <BasicUtils/cls_WritePass.h>
#include <CoreGeometry/odiC_RunWriter.h>
#include <CoreGeometry/shp_Shape.h>

namespace {
/// The library's writer; made again when a frame was refused, as it goes on with what is committed.
struct Writer {
  std::shared_ptr<py_Database> model;
  cow_String root;
  py_Mesh mesh;
  std::unique_ptr<odiC_RunWriter> writer;

  odiC_RunWriter& Get() {
    if (!writer) writer = std::make_unique<odiC_RunWriter>(model->database, root, *mesh);
    return *writer;
  }
};

/// With the model for this thread alone; what was not committed is forgotten after an error.
template<class Call> auto Use(Writer& self, Call call) {
  return py_UseModel(*self.model, [&](cls_Database&) {
    try {
      return call(self.Get());
    } catch (...) {
      self.writer.reset();
      throw;
    }
  });
}

int AddVariable(Writer& self, const std::string& name, const std::string& type, const std::string& unit,
                const std::string& description, const std::vector<std::string>& components,
                const std::string& system, const std::string& complexPair) {
  odiC_Variable made(name, py_EnumOf<res_DataTypeEnm>("type", type), unit);
  made.description = description;
  if (!components.empty()) made.componentNames.assign(components.begin(), components.end());
  if (!system.empty()) made.coordSystem = py_EnumOf<res_CoordSystemEnm>("system", system);
  made.pair = py_EnumOf<res_PairEnm>("complex", complexPair);
  return Use(self, [&](odiC_RunWriter& writer) {
    const int at = writer.AddVariable(made);
    writer.Commit();
    return at;
  });
}

int AddCategory(Writer& self, const std::string& name, const std::vector<std::string>& elementCategories,
                const std::vector<std::string>& sectionPoints, const std::vector<double>& offsets) {
  odiC_Category made;
  made.name = name;
  made.elementCategories.assign(elementCategories.begin(), elementCategories.end());
  made.sectionPoints.assign(sectionPoints.begin(), sectionPoints.end());
  made.offsets = offsets;
  return Use(self, [&](odiC_RunWriter& writer) {
    const int at = writer.AddCategory(made);
    writer.Commit();
    return at;
  });
}

int AddPointSet(Writer& self, const std::string& name, const std::string& type, nb::handle points) {
  const py_Reals iso = py_ToReals(points, "points", {-1, 3});
  odiC_PointSet made;
  made.name = name;
  made.elemTypeLabel = type;
  made.count = static_cast<int>(iso.Values().size() / 3);
  made.isoCoordinates.assign(iso.Values().begin(), iso.Values().end());
  return Use(self, [&](odiC_RunWriter& writer) {
    const int at = writer.AddPointSet(made);
    writer.Commit();
    return at;
  });
}

void BeginStep(Writer& self, const std::string& name, const std::string& kind, const std::string& domain,
               double startTime) {
  const auto kindOf = py_EnumOf<odiC_StepKindEnm>("kind", kind);
  const auto domainOf = py_EnumOf<odiC_DomainEnm>("domain", domain);
  Use(self, [&](odiC_RunWriter& writer) {
    writer.BeginStep(name, kindOf, domainOf, startTime);
    writer.Commit();
  });
}

/// Values of a variable at some places.
struct Put {
  std::string variable;
  res_OutputPositionEnm position = res_NODAL;
  int block = -1, category = -1, sectionPoint = -1, pointSet = -1, pointsEach = 0;
  std::optional<std::vector<unsigned>> entities; ///< node or mesh element indices, ascending
  std::size_t rows = 0, width = 1;
  cow_ArrayCOW<float> floats; ///< one of the three
  cow_ArrayCOW<double> doubles;
  cow_ArrayCOW<int> integers;
};

template<class T> cow_ArrayCOW<T> CopyOf(nb::handle flat) {
  const auto array = nb::cast<nb::ndarray<const T, nb::c_contig, nb::device::cpu>>(flat);
  cow_ArrayCOW<T> made;
  made.Append(std::span<const T>(array.data(), array.size()));
  return made;
}

std::size_t WidthOf(Writer& self, const std::string& variable) {
  return Use(self, [&](odiC_RunWriter& writer) {
    const int at = writer.Header().FindVariable(variable);
    std::vector<cow_String> names;
    for (const odiC_Variable& one : writer.Header().variables) names.push_back(one.name);
    if (at < 0)
      throw py_Error("KeyError",
                     "there is no variable \"" + variable + '"' + atr_Alternatives(variable, names));
    return static_cast<std::size_t>(writer.Header().variables[static_cast<std::size_t>(at)].NumComponents());
  });
}

Put ToPut(Writer& self, nb::handle args) {
  Put put;
  put.variable = nb::cast<std::string>(args["variable"]);
  put.position = py_EnumOf<res_OutputPositionEnm>("position", nb::cast<std::string>(args["position"]));
  put.block = nb::cast<int>(args["block"]);
  put.category = nb::cast<int>(args["category"]);
  put.sectionPoint = nb::cast<int>(args["section_point"]);
  put.pointSet = nb::cast<int>(args["point_set"]);
  put.pointsEach = nb::cast<int>(args["points_each"]);
  if (const nb::object entities = args["entities"]; !entities.is_none())
    put.entities = py_ToIndices(nb::module_::import_("numpy").attr("atleast_1d")(entities), "entities",
                                std::size_t{1} << 31)
                       .values;
  const nb::object values = py_AsArray(args["values"], "values");
  const std::vector<std::size_t> shape = py_ShapeOf(values);
  put.width = WidthOf(self, put.variable);
  std::size_t size = 1;
  for (const std::size_t extent : shape) size *= extent;
  // one number a row may come without a last dimension
  const bool isFlat = put.width == 1 && (shape.empty() || shape.back() != 1);
  if (!isFlat && (shape.empty() || shape.back() != put.width))
    throw py_Error("ValueError", put.variable + ": values of shape " + py_ShapeText(values)
                                     + " are not rows of " + std::to_string(put.width) + " components");
  put.rows = size / put.width;
  const auto kind = nb::cast<std::string>(values.attr("dtype").attr("kind"));
  const nb::object numpy = nb::module_::import_("numpy");
  const auto as = [&](const char* dtype) { return numpy.attr("ascontiguousarray")(values, dtype); };
  if (kind == "c")
    throw py_Error("TypeError", put.variable + ": give complex values as two arrays, real then imaginary");
  if (kind != "f")
    put.integers =
        py_ToIntegers(kind == "b" ? as("int32") : values, "values", -2147483647LL - 1, 2147483647,
                      [&](std::size_t, const std::string& value) {
                        throw py_Error("OverflowError", put.variable + ": " + value + " is outside int32");
                      })
            .values;
  else if (nb::cast<int>(values.attr("dtype").attr("itemsize")) > 4)
    put.doubles = CopyOf<double>(as("float64"));
  else
    put.floats = CopyOf<float>(as("float32"));
  return put;
}

/// The places that a put means, in mesh order.
odiC_Layout LayoutOf(const Put& put, const bme_Mesh& mesh) {
  const odiC_Layout full = odiC_FullLayout(mesh, put.position);
  odiC_Layout made;
  for (odiC_LayoutBlock block : full.blocks) {
    if (put.block >= 0 && block.classIndex != put.block) continue;
    if (put.entities) {
      const bool isOfElements = block.classIndex >= 0;
      const int first =
          isOfElements
              ? mesh.ElementData().GetClass(static_cast<unsigned>(block.classIndex)).FirstElementIndex()
              : 0;
      const int count =
          isOfElements ? mesh.ElementData().GetClass(static_cast<unsigned>(block.classIndex)).NumElements()
                       : block.numEntities;
      std::vector<int> own;
      for (const unsigned entity : *put.entities)
        if (static_cast<int>(entity) >= first && static_cast<int>(entity) < first + count)
          own.push_back(static_cast<int>(entity) - first);
      if (own.empty()) continue;
      if (std::cmp_less(own.size(), block.numEntities)) {
        block.entities = {};
        block.entities.Append(std::span<const int>(own));
        block.numEntities = static_cast<int>(own.size());
      }
    }
    block.category = put.category;
    block.sectionPoint = put.sectionPoint;
    if (put.pointSet >= 0) {
      block.pointSet = put.pointSet;
      block.valuesPerEntity = put.pointsEach;
    }
    made.Add(std::move(block));
  }
  made.completeness = made.numRows == full.numRows ? res_FULL_FIELD
                      : made.numRows == 0          ? res_EMPTY_FIELD
                                                   : res_PARTIAL_FIELD;
  return made;
}

void Write(odiC_RunWriter& writer, const Put& put, const bme_Mesh& mesh) {
  const int variable = writer.Header().FindVariable(put.variable);
  const odiC_Layout layout = LayoutOf(put, mesh);
  const std::size_t factor =
      writer.Header().variables[static_cast<std::size_t>(variable)].IsComplex() ? 2 : 1;
  if (put.rows != factor * static_cast<std::size_t>(layout.numRows))
    throw py_Error("ValueError", put.variable + ": " + std::to_string(put.rows) + " rows of values for "
                                     + std::to_string(factor * static_cast<std::size_t>(layout.numRows))
                                     + " places");
  const int at = writer.AddLayout(layout);
  const bool isIntegral = writer.Header().variables[static_cast<std::size_t>(variable)].IsIntegral();
  if (!put.integers.IsEmpty() && !isIntegral) { // whole numbers of a real variable
    const std::span<const int> integers = put.integers.Const();
    const std::vector<double> reals(integers.begin(), integers.end());
    cow_ArrayCOW<double> array;
    array.Append(std::span<const double>(reals));
    writer.PutField(variable, at, array);
  } else if (isIntegral) {
    writer.PutField(variable, at, put.integers);
  } else if (!put.doubles.IsEmpty()) {
    writer.PutField(variable, at, put.doubles);
  } else {
    writer.PutField(variable, at, put.floats);
  }
}

void AddFrame(Writer& self, double value, int increment, int mode, const std::string& description,
              const nb::list& puts) {
  std::vector<Put> all;
  for (const nb::handle one : puts) all.push_back(ToPut(self, one));
  Use(self, [&](odiC_RunWriter& writer) {
    writer.BeginFrame({.value = value, .increment = increment, .mode = mode, .description = description});
    for (const Put& put : all) Write(writer, put, *self.mesh);
    writer.Commit();
  });
}

void AddHistory(Writer& self, const std::string& name, const std::string& variable, int label,
                const std::string& position, const std::string& region, nb::handle domainValues,
                nb::handle values) {
  odiC_History made;
  made.name = name;
  made.position = py_EnumOf<res_OutputPositionEnm>("position", position);
  made.label = label;
  made.region = region;
  const py_Reals domain = py_ToReals(domainValues, "domain values", {-1}),
                 numbers = py_ToReals(values, "values", {-1});
  if (domain.Values().size() != numbers.Values().size())
    throw py_Error("ValueError", name + ": " + std::to_string(domain.Values().size()) + " domain values for "
                                     + std::to_string(numbers.Values().size()) + " values");
  made.domainValues.assign(domain.Values().begin(), domain.Values().end());
  made.values.assign(numbers.Values().begin(), numbers.Values().end());
  Use(self, [&](odiC_RunWriter& writer) {
    if (!variable.empty()) made.variable = writer.Header().FindVariable(variable);
    writer.AddHistory(std::move(made));
    writer.Commit();
  });
}
} // namespace

void py_BindRunWriter(nb::module_& module) {
  nb::class_<Writer>(module, "RunWriter")
      .def("add_variable", &AddVariable, nb::arg("name"), nb::arg("type"), nb::arg("unit"),
           nb::arg("description"), nb::arg("components"), nb::arg("system"), nb::arg("complex"))
      .def("add_category", &AddCategory, nb::arg("name"), nb::arg("element_categories"),
           nb::arg("section_points"), nb::arg("offsets"))
      .def("add_point_set", &AddPointSet, nb::arg("name"), nb::arg("type"), nb::arg("points"),
           nb::sig("def add_point_set(self, name: str, type: str, points: numpy.typing.ArrayLike) -> int"))
      .def("begin_step", &BeginStep, nb::arg("name"), nb::arg("kind"), nb::arg("domain"),
           nb::arg("start_time"))
      .def("add_frame", &AddFrame, nb::arg("value"), nb::arg("increment"), nb::arg("mode"),
           nb::arg("description"), nb::arg("puts"),
           nb::sig("def add_frame(self, value: float, increment: int, mode: int, description: str, puts: "
                   "list[dict[str, typing.Any]]) -> None"))
      .def("add_history", &AddHistory, nb::arg("name"), nb::arg("variable"), nb::arg("label"),
           nb::arg("position"), nb::arg("region"), nb::arg("domain_values"), nb::arg("values"),
           nb::sig("def add_history(self, name: str, variable: str, label: int, position: str, region: str, "
                   "domain_values: numpy.typing.ArrayLike, values: numpy.typing.ArrayLike) -> None"));
  module.def(
      "write_run",
      [](const std::shared_ptr<py_Database>& model, const std::string& root, const py_Mesh& mesh,
         const std::string& description, const std::string& program, const std::string& units) {
        auto made = std::make_unique<Writer>(Writer{model, root, mesh, nullptr});
        Use(*made, [&](odiC_RunWriter& writer) {
          writer.HeaderToDescribe().description = description;
          writer.HeaderToDescribe().program = program;
          writer.HeaderToDescribe().units = units;
          writer.Commit();
        });
        return made;
      },
      nb::arg("model"), nb::arg("root"), nb::arg("mesh"), nb::arg("description"), nb::arg("program"),
      nb::arg("units"));
}
