// cli_Edit.h: what the sub-commands that edit a mesh share
#pragma once

#include "cli_Command.h"
#include "cli_Model.h"

#include <CoreGeometry/bme_CombineMeshes.h>
#include <CoreGeometry/gsl_Matrix.h>
#include <map>

/// The mesh that is edited, and where the result goes.
struct cli_EditArguments {
  std::string file, name; ///< model and mesh
  std::string output, as; ///< -o, --as
  bool replace = false, noResults = false, json = false;
};
void cli_AddEditOptions(cli_Command command, cli_EditArguments& arguments);
/// A mesh of a model with all that belongs to it.
struct cli_EditSource {
  std::string file;
  cow_String root;
  bme_MeshAndSets all;
};
/// Throws cli_UsageError first when the command line says nowhere, or two places, where the result shall go.
cli_EditSource cli_ReadEditSource(const cli_EditArguments& arguments);
cli_EditSource cli_ReadMeshAndSets(const cls_Database& model, const cow_String& root);

/// What a set of the mesh holds; nex_TextException when there is no such set.
std::vector<unsigned> cli_ElementsOfSet(const cli_EditSource& source, const cow_String& set);
std::vector<unsigned> cli_NodesOfSet(const cli_EditSource& source, const cow_String& set);
std::vector<unsigned> cli_FacesOfSet(const cli_EditSource& source, const cow_String& set);

/// Of "C3D8=C3D27" ...; cli_UsageError for other words.
std::map<cow_String, cow_String> cli_TypeChoice(const std::vector<std::string>& words);

/// Labels as "1:100:2,205".
cli_Json cli_ElementLabelList(const cli_EditSource& source, std::vector<unsigned> elements);
cli_Json cli_NodeLabelList(const cli_EditSource& source, std::vector<unsigned> nodes);

/// A mesh that is in the result, once or as several copies.
struct cli_EditPart {
  const cli_EditSource* source;
  cow_String name{}; ///< that its sets got where another mesh has one of their name
  struct Image {
    bme_Renumbering renumbering;
    gsl_Matrix move{}; ///< in the coordinates of the meshes; results turn with it
    std::map<cow_String, cow_String> sets{};
  };
  std::vector<Image> images;
};
/// Those of a result of bme_CombineMeshes or bme_CopyMesh; `firstSet` is the first set of the part there.
cli_EditPart::Image cli_ImageIn(const bme_Combined& combined, std::size_t part, const bme_MeshAndSets& source,
                                std::size_t firstSet, const gsl_Matrix& move);
/// A matrix of placed space in the coordinates of the mesh.
gsl_Matrix cli_InMesh(const bme_Mesh& mesh, const gsl_Matrix& matrix);

/// Stores the result where the command line says, with datums and results, and reports it: sizes, remarks, and the
/// facts of the command.
void cli_StoreEdited(const cli_EditArguments& arguments, std::span<const cli_EditPart> parts,
                     bme_MeshAndSets result, std::vector<cow_String> remarks, const cli_Json& facts);
void cli_StoreEdited(const cli_EditArguments& arguments, const cli_EditSource& source,
                     const bme_Edited& edited, const cli_Json& facts, const gsl_Matrix& move = {});
