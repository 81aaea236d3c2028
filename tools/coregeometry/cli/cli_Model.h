// cli_Model.h: meshes of a model file, as the sub-commands name and describe them
#pragma once

#include "cli_Command.h"
#include "cli_Json.h"

#include <BasicUtils/cls_Database.h>
#include <CoreGeometry/bme_Mesh.h>
#include <CoreGeometry/bme_MeshNotes.h>
#include <CoreGeometry/bme_Placement.h>
#include <CoreGeometry/bme_StoredSets.h>
#include <string>
#include <vector>

/// Throws nex_TextException when the name is one of the standard input, or of something that is no file, such
/// as a pipe; `what` is what there should be, as "a model".
void cli_ExpectFile(const std::string& file, const char* what);

cls_Database cli_OpenModel(const std::string& file, cls_Database::Mode mode = cls_Database::Mode::ReadOnly);

/// Names of all roots that are meshes, sorted.
std::vector<cow_String> cli_MeshRoots(const cls_Database& model);

/// The root of the mesh that the user calls `name`; without a name the only mesh of the model. Throws
/// nex_TextException naming the file and the meshes it has.
cow_String cli_ChooseMesh(const cls_Database& model, const cow_String& name);

/// What the file of the mesh said beside it; null when nothing is kept.
cow_CountedHld<bme_MeshNotes> cli_NotesOf(const cls_Database& model, const cow_String& meshRoot);

/// Elements with a node whose coordinates are not finite: questions about places leave them out.
long long cli_NumNotFinite(const bme_Mesh& mesh);
/// Elements of types without a shape, which such questions leave out, too.
long long cli_NumWithoutShape(const bme_Mesh& mesh);
/// The element type of a class, or "pyramids as collapsed C3D8".
cow_String cli_TypeText(const cow_String& type, int pyramidNodes);

/// Smallest and largest of some labels.
struct cli_LabelRange {
  long long count = 0, smallest = 0, largest = 0;
  void Add(std::span<const int> labels);
  void Add(const cli_LabelRange& other);
};

/// Shortest text that gives back the same single-precision number.
cow_String cli_Text(float value);
cli_Json cli_Number(float value); ///< as JSON, without digits that single precision does not have

/// A point in placed space: digits of single precision where the mesh has no placement.
cli_Json cli_PlacedPoint(const bme_Placement& placement, const gsl_Point& local);
/// The placement of a mesh, without reading its nodes and elements; none for other roots.
bme_Placement cli_PlacementOf(const cls_Database& model, const cow_String& meshRoot);

/// Adds the options that every command on one mesh of a model has.
void cli_AddModelOptions(cli_Command command, std::string& file, std::string& name, bool& json);

void cli_PrintJson(const cli_Json& json); ///< to stdout, indented

/// Prints an object whose lists are too long to be kept: the same text as cli_PrintJson prints of the whole.
class cli_JsonStream {
public:
  explicit cli_JsonStream(const cli_Json& head); ///< an object with at least one key
  void BeginList(const char* key);
  void Add(const cli_Json& item);
  void EndList();
  void End(const cli_Json& tail = cli_Json::object()); ///< with the keys that come last

private:
  bool isFirst_ = true;
};
