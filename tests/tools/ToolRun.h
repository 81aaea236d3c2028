// ToolRun.h: runs a program as a user would
#pragma once

#include <nlohmann/json.hpp>
#include <string>
#include <sys/types.h>
#include <vector>

struct ToolRun {
  int exitCode = -1;
  std::string out, err;
};

/// Runs a program to its end; exit code 128 + signal when a signal ended it.
ToolRun RunProgram(const std::string& program, const std::vector<std::string>& arguments);

/// Starts the coregeometry program and does not wait; what it prints is lost.
pid_t StartTool(const std::vector<std::string>& arguments);
int WaitForTool(pid_t tool); ///< its exit code

/// Runs the coregeometry program.
ToolRun RunTool(const std::vector<std::string>& arguments);

/// What the program prints with --json added; the test fails when its exit code is not 0.
nlohmann::json ToolFacts(std::vector<std::string> arguments);
