// cli_Output.h: the file that a sub-command writes, as the user names it
#pragma once

#include "cli_Command.h"

#include <BasicUtils/uti_OutputFile.h>
#include <span>
#include <string>
#include <vector>

/// One kind of file that a sub-command can write.
struct cli_FileFormat {
  const char* name; ///< for --format
  std::vector<cow_String> suffixes;
};

/// -o, --format and --force.
struct cli_OutputArguments {
  std::string file, format;
  bool force = false;
};
void cli_AddOutputOptions(cli_Command command, cli_OutputArguments& arguments,
                          std::span<const cli_FileFormat> formats, const std::string& help);

/// Position of the format that is asked for: by --format, else by the suffix of the file, else the only one.
/// Throws cli_UsageError for a name that cannot be right.
std::size_t cli_ChooseFormat(const cli_OutputArguments& arguments, std::span<const cli_FileFormat> formats);

/// Refuses, before there is any work, what the file may not be; see uti_OutputFile. When it is the standard
/// output, what is printed goes to stderr from now on.
uti_OutputFile cli_OpenOutput(const cli_OutputArguments& arguments, std::span<const cli_FileFormat> formats,
                              std::vector<cow_String> inputs);
