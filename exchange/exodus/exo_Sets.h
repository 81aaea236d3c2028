// exo_Sets.h: the sets and blocks of an Exodus II file as sets of the mesh they were read with
#pragma once

#include "exo_File.h"
#include <CoreGeometry/exo_Sides.h>
#include <CoreGeometry/fmt_Ledger.h>

#include <CoreGeometry/bme_MeshNotes.h>
#include <CoreGeometry/bme_NamedSet.h>
#include <functional>

/// Where the elements of a block are in the mesh.
struct exo_BlockPlace {
  const exo_Block* block = nullptr;
  std::int64_t firstInFile = 0; ///< position in the whole file
  int firstInMesh = 0;
  int classIndex = -1;         ///< -1 when the block was not carried over
  std::vector<exo_Side> sides; ///< of each of its elements, side 1 first
  std::vector<int> sideNodes;  ///< of each: how many nodes of the file's element it has
};

/// All blocks in the order of the file, without their sides.
std::vector<exo_BlockPlace> exo_PlaceBlocks(const exo_File& file);
/// The block of an element of the file, counted from 0.
const exo_BlockPlace& exo_BlockOf(std::span<const exo_BlockPlace> blocks, std::int64_t element);

/// Blocks become element sets, node and element sets what they are, side sets surfaces: facets and edges by
/// their ids, sides that the element has no face or edge for as elements alone. Set index is the number in
/// the file; a set without a name is called "node set <id>", "block <id>" and so on; of several of one name
/// all but the first get that added to their root. Order is kept within an element class, and noted where that is not enough, as are
/// distribution factors and properties.
///
/// Errors     nex_TextException naming file, set, entry and number; wip_Cancelled when the host asks to stop.
/// Cost       one pass over flat arrays, one set in memory at a time.
std::vector<bme_NamedSet> exo_ReadSets(const exo_File& file, std::span<const exo_BlockPlace> blocks,
                                       int meshId, bme_MeshNotes& notes, fmt_Ledger& ledger);

using exo_TakeSet = std::function<void(bme_NamedSet set)>;
/// The same, one after the other. Sets of blocks have no more than their first element: theirs are all of a class.
void exo_ReadSetsInTurn(const exo_File& file, std::span<const exo_BlockPlace> blocks, int meshId,
                        bme_MeshNotes& notes, fmt_Ledger& ledger, const exo_TakeSet& take);
/// The contents of one node, side or element set.
rgnC_SetData exo_ReadSet(const exo_File& file, std::span<const exo_BlockPlace> blocks, int meshId,
                         const exo_Set& set);
