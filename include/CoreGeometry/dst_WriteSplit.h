// dst_WriteSplit.h: writes a split model, whatever way the elements were assigned to parts
#pragma once

#include <CoreGeometry/dst_Index.h>
#include <CoreGeometry/dst_Source.h>
#include <functional>

/// Parts of elements first, first + 1, ... in the numbering of the whole.
using dst_Assignment = std::function<void(std::uint64_t firstElement, std::span<unsigned> parts)>;

/// How a split is written.
struct dst_WriteOptions {
  std::size_t memory = std::size_t{256} << 20; ///< bytes for what is kept between the steps
  dst_Origin origin{};                         ///< of its empty texts the rest is computed or left out
  bool doContinue = false; ///< parts that are there, and are as they would be made, are kept
  std::function<void(unsigned part, bool isKept)> onPart{}; ///< called when a part is done
};

/// Writes index and parts of a split into a folder, which is made. Nodes without elements are distributed evenly.
///
/// Errors     nex_TextException, and no index: a part without elements, a part number that is too large, a part above
///            the limits of a mesh, a row or set entry that names nothing.
/// Cost       a few passes over the source; the folder .work in the target takes about two times the size of the
///            source, less what fits into memory.
CORE_GEOMETRY_DISTRIBUTED_API dst_Index dst_WriteSplit(const dst_Source& source,
                                                       const dst_Assignment& assignment, unsigned numParts,
                                                       const cow_String& folder,
                                                       const dst_WriteOptions& options = {});
/// The same with the part of each element as an array.
CORE_GEOMETRY_DISTRIBUTED_API dst_Index dst_WriteSplit(const dst_Source& source,
                                                       std::span<const unsigned> partOf, unsigned numParts,
                                                       const cow_String& folder,
                                                       const dst_WriteOptions& options = {});
