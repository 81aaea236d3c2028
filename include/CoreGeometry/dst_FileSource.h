// dst_FileSource.h: a mesh file of another program, to be split
#pragma once

#include <CoreGeometry/dst_Source.h>
#include <array>
#include <optional>

/// How a mesh file is read; what is not here is as an import without options does it.
struct dst_FileOptions {
  cow_String mesh{};         ///< name of the mesh; that of the file without its suffix if empty
  cow_String workFolder{};   ///< see dst_FileSource; one for temporary files if empty
  bool acceptDamage = false; ///< elements that single precision collapses or turns inside out are no error
  std::optional<std::array<double, 3>> offset{}; ///< from which coordinates are kept
  bool chooseOffset = false;                     ///< a round one near the first nodes
};

/// The mesh of a file that the component Exchange reads, with its sets, notes and results: the same as of the model that
/// an import makes of it. What is read but does not fit into a model is among the facts that are left out. An Exodus II
/// file is read in ranges, one set and one field of the results at a time whole; other files are read whole. The results
/// wait in a work folder, which is removed with the source.
///
/// Errors     as fmt_ReadMesh; nex_TextException when this library was built without the component Exchange.
CORE_GEOMETRY_DISTRIBUTED_API std::unique_ptr<dst_Source> dst_FileSource(const cow_String& file,
                                                                         const dst_FileOptions& options = {});
