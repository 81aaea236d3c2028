// cli_Completion.h: scripts that let a shell complete the program's command lines
#pragma once

#include <CLI/CLI.hpp>
#include <string>

/// The script for one of the shells: sub-commands, their options, and the words that options take. Derived
/// from the parser, so that it cannot lag behind.
std::string cli_CompletionScript(const CLI::App& app, const std::string& shell);
