// fmt_Format.h: the formats that meshes are read from and written in
#pragma once

#include <BasicUtils/uti_OutputFile.h>
#include <CoreGeometry/exo_NodeOrder.h>
#include <CoreGeometry/exo_Types.h>
#include <CoreGeometry/fmt_Import.h>
#include <CoreGeometry/fmt_Results.h>
#include <CoreGeometry/odiC_Run.h>
#include <CoreGeometry/odiC_Selection.h>
#include <string_view>

class fmt_Ranges;
struct fmt_ExactNodes;

struct fmt_ReadOptions {
  exo_TypeMap types{}; ///< element labels that differ from the default, by the type names of Exodus II
  unsigned meshId = 0;
  /// Subtracted from every node before it is rounded to single precision, and kept as the placement of the mesh.
  std::optional<std::array<double, 3>> offset{};
  bool chooseOffset = false;            ///< a round one near the first nodes
  bool acceptDamage = false;            ///< elements that rounding collapses or turns inside out are no error
  fmt_ExactNodes* exactNodes = nullptr; ///< for fmt_ReadMesh itself
  /// Of files of VTK, which do not tell it; if not given, plain unless most wedges then have negative volumes.
  std::optional<exo_VtkWedges> wedges{};
};

/// How the numbers of a file are written, for formats that have the choice.
enum class fmt_Encoding {
  Default, ///< the fastest that every reader of the format knows
  Ascii,
  Binary,
  Compressed
};

/// Where values at integration points go in formats that have no place for them.
enum class fmt_FieldPlace {
  Nodes,   ///< means at nodes
  Cells,   ///< means of elements
  Separate ///< nodes of each element, which gets points of its own
};

struct fmt_WriteOptions {
  fmt_Encoding encoding = fmt_Encoding::Default;
  exo_VtkWedges wedges = exo_VtkWedges::Plain;
  cow_String surface{};                 ///< set to write, for formats of surfaces; the whole outside if empty
  const bme_MeshNotes* notes = nullptr; ///< of the mesh; what a format has no place for is listed
  const odiC_Run* run = nullptr;        ///< results of the mesh, for formats that hold them
  std::vector<odiC_When> frames{};      ///< of the run; all if empty
  fmt_FieldPlace fields = fmt_FieldPlace::Nodes;
  bool atNodes = false; ///< Exodus II: values at element nodes, which have no place there, as means at nodes
  bool force = false;   ///< replaces files that a format writes beside the one it is given
};

/// One format: a row of the table that fmt_Formats answers.
struct fmt_Format {
  std::string_view name;  ///< "exodus": for --format
  std::string_view title; ///< "an Exodus II file"
  std::vector<cow_String> suffixes{};
  std::string_view cannotHold{}; ///< what of a mesh a file of it has no place for; empty for none
  bool writesResults = false;    ///< of fmt_WriteOptions::run
  bool hasEncodings = false;     ///< ascii and others can be asked for
  bool holdsNotes = false; ///< titles, records, attributes, factors and properties, as bme_MeshNotes has them
  bool isOfSurfaces = false; ///< holds surfaces alone; one of them, or the outside, is written

  /// Whether a file that begins like this, with up to 4096 bytes, is of the format.
  bool (*recognises)(std::string_view start) = nullptr;
  /// Null when the format is not read, or not written.
  fmt_Import (*read)(const cow_String& file, const fmt_ReadOptions& options) = nullptr;
  /// For fmt_OpenRanges; null when a file of the format is read whole.
  std::unique_ptr<fmt_Ranges> (*openRanges)(const cow_String& file, const fmt_ReadOptions& options) = nullptr;
  /// Time steps and variables into a run, see exo_ReadResults; null when results of the format are not read.
  fmt_ResultsSummary (*readResults)(const cow_String& file, const fmt_Import& import, odiC_RunWriter* run,
                                    const fmt_ResultsOptions& options) = nullptr;
  fmt_Ledger (*write)(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                      const fmt_WriteOptions& options) = nullptr;
};

/// All formats, in the order in which files are tried.
CORE_GEOMETRY_EXCHANGE_API std::span<const fmt_Format> fmt_Formats();

/// By name. nex_TextException with the names there are.
CORE_GEOMETRY_EXCHANGE_API const fmt_Format& fmt_Find(std::string_view name);

/// The format that the content of a file tells, else that of its suffix. nex_TextException when the file cannot be
/// read, and when neither tells.
CORE_GEOMETRY_EXCHANGE_API const fmt_Format& fmt_Recognise(const cow_String& file);

/// Reads nodes, elements, labels and sets from a file of the format, or of the one that its content tells.
///
/// Errors     nex_TextException naming the file, the place in it and the value, also when single precision collapses
///            elements or turns them inside out; wip_Cancelled when the host asks to stop.
CORE_GEOMETRY_EXCHANGE_API fmt_Import fmt_ReadMesh(const cow_String& file,
                                                   const fmt_ReadOptions& options = {});
CORE_GEOMETRY_EXCHANGE_API fmt_Import fmt_ReadMesh(const cow_String& file, const fmt_Format& format,
                                                   const fmt_ReadOptions& options = {});

/// Writes a mesh with its sets; what the format has no place for is in the ledger. The file is committed.
///
/// Errors     nex_TextException naming file, class, element and node, and when the format is not written.
CORE_GEOMETRY_EXCHANGE_API fmt_Ledger fmt_WriteMesh(uti_OutputFile& output, const fmt_Format& format,
                                                    const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                                                    const fmt_WriteOptions& options = {});
