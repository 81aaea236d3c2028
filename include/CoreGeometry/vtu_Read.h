// vtu_Read.h: reading a mesh from files of VTK
#pragma once

#include <CoreGeometry/fmt_Format.h>

/// Reads an unstructured grid in the XML form of VTK: ascii, base64 or appended, plain or compressed with
/// zlib.
///
/// Cells become classes by type, and by the array "ElementClass" of vtu_WriteMesh, in the order in which they
/// first appear; within a class the cells keep their order. Labels are those of "NodeLabel" and
/// "ElementLabel", else the global identifiers of the file; cells whose order changes get their number in the
/// file as label. Arrays of 8 bits of 0 and 1 are sets; other integer arrays with at most 256 different
/// values are a set for each value. Several pieces become one mesh, nodes are not merged. Cells that have no
/// element type here, and all other arrays, are listed in the ledger.
///
/// Errors     nex_TextException naming file, line, array, number and value; wip_Cancelled when the host asks
///            to stop.
/// Cost       XML and arrays are read in slices; rows and coordinates go straight into their final arrays.
CORE_GEOMETRY_EXCHANGE_API fmt_Import vtu_ReadMesh(const cow_String& file, const fmt_ReadOptions& options);

/// Reads the grids of the first time step of a PVD file, as pieces. The files must be in its folder or below;
/// the other steps are listed in the ledger.
CORE_GEOMETRY_EXCHANGE_API fmt_Import vtu_ReadCollection(const cow_String& file,
                                                         const fmt_ReadOptions& options);

/// Reads an unstructured grid in the legacy form of VTK, versions 2.0 to 5.1: ascii or binary. Otherwise as
/// vtu_ReadMesh.
CORE_GEOMETRY_EXCHANGE_API fmt_Import vtu_ReadLegacy(const cow_String& file, const fmt_ReadOptions& options);
