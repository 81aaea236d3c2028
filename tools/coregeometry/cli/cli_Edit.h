// cli_Edit.h: what the sub-commands that edit a mesh share
#pragma once

#include "cli_Command.h"
#include "cli_Model.h"

#include <CoreGeometry/bme_Renumbering.h>

/// The mesh that is edited, and where the result goes.
struct cli_EditArguments {
  std::string file, name; ///< model and mesh
  std::string output, as; ///< -o, --as
  bool replace = false, json = false;
};
void cli_AddEditOptions(cli_Command command, cli_EditArguments& arguments);
/// A mesh of a model with all that belongs to it.
struct cli_EditSource {
  cow_String root;
  bme_MeshAndSets all;
  std::size_t numRuns = 0; ///< which are not carried
};
/// Throws cli_UsageError first when the command line says nowhere, or two places, where the result shall go.
cli_EditSource cli_ReadEditSource(const cli_EditArguments& arguments);
cli_EditSource cli_ReadMeshAndSets(const cls_Database& model, const cow_String& root);

/// What a set of the mesh holds; nex_TextException when there is no such set.
std::vector<unsigned> cli_ElementsOfSet(const cli_EditSource& source, const cow_String& set);
std::vector<unsigned> cli_NodesOfSet(const cli_EditSource& source, const cow_String& set);
std::vector<unsigned> cli_FacesOfSet(const cli_EditSource& source, const cow_String& set);

/// Labels as "1:100:2,205".
cli_Json cli_ElementLabelList(const cli_EditSource& source, std::vector<unsigned> elements);
cli_Json cli_NodeLabelList(const cli_EditSource& source, std::vector<unsigned> nodes);

/// Stores the result where the command line says, and reports it: sizes, remarks, and the facts of the command.
void cli_StoreEdited(const cli_EditArguments& arguments, const cli_EditSource& source, bme_MeshAndSets result,
                     const std::vector<cow_String>& remarks, const cli_Json& facts);
