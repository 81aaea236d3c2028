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

/// The files NAME.N.RANK of a mesh in N parts, as solvers and their tools name them.
struct CORE_GEOMETRY_DISTRIBUTED_API dst_PartFiles {
  cow_String name{}; ///< "wing.exo" of "wing.exo.64.00"
  unsigned count = 0;
  cow_String File(unsigned part) const; ///< the rank has as many digits as the count
};

/// The set of files that one is of by its name; nothing for other names.
CORE_GEOMETRY_DISTRIBUTED_API std::optional<dst_PartFiles> dst_FindPartFiles(const cow_String& file);

/// The mesh of a file that the component Exchange reads, with its sets, notes and results: the same as of the model that
/// an import makes of it. What is read but does not fit into a model is among the facts that are left out. An Exodus II
/// file is read in ranges, one set and one field of the results at a time whole; other files are read whole. The results
/// wait in a work folder, which is removed with the source.
///
/// One of the Exodus II files NAME.N.RANK of the parts of a mesh means all N, whose maps of nodes and elements are numbers
/// in the whole from 1, class after class. User labels are the maps of the name "user_label"; without them there are none.
/// Entries of sets ascend in the whole. Results, attributes and factors are left out. The work folder takes nodes and
/// elements in the order of the whole; in memory are 4 bytes for each node and element of the whole, the id maps of one
/// file, and 8 bytes for each entry of the sets of nodes, elements and sides.
///
/// Errors     as fmt_ReadMesh; nex_TextException when this library was built without the component Exchange.
CORE_GEOMETRY_DISTRIBUTED_API std::unique_ptr<dst_Source> dst_FileSource(const cow_String& file,
                                                                         const dst_FileOptions& options = {});
