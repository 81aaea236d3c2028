#include <CoreGeometry/fmt_Format.h>

#include "msh_Gmsh.h"
#include "srf_Surface.h"

#include <CoreGeometry/exo_Export.h>
#include <CoreGeometry/exo_Import.h>
#include <CoreGeometry/exo_Results.h>
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

fmt_Import ReadExodus(const cow_String& file, const fmt_ReadOptions& options) {
  return exo_ReadMesh(file, options);
}
fmt_Ledger WriteExodus(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                       const fmt_WriteOptions&) {
  return exo_WriteMesh(output, mesh, sets);
}
fmt_Ledger WriteVtu(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                    const fmt_WriteOptions& options) {
  return vtu_WriteMesh(output, mesh, sets, options.wedges);
}
} // namespace

std::span<const fmt_Format> fmt_Formats() {
  static const std::vector<fmt_Format> formats = {
      {"exodus",
       "an Exodus II file",
       {".exo", ".e", ".g", ".ex2", ".exii"},
       "control parameters, datums",
       false,
       &IsNetCdf,
       &ReadExodus,
       &exo_ReadResults,
       &WriteExodus},
      {"vtu",
       "a VTU file",
       {".vtu"},
       "element types and categories, surfaces, control parameters, datums",
       false,
       nullptr,
       nullptr,
       nullptr,
       &WriteVtu},
      {"gmsh",
       "a Gmsh file",
       {".msh"},
       "surfaces, element types and categories, placement, control parameters, datums",
       true,
       &msh_Recognises,
       &msh_ReadMesh,
       nullptr,
       &msh_WriteMesh},
      {"gmsh22",
       "a Gmsh file of version 2.2",
       {".msh", ".msh2"},
       "surfaces, sets of elements beyond the first of each, element types and categories, placement, "
       "control "
       "parameters, datums",
       true,
       nullptr,
       &msh_ReadMesh,
       nullptr,
       &msh_WriteOldMesh},
      {"stl",
       "an STL file",
       {".stl"},
       "anything but triangles of the outside or of one set",
       true,
       &srf_RecognisesStl,
       &srf_ReadStl,
       nullptr,
       &srf_WriteStl,
       true},
      {"obj",
       "an OBJ file",
       {".obj"},
       "anything but the faces of the outside or of one set, by class",
       false,
       nullptr,
       nullptr,
       nullptr,
       &srf_WriteObj,
       true},
      {"ply",
       "a PLY file",
       {".ply"},
       "anything but the faces of the outside or of one set",
       true,
       nullptr,
       nullptr,
       nullptr,
       &srf_WritePly,
       true},
      {"glb",
       "a binary glTF file",
       {".glb"},
       "anything but the faces of the outside or of one set, by class",
       false,
       nullptr,
       nullptr,
       nullptr,
       &srf_WriteGlb,
       true},
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
  const std::vector<int>& damaged = import.rounding.damagedElements;
  if (!damaged.empty() && !options.acceptDamage)
    throw nex_TextException(file + ": single precision collapses or turns inside out "
                            + std::to_string(damaged.size()) + " elements, the first of label "
                            + std::to_string(damaged.front()) + "; give an offset, such as --offset auto");
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
  return format.write(output, mesh, sets, options);
}
