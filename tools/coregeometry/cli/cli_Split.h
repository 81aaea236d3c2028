// cli_Split.h: split folders as arguments of commands on models
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

class cli_Command;
class dst_Library;

/// True for a folder that holds a split model, finished or not; false for anything else, and in a program that is
/// built without split models.
bool cli_IsSplit(const std::string& folder);
/// Replaces a command on models by its form on split models, when one of its words names such a folder; what is returned
/// lives as long as the command, null without one. Throws cli_UsageError for a command that has no such form.
std::shared_ptr<void> cli_TakeSplit(cli_Command& program, const std::string& command,
                                    std::span<const std::string> words);
/// Of a program that knows split models.
std::shared_ptr<const dst_Library> cli_StartSplits();
