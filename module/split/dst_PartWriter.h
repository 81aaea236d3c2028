// dst_PartWriter.h: one part from the records that belong to it
#pragma once

#include <CoreGeometry/dst_Index.h>
#include <CoreGeometry/dst_Part.h>
#include <CoreGeometry/dst_Source.h>

/// Records of a part, words of 32 bits.
struct dst_PartRecords {
  std::vector<unsigned> elements; ///< number, label, nodes of the row; ascending by number
  std::vector<unsigned> nodes; ///< number, x, y, z, label, count of other holders, these; ascending by number
  std::vector<unsigned> entries; ///< subset, position in it, number, facet id
};
inline constexpr std::size_t dst_kEntryWords = 4;

/// What all parts of a split have in common.
struct dst_PartFrame {
  const dst_Source& source;
  const dst_Index& index; ///< of which only classes and totals are known yet
  unsigned numParts;
  std::vector<bool> isDisordered{}; ///< subsets, through all sets, whose entries do not ascend
};

/// Mesh, split arrays and sets of a part.
struct dst_MadePart {
  bme_Mesh mesh;
  dst_Part part;
  std::vector<rgnC_SetData> sets;
};

/// Renumbers what belongs to a part.
///
/// Errors     nex_TextException for a part above the limits of a mesh.
dst_MadePart dst_MakePart(const dst_PartFrame& frame, unsigned part, const dst_PartRecords& records);

/// Facts of a part, to be found again by a check.
dst_PartFacts dst_FactsOf(const bme_Mesh& mesh, const dst_Part& part);

/// Writes the file of a part, which gets its name when it is complete.
void dst_WritePart(const dst_PartFrame& frame, const dst_MadePart& made, const cow_String& file);
