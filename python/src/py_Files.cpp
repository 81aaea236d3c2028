// Mesh files of other programs.
#include "py_Arrays.h"
#include "py_Connect.h"
#include "py_Lists.h"
#include "py_Results.h"
#include "py_Tables.h"
#include "py_Work.h"

#include <CoreGeometry/exo_NodeOrder.h>
#include <CoreGeometry/fmt_Compare.h>
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
               const std::string& formatName, bool overwrite, const std::string& wedges,
               const py_OpenRun* run) {
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
  const auto write = [&] {
    uti_OutputFile output(
        file, {.force = overwrite, .inputs = {}, .suffixes = {}, .isModel = false, .isStream = false});
    return fmt_WriteMesh(output, format, *mesh, sets, options);
  };
  if (!run) return py_Losses(py_Run(write));
  return py_Losses(py_UseRun(*run, [&](const odiC_Run& results) {
    if (!odiC_IsOf(results.Header(), *mesh))
      throw py_Error("ValueError", "the run " + results.Root() + " is of another mesh");
    options.run = &results;
    return write();
  }));
}

/// Results of a file that was read into a stored mesh, as a run; the number of its frames.
nb::tuple ImportResults(py_Database& model, const std::string& meshRoot, const std::string& run,
                        const std::string& file, const std::string& formatName) {
  fmt_ResultsSummary summary = py_UseModel(model, [&](cls_Database& database) {
    const fmt_Format& format = formatName.empty() ? fmt_Recognise(file) : fmt_Find(formatName);
    if (!format.readResults) return fmt_ResultsSummary();
    fmt_Import import = fmt_ReadMesh(file, format);
    const cow_CountedHld<bme_Mesh> mesh = database.Get<bme_Mesh>(meshRoot);
    fmt_Renumber(import, static_cast<unsigned>(mesh->Id()));
    if (format.readResults(file, import, nullptr, {.isCount = true}).numFrames == 0)
      return fmt_ResultsSummary();
    odiC_RunWriter writer(database, odiC_Run::RootOf(meshRoot, run), *mesh);
    writer.HeaderToDescribe().description = import.title;
    return format.readResults(file, import, &writer, {});
  });
  return nb::make_tuple(summary.numFrames, py_Losses(summary.ledger));
}
/// The element type that cells of a VTK type become; pyramids, which are hexahedra here, have none of their own.
cow_String DefaultType(int vtkType, int numDims) {
  const auto cell = exo_VtkNodesOf(vtkType);
  if (!cell || cell->cell == exo_Cell::Pyramid) return {};
  const exo_ElementType found =
      exo_TypeMap().Find(cow_String(exo_CellName(cell->cell)), static_cast<int>(cell->nodes.size()), numDims);
  return found.supported ? found.label : cow_String();
}

std::string FormatOf(const std::string& file) {
  try {
    return std::string(py_Run([&] { return &fmt_Recognise(file); })->name);
  } catch (const nex_TextException&) {
    return {};
  }
}

std::vector<std::string> WrittenSuffixes() {
  std::vector<std::string> suffixes;
  for (const fmt_Format& format : fmt_Formats())
    if (format.write) suffixes.insert(suffixes.end(), format.suffixes.begin(), format.suffixes.end());
  return suffixes;
}

/// A function of a bridge, which is imported when it is first called.
template<class... Arguments>
nb::object Bridge(const char* module, const char* name, const Arguments&... arguments) {
  const std::string place = std::string("coregeometry.") + module;
  return nb::module_::import_(place.c_str()).attr(name)(arguments...);
}
} // namespace

void py_BindFiles(nb::module_& module) {
  module.def("read_mesh_file", &Read, nb::arg("file"), nb::arg("format"), nb::arg("types"),
             nb::arg("unknown"),
             nb::sig("def read_mesh_file(file: str, format: str, types: dict[str, str], unknown: str) -> "
                     "tuple[Mesh, dict[str, NamedSet], str, list[coregeometry._tables.Loss], float]"));
  module.def(
      "write_mesh_file", &Write, nb::arg("file"), nb::arg("mesh"), nb::arg("sets"), nb::arg("format"),
      nb::arg("overwrite"), nb::arg("vtk_wedges"), nb::arg("run").none(),
      nb::sig(
          "def write_mesh_file(file: str, mesh: Mesh, sets: list[NamedSet], format: str, overwrite: bool, "
          "vtk_wedges: str, run: Run | None) -> list[coregeometry._tables.Loss]"));
  module.def("vtk_default_type", &DefaultType, nb::arg("vtk_type"), nb::arg("dimension"));
  module.def("import_results", &ImportResults, nb::arg("model"), nb::arg("mesh_root"), nb::arg("run"),
             nb::arg("file"), nb::arg("format"),
             nb::sig("def import_results(model: Database, mesh_root: str, run: str, file: str, format: str) "
                     "-> tuple[int, "
                     "list[coregeometry._tables.Loss]]"));
  module.def(
      "compare_files",
      [](const std::string& first, const std::string& second, double tolerance) {
        const fmt_Comparison found = py_Run([&] { return fmt_CompareFiles(first, second, tolerance); });
        return nb::make_tuple(py_Differences(found.differences), py_Losses(found.notCompared));
      },
      nb::arg("first"), nb::arg("second"), nb::arg("tolerance"),
      nb::sig("def compare_files(first: str, second: str, tolerance: float) -> "
              "tuple[list[coregeometry._tables.Difference], list[coregeometry._tables.Loss]]"));
  module.def("format_of", &FormatOf, nb::arg("file"));
  module.def("written_suffixes", &WrittenSuffixes);
  auto mesh = nb::borrow<nb::class_<py_Mesh>>(nb::type<py_Mesh>());
  mesh.def(
          "to_pandas",
          [](const py_Mesh& self, const std::string& kind) {
            return Bridge("_columns", "to_pandas", self, kind);
          },
          nb::arg("kind"),
          nb::sig("def to_pandas(self, kind: typing.Literal['nodes', 'elements']) -> typing.Any"),
          "A pandas.DataFrame: label, index, x, y, z; or label, index, block, type, node_0 ... (-1 where "
          "there is none).")
      .def(
          "to_arrow",
          [](const py_Mesh& self, const std::string& kind) {
            return Bridge("_columns", "to_arrow", self, kind);
          },
          nb::arg("kind"),
          nb::sig("def to_arrow(self, kind: typing.Literal['nodes', 'elements']) -> typing.Any"),
          "A pyarrow.Table with the columns of `to_pandas`.")
      .def(
          "__str__", [](const py_Mesh& self) { return Bridge("_columns", "text_of", self); },
          nb::sig("def __str__(self) -> str"))
      .def(
          "_repr_html_", [](const py_Mesh& self) { return Bridge("_columns", "html_of", self); },
          nb::sig("def _repr_html_(self) -> str"));
  mesh.def(
          "to_meshio",
          [](const py_Mesh& self, nb::handle sets) {
            return Bridge("_bridges.meshio", "to_meshio", self, sets);
          },
          nb::kw_only(), nb::arg("sets") = nb::tuple(),
          nb::sig("def to_meshio(self, *, sets: typing.Sequence[NamedSet] = ()) -> typing.Any"),
          "A meshio.Mesh with labels and sets; exact types are in its info. LossWarning for what has no "
          "place.")
      .def(
          "to_vtk",
          [](const py_Mesh& self, nb::handle sets, const std::string& share, nb::handle fields) {
            return Bridge("_bridges.vtk", "to_vtk", self, sets, share, fields);
          },
          nb::kw_only(), nb::arg("sets") = nb::tuple(), nb::arg("share") = "cells",
          nb::arg("fields") = nb::tuple(),
          nb::sig("def to_vtk(self, *, sets: typing.Sequence[NamedSet] = (), share: "
                  "typing.Literal['cells', 'all', 'none'] = 'cells', fields: typing.Any = ()) -> typing.Any"),
          "A vtkUnstructuredGrid, as `to_pyvista`.")
      .def(
          "to_pyvista",
          [](const py_Mesh& self, nb::handle sets, const std::string& share, nb::handle fields) {
            return Bridge("_bridges.vtk", "to_pyvista", self, sets, share, fields);
          },
          nb::kw_only(), nb::arg("sets") = nb::tuple(), nb::arg("share") = "cells",
          nb::arg("fields") = nb::tuple(),
          nb::sig("def to_pyvista(self, *, sets: typing.Sequence[NamedSet] = (), share: "
                  "typing.Literal['cells', 'all', 'none'] = 'cells', fields: typing.Any = ()) -> typing.Any"),
          "A pyvista.UnstructuredGrid. \"cells\" hands the connectivity over and copies points, \"none\" "
          "copies both, "
          "\"all\" copies nothing: writing to the grid then writes to the mesh. Values of `fields`, a "
          "sequence or "
          "a\n"
          "dict by name, become data of points or cells; ValueError when an entity has several.");
}
