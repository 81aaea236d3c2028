// Mesh files of other programs.
#include "py_Arrays.h"
#include "py_Connect.h"
#include "py_Lists.h"
#include "py_Tables.h"
#include "py_Work.h"

#include <CoreGeometry/fmt_Format.h>

namespace {
nb::tuple Read(const std::string& file, const std::string& format, const nb::dict& types,
               const std::string& unknown) {
  fmt_ReadOptions options;
  for (const auto& [name, label] : types)
    options.types.Override(nb::cast<std::string>(name) + "=" + nb::cast<std::string>(label));
  const bool keeps = py_Choose<bool>("unknown", unknown, {{"keep", true}, {"refuse", false}});
  fmt_Import import = py_Run(
      [&] { return fmt_ReadMesh(file, format.empty() ? fmt_Recognise(file) : fmt_Find(format), options); });
  for (const fmt_ImportedBlock& block : import.blocks)
    if (!keeps && !block.supported)
      throw py_Error("UnknownTypeError", file + ": " + std::to_string(block.numElements)
                                             + " elements of type " + block.type + ", which is not known");
  const py_Mesh mesh(*import.mesh, import.rounding.change);
  nb::dict sets;
  for (bme_NamedSet& set : import.sets) {
    const cow_String name = set.Root();
    sets[name.c_str()] = py_Set{mesh, std::move(set)};
  }
  return nb::make_tuple(mesh, sets, import.title, py_Losses(import.ledger), import.rounding.change);
}

const fmt_Format& FormatFor(const std::string& file, const std::string& name) {
  if (!name.empty()) return fmt_Find(name);
  for (const fmt_Format& format : fmt_Formats())
    if (format.write && uti_OutputFile::HasSuffix(file, format.suffixes)) return format;
  std::string names;
  for (const fmt_Format& format : fmt_Formats())
    if (format.write) names += (names.empty() ? "" : ", ") + std::string(format.name);
  throw py_Error("ValueError", file + ": no format has this suffix; formats are " + names);
}

nb::list Write(const std::string& file, const py_Mesh& mesh, const std::vector<nb::object>& items,
               const std::string& formatName, bool overwrite, const std::string& wedges) {
  const fmt_Format& format = FormatFor(file, formatName);
  fmt_WriteOptions options;
  options.wedges = py_Choose<exo_VtkWedges>("vtk_wedges", wedges,
                                            {{"plain", exo_VtkWedges::Plain},
                                             {"linear-mirrored", exo_VtkWedges::LinearMirrored},
                                             {"mirrored", exo_VtkWedges::Mirrored}});
  std::vector<bme_NamedSet> sets;
  for (const nb::object& item : items) {
    const auto& set = nb::cast<const py_Set&>(item);
    if (set.mesh.state != mesh.state)
      throw py_Error("ValueError", "the set " + set.set.name + " is of another mesh");
    sets.push_back(set.set);
  }
  return py_Losses(py_Run([&] {
    uti_OutputFile output(
        file, {.force = overwrite, .inputs = {}, .suffixes = {}, .isModel = false, .isStream = false});
    return fmt_WriteMesh(output, format, *mesh, sets, options);
  }));
}
} // namespace

void py_BindFiles(nb::module_& module) {
  module.def("read_mesh_file", &Read, nb::arg("file"), nb::arg("format"), nb::arg("types"),
             nb::arg("unknown"),
             nb::sig("def read_mesh_file(file: str, format: str, types: dict[str, str], unknown: str) -> "
                     "tuple[Mesh, dict[str, NamedSet], str, list[coregeometry._tables.Loss], float]"));
  module.def(
      "write_mesh_file", &Write, nb::arg("file"), nb::arg("mesh"), nb::arg("sets"), nb::arg("format"),
      nb::arg("overwrite"), nb::arg("vtk_wedges"),
      nb::sig(
          "def write_mesh_file(file: str, mesh: Mesh, sets: list[NamedSet], format: str, overwrite: bool, "
          "vtk_wedges: str) -> list[coregeometry._tables.Loss]"));
}
