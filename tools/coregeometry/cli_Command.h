// cli_Command.h: what the sub-commands share
#pragma once

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>
#include <stdexcept>

using cli_Json = nlohmann::ordered_json;

/// Exit codes of the program.
enum cli_ExitCode : int {
  cli_OK = 0,
  cli_WRONG_INPUT = 1,
  cli_WRONG_USAGE = 2,
  cli_INTERRUPTED = 128 ///< and the number of the signal
};

/// The command line asks for something that makes no sense, whatever the files hold.
class cli_UsageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

/// The command has answered what it could and has said on stderr what was wrong.
struct cli_Incomplete {};

// Each adds one sub-command; its work runs while the command line is parsed.
void cli_AddImport(CLI::App& app);
void cli_AddInfo(CLI::App& app);
void cli_AddQuery(CLI::App& app);
void cli_AddSets(CLI::App& app);
void cli_AddCsys(CLI::App& app);
void cli_AddUpgrade(CLI::App& app);
void cli_AddCompact(CLI::App& app);
void cli_AddShapes(CLI::App& app);
void cli_AddCheck(CLI::App& app);
void cli_AddDiff(CLI::App& app);
void cli_AddDump(CLI::App& app);
void cli_AddTravel(CLI::App& app);
void cli_AddMeasure(CLI::App& app);
void cli_AddLocate(CLI::App& app);
void cli_AddExport(CLI::App& app);
void cli_AddRender(CLI::App& app);
void cli_AddSkin(CLI::App& app);
