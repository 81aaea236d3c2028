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
