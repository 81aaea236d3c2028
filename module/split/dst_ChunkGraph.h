// dst_ChunkGraph.h: a chunk of a mesh, cut by METIS
#pragma once

#include <CoreGeometry/dst_Source.h>

/// Elements of a chunk, as words: number, place on the curve (high, low), nodes of the row. The class follows from the
/// number.
struct dst_Chunk {
  const dst_SourceFacts& facts;
  std::vector<unsigned> records;
  unsigned firstPart = 0, numParts = 1;
};

struct dst_CutOptions {
  int seed = 0;
  bool weightNodes = false; ///< parts of equal numbers of nodes of elements, not of elements
};

/// What came of it.
struct dst_CutChunk {
  std::vector<unsigned> numbers, parts;      ///< of the elements, ascending by number
  std::uint64_t numPieces = 0;               ///< of the parts: elements that hang together by sides
  double graphSeconds = 0, metisSeconds = 0; ///< processor time
};

/// Processor time of this process, for differences.
double dst_ProcessorSeconds();

/// Bytes that cutting takes for a chunk with this many nodes in the rows of its elements.
std::uint64_t dst_MemoryToCut(std::uint64_t numRowNodes) noexcept;

/// Cuts a chunk into parts. Elements are neighbours when they have a side in common: a face of solids, also with a shell
/// on it, an edge of shells, an end of lines.
///
/// Errors     nex_TextException: more neighbours than METIS numbers.
dst_CutChunk dst_Cut(dst_Chunk chunk, const dst_CutOptions& options);
