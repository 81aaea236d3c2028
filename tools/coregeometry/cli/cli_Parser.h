// cli_Parser.h: what the program does with the words of a command line around the parser
#pragma once

#include <CLI/CLI.hpp>
#include <span>
#include <string>
#include <vector>

/// The words of the command line with the three words of such an option, or of a point of `locate`, joined
/// by commas: an option that takes one word or three could not tell where it ends.
std::vector<std::string> cli_JoinTriples(CLI::App& app, std::span<const char* const> words);

/// What is wrong with the command line beyond what the parser says: a sub-command that does not exist.
/// Throws cli_UsageError with what it may have been meant to be.
void cli_CheckCommandName(const CLI::App& app, const std::vector<std::string>& words);
/// The sub-command among the words; the program itself when there is none.
const CLI::App& cli_CommandOf(const CLI::App& app, const std::vector<std::string>& words);
/// The parser's message, with the options that misspelled ones may have been meant to be.
std::string cli_Explain(const CLI::App& app, const CLI::ParseError& error);
