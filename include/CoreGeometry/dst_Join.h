// dst_Join.h: one model from all parts of a split
#pragma once

#include <CoreGeometry/dst_SplitFolder.h>
#include <CoreGeometry/rgnC_SetData.h>
#include <span>

/// A set with the root of its contents.
struct dst_JoinedSet {
  cow_String root;
  rgnC_SetData data;
};

/// The mesh that was split, bit for bit, without labels that the whole did not have.
///
/// Errors     nex_TextException: above the limits of one model, a part that is missing or does not fit.
/// Cost       the whole mesh and one part in memory; each part is read once.
CORE_GEOMETRY_DISTRIBUTED_API bme_Mesh dst_JoinMesh(const dst_SplitFolder& split);
/// Its sets, in the order of the index, with their entries in the order that they had.
CORE_GEOMETRY_DISTRIBUTED_API std::vector<dst_JoinedSet> dst_JoinSets(const dst_SplitFolder& split);
/// Both, the runs of results and what the index holds beside them, as a new model file: the one that was split.
CORE_GEOMETRY_DISTRIBUTED_API void dst_Join(const dst_SplitFolder& split, const cow_String& file);

/// The root of a set by its name or its root; an error that names the sets that there are.
CORE_GEOMETRY_DISTRIBUTED_API cow_String dst_FindSet(const dst_SplitFolder& split, const cow_String& name);
/// The elements and nodes of a set, by its root, with the nodes of these elements, as a new model file, and what other
/// sets have of them. All of them have user labels; element classes and sets are those of the whole, also empty ones.
/// Results and notes stay in the split. Answers the mesh.
///
/// Cost       memory for what is joined and the entries of all sets; parts that have nothing of the set are hardly read.
CORE_GEOMETRY_DISTRIBUTED_API bme_Mesh dst_JoinSet(const dst_SplitFolder& split, const cow_String& root,
                                                   const cow_String& file);
/// The same of several sets together.
CORE_GEOMETRY_DISTRIBUTED_API bme_Mesh dst_JoinSet(const dst_SplitFolder& split,
                                                   std::span<const cow_String> roots, const cow_String& file);
