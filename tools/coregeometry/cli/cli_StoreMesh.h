// cli_StoreMesh.h: puts a mesh, its sets and its notes into a model
#pragma once

#include "cli_Model.h"

#include <BasicUtils/cls_WritePass.h>
#include <filesystem>

/// What the target is called.
struct cli_MeshTarget {
  std::filesystem::path file;
  cow_String name, root;
  bool exists = false; ///< when the command begins

  cow_String RegionRoot(const cow_String& set) const { return bme_kRegionFolder + name + "/" + set; }
  cow_String SetRoot(const cow_String& set) const { return bme_kSetFolder + name + "/" + set; }
  cow_String NotesRoot() const { return bme_kNotesFolder + name; }
};

/// What belongs to the mesh alone: regions that have it as their owner, and their contents.
std::vector<cow_String> cli_RegionsOf(const cls_Database& model, const cli_MeshTarget& target);
cls_Database::Options cli_OptionsFor(const bme_Mesh& mesh);
/// A region and its contents for every set.
void cli_PutSets(const cls_Database& model, cls_WritePass& pass, const cli_MeshTarget& target,
                 std::span<const bme_NamedSet> sets);
/// In the place of those of the mesh that was there before.
void cli_PutNotes(const cls_Database& model, cls_WritePass& pass, const cli_MeshTarget& target,
                  const bme_MeshNotes& notes, bool replaces);
/// The mesh, and of what the model keeps about the one that was there before what fits it; the rest is reported.
void cli_PutMesh(const cls_Database& model, cls_WritePass& pass, const cli_MeshTarget& target,
                 const bme_Mesh& mesh);
