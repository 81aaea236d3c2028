// What is computed of the values of a run: extremes, integrals, values at points.
#include "py_Results.h"

#include <CoreGeometry/odiC_Derive.h>
#include <CoreGeometry/odiC_Integral.h>
#include <CoreGeometry/odiC_Probe.h>
#include <CoreGeometry/odiC_Reduce.h>

namespace {
nb::object ExtremeOf(const odiC_Run& run, const std::optional<odiC_Extreme>& extreme) {
  if (!extreme) return nb::none();
  const odiC_PlaceLabel& place = extreme->place;
  nb::dict made = py_WhenOf(run, extreme->when);
  made["frame_value"] = extreme->when.value;
  made["value"] = extreme->value;
  made["label"] = place.label;
  made["point"] = place.point;
  made["section_point"] = place.sectionPoint;
  made["region"] = place.region;
  made["position"] = py_TextOf(place.position);
  return made;
}

nb::list Reduce(const py_OpenRun& self, const py_Field& field, bool extremesOnly) {
  const auto frames = py_UseRun(self, [&](const odiC_Run& run) {
    const py_Asked asked(run, field);
    asked.ExpectOneNumber();
    std::vector<odiC_Reduced> reduced;
    for (const odiC_When& when : asked.Frames()) {
      const odiC_SourcePointer source = asked.Open(when, res_USE_ENVELOPE);
      reduced.push_back(
          odiC_ReduceFrame(run, *source, when, extremesOnly ? odiC_Wanted::Extremes : odiC_Wanted::All));
    }
    return reduced;
  });
  nb::list list;
  for (const odiC_Reduced& one : frames) {
    nb::dict made = py_WhenOf(self.run, one.when);
    made["max"] = ExtremeOf(self.run, one.max);
    made["min"] = ExtremeOf(self.run, one.min);
    made["absmax"] = ExtremeOf(self.run, one.absMax);
    made["sum"] = one.sum;
    made["mean"] = one.mean;
    made["count"] = one.count;
    made["not_numbers"] = one.notNumbers;
    list.append(made);
  }
  return list;
}

nb::tuple Probe(const py_OpenRun& self, const py_Field& field, nb::handle argument, bool nearest) {
  const bool isOne = py_ShapeOf(py_AsArray(argument, "points")).size() == 1;
  const py_Reals points =
      isOne ? py_ToReals(argument, "points", {3}) : py_ToReals(argument, "points", {-1, 3});
  std::vector<int> elements;
  std::vector<double> values;
  std::vector<odiC_When> frames;
  std::size_t width = 1;
  py_UseRun(self, [&](const odiC_Run& run) {
    const py_Asked asked(run, field);
    const odiC_Values& of = asked.Values("values at points");
    frames = of.Frames();
    if (frames.empty()) return;
    const odiC_Probe probe(of, points.Values(), nearest);
    width = static_cast<std::size_t>(probe.NumComponents());
    for (const bme_NearestElement& place : probe.Places())
      elements.push_back(static_cast<int>(place.element));
    for (const odiC_When& when : frames) {
      const std::vector<double> read = probe.Read(when);
      values.insert(values.end(), read.begin(), read.end());
    }
  });
  nb::list whens;
  for (const odiC_When& when : frames) whens.append(py_WhenOf(self.run, when));
  const std::size_t count = elements.size();
  return nb::make_tuple(whens, py_Array(std::move(elements)),
                        py_Array(std::move(values), {frames.size(), count, width}));
}

nb::list Integrals(const py_OpenRun& self, const py_Field& field) {
  nb::list list;
  for (odiC_IntegralOf& one : py_UseRun(self, [&](const odiC_Run& run) {
         return odiC_Integrate(py_Asked(run, field).Values("an integral"));
       })) {
    nb::dict made = py_WhenOf(self.run, one.when);
    made["frame_value"] = one.when.value;
    made["dimensions"] = one.dims;
    made["values"] = py_Array(std::move(one.integrals));
    made["measure"] = one.measure;
    made["count"] = one.numElements;
    made["inverted"] = py_Array(std::move(one.inverted));
    made["not_numbers"] = one.notNumbers;
    list.append(made);
  }
  return list;
}

nb::list FaceIntegrals(const py_OpenRun& self, const py_Field& field, const std::string& surface, bool flux) {
  nb::list list;
  for (odiC_FaceIntegralOf& one : py_UseRun(self, [&](const odiC_Run& run) {
         return odiC_IntegrateFaces(py_Asked(run, field).Values("an integral"), surface, flux);
       })) {
    nb::dict made = py_WhenOf(self.run, one.when);
    made["frame_value"] = one.when.value;
    made["dimensions"] = 2;
    made["values"] = py_Array(std::move(one.integrals));
    made["measure"] = one.area;
    made["count"] = one.numFaces;
    made["inverted"] = py_Array(std::vector<int>());
    made["not_numbers"] = one.notNumbers;
    list.append(made);
  }
  return list;
}

nb::list Resultants(const py_OpenRun& self, const py_Field& field, nb::handle about) {
  const std::array<double, 3> point = py_ToPoint(about, "about");
  nb::list list;
  for (const odiC_ResultantOf& one : py_UseRun(self, [&](const odiC_Run& run) {
         return odiC_Resultant(py_Asked(run, field).Values("a resultant"), point);
       })) {
    nb::dict made = py_WhenOf(self.run, one.when);
    made["frame_value"] = one.when.value;
    made["force"] = py_Array(std::vector<double>(one.force.begin(), one.force.end()));
    made["moment"] = py_Array(std::vector<double>(one.moment.begin(), one.moment.end()));
    made["not_numbers"] = one.notNumbers;
    list.append(made);
  }
  return list;
}

nb::tuple Histogram(const py_OpenRun& self, const py_Field& field, int intervals) {
  const odiC_Histogram made = py_UseRun(self, [&](const odiC_Run& run) {
    return odiC_HistogramOf(py_Asked(run, field).Values("a histogram"), intervals);
  });
  return nb::make_tuple(made.low, made.high,
                        py_Array(std::vector<std::int64_t>(made.counts.begin(), made.counts.end())));
}

nb::tuple Derive(const py_OpenRun& self, const std::string& name, const std::string& formula,
                 const std::string& unit, bool isDouble, const py_Field& where) {
  const odiC_Derived derived = py_UseModel(*self.model, [&](cls_Database& model) {
    const odiC_Expression expression(self.run, formula, where.where,
                                     where.to == odiC_CarriedTo::Nodes ? std::optional(where.toNodes)
                                                                       : std::nullopt);
    return odiC_Derive(model, self.run, expression, {.name = name, .unit = unit, .isDouble = isDouble});
  });
  return nb::make_tuple(derived.numFrames, derived.numValues, derived.notNumbers);
}
} // namespace

void py_BindReductions(nb::module_& module) {
  auto run = nb::borrow<nb::class_<py_OpenRun>>(nb::type<py_OpenRun>());
  run.def("reduce", &Reduce, nb::arg("field"), nb::arg("extremes_only"),
          nb::sig("def reduce(self, field: FieldChoice, extremes_only: bool) -> list[dict[str, typing.Any]]"))
      .def("probe", &Probe, nb::arg("field"), nb::arg("points"), nb::arg("nearest"),
           nb::sig("def probe(self, field: FieldChoice, points: numpy.typing.ArrayLike, nearest: bool) -> "
                   "tuple[list[dict[str, typing.Any]], numpy.typing.NDArray[numpy.int32], "
                   "numpy.typing.NDArray[numpy.float64]]"))
      .def("integrals", &Integrals, nb::arg("field"),
           nb::sig("def integrals(self, field: FieldChoice) -> list[dict[str, typing.Any]]"))
      .def("face_integrals", &FaceIntegrals, nb::arg("field"), nb::arg("surface"), nb::arg("flux"),
           nb::sig("def face_integrals(self, field: FieldChoice, surface: str, flux: bool) -> "
                   "list[dict[str, typing.Any]]"))
      .def("resultants", &Resultants, nb::arg("field"), nb::arg("about"),
           nb::sig("def resultants(self, field: FieldChoice, about: numpy.typing.ArrayLike) -> "
                   "list[dict[str, typing.Any]]"))
      .def("histogram", &Histogram, nb::arg("field"), nb::arg("intervals"),
           nb::sig("def histogram(self, field: FieldChoice, intervals: int) -> tuple[float, float, "
                   "numpy.typing.NDArray[numpy.int64]]"))
      .def("derive", &Derive, nb::arg("name"), nb::arg("formula"), nb::arg("unit"), nb::arg("is_double"),
           nb::arg("where"),
           nb::sig(
               "def derive(self, name: str, formula: str, unit: str, is_double: bool, where: FieldChoice) -> "
               "tuple[int, int, int]"));
  module.def(
      "line_points",
      [](nb::handle a, nb::handle b, int count) {
        const std::size_t rows = static_cast<std::size_t>(std::max(count, 0));
        return py_Array(odiC_LinePoints(py_ToPoint(a, "a"), py_ToPoint(b, "b"), count), {rows, 3});
      },
      nb::arg("a"), nb::arg("b"), nb::arg("count"), nb::rv_policy::automatic,
      nb::sig("def line_points(a: numpy.typing.ArrayLike, b: numpy.typing.ArrayLike, count: int) -> "
              "numpy.typing.NDArray[numpy.float64]"));
}
