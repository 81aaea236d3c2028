// cli_Words.h: lists, names and points as the user types them, the same in every sub-command
#pragma once

#include "cli_Command.h"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// An option for labels, "1,5,10:20:2"; the lists of an option that is given again join.
void cli_AddLabels(cli_Command command, const char* name, std::vector<std::string>& texts,
                   const std::string& help);
/// The labels that the texts of an option name, in their order. Throws cli_UsageError.
std::vector<int> cli_LabelsOf(const char* option, const std::vector<std::string>& texts);

/// An option for names between commas; the lists of an option that is given again join.
cli_Option cli_AddNames(cli_Command command, const char* name, std::vector<std::string>& names,
                        const std::string& help);

/// What the help calls the value of an option for a point or a direction.
inline constexpr const char* cli_kTriple = "X,Y,Z";
/// An option for a point or a direction, "X,Y,Z" or three words. It stays empty when it is not given.
cli_Option cli_AddTriple(cli_Command command, const char* name, std::optional<std::array<double, 3>>& triple,
                         const std::string& help);
/// Three numbers between commas, and nothing else.
std::optional<std::array<double, 3>> cli_TripleOf(const std::string& text);
/// --offset: "X,Y,Z", "auto", or nothing. Throws cli_UsageError.
void cli_SetOffset(const std::string& text, std::optional<std::array<double, 3>>& offset, bool& isChosen);
/// A number without anything behind it, finite; nothing for any other text.
std::optional<double> cli_NumberOf(std::string_view text);

/// The parts of a text between separators; one empty part for an empty text.
std::vector<std::string> cli_Split(const std::string& text, char separator);
std::string cli_Lower(std::string text); ///< ASCII letters only
