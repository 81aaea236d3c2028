#include <CoreGeometry/fmt_Format.h>

#include "msh_Gmsh.h"
#include "srf_Surface.h"

#include <CoreGeometry/exo_Export.h>
#include <CoreGeometry/exo_Import.h>
#include <CoreGeometry/exo_Results.h>
#include <CoreGeometry/fmt_Ranges.h>
#include <CoreGeometry/vtu_Read.h>
#include <CoreGeometry/vtu_Write.h>

#include "fmt_Precision.h"

#include <algorithm>
#include <fstream>

namespace {
/// NetCDF's classic forms, and the HDF5 that NetCDF-4 files are.
bool IsNetCdf(std::string_view start) {
  return (start.starts_with("CDF") && start.size() > 3 && (start[3] == 1 || start[3] == 2 || start[3] == 5))
         || start.starts_with("\x89HDF\r\n\x1a\n");
}

bool HasXml(std::string_view start, std::string_view type) {
  const std::size_t at = start.find("<VTKFile");
  const std::string_view tag = at == start.npos ? "" : start.substr(at, start.find('>', at) - at);
  return tag.find(type) != tag.npos && !tag.empty();
}
bool IsCollection(std::string_view start) { return HasXml(start, "Collection"); }
bool IsVtu(std::string_view start) { return HasXml(start, ""); } // its reader says what others are

bool IsLegacyVtk(std::string_view start) { return start.starts_with("# vtk DataFile"); }

fmt_Import ReadExodus(const cow_String& file, const fmt_ReadOptions& options) {
  return exo_ReadMesh(file, options);
}
fmt_Ledger WriteExodus(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                       const fmt_WriteOptions& options) {
  return exo_WriteMesh(output, mesh, sets, options.notes, options.run, options.atNodes);
}
fmt_Ledger WriteVtu(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                    const fmt_WriteOptions& options) {
  return vtu_WriteMesh(output, mesh, sets, options);
}

void ListNotes(const bme_MeshNotes& notes, fmt_Ledger& ledger) {
  long long attributes = 0, factors = 0, properties = 0;
  for (const bme_Annotation& one : notes.annotations.List()) {
    if (one.noted == bme_CLASS_NOTED)
      attributes += static_cast<long long>(one.values.NumColumns());
    else
      factors += static_cast<long long>(one.values.NumRows());
    properties += static_cast<long long>(one.propertyValues.Size());
  }
  const auto note = [&](const char* what, long long count) {
    if (count > 0) ledger.push_back({what, count, {}});
  };
  note("element attributes", attributes);
  note("distribution factors of sets", factors);
  note("properties of blocks and sets", properties);
  note("names of coordinates", notes.coordinateNames.List().Size());
  note("records of programs", notes.programs.List().Size() / 4);
  note("lines of information", notes.information.List().Size());
}
} // namespace

std::span<const fmt_Format> fmt_Formats() {
  static const std::vector<fmt_Format> formats = {
      {.name = "exodus",
       .title = "an Exodus II file",
       .suffixes = {".exo", ".e", ".g", ".ex2", ".exii"},
       .cannotHold = "control parameters, datums",
       .writesResults = true,
       .holdsNotes = true,
       .recognises = &IsNetCdf,
       .read = &ReadExodus,
       .openRanges = &exo_OpenRanges,
       .readResults = &exo_ReadResults,
       .write = &WriteExodus},
      {.name = "pvd",
       .title = "a PVD file",
       .suffixes = {".pvd"},
       .cannotHold = "element types and categories, surfaces, control parameters, datums",
       .writesResults = true,
       .hasEncodings = true,
       .recognises = &IsCollection,
       .read = &vtu_ReadCollection,
       .write = &vtu_WriteCollection},
      {.name = "vtu",
       .title = "a VTU file",
       .suffixes = {".vtu"},
       .cannotHold = "element types and categories, surfaces, control parameters, datums",
       .writesResults = true,
       .hasEncodings = true,
       .recognises = &IsVtu,
       .read = &vtu_ReadMesh,
       .write = &WriteVtu},
      {.name = "vtk",
       .title = "a legacy VTK file",
       .suffixes = {".vtk"},
       .recognises = &IsLegacyVtk,
       .read = &vtu_ReadLegacy},
      {.name = "gmsh",
       .title = "a Gmsh file",
       .suffixes = {".msh"},
       .cannotHold = "surfaces, element types and categories, control parameters, datums",
       .hasEncodings = true,
       .recognises = &msh_Recognises,
       .read = &msh_ReadMesh,
       .write = &msh_WriteMesh},
      {.name = "gmsh22",
       .title = "a Gmsh file of version 2.2",
       .suffixes = {".msh", ".msh2"},
       .cannotHold = "surfaces, sets of elements beyond the first of each, element types and categories, "
                     "control parameters, datums",
       .hasEncodings = true,
       .read = &msh_ReadMesh,
       .write = &msh_WriteOldMesh},
      {.name = "stl",
       .title = "an STL file",
       .suffixes = {".stl"},
       .cannotHold = "anything but triangles of the outside or of one set",
       .hasEncodings = true,
       .isOfSurfaces = true,
       .recognises = &srf_RecognisesStl,
       .read = &srf_ReadStl,
       .write = &srf_WriteStl},
      {.name = "obj",
       .title = "an OBJ file",
       .suffixes = {".obj"},
       .cannotHold = "anything but the faces of the outside or of one set, by class",
       .isOfSurfaces = true,
       .write = &srf_WriteObj},
      {.name = "ply",
       .title = "a PLY file",
       .suffixes = {".ply"},
       .cannotHold = "anything but the faces of the outside or of one set",
       .hasEncodings = true,
       .isOfSurfaces = true,
       .write = &srf_WritePly},
      {.name = "glb",
       .title = "a binary glTF file",
       .suffixes = {".glb"},
       .cannotHold = "anything but the faces of the outside or of one set, by class",
       .isOfSurfaces = true,
       .write = &srf_WriteGlb},
  };
  return formats;
}

const fmt_Format& fmt_Find(std::string_view name) {
  cow_String names;
  for (const fmt_Format& format : fmt_Formats()) {
    if (format.name == name) return format;
    names += (names.empty() ? "" : ", ") + cow_String(format.name);
  }
  throw nex_TextException("there is no format \"" + cow_String(name) + "\"; there are " + names);
}

const fmt_Format& fmt_Recognise(const cow_String& file) {
  constexpr std::streamsize kStart = 4096;
  cow_String start(static_cast<std::size_t>(kStart), '\0');
  std::ifstream in(file, std::ios::binary);
  if (!in) throw nex_TextException(file + ": cannot be opened");
  in.read(start.data(), kStart);
  start.resize(static_cast<std::size_t>(in.gcount()));
  for (const fmt_Format& format : fmt_Formats())
    if (format.recognises && format.recognises(start)) return format;
  cow_String names;
  for (const fmt_Format& format : fmt_Formats()) {
    if (!format.read) continue;
    if (uti_OutputFile::HasSuffix(file, format.suffixes)) return format;
    names += (names.empty() ? "" : ", ") + cow_String(format.name);
  }
  throw nex_TextException(file + ": neither its content nor its name tells the format; known are " + names);
}

fmt_Import fmt_ReadMesh(const cow_String& file, const fmt_Format& format, const fmt_ReadOptions& options) {
  if (!format.read)
    throw nex_TextException(file + ": " + cow_String(format.title) + " is written here, and not read");
  fmt_Import import = format.read(file, options);
  fmt_CheckPrecision(import, [&](fmt_ExactNodes& exact) {
    fmt_ReadOptions again = options;
    again.exactNodes = &exact;
    format.read(file, again);
  });
  fmt_RefuseDamage(file, import.rounding, options);
  return import;
}

fmt_Import fmt_ReadMesh(const cow_String& file, const fmt_ReadOptions& options) {
  return fmt_ReadMesh(file, fmt_Recognise(file), options);
}

fmt_Ledger fmt_WriteMesh(uti_OutputFile& output, const fmt_Format& format, const bme_Mesh& mesh,
                         std::span<const bme_NamedSet> sets, const fmt_WriteOptions& options) {
  if (!format.write)
    throw nex_TextException(output.Name() + ": " + cow_String(format.title)
                            + " is read here, and not written");
  if (!options.surface.empty() && !format.isOfSurfaces)
    throw nex_TextException(output.Name() + ": " + cow_String(format.title)
                            + " holds the whole mesh, so there is no surface \"" + options.surface
                            + "\" to choose");
  if (options.encoding != fmt_Encoding::Default && !format.hasEncodings)
    throw nex_TextException(output.Name() + ": there is no choice of encodings for "
                            + cow_String(format.title));
  fmt_Ledger ledger = format.write(output, mesh, sets, options);
  if (options.notes && !format.holdsNotes) ListNotes(*options.notes, ledger);
  return ledger;
}
