// cli_Words.h: lists, names and points as the user types them, the same in every sub-command
#pragma once

#include "cli_Command.h"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// An option for labels, "1,5,10:20:2"; the lists of an option that is given again join.
void cli_AddLabels(CLI::App& command, const char* name, std::vector<std::string>& texts,
                   const std::string& help);
/// The labels that the texts of an option name, in their order. Throws cli_UsageError.
std::vector<int> cli_LabelsOf(const char* option, const std::vector<std::string>& texts);

/// An option for names between commas; the lists of an option that is given again join.
CLI::Option* cli_AddNames(CLI::App& command, const char* name, std::vector<std::string>& names,
                          const std::string& help);

/// An option for a point or a direction, "X,Y,Z" or three words. It stays empty when it is not given.
CLI::Option* cli_AddTriple(CLI::App& command, const char* name, std::optional<std::array<double, 3>>& triple,
                           const std::string& help);
/// Three numbers between commas, and nothing else.
std::optional<std::array<double, 3>> cli_TripleOf(const std::string& text);
/// A number without anything behind it, finite; nothing for any other text.
std::optional<double> cli_NumberOf(std::string_view text);

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
