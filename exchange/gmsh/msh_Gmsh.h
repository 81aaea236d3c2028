// msh_Gmsh.h: meshes from and to MSH files, versions 2.2 and 4.1
#pragma once

#include <CoreGeometry/fmt_Format.h>

bool msh_Recognises(std::string_view start);

/// Errors     nex_TextException naming file, section, line or block, element and value; wip_Cancelled.
/// Cost       one pass over the file; at most some megabytes more than the mesh.
fmt_Import msh_ReadMesh(const cow_String& file, const fmt_ReadOptions& options);

/// Version 4.1 has an entity for each element class and combination of sets in it; in 2.2 an element is in the first
/// of its sets alone. Node sets become groups of points.
fmt_Ledger msh_WriteMesh(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                         const fmt_WriteOptions& options);
fmt_Ledger msh_WriteOldMesh(uti_OutputFile& output, const bme_Mesh& mesh, std::span<const bme_NamedSet> sets,
                            const fmt_WriteOptions& options);
