// exo_OutNotes.h: the notes of a mesh on their way into a file
#pragma once

#include "exo_Write.h"

#include <CoreGeometry/bme_MeshNotes.h>
#include <CoreGeometry/fmt_Ledger.h>
#include <map>

/// Finds the annotation of each class and set that is written, and keeps account of those that were not asked for or
/// do not fit.
class exo_OutNotes {
public:
  /// No notes: null.
  exo_OutNotes(const bme_MeshNotes* notes, exo_OutMesh& out);

  cow_String Title() const { return notes_ ? notes_->title : cow_String(); }
  /// Null when there is none, when it was given before, and when it does not fit so many elements or entries.
  const bme_Annotation* Take(bme_NotedEnm noted, int number, std::size_t numEntries);

  void Add(const bme_Annotation& note, exo_OutBlock& block); ///< the last of its mesh
  /// `stored`[i] is the place of entry i of the set among those that the annotation knows.
  void Add(const bme_Annotation& note, std::span<const int> stored, exo_OutSet& set);
  /// What is written for the whole, when all blocks and sets are there. Lists what is not written.
  void Finish(fmt_Ledger& ledger);

private:
  void AddProperties(const bme_Annotation& note, std::optional<exo_SetKind> of, std::size_t position);

  const bme_MeshNotes* notes_;
  exo_OutMesh& out_;
  std::map<std::pair<bme_NotedEnm, int>, const bme_Annotation*> waiting_;
  long long numTwice_ = 0; ///< annotations of what another one is about, too
};
