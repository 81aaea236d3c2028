// exo_Import.h: a mesh from an Exodus II file
#pragma once

#include <CoreGeometry/fmt_Format.h>

/// Reads nodes, element blocks and sets. Blocks become element classes in their order, number maps user
/// labels: nodes always have labels, elements only when theirs are not 1, 2, 3, ... . The category label of a
/// class is "title/block name"; a block without a name is called "block <id>".
///
/// It does not check what rounding does to the elements; fmt_ReadMesh does.
///
/// Errors     nex_TextException naming file, block, element and node; wip_Cancelled when the host asks to
///            stop.
/// Cost       one pass; coordinates and connectivity go straight into their final arrays.
CORE_GEOMETRY_EXCHANGE_API fmt_Import exo_ReadMesh(const cow_String& fileName,
                                                   const fmt_ReadOptions& options = {});

/// The same in ranges, for fmt_OpenRanges.
CORE_GEOMETRY_EXCHANGE_API std::unique_ptr<fmt_Ranges> exo_OpenRanges(const cow_String& fileName,
                                                                      const fmt_ReadOptions& options = {});
