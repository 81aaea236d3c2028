#include "cli_Output.h"

#include <algorithm>
#include <iostream>

void cli_AddOutputOptions(cli_Command command, cli_OutputArguments& arguments,
                          std::span<const cli_FileFormat> formats, const std::string& help) {
  command.AddOption("-o,--output", arguments.file, help + "; - for the standard output").Required();
  std::vector<std::string> names;
  for (const cli_FileFormat& format : formats) names.emplace_back(format.name);
  command
      .AddOption("--format", arguments.format,
                 "Format of the file, whatever its name; by its suffix if not given")
      .OneOf(names);
  command.AddFlag("--force", arguments.force,
                  "Replace a file of that name, unless it is a model or read here");
}

std::size_t cli_ChooseFormat(const cli_OutputArguments& arguments, std::span<const cli_FileFormat> formats) {
  const auto check = [&](const uti_OutputRules& rules, const char* advice) {
    try {
      uti_OutputFile::CheckName(arguments.file, rules);
    } catch (const nex_TextException& error) {
      throw cli_UsageError(error.Message() + advice);
    }
  };
  uti_OutputRules rules{.isStream = true};
  check(rules, "");
  if (!arguments.format.empty())
    return static_cast<std::size_t>(std::ranges::find(formats, arguments.format, &cli_FileFormat::name)
                                    - formats.begin());
  for (const cli_FileFormat& format : formats)
    rules.suffixes.insert(rules.suffixes.end(), format.suffixes.begin(), format.suffixes.end());
  check(rules, "; or give --format");
  for (std::size_t i = 0; i < formats.size(); ++i)
    if (formats.size() == 1 || uti_OutputFile::HasSuffix(arguments.file, formats[i].suffixes)) return i;
  throw cli_UsageError(arguments.file + ": needs --format");
}

uti_OutputFile cli_OpenOutput(const cli_OutputArguments& arguments, std::span<const cli_FileFormat> formats,
                              std::vector<cow_String> inputs) {
  cli_ChooseFormat(arguments, formats);
  if (uti_OutputFile::IsStandardOutput(arguments.file)) std::cout.rdbuf(std::cerr.rdbuf());
  try {
    return uti_OutputFile(arguments.file,
                          {.force = arguments.force, .inputs = std::move(inputs), .isStream = true});
  } catch (const uti_FileExistsException& error) {
    throw nex_TextException(error.Message() + "; name another file, or replace it with --force");
  }
}
