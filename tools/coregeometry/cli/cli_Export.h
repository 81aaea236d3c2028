// cli_Export.h: a mesh of a model as a file for other programs
#pragma once

#include "cli_Model.h"
#include "cli_Output.h"

class cli_Console;

struct cli_ExportArguments {
  std::string file, name; ///< what is exported, as it is told
  cli_OutputArguments output;
  std::string wedges, encoding, surface, run;
  bool json = false, noResults = false, asCells = false, separate = false, atNodes = false;

  /// Options on how the file is written, which are returned.
  std::vector<cli_Option> AddTo(cli_Command command);
};

/// Formats that meshes are written in.
const std::vector<cli_FileFormat>& cli_ExportFormats();
/// Writes the mesh of a model and tells about it. What the arguments name as the source is told alone.
void cli_ExportMesh(const cli_ExportArguments& arguments, uti_OutputFile& output, const cls_Database& model,
                    const cow_String& root, cli_Console& console);
