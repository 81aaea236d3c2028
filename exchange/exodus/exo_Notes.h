// exo_Notes.h: what a file says beside nodes, elements and sets
#pragma once

#include "exo_Sets.h"

#include <CoreGeometry/bme_Mesh.h>

/// Title, names, records, and of each class: the name of its type where another one would be written, attributes and
/// properties. Those of the sets come with exo_ReadSets.
void exo_ReadNotes(const exo_File& file, std::span<const exo_BlockPlace> blocks, const bme_Mesh& mesh,
                   bme_MeshNotes& notes, fmt_Ledger& ledger);

/// Adds the properties of what stands at the position (from 0) to its annotation. Answers how many values do not fit
/// 32 bits, and are left out.
long long exo_AddProperties(std::span<const exo_Property> properties, std::size_t position,
                            bme_Annotation& to);
