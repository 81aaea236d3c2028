// dst_Split.h: splits a mesh into parts, in bounded memory
#pragma once

#include <CoreGeometry/dst_Index.h>
#include <CoreGeometry/dst_Source.h>

/// How elements are assigned to parts.
enum class dst_Method {
  Auto,  ///< a curve cuts the mesh into chunks, METIS cuts each chunk
  Metis, ///< METIS cuts all of it
  Curve  ///< a Hilbert curve alone
};

struct dst_SplitOptions {
  unsigned parts = 0; ///< 0: as many as have at most 4 million elements
  dst_Method method = dst_Method::Auto;
  unsigned chunks = 0;      ///< of Auto; 0: as the sizes want
  bool weightNodes = false; ///< parts of equal numbers of nodes of elements, not of elements
  int seed = 0;             ///< of METIS
  std::size_t memory = 0;   ///< bytes in all; 0: a quarter of the machine's
  bool doForce = false;     ///< replaces a split that is there, or was begun with another source or options
};

/// Processor time of the steps of a split, in seconds. Steps that an earlier run had finished take none.
struct dst_SplitSeconds {
  double survey = 0; ///< reading and hashing the source
  double curve = 0;  ///< places on the curve, chunks, and the part of each element
  double graph = 0;  ///< neighbours of the elements of all chunks
  double metis = 0;
  double parts = 0; ///< writing them
};

/// What a split came to.
struct dst_SplitReport {
  dst_Index index;
  unsigned numChunks = 0;      ///< that METIS cut
  std::uint64_t numPieces = 0; ///< of parts that METIS cut: elements that hang together
  unsigned numKept = 0;        ///< parts that an earlier run had finished
  double balance = 1;          ///< largest part against the mean, in elements
  double copies = 0;           ///< nodes that several parts hold, beyond one each, against all nodes
  unsigned mostNeighbours = 0;
  dst_SplitSeconds seconds{};
};

/// Writes a split model into a folder. The same source and options give the same split. A run that was stopped goes on:
/// the assignment is not made again, and parts that were finished are kept.
///
/// Errors     nex_TextException that says what to do: too few elements, parts above the limits, too little memory for
///            METIS, a folder that holds another split, a source that changed.
/// Cost       see dst_WriteSplit; METIS takes about 22 bytes for each node of the elements of a chunk.
CORE_GEOMETRY_DISTRIBUTED_API dst_SplitReport dst_Split(const dst_Source& source, const cow_String& folder,
                                                        const dst_SplitOptions& options = {});

/// What a split would be, without making it.
struct dst_SplitPlan {
  unsigned numParts = 0, numChunks = 0; ///< chunks that METIS would cut
  std::uint64_t memory = 0, space = 0;  ///< bytes: in use, and on the disk meanwhile
};
CORE_GEOMETRY_DISTRIBUTED_API dst_SplitPlan dst_PlanOf(const dst_Source& source,
                                                       const dst_SplitOptions& options = {});

/// Balance, copies and neighbours of an index.
CORE_GEOMETRY_DISTRIBUTED_API dst_SplitReport dst_ReportOn(const dst_Index& index);
