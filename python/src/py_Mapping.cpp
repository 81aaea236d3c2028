// Values of a run on another mesh.
#include "py_Lists.h"
#include "py_Results.h"

#include <CoreGeometry/odiC_Map.h>

namespace {
const bme_FEMFaceList* FacesOf(nb::handle argument) {
  return argument.is_none() ? nullptr : &nb::cast<const py_FaceList&>(argument).list;
}

odiC_MapOptions OptionsOf(const std::string& at, double distance, nb::handle donorFaces, nb::handle faces,
                          const std::string& sides) {
  return {.position = py_Choose<res_OutputPositionEnm>(
              "at", at,
              {{"nodes", res_NODAL}, {"points", res_INTEGRATION_POINT}, {"elements", res_WHOLE_ELEMENT}}),
          .distance = distance,
          .donorFaces = FacesOf(donorFaces),
          .targetFaces = FacesOf(faces),
          .sides = py_Choose<odiC_Sides>(
              "sides", sides,
              {{"any", odiC_Sides::Any}, {"same", odiC_Sides::Same}, {"opposite", odiC_Sides::Opposite}})};
}

/// Rows of a layout as rows of all entities of a block of nodes or of classes in mesh order, the others not a number.
std::vector<double> Spread(const odiC_Layout& full, const odiC_Layout& layout, std::span<const double> values,
                           std::size_t width) {
  std::vector<double> all(static_cast<std::size_t>(full.numRows) * width,
                          std::numeric_limits<double>::quiet_NaN());
  for (const odiC_LayoutBlock& block : layout.blocks)
    for (const odiC_LayoutBlock& whole : full.blocks) {
      if (whole.classIndex != block.classIndex) continue;
      const auto each = static_cast<std::size_t>(block.valuesPerEntity) * width;
      for (int at = 0; at < block.numEntities; ++at)
        std::copy_n(values.begin()
                        + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(block.firstRow) * width
                                                      + static_cast<std::size_t>(at) * each),
                    each,
                    all.begin()
                        + static_cast<std::ptrdiff_t>(static_cast<std::size_t>(whole.firstRow) * width
                                                      + static_cast<std::size_t>(block.Entity(at)) * each));
    }
  return all;
}

nb::tuple MapTo(const py_OpenRun& self, const py_Field& field, const py_Mesh& target, const std::string& at,
                double distance, nb::handle donorFaces, nb::handle faces, const std::string& sides) {
  const odiC_MapOptions options = OptionsOf(at, distance, donorFaces, faces, sides);
  std::vector<odiC_When> frames;
  std::vector<double> values;
  std::vector<int> unmapped;
  double largest = 0;
  std::size_t width = 1, rows = 0;
  py_UseRun(self, [&](const odiC_Run& run) {
    const py_Asked asked(run, field);
    const odiC_Values& of = asked.Values("values on another mesh");
    frames = of.Frames();
    const odiC_Map map(of, *target, options);
    const odiC_Layout full = odiC_FullLayout(*target, options.position);
    width = static_cast<std::size_t>(map.NumComponents());
    rows = static_cast<std::size_t>(full.numRows);
    unmapped = map.Unmapped();
    largest = map.LargestDistance();
    for (const odiC_When& when : frames) {
      const std::vector<double> all = Spread(full, map.Layout(), map.Read(when), width);
      values.insert(values.end(), all.begin(), all.end());
    }
  });
  nb::list whens;
  for (const odiC_When& when : frames) whens.append(py_WhenOf(self.run, when));
  return nb::make_tuple(whens, py_Array(std::move(values), {frames.size(), rows, width}),
                        py_Array(std::move(unmapped)), largest);
}

nb::list Transfer(const py_OpenRun& self, const py_Field& field, const py_Mesh& target, nb::handle donorFaces,
                  nb::handle faces, double distance, const std::string& sides) {
  const odiC_MapOptions options = OptionsOf("nodes", distance, donorFaces, faces, sides);
  std::vector<odiC_Loads> all;
  std::vector<std::vector<double>> forces;
  py_UseRun(self, [&](const odiC_Run& run) {
    const py_Asked asked(run, field);
    const odiC_Values& of = asked.Values("loads on another mesh");
    const odiC_Layout full = odiC_FullLayout(*target, res_NODAL);
    for (const odiC_When& when : of.Frames()) {
      all.push_back(odiC_TransferLoads(of, when, *target, options));
      std::vector<double> own = Spread(full, all.back().layout, all.back().forces, 3);
      for (double& value : own)
        if (std::isnan(value)) value = 0; // nodes off the surface
      forces.push_back(std::move(own));
    }
  });
  nb::list list;
  for (std::size_t i = 0; i < all.size(); ++i) {
    nb::dict made = py_WhenOf(self.run, all[i].when);
    const std::size_t count = forces[i].size() / 3;
    made["forces"] = py_Array(std::move(forces[i]), {count, 3});
    for (const auto& [name, v] : {std::pair{"force_before", all[i].forceBefore},
                                  {"force_after", all[i].forceAfter},
                                  {"moment_before", all[i].momentBefore},
                                  {"moment_after", all[i].momentAfter}})
      made[name] = py_Array(std::vector<double>(v.begin(), v.end()));
    made["area_missing"] = all[i].areaMissing;
    made["unmapped"] = py_Array(std::move(all[i].unmapped));
    made["largest_distance"] = all[i].largestDistance;
    list.append(made);
  }
  return list;
}
} // namespace

void py_BindMapping(nb::module_&) {
  auto run = nb::borrow<nb::class_<py_OpenRun>>(nb::type<py_OpenRun>());
  run.def(
         "map_to", &MapTo, nb::arg("field"), nb::arg("target"), nb::arg("at"), nb::arg("distance"),
         nb::arg("donor_faces").none(), nb::arg("faces").none(), nb::arg("sides"),
         nb::sig("def map_to(self, field: FieldChoice, target: Mesh, at: str, distance: float, donor_faces: "
                 "FaceList | None, faces: FaceList | None, sides: str) -> tuple[list[dict[str, typing.Any]], "
                 "numpy.typing.NDArray[numpy.float64], numpy.typing.NDArray[numpy.int32], float]"))
      .def("transfer", &Transfer, nb::arg("field"), nb::arg("target"), nb::arg("donor_faces"),
           nb::arg("faces"), nb::arg("distance"), nb::arg("sides"),
           nb::sig(
               "def transfer(self, field: FieldChoice, target: Mesh, donor_faces: FaceList, faces: FaceList, "
               "distance: float, sides: str) -> list[dict[str, typing.Any]]"));
}
