// vtu_Write.h: a mesh as an unstructured grid in the XML form of VTK
#pragma once

#include "exo_Sets.h"

#include <CoreGeometry/bme_Mesh.h>

/// Writes nodes, elements as VTK cells, user labels, the class of each element, and a 0-1 array for each set
/// of nodes or of elements; binary, compressed with zlib, in base64 after the XML. An element with no cell of
/// its nodes is written with its first nodes, or as a cloud of its points. What is lost is in the ledger.
///
/// Errors     nex_TextException naming file, class, element and node; then the file is as it was.
/// Cost       the compressed file in memory.
exo_Ledger vtu_WriteMesh(const cow_String& fileName, const bme_Mesh& mesh,
                         std::span<const exo_ImportedSet> sets);
